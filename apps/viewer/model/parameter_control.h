// A control of the effect as a row of the panel, by its index.
//
// Values that are typed beyond the valid range are refused; steps stop at its ends. An act that
// would make a scene that can't be rendered, such as a Transfer Mode over a plate, is refused.
#pragma once

#include <memory>

#include "apps/viewer/model/panel_control.h"

namespace zelk {

class ParameterControl : public PanelControl {
public:
    /// `level` of its group's nesting.
    ParameterControl(Document& document, int index, int level);

    ControlState state() const override;
    std::string typedText(int field) const override;
    void type(int field, std::string const& text) override;
    void step(int field, double steps) override;
    void choose(int position) override;
    bool asksForFile(int position) const override;
    void chooseFile(int position, std::string const& file) override;
    void reset() override;
    void toggleKeys() override;
    void toggleKeyHere() override;
    std::optional<int> frameOfKey(bool isLater) const override;

    int index() const { return m_index; }

private:
    Parameter const& parameter() const { return document().parameter(m_index); }
    bool hasValue() const { return parameter().hasValue(); }
    KeyValue fromText(int field, std::string const& text) const;
    KeyValue angleFrom(int field, std::string const& text) const;
    double numberIn(int field, std::string const& text) const;
    /// The value with one of its fields replaced.
    KeyValue withField(int field, double number) const;
    void set(KeyValue const& value, std::string const& name);

    int m_index;
};

}  // namespace zelk

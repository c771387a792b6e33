// The composition's size, rate, first frame and duration as rows of the panel. Keyframes keep their
// frame numbers, whatever becomes of the composition.
//
// The frame has the composition's size, but for a plate, whose size wins.
#pragma once

#include <memory>
#include <vector>

#include "apps/viewer/model/panel_control.h"

namespace zelk {

struct CompField;

class CompControl : public PanelControl {
public:
    CompControl(Document& document, CompField const& field, int level);

    ControlState state() const override;
    void type(int field, std::string const& text) override;
    void step(int field, double steps) override;
    /// As the plate has it, else the layer.
    void reset() override;

private:
    void set(std::string const& name, std::vector<std::string> const& parts);

    CompField const& m_field;
};

/// One of each.
std::vector<std::unique_ptr<PanelControl>> compControls(Document& document, int level);

}  // namespace zelk

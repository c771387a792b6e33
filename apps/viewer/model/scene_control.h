// A setting of the scene as a row of the panel. Which edits of the scene are settings stands in one
// table (scene_settings.h); what they take and their help comes from zelk/scene/edits.h.
//
// A setting that nobody made shows what the render takes then: "(the layer's own)".
#pragma once

#include "apps/viewer/model/panel_control.h"
#include "apps/viewer/model/scene_settings.h"
#include "zelk/scene/edits.h"

namespace zelk {

class SceneControl : public PanelControl {
public:
    /// `spaces`: names of colour spaces to choose from.
    SceneControl(Document& document, SceneSetting const& setting, int level,
                 std::vector<std::string> const& spaces);

    ControlState state() const override;
    std::string typedText(int field) const override;
    std::filesystem::path file() const override;
    void type(int field, std::string const& text) override;
    void step(int field, double steps) override;
    void choose(int position) override;
    void reset() override;

private:
    std::string read() const;
    std::vector<std::string> parts() const;
    void set(std::string const& text);

    SceneSetting const& m_setting;
    SceneEdit const& m_edit;
    std::vector<std::string> m_texts;  ///< what a popup's entries set; empty for the default
};

}  // namespace zelk

// The layer's and the plate's file as rows of the panel.
#pragma once

#include "apps/viewer/model/panel_control.h"
#include "apps/viewer/model/scene_inputs.h"

namespace zelk {

class InputControl : public PanelControl {
public:
    /// Of the layer or the plate.
    InputControl(Document& document, InputKind kind, int level);

    ControlState state() const override;
    std::filesystem::path file() const override;
    /// An empty name is reset.
    void type(int field, std::string const& text) override;
    /// No plate: the frame keeps its size. A scene has a layer always.
    void reset() override;

private:
    /// Null for no plate.
    SceneInput const* input() const;

    InputKind m_kind;
};

}  // namespace zelk

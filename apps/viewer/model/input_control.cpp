// See input_control.h.
#include "apps/viewer/model/input_control.h"

#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {
namespace {

ControlRow rowOf(InputKind kind, int level) {
    bool const isLayer = kind == InputKind::kLayer;
    return {.name = isLayer ? "scene layer" : "scene plate",
            .label = isLayer ? "Layer" : "Plate",
            .kind = ControlKind::kFile,
            .level = level,
            .fields = 1,
            .help = isLayer ? "The picture that is pinned"
                            : "The picture that the layer is laid over; To Pins lie in it"};
}

}  // namespace

InputControl::InputControl(Document& document, InputKind kind, int level)
    : PanelControl(document, rowOf(kind, level)), m_kind(kind) {}

ControlState InputControl::state() const {
    Scene const& scene = document().scene();
    bool const isLayer = m_kind == InputKind::kLayer;
    ControlState state;
    state.fields = {isLayer ? scene.layer.name() : scene.plate ? scene.plate->name() : ""};
    state.isDefault = isLayer || !scene.plate;
    return state;
}

void InputControl::type(int, std::string const& text) {
    std::string const file(trimmed(text));
    if (file.empty()) return reset();
    PixelSize const frame = document().frameSize();
    document().change("Set " + row().label,
                      [&](Scene& scene) { setInput(scene, m_kind, file, frame); });
}

void InputControl::reset() {
    if (m_kind == InputKind::kLayer) throw missing("the layer", "a picture file");
    if (!document().scene().plate) return;
    PixelSize const frame = document().frameSize();
    document().change("Remove Plate", [&](Scene& scene) {
        scene.plate.reset();
        scene.overMode.reset();
        scene.color.plate.reset();
        scene.size = frame;
        scene.comp.width = frame.width;
        scene.comp.height = frame.height;
    });
}

}  // namespace zelk

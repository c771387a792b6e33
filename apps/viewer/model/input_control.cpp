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

SceneInput const* InputControl::input() const {
    Scene const& scene = document().scene();
    if (m_kind == InputKind::kLayer) return &scene.layer;
    return scene.plate ? &*scene.plate : nullptr;
}

ControlState InputControl::state() const {
    SceneInput const* const own = input();
    ControlState state;
    state.fields = {!own ? "" : own->buffer ? own->name() : own->file.written};
    state.isDefault = m_kind == InputKind::kLayer || !own;
    return state;
}

std::filesystem::path InputControl::file() const {
    return input() ? fullPath(input()->file) : std::filesystem::path();
}

void InputControl::type(int, std::string const& text) {
    std::string const plain(trimmed(text));
    if (plain.empty()) return reset();
    auto const file = typedPath(document().scene(), plain);
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

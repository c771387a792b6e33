// The composition panel's acts for menus, keys and the list of shortcuts.
#include <algorithm>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_choices.h"
#include "apps/viewer/composition_panel.h"

namespace zelk {
namespace {

constexpr double kWipeStepFrac = 0.02;

template <class Choices, class RunFunc, class CheckFunc>
void addChoices(ViewerCommands& commands, QString const& menu, Choices const& choices,
                RunFunc const& run, CheckFunc const& isChosen) {
    for (auto const& choice : choices)
        commands.push_back({menu,
                            choice.name,
                            QKeySequence(choice.keys),
                            choice.help,
                            [run, value = choice.value] { run(value); },
                            {},
                            [isChosen, value = choice.value] { return isChosen() == value; }});
}

}  // namespace

ViewerCommands CompositionPanel::commands() {
    ViewerCommands all;
    for (ViewerCommands const& part :
         {zoomCommands(), lookCommands(), switchCommands(), pinCommands()})
        all.insert(all.end(), part.begin(), part.end());
    for (ViewerCommand& command : all)
        if (!command.isEnabled) command.isEnabled = [this] { return m_document.isOpen(); };
    return all;
}

ViewerCommands CompositionPanel::zoomCommands() {
    auto const zoom = [this](char const* name, QKeySequence const& keys, char const* help,
                             std::function<void(ViewMap&)> act) {
        return ViewerCommand{"View", name, keys, help,
                             [this, act = std::move(act)] { m_canvas->changeView(act); }};
    };
    ViewerCommands all = {
        zoom("Fit to Panel", QKeySequence("F"), "Show the whole picture",
             [](ViewMap& map) { map.fit(); }),
        zoom("Actual Pixels", QKeySequence("Ctrl+1"),
             "Show the picture at 100 %: one of its pixels is one of the screen",
             [](ViewMap& map) { map.zoomAtCenter(1); }),
        zoom("800 %", QKeySequence("Ctrl+8"), "Show the picture large enough for the pixel grid",
             [](ViewMap& map) { map.zoomAtCenter(kGridZoom); }),
        zoom("Zoom In", QKeySequence("Ctrl++"),
             "Zoom in about the middle; the wheel zooms at the cursor",
             [](ViewMap& map) { map.zoomAtCenter(map.nextZoom(true)); }),
        zoom("Zoom Out", QKeySequence("Ctrl+-"),
             "Zoom out about the middle; the wheel zooms at the cursor",
             [](ViewMap& map) { map.zoomAtCenter(map.nextZoom(false)); })};
    for (ViewerCommand& command : all)
        if (command.name == "Zoom In") command.otherKeys = {QKeySequence("Ctrl+=")};
    all.push_back({"View", "Fit Pins", QKeySequence("Shift+A"),
                   "Show all pins and the picture, however far out they lie",
                   [this] { m_canvas->fitPins(); }});
    return all;
}

ViewerCommands CompositionPanel::lookCommands() {
    ViewerCommands all;
    addChoices(
        all, "View/Picture", kShownChoices,
        [this](ShownPicture shows) { changeLook([&](CanvasLook& look) { look.shows = shows; }); },
        [this] { return m_canvas->look().shows; });
    all.back().isEnabled = [this] { return m_canvas->hasPlate(); };
    addChoices(
        all, "View/Channels", kChannelChoices,
        [this](ChannelView channels) {
            changeLook([&](CanvasLook& look) {
                bool const isBack = look.pixels.channels == channels;
                look.pixels.channels = isBack ? ChannelView::kColor : channels;
            });
        },
        [this] { return m_canvas->look().pixels.channels; });
    addChoices(
        all, "View/Background", kBackdropChoices,
        [this](Backdrop backdrop) {
            changeLook([&](CanvasLook& look) { look.pixels.backdrop = backdrop; });
        },
        [this] { return m_canvas->look().pixels.backdrop; });
    all.back().isEnabled = [this] { return m_canvas->hasPlate(); };
    return all;
}

ViewerCommands CompositionPanel::switchCommands() {
    auto const toggle = [this](char const* menu, char const* name, char const* keys,
                               char const* help, bool CanvasLook::*field) {
        return ViewerCommand{
            menu,
            name,
            QKeySequence(keys),
            help,
            [this, field] { changeLook([&](CanvasLook& look) { look.*field = !(look.*field); }); },
            {},
            [this, field] { return m_canvas->look().*field; }};
    };
    auto const wipeBy = [this](char const* name, char const* keys, double step) {
        return ViewerCommand{"View",
                             name,
                             QKeySequence(keys),
                             "Move the wipe's line",
                             [this, step] {
                                 changeLook([&](CanvasLook& look) {
                                     look.wipeFrac =
                                         std::clamp(m_canvas->wipeFrac() + step, 0.0, 1.0);
                                 });
                             },
                             [this] { return m_document.isOpen() && m_canvas->isWiped(); }};
    };
    ViewerCommand wipe =
        toggle("View", "Wipe", "W",
               "Compare the frame with the plate, or the layer, left of a line that can be dragged",
               &CanvasLook::hasWipe);
    wipe.isEnabled = [this] {
        return m_document.isOpen() && m_canvas->look().shows == ShownPicture::kFrame;
    };
    return {wipe,
            wipeBy("Wipe Left", "Ctrl+[", -kWipeStepFrac),
            wipeBy("Wipe Right", "Ctrl+]", kWipeStepFrac),
            toggle("View", "Pixel Grid", "Ctrl+'", "Draw lines between pixels from 800 % on",
                   &CanvasLook::hasGrid),
            toggle("Pins", "Show Pins", "Ctrl+Shift+H",
                   "Show pins, outlines, labels and motion paths", &CanvasLook::hasOverlay),
            toggle("Pins", "Show Motion Paths", "Shift+M",
                   "Show where the selected pins are at each frame; keyframes can be dragged",
                   &CanvasLook::hasMotionPaths),
            toggle("Pins", "Snap", "S",
                   "Snap pins to corners, middles of edges and whole pixels; Ctrl while dragging "
                   "reverses it",
                   &CanvasLook::snaps)};
}

ViewerCommands CompositionPanel::pinCommands() {
    auto const hasSelection = [this] {
        return m_document.isOpen() && m_canvas->look().hasOverlay &&
               !m_canvas->pins().selection().empty();
    };
    auto const nudge = [&](char const* name, double dx, double dy) {
        return ViewerCommand{
            "Pins",
            name,
            {},
            "Move the selected pins by a pixel (arrow keys in the panel; Shift by 10, Alt by 1/10)",
            [this, dx, dy] { m_canvas->nudge(dx, dy); },
            hasSelection};
    };
    auto const scale = [&](char const* name, bool isUp) {
        return ViewerCommand{"Pins",
                             name,
                             {},
                             isUp ? "Scale the selected pins up by 1 % about their middle "
                                    "(Ctrl+Up; with Shift 10 %, Ctrl+Right 0.1 %)"
                                  : "Scale the selected pins down by 1 % about their middle "
                                    "(Ctrl+Down; with Shift 10 %, Ctrl+Left 0.1 %)",
                             [this, isUp] { m_canvas->scalePins(isUp); },
                             [this, hasSelection] {
                                 return hasSelection() && m_canvas->pins().selection().size() > 1;
                             }};
    };
    return {{"Pins", "Select All Pins", QKeySequence("Ctrl+A"),
             "Select all pins that are shown (Tab in the panel steps through them, 1 to 8 add one)",
             [this] { m_canvas->selectAllPins(); }},
            {"Pins",
             "Set Position\u2026",
             {},
             "Type x and y of the selected pin (Enter in the panel, or a double click)",
             [this] { m_canvas->typePosition(); },
             hasSelection},
            {"Pins",
             "To Pins to Frame Corners",
             {},
             "Put the To Pins on the frame's corners",
             [this] { m_canvas->pins().toFrameCorners(); },
             [this] { return m_document.isOpen() && !m_document.scene().isInverted; }},
            {"Pins",
             "Show From Pins",
             {},
             "Set Overlay Mode, which hides the From Pins, to show both quads",
             [this] { m_canvas->pins().showFromPins(); },
             [this] { return m_document.isOpen() && m_canvas->pins().hidesFromPins(); }},
            nudge("Nudge Left", -1, 0),
            nudge("Nudge Right", 1, 0),
            nudge("Nudge Up", 0, -1),
            nudge("Nudge Down", 0, 1),
            scale("Scale Up", true),
            scale("Scale Down", false)};
}

}  // namespace zelk

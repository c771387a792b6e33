// Frame, zoom and kind of a panel; see panel_options.h.
#include "apps/zelk/panel_options.h"

#include "zelk/scene/clock.h"
#include "zelk/scene/words.h"
#include "zelk/text/choices.h"
#include "zelk/tracks/track.h"

namespace zelk {

namespace {

constexpr Choice<PF_WindowType> kPanels[] = {{"comp", PF_Window_COMP}, {"layer", PF_Window_LAYER}};

/// "0.5", "2" or "200%".
double parseZoom(std::string const& text) {
    constexpr double kLeast = 0.01, kMost = 64;
    bool const isPercent = text.ends_with('%');
    auto const number = parseNumber(text.substr(0, text.size() - (isPercent ? 1 : 0)));
    double const zoom = number.value_or(0) / (isPercent ? 100 : 1);
    if (zoom >= kLeast && zoom <= kMost) return zoom;
    throw UserError(ExitCode::kUsage, {"--zoom", number ? "out of range:" : "not a number:", text,
                                       "a factor from 0.01 to 64, or as much in percent"});
}

}  // namespace

void requireFrame(PanelView const& view, Scene const& scene) {
    if (view.frame && scene.hasComp) requireOnClock(scene.comp, *view.frame, "--frame");
}

void requirePanels(Host const& host, HostApp app) {
    if (!host.registeredCustomUi())
        throw UserError(ExitCode::kUsage, {"--host", "the effect has no panels in",
                                           std::string(wordOf(kHostWords, app)), "another host"});
}

void requireOneSpace(PanelView const& view, PixelSize layer, PixelSize frame) {
    bool const isOne = layer.width == frame.width && layer.height == frame.height;
    if (view.panel == PF_Window_LAYER && !isOne)
        throw UserError(
            ExitCode::kUsage,
            "--panel layer needs To Pins in the layer's own frame; here it has another size");
}

void PanelOptions::add(OptionAdder const& add) {
    add.text("Panel", "--frame", m_frame, "N", "The frame that is shown (the first)");
    add.text("Panel", "--zoom", m_zoom, "ZOOM", "Panel pixels to a pixel: 0.5, 2 or 200% (1)");
    add.text("Panel", "--panel", m_panel, "PANEL", listOf(wordsOf(kPanels)) + " (comp)",
             wordListOf(kPanels));
}

PanelView PanelOptions::view() const {
    PanelView view;
    if (m_frame) view.frame = wholeInRange("--frame", *m_frame, -kLargestFrame, kLargestFrame);
    if (m_zoom) view.zoom = parseZoom(*m_zoom);
    if (m_panel) view.panel = pick(kPanels, "--panel", *m_panel);
    return view;
}

}  // namespace zelk

// Port calls turned into Canvas calls.
#include "apps/zelk/overlay_port.h"

#include <fmt/format.h>

#include <cmath>
#include <string>

#include "hostkit/events.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

constexpr CanvasColor kAroundFrame = {38, 38, 38};
constexpr double kFontPx = 12;

CanvasColor canvasColor(RGBColor const& color) {
    return {color.red >> 8, color.green >> 8, color.blue >> 8};
}

void drawLine(void* canvas, short fromX, short fromY, short toX, short toY, RGBColor const* color) {
    static_cast<Canvas*>(canvas)->line({fromX + 0.5, fromY + 0.5}, {toX + 0.5, toY + 0.5},
                                       {canvasColor(*color), 1});
}

short drawText(void* canvas, short x, short y, char const* text, int length,
               RGBColor const* color) {
    std::string const line(text, static_cast<std::size_t>(length));
    auto& paper = *static_cast<Canvas*>(canvas);
    paper.text({double(x), double(y)}, line, kFontPx, canvasColor(*color));
    return static_cast<short>(std::lround(paper.textWidth(line, kFontPx)));
}

}  // namespace

OverlayPort::OverlayPort(Canvas& canvas)
    : m_backend{&canvas, drawLine, drawText}, m_outer(installDrawingPortBackend(&m_backend)) {}

OverlayPort::~OverlayPort() { installDrawingPortBackend(m_outer); }

Canvas drawOverlay(Host& host, World const& picture, Panel const& panel, FrameRequest const& frame,
                   int widthPx, int heightPx) {
    Canvas canvas(widthPx, heightPx, kAroundFrame);
    PanelEvents events(host);
    events.panel() = panel;
    events.frame = frame;
    PanelPoint const corner = panel.toFrame(panel.toComp({}));
    canvas.picture(picture, {corner.x, corner.y}, panel.zoom);
    OverlayPort const port(canvas);
    CommandResult const drawn = events.draw().command;
    if (drawn.code)
        throw UserError(ExitCode::kRenderFailed,
                        fmt::format("the effect answered a draw event with {}", drawn.code));
    return canvas;
}

}  // namespace zelk

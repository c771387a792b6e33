// The effect's overlay on a picture: a drawing port whose lines and labels go to a Canvas.
#pragma once

#include "apps/drawing/canvas.h"
#include "hostkit/host.h"
#include "hostkit/panel.h"
#include "platform/services/DrawingPort.h"

namespace zelk {

/// Makes a canvas the current port for the length of a scope; scopes nest. A port's pixel is drawn
/// about its centre, lines a pixel wide. The canvas must outlive the port.
class OverlayPort {
public:
    explicit OverlayPort(Canvas& canvas);
    ~OverlayPort();
    OverlayPort(OverlayPort const&) = delete;
    OverlayPort& operator=(OverlayPort const&) = delete;

private:
    DrawingPortBackend m_backend;
    DrawingPortBackend const* m_outer;
};

/// A panel of that size as its user sees it: a frame at the panel's zoom and pan, and over it what
/// the effect draws for the values of that moment. Throws a render error when the effect fails.
Canvas drawOverlay(Host& host, World const& picture, Panel const& panel, FrameRequest const& frame,
                   int widthPx, int heightPx);

}  // namespace zelk

// What an overlay draws on: the host's draw suite, or OpenGL in a host without one.
//
// Space: canonical, y up; `pixel` is the size of a screen pixel in it. Colours from 0 to 1.
#pragma once

#include <memory>
#include <string_view>

#include "bindings/openfx/suites.h"

namespace zelk::bindings {

class OverlayCanvas {
public:
    virtual ~OverlayCanvas() = default;
    virtual void setColor(OfxRGBAColourF const& color) = 0;
    virtual void line(OfxPointD const& from, OfxPointD const& to) = 0;
    /// Its baseline starts at a point.
    virtual void text(OfxPointD const& at, std::string_view text) = 0;
};

/// For one draw action.
std::unique_ptr<OverlayCanvas> drawSuiteCanvas(OfxDrawContextHandle context);
/// Null where the process has no OpenGL. The projection is the host's; what is changed of its state
/// is put back when the canvas goes. Labels are drawn in strokes.
std::unique_ptr<OverlayCanvas> openGlCanvas(OfxPointD const& pixel);

}  // namespace zelk::bindings

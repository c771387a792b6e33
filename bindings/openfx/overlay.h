// The overlay of an OpenFX host: outlines and labels as the effect itself draws them, a handle at
// each pin that the host has none for, and the mouse by the effect's own rules.
//
// A pen near a handle drags that pin, to any fraction of a pixel. Elsewhere the click goes to the
// effect: it picks a quad and drags it by whole pixels, or scales it about the click while Shift is
// held. The effect counts y down from the frame's upper left corner.
#pragma once

#include "bindings/openfx/ofx_types.h"

namespace zelk::bindings {

/// Entry functions of the interact, for OpenGL and for the draw suite.
OfxStatus overlayByOpenGl(char const* action, void const* handle, OfxPropertySetHandle inArgs,
                          OfxPropertySetHandle outArgs);
OfxStatus overlayByDrawSuite(char const* action, void const* handle, OfxPropertySetHandle inArgs,
                             OfxPropertySetHandle outArgs);

}  // namespace zelk::bindings

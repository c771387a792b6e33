// The render pipeline's instance for float, alpha first.
#include "effect/CornerPinRender.h"
#include "effect/Render.h"

PF_Err Render_ARGB32(PluginHost_API* host) {
    return CornerPinRender<PIXEL_ARGB32, float, double, float, PIXEL_ARGB32::FORMAT>(host);
}

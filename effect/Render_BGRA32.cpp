// The render pipeline's instance for float, alpha last.
#include "effect/CornerPinRender.h"
#include "effect/Render.h"

PF_Err Render_BGRA32(PluginHost_API* host) {
    return CornerPinRender<PIXEL_BGRA32, float, double, float, PIXEL_BGRA32::FORMAT>(host);
}

// The render pipeline's instance for 16 bits with white at 32768, alpha first.
#include "effect/CornerPinRender.h"
#include "effect/Render.h"

PF_Err Render_ARGB15(PluginHost_API* host) {
    return CornerPinRender<PIXEL_ARGB15, unsigned short, double, int, PIXEL_ARGB15::FORMAT>(host);
}

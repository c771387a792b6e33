// The render pipeline's instance for 8 bits, alpha first.
#include "effect/CornerPinRender.h"
#include "effect/Render.h"

PF_Err Render_ARGB8(PluginHost_API* host) {
    return CornerPinRender<PIXEL_ARGB8, unsigned char, int, int, PIXEL_ARGB8::FORMAT>(host);
}

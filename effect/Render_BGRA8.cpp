// The render pipeline's instance for 8 bits, alpha last.
#include "effect/CornerPinRender.h"
#include "effect/Render.h"

PF_Err Render_BGRA8(PluginHost_API* host) {
    return CornerPinRender<PIXEL_BGRA8, unsigned char, int, int, PIXEL_BGRA8::FORMAT>(host);
}

// The blur's instance for PIXEL_RGBA8.
#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/Transform_Core_Render/ProgressiveBlur.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurPyramid.h"

ZELK_BLUR_FAMILY(PIXEL_RGBA8)

ZELK_BLUR_WRAPPER(RGBA8) {
    using P = PIXEL_RGBA8;
    return progressiveBlur<P, P::Channel, P::Wide, P::Weight, P::FORMAT>(
        host, line, radius, aspect, fadeStart, fadeLength, curve, raster, alphaPlane, kind);
}

// The engine's instance for PIXEL_BGRA14.
#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "Transform/Common/Transform_Core_Render/CoreTransformRender.h"

ZELK_CORE_WRAPPER(BGRA14) {
    using P = PIXEL_BGRA14;
    return CoreTransformRender<P, P::Channel, P::Wide, P::Weight, P::FORMAT>(
        host, core, src, dst, clearOutput, singleChannel, settings, edgeCoverage, fillMode);
}

// Filling of CoreRenderArguments and RenderSettings.
#include "effect/PassRecords.h"

#include <algorithm>
#include <array>

#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/Transform_Core_Render/PassPlan.h"
#include "host/ChannelOrder.h"

namespace {

/// A pin at 1 is the last pixel of the source rectangle, not the one beyond it.
void quadInPixels(QV_UnitPoint const (&pins)[4], RenderSettings const& s,
                  QV_UnitPoint (&polygon)[4]) {
    constexpr int kPinOfVertex[4] = {0, 1, 3, 2};
    int const lastX = s.srcRight - s.srcLeft, lastY = s.srcBottom - s.srcTop;
    for (int i = 0; i < 4; ++i) {
        QV_UnitPoint const& pin = pins[kPinOfVertex[i]];
        polygon[i] = {pin.x * lastX + s.srcLeft, pin.y * lastY + s.srcTop};
    }
}

}  // namespace

CoreRenderArguments coreArguments(int quality, ResampleOptions const* resample) {
    CoreRenderArguments core;
    core.filter = filterOfQuality(quality);
    if (!resample || resample->kernel.filter < 0) return core;
    core.filter = resample->kernel.filter;
    core.sizeIndex = resample->kernel.sizeIndex;
    core.paramB = resample->kernel.paramB;
    core.paramC = resample->kernel.paramC;
    return core;
}

RenderSettings wholeImageSettings(int width, int height) {
    RenderSettings settings;
    settings.dstRight = settings.srcRight = width - 1;
    settings.dstBottom = settings.srcBottom = height - 1;
    settings.srcMaxX = settings.srcMaxY = -1;
    return settings;
}

void setRectangles(RenderSettings& settings, PluginHost_API::RasterInfo const& source,
                   PluginHost_API::RasterInfo const& destination) {
    settings.srcLeft = settings.srcTop = settings.dstLeft = settings.dstTop = 0;
    settings.srcRight = source.width - 1;
    settings.srcBottom = source.height - 1;
    settings.dstRight = destination.width - 1;
    settings.dstBottom = destination.height - 1;
}

void setSample(RenderSettings& settings, CoreRenderArguments const& core, SamplePose const& pose,
               QV_RasterFormat format) {
    settings.renderMode = core.renderMode;
    settings.reposition = true;
    settings.repositionTranslateX = pose.translateX;
    settings.repositionTranslateY = pose.translateY;
    settings.repositionScaleX = pose.scaleX;
    settings.repositionScaleY = pose.scaleY;
    settings.repositionRotate = pose.rotate;
    settings.alphaOffset = channelPositionsOf(format)[3];
    quadInPixels(pose.to, settings, settings.sourceQuad);
    quadInPixels(pose.from, settings, settings.targetQuad);
}

void setSample(CoreRenderArguments& core, SamplePose const& pose) {
    std::copy_n(pose.to, 4, core.toPins);
    std::copy_n(pose.from, 4, core.fromPins);
}

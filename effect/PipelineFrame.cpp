// The stages of a pipeline call that no pixel format enters.
#include "effect/PipelineFrame.h"

#include <memory>
#include <optional>
#include <utility>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "effect/PassRecords.h"

namespace {

enum ViewMode : std::int32_t { kViewOriginal = 0, kViewFromPins = 1, kViewToPins = 2 };

PassPlan passPlan(RenderArguments const& args) {
    switch (args.viewMode) {
        case kViewOriginal:
            return PassPlan::kNone;
        case kViewFromPins:
            return PassPlan::kFromToFrame;
        case kViewToPins:
            return PassPlan::kFrameToTo;
        default:
            return args.cropToPins ? PassPlan::kFromToFrameToTo : PassPlan::kDirect;
    }
}

constexpr PF_Err kNoRaster = 1;  ///< an image that could not be had

/// A host whose query fails describes an image without pixels, or as one of 8 bits.
bool isUsable(PluginHost_API::RasterInfo const& info, QV_RasterFormat format) {
    return info.format == format && (info.data || info.width == 0 || info.height == 0);
}

PF_Err fail(PipelineFrame& frame, PF_Err code) {
    frame.host->fillOutput();
    return code;
}

/// The margin is the concern of one render only: it leaves the record here.
void takeMargin(PipelineFrame& frame) {
    frame.hostSettings = static_cast<RenderSettings*>(frame.host->getUserData());
    if (!frame.hostSettings || !frame.host->getAEHost()) return;
    frame.marginX = std::exchange(frame.hostSettings->frameShiftX, 0);
    frame.marginY = std::exchange(frame.hostSettings->frameShiftY, 0);
}

/// From here on the pins count over the whole image, and the host is told so.
void enterGrownFrame(PipelineFrame& frame, SamplePose& pose) {
    if (frame.marginX <= 0 && frame.marginY <= 0) return;
    const int width = frame.workInfo.width, height = frame.workInfo.height;
    remapToGrownFrame(pose, {frame.host->getOutputWidth(), frame.host->getOutputHeight(),
                             frame.marginX, frame.marginY, width, height});
    frame.host->setOutputSize(width, height);
}

bool isSameSize(PluginHost_API::RasterInfo const& a, PluginHost_API::RasterInfo const& b) {
    return a.width == b.width && a.height == b.height;
}

/// Otherwise the passes draw the layer's size, and the output has to hold it.
bool fits(PipelineFrame const& frame) {
    return hasOwnFrame(frame) || (frame.outInfo.width >= frame.workInfo.width &&
                                  frame.outInfo.height >= frame.workInfo.height);
}

/// The size that the host reports while a pass runs: pins are fractions of the pass's destination.
class PassOutputSize {
public:
    PassOutputSize(PluginHost_API* host, PluginHost_API::RasterInfo const& destination)
        : m_host(host), m_width(host->getOutputWidth()), m_height(host->getOutputHeight()) {
        m_host->setOutputSize(destination.width, destination.height);
    }
    ~PassOutputSize() { m_host->setOutputSize(m_width, m_height); }
    PassOutputSize(PassOutputSize const&) = delete;
    PassOutputSize& operator=(PassOutputSize const&) = delete;

private:
    PluginHost_API* m_host;
    int m_width, m_height;
};

int renderPass(PipelineFrame& frame, CoreRenderArguments& core, QuadMode quadMode,
               PluginHost_API::RasterInfo const& from, PluginHost_API::RasterInfo const& to,
               RenderSettings* settings) {
    constexpr bool kClearOutput = true, kSingleChannel = false, kEdgeCoverage = true,
                   kFillMode = false;
    core.quadMode = quadMode;
    std::optional<PassOutputSize> outputSize;
    if (hasOwnFrame(frame)) {
        outputSize.emplace(frame.host, to);
        setRectangles(*settings, from, to);
    }
    return CommonRender_CoreTransformRender(frame.host, core, from, to, kClearOutput,
                                            kSingleChannel, settings, kEdgeCoverage, kFillMode);
}

/// Both passes start from the same values: a pass may rewrite its records.
void renderTwoPasses(PipelineFrame& frame, CoreRenderArguments& core, RenderSettings* settings,
                     bool fromAtRest) {
    PluginHost_API* host = frame.host;
    PluginHost_API::RasterInfo const& interim = frame.interimInfo;
    CoreRenderArguments secondCore = core;
    RenderSettings secondSettings = *settings;

    if (frame.passes == PassPlan::kFrameToTo || fromAtRest)
        host->copy(frame.rasters.work, frame.rasters.interim);
    else
        renderPass(frame, core, kQuadFromToUnit, frame.workInfo, interim, settings);

    if (frame.passes == PassPlan::kFromToFrame) {
        if (hasOwnFrame(frame)) host->fillOutput();
        host->copy(frame.rasters.interim, frame.rasters.out);
    } else
        renderPass(frame, secondCore, kQuadUnitToTo, interim, frame.outInfo, &secondSettings);
}

}  // namespace

bool hasOwnFrame(PipelineFrame const& frame) {
    return !frame.host->getAEHost() && !frame.hostSettings &&
           !isSameSize(frame.workInfo, frame.outInfo);
}

PF_Err readFrame(PipelineFrame& frame) {
    takeMargin(frame);
    if (!ParamsRetrieveValues(frame.host, &frame.args)) {
        if (const PF_Err code = ParamsRetrieveValuesFromHost(frame.host, &frame.args))
            return fail(frame, code);
    }
    frame.passes = passPlan(frame.args);
    return 0;
}

PF_Err takeWorkingCopy(PipelineFrame& frame, QV_RasterFormat format) {
    PluginHost_API* host = frame.host;
    std::unique_ptr<PluginRaster_API> input(host->getInputRaster(0));
    if (!input) return fail(frame, kNoRaster);
    if (const PF_Err code = frame.rasters.allocate(frame.rasters.work, input.get()))
        return fail(frame, code);
    host->copy(input.get(), frame.rasters.work);
    input.reset();
    frame.rasters.out = host->getOutputRaster();
    host->getRasterInfo(frame.rasters.work, &frame.workInfo);
    host->getRasterInfo(frame.rasters.out, &frame.outInfo);
    if (!isUsable(frame.workInfo, format) || !isUsable(frame.outInfo, format) || !fits(frame))
        return fail(frame, kNoRaster);
    return 0;
}

PF_Err prepareSamples(PipelineFrame& frame) {
    frame.plan = planSamples(frame.host);
    if (const PF_Err code = frame.rasters.allocate(frame.rasters.interim, frame.rasters.work))
        return fail(frame, code);
    frame.host->getRasterInfo(frame.rasters.interim, &frame.interimInfo);
    if (!isUsable(frame.interimInfo, frame.workInfo.format)) return fail(frame, kNoRaster);
    frame.core = coreArguments(frame.args.quality);
    return 0;
}

void renderSample(PipelineFrame& frame) {
    SamplePose pose = samplePose(frame.args);
    const bool fromAtRest = fromIsIdentity(pose);
    addOffsets(pose);
    enterGrownFrame(frame, pose);

    RenderSettings ownSettings;
    if (!frame.hostSettings)
        ownSettings = wholeImageSettings(frame.workInfo.width, frame.workInfo.height);
    RenderSettings* settings = frame.hostSettings ? frame.hostSettings : &ownSettings;
    setSample(*settings, frame.core, pose, frame.workInfo.format);
    setSample(frame.core, pose);

    if (frame.passes != PassPlan::kDirect) {
        renderTwoPasses(frame, frame.core, settings, fromAtRest);
    } else if (const int code = renderPass(frame, frame.core, kQuadFromToTo, frame.workInfo,
                                           frame.outInfo, settings)) {
        frame.result = code;
    }
}

// The stages of a pipeline call that no pixel format enters.
#include "effect/PipelineFrame.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "Transform/Common/PixelBlocks.h"
#include "effect/HostCamera.h"
#include "effect/PassRecords.h"
#include "params/HostControls.h"
#include "params/ParamIndex.h"

namespace {

constexpr PF_Err kNoRaster = 1;  ///< an image that could not be had

/// Takes an image to have the output's format, whatever the host tells of it: some tell nothing of
/// images that they made themselves. False when it has no pixels, or rows too short for the format.
bool takeAsOutputs(PipelineFrame const& frame, PluginHost_API::RasterInfo& info) {
    info.format = frame.format;
    info.pixelBytes = frame.pixelBytes;
    bool const rowsSuffice =
        std::abs(std::int64_t{info.rowBytes}) >= std::int64_t{info.width} * frame.pixelBytes;
    return info.width == 0 || info.height == 0 || (info.data && rowsSuffice);
}

/// Of the pipeline's own images, whatever the host tells of others.
PluginRaster_API::PixelType depthOf(PipelineFrame const& frame) {
    return convertToPixelType(frame.format);
}

PF_Err allocateLike(PipelineFrame const& frame, OwnedRaster& slot, PluginRaster_API* model) {
    return slot.allocate(model->getWidth(), model->getHeight(), depthOf(frame));
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
    int const width = frame.workInfo.width, height = frame.workInfo.height;
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

/// Where a sample's last pass draws.
struct Destination {
    PluginRaster_API* raster;
    PluginHost_API::RasterInfo const& info;
};

Destination destinationOf(PipelineFrame const& frame) {
    if (frame.plan.blurOn) return {frame.rasters.sample.get(), frame.sampleInfo};
    return {frame.rasters.out.get(), frame.outInfo};
}

/// Both passes start from the same values: a pass may rewrite its records.
void renderTwoPasses(PipelineFrame& frame, CoreRenderArguments& core, RenderSettings* settings,
                     DrawnPasses const& drawn) {
    PluginHost_API* host = frame.host;
    PluginHost_API::RasterInfo const& interim = frame.interimInfo;
    const Destination destination = destinationOf(frame);
    CoreRenderArguments secondCore = core;
    RenderSettings secondSettings = *settings;
    secondSettings.sourceFunc = nullptr;
    settings->drawsFrame = false;  // an image of the layer's size
    // A pass of the effect's own never fails; one that a binding asks more of may lack memory.
    auto const keep = [&frame](int code) {
        if (frame.host->resampleOptions() && !frame.result) frame.result = code;
    };

    if (drawn.fromQuad) {
        keep(renderPass(frame, core, kQuadFromToUnit, frame.sourceInfo, interim, settings));
    } else {
        multiplyWorkingCopy(frame);
        host->copy(frame.rasters.work.get(), frame.rasters.interim.get());
    }

    if (drawn.toQuad) {
        keep(renderPass(frame, secondCore, kQuadUnitToTo, interim, destination.info,
                        &secondSettings));
    } else {
        if (hasOwnFrame(frame)) host->fill(destination.raster);
        host->copy(frame.rasters.interim.get(), destination.raster);
    }
}

/// Alpha and colour of the working copy stay as they come: the input itself will do.
bool mayBorrow(PipelineFrame const& frame, PluginRaster_API* input) {
    PluginHost_API* const host = frame.host;
    if (!host->lendsInput() || host->keepsStraightColor() || hostLacksAlpha(host) ||
        usesSource(frame))
        return false;
    PluginHost_API::RasterInfo info{};
    host->getRasterInfo(input, &info);
    return info.format == frame.format;
}

/// An image beside the working copy, of `model`'s size. 0, or why it can't be used.
PF_Err addRaster(PipelineFrame& frame, OwnedRaster& slot, PluginRaster_API* model,
                 PluginHost_API::RasterInfo& info) {
    if (const PF_Err code = allocateLike(frame, slot, model)) return code;
    frame.host->getRasterInfo(slot.get(), &info);
    return takeAsOutputs(frame, info) ? PF_Err_NONE : kNoRaster;
}

void copyRows(PluginHost_API::RasterInfo const& from, PluginHost_API::RasterInfo const& to) {
    int const bytes = std::min(std::abs(from.rowBytes), std::abs(to.rowBytes));
    copyBlock(to.data, to.rowBytes, from.data, from.rowBytes, static_cast<std::size_t>(bytes),
              to.height);
}

/// The host takes straight colour, or associated colour that nothing is laid under.
bool mayFinishRows(PipelineFrame const& frame) {
    return frame.host->keepsStraightColor() || (frame.host->getFXPLUGHost() && !usesSource(frame));
}

void useCamera(PipelineFrame& frame, std::int32_t time) {
    if (!frame.host->hasCamera() || !GetUseHostCameraParamValue(frame.host)) return;
    QV_Matrix4 matrix{};
    bool found = false;
    double zoom = 1.0, planeDistance = 0;
    int planeWidth = 0, planeHeight = 0;
    int const code = GetCameraMatrix(frame.host, &matrix, time, frame.host->getTimeScale(), found,
                                     &zoom, frame.workInfo.width, frame.workInfo.height, planeWidth,
                                     planeHeight, planeDistance);
    if (code || !found) return;
    CoreRenderArguments& core = frame.core;
    core.useCamera = true;
    static_assert(sizeof matrix.mat == sizeof core.cameraMatrix);
    std::memcpy(core.cameraMatrix, matrix.mat, sizeof core.cameraMatrix);
    core.cameraPlaneWidth = planeWidth;
    core.cameraPlaneHeight = planeHeight;
    core.cameraPlaneDistance = planeDistance;
}

}  // namespace

bool hasOwnFrame(PipelineFrame const& frame) {
    return !frame.host->getAEHost() && !frame.hostSettings &&
           !isSameSize(frame.workInfo, frame.outInfo);
}

PF_Err readFrame(PipelineFrame& frame) {
    takeMargin(frame);
    if (ParamsRetrieveValues(frame.host, &frame.args)) {
        frame.motionBlur = GetMBlurValue(frame.host);
    } else {
        PF_Err code = ParamsRetrieveValuesFromHost(frame.host, &frame.args);
        if (!code) code = MotionBlurFromHost(frame.host, &frame.motionBlur);
        if (code) return fail(frame, code);
    }
    frame.passes = passPlan(frame.args.viewMode, frame.args.cropToPins);
    return 0;
}

PF_Err takeWorkingCopy(PipelineFrame& frame) {
    PluginHost_API* host = frame.host;
    std::unique_ptr<PluginRaster_API> input(host->getInputRaster(kParamInputLayer));
    if (!input) return fail(frame, kNoRaster);
    PipelineRasters& rasters = frame.rasters;
    if (mayBorrow(frame, input.get())) {
        rasters.work.adopt(input.release());
    } else {
        if (const PF_Err code = allocateLike(frame, rasters.work, input.get()))
            return fail(frame, code);
        // After Effects gives cleared images.
        if (host->copy(input.get(), rasters.work.get()) && !host->getAEHost())
            host->fill(rasters.work.get());
        input.reset();
    }
    rasters.out.reset(host->getOutputRaster());
    host->getRasterInfo(rasters.work.get(), &frame.sourceInfo);
    host->getRasterInfo(rasters.work.get(), &frame.workInfo);
    host->getRasterInfo(rasters.out.get(), &frame.outInfo);
    // What is told of the output chose this pipeline, and has to be told of it again.
    if (frame.outInfo.format != frame.format || !takeAsOutputs(frame, frame.sourceInfo) ||
        !takeAsOutputs(frame, frame.workInfo) || !takeAsOutputs(frame, frame.outInfo) ||
        !fits(frame))
        return fail(frame, kNoRaster);
    return 0;
}

PF_Err prepareSamples(PipelineFrame& frame) {
    PipelineRasters& rasters = frame.rasters;
    frame.plan = planSamples(frame.host, frame.args, frame.motionBlur);
    PF_Err code = addRaster(frame, rasters.interim, rasters.work.get(), frame.interimInfo);
    if (!code && frame.plan.blurOn)
        code = addRaster(frame, rasters.sample,
                         hasOwnFrame(frame) ? rasters.out.get() : rasters.work.get(),
                         frame.sampleInfo);
    if (code) return fail(frame, code);
    // Merging and copying reach as far as the layer; what lies beyond is nobody else's to clear.
    if (!isSameSize(frame.workInfo, frame.outInfo)) frame.host->fillOutput();
    frame.core = coreArguments(frame.args.quality, frame.host->resampleOptions());
    return 0;
}

PF_Err softenSource(PipelineFrame& frame) {
    PluginHost_API* host = frame.host;
    frame.superSample = planSuperSample(
        frame.args, {frame.workInfo.width, frame.workInfo.height,
                     hasOwnFrame(frame) ? frame.outInfo.width : frame.workInfo.width,
                     hasOwnFrame(frame) ? frame.outInfo.height : frame.workInfo.height,
                     std::min(host->getScaleX(), host->getScaleY())});
    if (!frame.rasters.edged.get()) {
        PluginHost_API::RasterInfo edged{};
        if (const PF_Err code =
                addRaster(frame, frame.rasters.edged, frame.rasters.work.get(), edged))
            return fail(frame, code);
        frame.sourceInfo.data = edged.data;
        frame.sourceInfo.rowBytes = edged.rowBytes;
    }
    multiplyWorkingCopy(frame);
    copyRows(frame.workInfo, frame.sourceInfo);
    int const code = blurSource(host, frame.superSample, frame.sourceInfo);
    if (!frame.result) frame.result = code;
    return 0;
}

PF_Err renderSample(PipelineFrame& frame, int index) {
    const std::int32_t time = frame.plan.timeOf(index);
    SamplePose pose = samplePose(frame.args);
    if (frame.plan.readsAtTime) {
        if (int const code = samplePoseAt(frame.host, time, pose)) return fail(frame, code);
    }
    const DrawnPasses drawn = drawnPasses(frame.passes, isFromAtRest(pose.from, pose.reposition()));
    addOffsets(pose);
    enterGrownFrame(frame, pose);

    RenderSettings ownSettings;
    if (!frame.hostSettings)
        ownSettings = wholeImageSettings(frame.workInfo.width, frame.workInfo.height);
    RenderSettings* settings = frame.hostSettings ? frame.hostSettings : &ownSettings;
    setSample(*settings, frame.core, pose, frame.format);
    setSample(frame.core, pose);
    useCamera(frame, time);

    // Pixels are finished with the drawing where nothing comes between, and where what was not
    // drawn would stay as it is: a negative opacity makes -0 of 0.
    bool const isLast = drawn.direct && mayFinishRows(frame) && !frame.plan.blurOn &&
                        !softens(frame.args.quality) && frame.args.cornerPinOpacity >= 0;
    settings->finishFunc = isLast ? frame.finish : nullptr;
    settings->finishContext = &frame;
    settings->isFinished = false;
    settings->sourceFunc = [](void* of) { multiplyWorkingCopy(*static_cast<PipelineFrame*>(of)); };
    settings->sourceContext = &frame;
    settings->resample = frame.host->resampleOptions();
    settings->drawsFrame = true;
    if (!drawn.direct) {
        renderTwoPasses(frame, frame.core, settings, drawn);
    } else if (int const code = renderPass(frame, frame.core, kQuadFromToTo, frame.sourceInfo,
                                           destinationOf(frame).info, settings)) {
        if (!frame.result) frame.result = code;
    }
    frame.isOutFinished = isLast && settings->isFinished;
    settings->finishFunc = nullptr;
    settings->finishContext = nullptr;
    settings->sourceFunc = nullptr;
    settings->sourceContext = nullptr;
    settings->resample = nullptr;
    return 0;
}

void softenEnd(PipelineFrame& frame) {
    int const code = blurEnd(frame.host, frame.superSample, frame.outInfo);
    if (!frame.result) frame.result = code;
}

// PipelineFrame: the record that the stages of one pipeline call share, and the stages that are the
// same for every pixel format: reading, working copy, passes of the transform engine.
//
// Spaces: images in pixels; everything else as the records inside say. One frame lives for one
// call; its rasters go back when it ends.
#pragma once

#include <cstdint>
#include <utility>

#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Transform_Core_Render/PassPlan.h"
#include "effect/PipelineRasters.h"
#include "effect/SamplePlan.h"
#include "effect/SamplePose.h"
#include "effect/SuperSample.h"
#include "host/PluginHost_API.h"
#include "params/RenderArguments.h"
#include "platform/effect_api/effect_types.h"

struct PipelineFrame {
    PipelineFrame(PluginHost_API* pluginHost, QV_RasterFormat outputFormat, int bytesOfPixel)
        : host(pluginHost), format(outputFormat), pixelBytes(bytesOfPixel), rasters(pluginHost) {}

    PluginHost_API* host;
    QV_RasterFormat format;  ///< of the output, and so of every image
    int pixelBytes;
    RenderArguments args{};
    std::int32_t motionBlur = kMotionBlurOff;
    /// The record that the host object carries, or null. Without one each sample has its own.
    RenderSettings* hostSettings = nullptr;
    int marginX = 0, marginY = 0;  ///< Grow Bounds, pixels
    PassPlan passes = PassPlan::kNone;
    PipelineRasters rasters;
    PluginHost_API::RasterInfo workInfo{};
    PluginHost_API::RasterInfo sourceInfo{};  ///< source of the passes: `work`, or `edged`
    PluginHost_API::RasterInfo interimInfo{};
    PluginHost_API::RasterInfo sampleInfo{};
    PluginHost_API::RasterInfo outInfo{};
    SamplePlan plan;
    SuperSamplePlan superSample;  ///< of the last sample prepared; at rest in other qualities
    CoreRenderArguments core;
    /// The working copy is straight as yet, and this multiplies it, as `straightInfo` describes it:
    /// at the first reader, so that a frame without any is spared it. Its context is this frame.
    QV_SourceFunc multiply = nullptr;
    PluginHost_API::RasterInfo straightInfo{};
    /// Makes pixels of the output what the host wants where nothing comes after them: with the
    /// result's own opacity, and straight or associated again. Its context is this frame.
    QV_RowFunc finish = nullptr;
    bool isOutFinished = false;  ///< the only pass has done so already
    /// The first code of blurs, passes and compositing, 0 for success.
    PF_Err result = 0;
};

/// Whoever reads the working copy calls this first.
inline void multiplyWorkingCopy(PipelineFrame& frame) {
    if (QV_SourceFunc const multiply = std::exchange(frame.multiply, nullptr)) multiply(&frame);
}

/// Layer and frame have sizes of their own: on bindings other than After Effects, and where the
/// caller has not set rectangles. Known once there is a working copy.
bool hasOwnFrame(PipelineFrame const& frame);

inline bool hostLacksAlpha(PluginHost_API* host) {
    return host->getAVX2Host() || host->getAVX1Host();
}

/// A Transfer Mode lays the result over the source; nothing else reads the working copy after the
/// passes.
inline bool usesSource(PipelineFrame const& frame) {
    return frame.args.transferMode != kTransferNone;
}

/// The user stopped the render. After Effects is not asked: it learns of a stop by its callbacks.
inline bool isStopped(PipelineFrame const& frame) {
    return !frame.host->getAEHost() && frame.host->doAbort() != 0;
}

/// Takes the Grow Bounds margin out of the host's settings, reads all controls and chooses the
/// passes. 0, or the host's code when a control could not be read; the output is then cleared.
PF_Err readFrame(PipelineFrame& frame);

/// Makes the working copy, which is the input itself where that is lent and never written, and
/// wraps the output. 0; or why there is no working copy, or 1 when the host describes an image
/// without pixels, or with rows too short for the output's format, which all images are taken to
/// have, or the output in another format than at first. The output is then cleared.
PF_Err takeWorkingCopy(PipelineFrame& frame);

/// Plans the samples and makes what they need beside the working copy. Result as before.
PF_Err prepareSamples(PipelineFrame& frame);

/// Super Sample: makes the passes' source a softened copy of the layer, without its border's fade.
/// 0, or why there is no such image; the output is then cleared. A blur that is refused memory
/// stays in `frame.result`.
PF_Err softenSource(PipelineFrame& frame);

/// Renders one sample: into `sample` where samples are merged, else into the output. 0, or the
/// host's code for a control that could not be read at the sample's time; the output is then
/// cleared. A failure of a direct pass stays in `frame.result`; those of two-pass renders are not
/// kept.
PF_Err renderSample(PipelineFrame& frame, int index);

/// Super Sample: softens the finished frame where that is planned.
void softenEnd(PipelineFrame& frame);

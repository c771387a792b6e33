// PipelineFrame: the record that the stages of one pipeline call share, and the stages that are the
// same for every pixel format: reading, working copy, passes of the transform engine.
//
// Spaces: images in pixels; everything else as the records inside say. One frame lives for one
// call; its rasters go back when it ends.
#pragma once

#include <cstdint>

#include "Transform/Common/RenderRecords.h"
#include "effect/PipelineRasters.h"
#include "effect/SamplePlan.h"
#include "effect/SamplePose.h"
#include "host/PluginHost_API.h"
#include "params/RenderArguments.h"
#include "platform/effect_api/effect_types.h"

/// Which passes turn the source into the output.
enum class PassPlan {
    kNone,             ///< the input as it is
    kFromToFrame,      ///< From quad to the whole frame
    kFrameToTo,        ///< whole frame to the To quad
    kFromToFrameToTo,  ///< both, one after the other: what leaves the frame in between is gone
    kDirect,           ///< From quad to To quad in one pass
};

struct PipelineFrame {
    explicit PipelineFrame(PluginHost_API* pluginHost) : host(pluginHost), rasters(pluginHost) {}

    PluginHost_API* host;
    RenderArguments args{};
    /// The record that the host object carries, or null. Without one each sample has its own.
    RenderSettings* hostSettings = nullptr;
    int marginX = 0, marginY = 0;  ///< Grow Bounds, pixels
    PassPlan passes = PassPlan::kNone;
    PipelineRasters rasters;
    PluginHost_API::RasterInfo workInfo{};  ///< source of the passes
    PluginHost_API::RasterInfo interimInfo{};
    PluginHost_API::RasterInfo outInfo{};
    SamplePlan plan;
    CoreRenderArguments core;
    /// Of the passes and of the compositing, 0 for success.
    PF_Err result = 0;
};

/// Layer and frame have sizes of their own: on bindings other than After Effects, and where the
/// caller has not set rectangles. Known once there is a working copy.
bool hasOwnFrame(PipelineFrame const& frame);

/// Takes the Grow Bounds margin out of the host's settings, reads all controls and chooses the
/// passes. 0, or the host's code when a control could not be read; the output is then cleared.
PF_Err readFrame(PipelineFrame& frame);

/// Makes the working copy and wraps the output. 0; or why there is no working copy, or 1 when the
/// host describes an image in another format or without pixels. The output is then cleared.
PF_Err takeWorkingCopy(PipelineFrame& frame, QV_RasterFormat format);

/// Plans the samples and makes what they need beside the working copy. Result as before.
PF_Err prepareSamples(PipelineFrame& frame);

/// Renders one sample into the output. A failure of a direct pass stays in
/// `frame.result`; those of two-pass renders are not kept.
void renderSample(PipelineFrame& frame);

// CornerPinRender: the effect's render pipeline, one input frame into one output frame.
//
//   input --copy--> work --premultiply--> passes --> out --straight colour, opacity, transfer-->
//
// The passes resample premultiplied colour; a host that keeps straight colour (After Effects among
// them) has it multiplied first and divided last, one that keeps premultiplied colour (the FXPLUG
// family) has it straight only while opacity and transfer run, one without alpha (the AVX families)
// gets white alpha on the way in and none on the way out. Layer and frame may differ in size where
// the binding allows it: From Pins are then fractions of the layer and To Pins of the frame, and
// the image between two passes has the layer's size. Nothing outlives the call but the output's
// pixels and, in a grown frame, the host object's output size.
#pragma once

#include <cmath>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "effect/PipelineFrame.h"
#include "effect/PixelPasses.h"
#include "effect/Render.h"
#include "params/TransferMenu.h"

namespace corner_pin_detail {

template <class Trait>
void premultiply(PipelineFrame& frame, PluginRaster_API* raster) {
    Premult<Trait, typename Trait::Channel, typename Trait::Wide, typename Trait::Weight,
            typename Trait::FORMAT>(Trait{}, frame.host, raster);
}

template <class Trait>
void unPremultiply(PipelineFrame& frame, PluginRaster_API* raster) {
    UnPremult<Trait, typename Trait::Channel, typename Trait::Wide, typename Trait::Weight,
              typename Trait::FORMAT>(Trait{}, frame.host, raster);
}

/// The working copy as the passes want it: with alpha, and premultiplied before it is read.
template <class Trait>
void enterPremultiplied(PipelineFrame& frame) {
    constexpr auto kWhite = static_cast<typename Trait::Channel>(Trait::kWhite);
    if (hostLacksAlpha(frame.host)) setAlpha<Trait>(frame.workInfo, kWhite);
    if (!frame.host->keepsStraightColor()) return;
    frame.host->getRasterInfo(frame.rasters.work.get(), &frame.straightInfo);
    frame.multiply = [](void* of) {
        premult_detail::changeColour<Trait, typename Trait::Channel>(
            static_cast<PipelineFrame*>(of)->straightInfo, false);
    };
}

/// One sample from preparation to the mean of all. 0, or the code with which the render ends.
template <class Trait>
PF_Err takeSample(PipelineFrame& frame, int index) {
    if (softens(frame.args.quality)) {
        if (const PF_Err code = softenSource(frame)) return code;
        if (frame.superSample.fadeExtent)
            fadeBorder<Trait>(frame.sourceInfo, frame.superSample.fadeExtent);
    }
    if (const PF_Err code = renderSample(frame, index)) return code;
    if (frame.plan.blurOn) mergeSample<Trait>(frame.outInfo, frame.sampleInfo, index);
    return 0;
}

/// Straight colour for opacity and transfer.
template <class Trait>
void enterStraight(PipelineFrame& frame) {
    if (!frame.host->keepsStraightColor() && !frame.host->getFXPLUGHost()) return;
    if (usesSource(frame)) {
        multiplyWorkingCopy(frame);
        unPremultiply<Trait>(frame, frame.rasters.work.get());
    }
    if (!frame.isOutFinished) unPremultiply<Trait>(frame, frame.rasters.out.get());
}

/// Lays the result over the source by the Transfer Mode: in After Effects by the host's own
/// compositing, elsewhere by ours. In float, Screen is Add.
template <class Trait>
PF_Err transfer(PipelineFrame& frame, double cornerOpacity, double sourceOpacity) {
    A_long mode = transferModeOfEntry(frame.args.transferMode);
    if (Trait::kIsFloat && mode == PF_Xfer_SCREEN) mode = PF_Xfer_ADD;
    constexpr PF_Err kNoBackground = 1;
    PluginRaster_API* const work = frame.rasters.work.get();
    PluginRaster_API* const out = frame.rasters.out.get();
    if (frame.host->getAEHost())
        return frame.host->blend(mode, cornerOpacity, sourceOpacity, work, out);
    // In a frame of another size than the layer's there is no untransformed source to lay it over.
    if (hasOwnFrame(frame)) return kNoBackground;
    return transferByMode<Trait>(mode, frame.host, static_cast<float>(cornerOpacity),
                                 static_cast<float>(sourceOpacity), out, work, out);
}

/// Of the result, from 0 to 1.
inline double ownOpacity(PipelineFrame const& frame) { return frame.args.cornerPinOpacity * 0.01; }

inline bool isFullOpacity(double opacity) {
    constexpr double kTolerance = 1e-05;
    return !(std::fabs(opacity - 1) > kTolerance);
}

/// Nothing after a failed pass. Without a transfer mode only the result's own opacity counts.
template <class Trait>
void composite(PipelineFrame& frame) {
    double const cornerOpacity = ownOpacity(frame);
    double const sourceOpacity = frame.args.sourceOpacity * 0.01;
    if (frame.result) return;
    if (frame.args.transferMode != kTransferNone) {
        frame.result = transfer<Trait>(frame, cornerOpacity, sourceOpacity);
    } else if (!isFullOpacity(cornerOpacity) && !frame.isOutFinished) {
        multiplyAlpha<Trait>(frame.outInfo, cornerOpacity);
    }
}

/// The colour that the host keeps. After Effects takes straight colour back.
template <class Trait>
void leaveStraight(PipelineFrame& frame) {
    if (hostLacksAlpha(frame.host)) {
        premultiply<Trait>(frame, frame.rasters.out.get());
        setAlpha<Trait>(frame.workInfo, 0);
        setAlpha<Trait>(frame.outInfo, 0);
    }
    if (frame.host->getFXPLUGHost()) {
        if (usesSource(frame)) premultiply<Trait>(frame, frame.rasters.work.get());
        if (!frame.isOutFinished) premultiply<Trait>(frame, frame.rasters.out.get());
    }
}

/// What enterStraight, composite and leaveStraight do to the output, for the engine, whose pixels
/// have no type.
template <class Trait>
void finishPixels(void const* context, void* pixels, int count) {
    auto const& frame = *static_cast<PipelineFrame const*>(context);
    auto* const channels = static_cast<typename Trait::Channel*>(pixels);
    premultRowSimd(channels, count, Trait::kAlpha, true);
    double const opacity = ownOpacity(frame);
    if (!usesSource(frame) && !isFullOpacity(opacity))
        multiplyAlphaRow<Trait>(channels, count, opacity);
    if (frame.host->getFXPLUGHost()) premultRowSimd(channels, count, Trait::kAlpha, false);
}

}  // namespace corner_pin_detail

/// Renders the host object's input layer into its output, both of the trait's format, as its
/// controls ask. The result is 0; or the host's code for a control, an image, a blur's memory or a
/// transfer that it refused; or 1 for an image refused without a code. Where a control or an image
/// of the pipeline's own was refused the output is cleared. A direct pass (Both Pins without Crop
/// To Pins) passes its code on; the two passes of the other views don't. A Transfer Mode in a frame
/// of another size than the layer's is 1, and the output the transform alone at full opacity.
/// A binding that is not After Effects' is asked between samples whether the user stopped the
/// render: kRenderStopped, and the output is unfinished.
template <class Trait, class Channel, class Wide, class Weight, class Format>
PF_Err CornerPinRender(PluginHost_API* host) {
    PipelineFrame frame(host, Trait::kFormat, Trait::kPixelBytes);
    if (const PF_Err code = readFrame(frame)) return code;
    if (frame.passes == PassPlan::kNone) {
        host->copyInputToOutput();
        return 0;
    }
    if (const PF_Err code = takeWorkingCopy(frame)) return code;
    corner_pin_detail::enterPremultiplied<Trait>(frame);
    frame.finish = corner_pin_detail::finishPixels<Trait>;
    if (const PF_Err code = prepareSamples(frame)) return code;
    for (int i = 0; i < frame.plan.samples; ++i) {
        if (isStopped(frame)) return kRenderStopped;
        if (const PF_Err code = corner_pin_detail::takeSample<Trait>(frame, i)) return code;
    }
    softenEnd(frame);
    corner_pin_detail::enterStraight<Trait>(frame);
    corner_pin_detail::composite<Trait>(frame);
    corner_pin_detail::leaveStraight<Trait>(frame);
    return frame.result;
}

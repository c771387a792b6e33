// From what the controls say to the passes of the engine, and to nothing but: no host, no pixel.
// The pipeline follows it; what tells a user of passes reads the same.
//
//   view                       first pass            second pass
//   Original                   none: the input as it is
//   From Pins                  From quad to frame    copy
//   To Pins                    copy                  frame to To quad
//   Both Pins, cropped         From quad to frame    frame to To quad
//   Both Pins                  From quad to To quad in one pass
//
// The first pass is a copy as well where it would change nothing.
#pragma once

#include <cmath>

#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"

/// Which passes turn the source into the output.
enum class PassPlan {
    kNone,             ///< the input as it is
    kFromToFrame,      ///< From quad to the whole frame
    kFrameToTo,        ///< whole frame to the To quad
    kFromToFrameToTo,  ///< both, one after the other: what leaves the frame in between is gone
    kDirect,           ///< From quad to To quad in one pass
};

/// `viewMode` is a ViewModeEntry; one that isn't counts as Both Pins.
constexpr PassPlan passPlan(std::int32_t viewMode, bool cropToPins) {
    switch (viewMode) {
        case kViewOriginal:
            return PassPlan::kNone;
        case kViewFromPins:
            return PassPlan::kFromToFrame;
        case kViewToPins:
            return PassPlan::kFrameToTo;
        default:
            return cropToPins ? PassPlan::kFromToFrameToTo : PassPlan::kDirect;
    }
}

/// The passes that are drawn; what is not drawn of two is copied.
struct DrawnPasses {
    bool direct;    ///< kQuadFromToTo, by itself
    bool fromQuad;  ///< kQuadFromToUnit
    bool toQuad;    ///< kQuadUnitToTo

    /// A quad that no pass uses may have any shape.
    constexpr bool usesFromQuad() const { return direct || fromQuad; }
    constexpr bool usesToQuad() const { return direct || toQuad; }
};

/// `fromAtRest` as isFromAtRest tells.
constexpr DrawnPasses drawnPasses(PassPlan plan, bool fromAtRest) {
    bool const isBoth = plan == PassPlan::kFromToFrameToTo;
    return {plan == PassPlan::kDirect, (isBoth || plan == PassPlan::kFromToFrame) && !fromAtRest,
            isBoth || plan == PassPlan::kFrameToTo};
}

/// Percent of the unit square, ratios, degrees.
struct Reposition {
    double translateX, translateY;
    double scaleX, scaleY;
    double rotate;
};

/// The From quad is the whole frame and Reposition does nothing, each within 1e-05. The pins are
/// fractions of the frame in pin order; their offsets are no part of the test.
inline bool isFromAtRest(QV_UnitPoint const (&fromPins)[4], Reposition const& reposition) {
    constexpr QV_UnitPoint kFrame[4] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}};
    constexpr double kIdentityTolerance = 1e-05;
    auto const isClose = [](double value, double target) {
        return std::fabs(value - target) <= kIdentityTolerance;
    };
    for (int i = 0; i < 4; ++i)
        if (!isClose(fromPins[i].x, kFrame[i].x) || !isClose(fromPins[i].y, kFrame[i].y))
            return false;
    return isClose(reposition.translateX, 0) && isClose(reposition.translateY, 0) &&
           isClose(reposition.scaleX, 1) && isClose(reposition.scaleY, 1) &&
           isClose(reposition.rotate, 0);
}

/// Number in the filter list of a QualityEntry; one that isn't counts as High.
constexpr int filterOfQuality(std::int32_t quality) {
    if (quality == kQualityLow) return kFilterNearest;
    return quality == kQualityMedium ? kFilterBilinear : kFilterParzen;
}

/// Super Sample alone blurs the source before the passes and, where that is planned, the frame
/// after them.
constexpr bool softens(std::int32_t quality) { return quality == kQualitySuperSample; }

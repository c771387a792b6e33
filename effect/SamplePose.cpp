// Pins and Reposition values of one temporal sample.
#include "effect/SamplePose.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kIdentityTolerance = 1e-05;

/// Corners arrive as upper left, upper right, lower left, lower right: the middle two swap.
void copyCorners(double const (&corners)[8], QV_UnitPoint (&points)[4]) {
    constexpr int kCornerOfPin[4] = {0, 2, 1, 3};
    for (int i = 0; i < 4; ++i) {
        const int corner = kCornerOfPin[i];
        points[i] = {corners[2 * corner], corners[2 * corner + 1]};
    }
}

bool isClose(double value, double target) {
    return std::fabs(value - target) <= kIdentityTolerance;
}

void addOffsets(QV_UnitPoint (&pins)[4], QV_UnitPoint const (&offsets)[4]) {
    for (int i = 0; i < 4; ++i) {
        pins[i].x += offsets[i].x * 0.01;
        pins[i].y += offsets[i].y * 0.01;
    }
}

}  // namespace

SamplePose samplePose(RenderArguments const& args) {
    SamplePose pose{};
    copyCorners(args.fromPins, pose.from);
    copyCorners(args.toPins, pose.to);
    copyCorners(args.fromOffsets, pose.fromOffsets);
    copyCorners(args.toOffsets, pose.toOffsets);
    pose.translateX = args.translateX;
    pose.translateY = args.translateY;
    pose.scaleX = args.scaleX;
    pose.scaleY = args.scaleY;
    pose.rotate = args.rotate;
    return pose;
}

bool fromIsIdentity(SamplePose const& pose) {
    constexpr QV_UnitPoint kFrame[4] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}};
    const bool wholeFrame = std::equal(
        pose.from, pose.from + 4, kFrame, [](QV_UnitPoint const& pin, QV_UnitPoint const& corner) {
            return isClose(pin.x, corner.x) && isClose(pin.y, corner.y);
        });
    return wholeFrame && isClose(pose.translateX, 0) && isClose(pose.translateY, 0) &&
           isClose(pose.scaleX, 1) && isClose(pose.scaleY, 1) && isClose(pose.rotate, 0);
}

void addOffsets(SamplePose& pose) {
    addOffsets(pose.from, pose.fromOffsets);
    addOffsets(pose.to, pose.toOffsets);
}

void remapToGrownFrame(SamplePose& pose, GrownFrame const& grown) {
    for (auto* quad : {&pose.from, &pose.to}) {
        for (QV_UnitPoint& pin : *quad) {
            pin.x = (grown.frameWidth * pin.x + grown.marginX) / grown.width;
            pin.y = (grown.frameHeight * pin.y + grown.marginY) / grown.height;
        }
    }
}

// Pins and Reposition values of one temporal sample.
#include "effect/SamplePose.h"

#include <initializer_list>

#include "params/DiskId.h"

namespace {

/// Corners arrive as upper left, upper right, lower left, lower right: the middle two swap.
constexpr int kCornerOfPin[4] = {0, 2, 1, 3};

/// Where a quad's controls stand, in corner order.
struct Quad {
    int firstPin, firstOffset;
    QV_UnitPoint *pins, *offsets;
};

void copyCorners(double const (&corners)[8], QV_UnitPoint (&points)[4]) {
    for (int i = 0; i < 4; ++i) {
        int const corner = kCornerOfPin[i];
        points[i] = {corners[2 * corner], corners[2 * corner + 1]};
    }
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

int samplePoseAt(PluginHost_API* host, std::int32_t time, SamplePose& pose) {
    const PluginHost_API::TimeObject at = {time, host->getTimeStep(), host->getTimeScale()};
    int err = 0;
    auto const number = [&](int index, double& value) {
        if (!err) err = host->GetFloatValue(index, diskIdOf(index), at, value);
    };
    number(kParamScaleX, pose.scaleX);
    number(kParamScaleY, pose.scaleY);
    number(kParamTranslateX, pose.translateX);
    number(kParamTranslateY, pose.translateY);
    number(kParamRotate, pose.rotate);
    for (Quad const& quad :
         {Quad{kParamFromUpperLeft, kParamFromUpperLeftOffsetX, pose.from, pose.fromOffsets},
          Quad{kParamToUpperLeft, kParamToUpperLeftOffsetX, pose.to, pose.toOffsets}}) {
        for (int pin = 0; pin < 4; ++pin) {
            int const corner = kCornerOfPin[pin];
            int const offset = quad.firstOffset + 2 * corner, point = quad.firstPin + corner;
            number(offset, quad.offsets[pin].x);
            number(offset + 1, quad.offsets[pin].y);
            if (!err)
                err = host->GetPoint2DValue(point, diskIdOf(point), at, quad.pins[pin].x,
                                            quad.pins[pin].y);
        }
    }
    return err;
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

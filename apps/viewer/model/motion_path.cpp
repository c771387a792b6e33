// See motion_path.h.
#include "apps/viewer/model/motion_path.h"

#include <cmath>

namespace zelk {
namespace {

/// Moments between two frames that lie far apart, so that the curve shows its bends.
constexpr int kMostBetween = 8;
constexpr double kStepPx = 6;

PanelPoint pointAt(Parameter const& pin, KeyTime const& moment) {
    KeyValue const value = keyValueOf(pin.at(moment));
    return {value[0], value[1]};
}

}  // namespace

MotionPath motionPathOf(Document const& document, int parameter) {
    MotionPath path;
    path.parameter = parameter;
    path.firstFrame = document.firstFrame();
    Parameter const& pin = document.parameter(parameter);
    if (pin.track().empty()) return path;
    for (int frame = path.firstFrame; frame <= document.lastFrame(); ++frame) {
        PanelPoint const at = pointAt(pin, document.momentOf(frame));
        if (!path.atFrames.empty()) {
            PanelPoint const last = path.atFrames.back();
            double const steps = std::hypot(at.x - last.x, at.y - last.y) / kStepPx;
            int const parts = steps > kMostBetween ? kMostBetween : static_cast<int>(steps);
            for (int i = 1; i < parts; ++i)
                path.curve.push_back(
                    pointAt(pin, document.momentOf(frame - 1 + double(i) / parts)));
        }
        path.atFrames.push_back(at);
        path.curve.push_back(at);
    }
    auto const& keys = pin.track().keys();
    for (std::size_t i = 0; i < keys.size(); ++i)
        path.keys.push_back(
            {i, document.frameOf(keys[i].time), {keys[i].value[0], keys[i].value[1]}});
    return path;
}

}  // namespace zelk

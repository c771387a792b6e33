// The quad test and the choice of quads by view; see quad_check.h.
#include "zelk/scene/quad_check.h"

#include <cmath>

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"

namespace zelk {

namespace {

/// A pin as the effect receives it at reduced resolution, pixels: a 16.16 number again.
double reducedPx(PF_Fixed fixed, int downsample) {
    return fromFixed(static_cast<PF_Fixed>(std::round(static_cast<double>(fixed) / downsample)));
}

/// The four points from `index` on, fractions of their image.
Corners pinsAt(std::vector<Parameter> const& parameters, int index, PinFrame const& frame) {
    bool const isFrom = index == kFromPins;
    int const width = isFrom ? frame.layerWidth : frame.frameWidth;
    int const height = isFrom ? frame.layerHeight : frame.frameHeight;
    Corners pins;
    for (Point& pin : pins) {
        PF_PointDef const& point = parameters[static_cast<std::size_t>(index++)].current.u.td;
        pin.x = reducedPx(point.x_value, frame.downsample) / width;
        pin.y = reducedPx(point.y_value, frame.downsample) / height;
    }
    return pins;
}

/// An offset is in hundredths of the frame.
Corners withOffsets(Corners pins, std::vector<Parameter> const& parameters, int index) {
    for (Point& pin : pins) {
        pin.x += currentNumber(parameters, index++) * 0.01;
        pin.y += currentNumber(parameters, index++) * 0.01;
    }
    return pins;
}

/// Pins as fractions of the frame with its margins; with none the values stay as they are.
Corners grown(Corners pins, PinFrame const& frame) {
    if (frame.marginX == 0 && frame.marginY == 0) return pins;
    for (Point& pin : pins) {
        pin.x = (frame.frameWidth * pin.x + frame.marginX) / (frame.frameWidth + 2 * frame.marginX);
        pin.y =
            (frame.frameHeight * pin.y + frame.marginY) / (frame.frameHeight + 2 * frame.marginY);
    }
    return pins;
}

/// The effect leaves out the first of two passes when From Pins and Reposition change nothing; the
/// From offsets do not count.
bool isFirstPassLeftOut(std::vector<Parameter> const& parameters, Corners const& fromPins) {
    constexpr double kTolerance = 1e-05;
    Corners const unit = {{{0, 0}, {1, 0}, {0, 1}, {1, 1}}};
    auto const isNear = [](double a, double b) { return std::abs(a - b) < kTolerance; };
    for (std::size_t i = 0; i < unit.size(); ++i) {
        if (!isNear(fromPins[i].x, unit[i].x) || !isNear(fromPins[i].y, unit[i].y)) return false;
    }
    return isNear(currentNumber(parameters, kTranslateX), 0) &&
           isNear(currentNumber(parameters, kTranslateY), 0) &&
           isNear(currentNumber(parameters, kScaleX), 1) &&
           isNear(currentNumber(parameters, kScaleY), 1) &&
           isNear(currentNumber(parameters, kRotate), 0);
}

std::string complaint(char const* pins, QuadFault fault) {
    if (fault == QuadFault::kNone) return {};
    char const* why = fault == QuadFault::kCrossed ? " make a quad that turns both ways"
                                                   : " lie on one line or in one point";
    return std::string(pins) + why;
}

}  // namespace

PinQuads pinQuads(std::vector<Parameter> const& parameters, PinFrame const& frame) {
    Corners const from = pinsAt(parameters, kFromPins, frame);
    Corners const to = pinsAt(parameters, kToPins, frame);
    return {grown(withOffsets(from, parameters, kFromOffsets), frame),
            grown(withOffsets(to, parameters, kToOffsets), frame),
            isFirstPassLeftOut(parameters, from)};
}

std::string unusablePins(std::vector<Parameter> const& parameters, PinFrame const& frame) {
    int const view = static_cast<int>(currentNumber(parameters, kViewMode));
    bool const isTwoPass = view == kViewBoth && currentNumber(parameters, kCropToPins) != 0;
    PinQuads const quads = pinQuads(parameters, frame);
    bool usesFrom = view == kViewFrom || view == kViewBoth;
    if ((view == kViewFrom || isTwoPass) && quads.isFirstPassLeftOut) usesFrom = false;
    bool const usesTo = view == kViewTo || view == kViewBoth;

    std::string why;
    if (usesFrom) why = complaint("the From Pins", checkQuad(quads.from));
    std::string const to = usesTo ? complaint("the To Pins", checkQuad(quads.to)) : std::string();
    return why + (why.empty() || to.empty() ? "" : ", ") + to;
}

}  // namespace zelk

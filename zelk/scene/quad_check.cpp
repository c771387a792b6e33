// The quad test and the choice of quads by view; see quad_check.h.
#include "zelk/scene/quad_check.h"

#include <fmt/format.h>

#include <cmath>

#include "hostkit/fixed_point.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"

namespace zelk {

namespace {

/// A pin as the effect receives it at reduced resolution, pixels: a 16.16 number again.
double reducedPx(PF_Fixed fixed, double times) {
    return fixedToReal(static_cast<PF_Fixed>(std::round(static_cast<double>(fixed) / times)));
}

/// The four points from `index` on, fractions of their image.
Corners pinsAt(std::vector<Parameter> const& parameters, int index, PinFrame const& frame) {
    bool const isFrom = index == kFromPins;
    int const width = isFrom ? frame.layerWidth : frame.frameWidth;
    int const height = isFrom ? frame.layerHeight : frame.frameHeight;
    Corners pins;
    for (Point& pin : pins) {
        PF_PointDef const& point = parameterIn(parameters, index++).current.u.td;
        pin.x = reducedPx(point.x_value, frame.reduction.x()) / width;
        pin.y = reducedPx(point.y_value, frame.reduction.y()) / height;
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
Corners grown(Corners pins, PixelSize frame, PixelMargins const& margins) {
    if (margins.isNone()) return pins;
    PixelSize const whole = frame + margins;
    for (Point& pin : pins) {
        pin.x = (frame.width * pin.x + margins.left) / whole.width;
        pin.y = (frame.height * pin.y + margins.top) / whole.height;
    }
    return pins;
}

/// Whether the From Pins, without their offsets, are the layer's corners and Reposition does
/// nothing.
bool isAtRest(std::vector<Parameter> const& parameters, Corners const& from) {
    QV_UnitPoint pins[4];
    toPinOrder(from, pins);
    return isFromAtRest(pins, repositionOf(parameters));
}

std::string complaint(char const* pins, Corners const& corners) {
    QuadFault const fault = checkQuad(corners);
    if (fault == QuadFault::kNone) return {};
    if (fault == QuadFault::kFlat) return std::string(pins) + " lie on one line or in one point";
    Corners const aroundThem = {corners[0], corners[1], corners[3], corners[2]};
    bool const goAround = checkQuad(aroundThem) == QuadFault::kNone;
    return fmt::format(
        "{} make a quad that crosses itself or is dented (corners go upper left, upper right, "
        "lower "
        "left, lower right{})",
        pins, goAround ? ", not around: the last two the other way make a plain quad" : "");
}

}  // namespace

void toPinOrder(Corners const& corners, QV_UnitPoint (&pins)[4]) {
    constexpr std::size_t kCorner[4] = {0, 2, 1, 3};
    for (std::size_t i = 0; i < 4; ++i) pins[i] = {corners[kCorner[i]].x, corners[kCorner[i]].y};
}

Reposition repositionOf(std::vector<Parameter> const& parameters) {
    return {currentNumber(parameters, kParamTranslateX),
            currentNumber(parameters, kParamTranslateY), currentNumber(parameters, kParamScaleX),
            currentNumber(parameters, kParamScaleY), currentNumber(parameters, kParamRotate)};
}

PinQuads pinQuads(std::vector<Parameter> const& parameters, PinFrame const& frame) {
    Corners const from = pinsAt(parameters, kFromPins, frame);
    Corners const to = pinsAt(parameters, kToPins, frame);
    auto const view = entryOfHost(static_cast<int>(currentNumber(parameters, kParamViewMode)));
    PassPlan const plan = passPlan(view, currentNumber(parameters, kParamCropToPins) != 0);
    PixelSize const size = {frame.frameWidth, frame.frameHeight};
    PixelMargins const both = {frame.marginX, frame.marginY, frame.marginX, frame.marginY};
    PixelMargins const& over = frame.overscan;
    return {grown(withOffsets(from, parameters, kFromOffsets), size, both),
            grown(withOffsets(to, parameters, kToOffsets), size,
                  {both.left + over.left, both.top + over.top, both.right + over.right,
                   both.bottom + over.bottom}),
            drawnPasses(plan, isAtRest(parameters, from))};
}

std::string unusablePins(std::vector<Parameter> const& parameters, PinFrame const& frame) {
    PinQuads const quads = pinQuads(parameters, frame);
    bool const usesFrom = quads.passes.usesFromQuad(), usesTo = quads.passes.usesToQuad();

    std::string why;
    if (usesFrom) why = complaint("the From Pins", quads.from);
    std::string const to = usesTo ? complaint("the To Pins", quads.to) : std::string();
    return why + (why.empty() || to.empty() ? "" : ", ") + to;
}

}  // namespace zelk

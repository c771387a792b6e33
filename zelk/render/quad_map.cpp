// The passes' matrices multiplied, and the map by pixels; see quad_map.h.
#include "zelk/render/quad_map.h"

#include <algorithm>
#include <cmath>

#include "Transform/Common/PopupEntries.h"
#include "zelk/render/explanation.h"
#include "zelk/render/memory_road.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"

namespace zelk {

namespace {

constexpr PlaneMatrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

/// `b` acts first.
PlaneMatrix product(PlaneMatrix const& a, PlaneMatrix const& b) {
    PlaneMatrix out{};
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            for (std::size_t k = 0; k < 3; ++k) out[3 * r + c] += a[3 * r + k] * b[3 * k + c];
    return out;
}

PlaneMatrix scaled(PlaneMatrix matrix) {
    double const last = matrix[8];
    if (last != 0)
        for (double& element : matrix) element /= last;
    return matrix;
}

PlaneMatrix moved(double x, double y) { return {1, 0, x, 0, 1, y, 0, 0, 1}; }

/// The adjugate, which is the inverse as a plane map; nothing for a map onto a line or a point.
std::optional<PlaneMatrix> inverseOf(PlaneMatrix const& m) {
    PlaneMatrix const adjugate = {
        m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
        m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
        m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
    double const det = m[0] * adjugate[0] + m[1] * adjugate[3] + m[2] * adjugate[6];
    if (!std::isfinite(det) || det == 0) return std::nullopt;
    return scaled(adjugate);
}

/// Pixels of a pass's source to those that its matrix means. The plain scan's texture reaches from
/// 0.5 to 1.5 pixels before the end, so pixel x of it lies at (x - 0.5) / (width - 2).
PlaneMatrix textureOf(bool isPlain, PixelSize source) {
    if (!isPlain || source.width < 3 || source.height < 3) return kIdentity;
    double const x = double(source.width) / (source.width - 2);
    double const y = double(source.height) / (source.height - 2);
    return {x, 0, -0.5 * x, 0, y, -0.5 * y, 0, 0, 1};
}

void setEntry(std::vector<Parameter>& parameters, int index, double value) {
    Parameter& parameter = parameterIn(parameters, index);
    setNumber(parameter.current, value);
    if (!parameter.track().empty()) parameter.editTrack().clear();
}

/// Alpha of an opaque layer as it is drawn, in a world of the frame's size.
World coverageOf(QuadMap const& map, std::vector<Parameter> parameters, FrameRequest const& moment,
                 ResampleOptions resample) {
    bool const isLow = currentNumber(parameters, kParamQuality) == hostEntry(kQualityLow);
    if (!isLow) setEntry(parameters, kParamQuality, hostEntry(kQualityMedium));
    setEntry(parameters, kParamTransferMode, hostEntry(kTransferNone));
    setEntry(parameters, kParamMotionBlur, hostEntry(kMotionBlurOff));
    setEntry(parameters, kParamCornerPinOpacity, 100);
    World layer({map.layer.width, map.layer.height, Depth::kFloat});
    for (int y = 0; y < layer.height(); ++y)
        std::fill_n(layer.rowAs<float>(y), 4 * layer.width(), 1.0f);
    World frame({map.frame.width, map.frame.height, Depth::kFloat});
    resample.kernel = {};  // of a flat layer all kernels are alike
    resample.integratesFootprint = false;
    renderInMemory(parameters, layer, frame, {map.layer, map.frame}, moment, "the layer", resample);
    return frame;
}

}  // namespace

std::optional<Point> mapped(PlaneMatrix const& m, Point const& p) {
    double const w = m[6] * p.x + m[7] * p.y + m[8];
    Point const at = {(m[0] * p.x + m[1] * p.y + m[2]) / w, (m[3] * p.x + m[4] * p.y + m[5]) / w};
    if (!std::isfinite(at.x) || !std::isfinite(at.y)) return std::nullopt;
    return at;
}

QuadMap mapOf(std::vector<Parameter> const& parameters, PinFrame const& frame,
              ResampleOptions const& resample) {
    QuadMap map;
    map.layer = {frame.layerWidth, frame.layerHeight};
    map.frame = {frame.frameWidth, frame.frameHeight};
    PixelSize const source = {map.layer.width + 2 * frame.marginX,
                              map.layer.height + 2 * frame.marginY};
    PlanReport const plan = planOf(parameters, frame, resample);
    PlaneMatrix const texture = textureOf(plan.filter == "nearest", source);
    PlaneMatrix all = moved(frame.marginX, frame.marginY);
    for (PassReport const& pass : plan.passes) {
        map.isDrawn = map.isDrawn && pass.isDrawn;
        all = product(product(pass.matrix, texture), all);
    }
    map.toFrame = scaled(product(moved(-frame.marginX, -frame.marginY), all));
    auto const inverse = inverseOf(map.toFrame);
    map.isDrawn = map.isDrawn && inverse;
    map.toLayer = inverse.value_or(PlaneMatrix{});
    return map;
}

World stPictureOf(QuadMap const& map, std::vector<Parameter> const& parameters,
                  FrameRequest const& moment, ResampleOptions const& resample) {
    World picture = coverageOf(map, parameters, moment, resample);
    for (int y = 0; y < picture.height(); ++y) {
        float* pixel = picture.rowAs<float>(y);  // alpha, red, green, blue
        for (int x = 0; x < picture.width(); ++x, pixel += 4) {
            auto const at = mapped(map.toLayer, {x + 0.5, y + 0.5});
            bool const looks = map.isDrawn && at && pixel[0] > 0;
            pixel[0] = looks ? pixel[0] : 0;
            pixel[1] = looks ? static_cast<float>(at->x / map.layer.width) : 0;
            pixel[2] = looks ? static_cast<float>(1 - at->y / map.layer.height) : 0;
            pixel[3] = 0;
        }
    }
    return picture;
}

}  // namespace zelk

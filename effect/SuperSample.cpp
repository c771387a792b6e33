// Radii of Super Sample and the calls of the blurs; see the header.
#include "effect/SuperSample.h"

#include <algorithm>
#include <cmath>

#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "Transform/Common/SaturatingCast.h"
#include "Transform/Common/Transform_Core_Render/ProgressiveBlurKind.h"

namespace {

constexpr double kTiny = 1e-05;

int blur(PluginHost_API* host, double a, double b, ProgressiveBlurKind kind,
         PluginHost_API::RasterInfo& raster) {
    QV_Line2D line(0, 0, 1, 1, false);  // not read by these kinds
    return CommonRender_progressiveBlur(host, line, static_cast<float>(a), static_cast<float>(b),
                                        0.0f, 1.0f, 0, &raster, false, kind, false);
}

/// Half of a reciprocal above 1, which shrinks; an edge without length counts as one pixel long.
double radiusOf(double length, int layerSide) {
    double const reciprocal = length < kTiny ? layerSide : 1 / length;
    return reciprocal > 1 ? reciprocal * 0.5 : 0;
}

/// Cut to a whole number, so that the ramp ends at its highest factor.
int fadeExtent(RenderArguments const& args, SuperSampleScene const& scene) {
    int const w = scene.layerWidth, h = scene.layerHeight;
    double const m = std::max(w, h) * args.superSampleEdge * 0.03125;
    if (!(m > 0)) return 0;
    double const limit = std::min((w >> 1) - 1, (h >> 1) - 1);
    return std::max(truncatedToInt32(std::min(scene.scale * m + 0.5, limit)), 2);
}

}  // namespace

SuperSamplePlan planSuperSample(RenderArguments const& args, SuperSampleScene const& scene) {
    int const w = scene.layerWidth, h = scene.layerHeight;
    double const soft = args.superSampleSoftness;
    double const k = std::fabs(soft) > kTiny ? 1 / soft : 1000000000.0;
    double const unitX = static_cast<double>(scene.frameWidth) / w;
    double const unitY = static_cast<double>(scene.frameHeight) / h;
    double const(&pins)[8] = args.toPins;  // upper left, upper right, lower left, lower right
    auto const length = [&](int a, int b) {
        return std::fabs(std::hypot((pins[2 * b] - pins[2 * a]) * unitX,
                                    (pins[2 * b + 1] - pins[2 * a + 1]) * unitY) *
                         k);
    };
    double const top = length(0, 1), bottom = length(2, 3), left = length(0, 2),
                 right = length(1, 3);
    SuperSamplePlan plan;
    plan.rows = {radiusOf(top, w), radiusOf(bottom, w)};
    plan.columns = {radiusOf(left, h), radiusOf(right, h)};
    plan.fadeExtent = fadeExtent(args, scene);

    constexpr double kLongest = 100, kPixelsToSoften = 40, kLargestRadius = 3.0;
    double const minLen = std::min({kLongest, top, bottom, left, right});
    double const r = 1 - (std::max(w, h) * minLen) / kPixelsToSoften;
    plan.softensEnd = r >= 0;
    if (plan.softensEnd) plan.endRadius = std::min(std::min(r, 1.0) * k, kLargestRadius);
    return plan;
}

int blurSource(PluginHost_API* host, SuperSamplePlan const& plan,
               PluginHost_API::RasterInfo& source) {
    int err = 0;
    if (plan.rows.isVisible())
        err = blur(host, plan.rows.first, plan.rows.last, kBlurKindRows, source);
    if (plan.columns.isVisible()) {
        int const columnsErr =
            blur(host, plan.columns.first, plan.columns.last, kBlurKindColumns, source);
        if (!err) err = columnsErr;
    }
    return err;
}

int blurEnd(PluginHost_API* host, SuperSamplePlan const& plan, PluginHost_API::RasterInfo& out) {
    return plan.softensEnd ? blur(host, plan.endRadius, 1.0, kBlurKindPlain, out) : 0;
}

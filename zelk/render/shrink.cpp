// From output pixels back to source pixels, and the stretch of that map; see shrink.h.
//
//   source = (a, b) / c with (a, b, c) = M^-1 (x, y, 1); its derivative by x is
//   (M^-1[0][0] - source.x M^-1[2][0]) / c, and so on. The largest singular value of the four is
//   the longest side of what an output pixel covers.
#include "zelk/render/shrink.h"

#include <algorithm>
#include <cmath>

namespace zelk {

namespace {

/// Points of the grid on each side.
constexpr int kGrid = 64;

using Matrix = std::array<double, 9>;

/// Up to a factor, which a map does not have.
Matrix adjugate(Matrix const& m) {
    return {m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
            m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
            m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
}

double largestSingularValue(double a, double b, double c, double d) {
    double const squares = a * a + b * b + c * c + d * d, det = a * d - b * c;
    return std::sqrt((squares + std::sqrt(std::max(squares * squares - 4 * det * det, 0.0))) / 2);
}

double shrinkAt(PassReport const& pass, Matrix const& back, double x, double y) {
    double const c = back[6] * x + back[7] * y + back[8];
    double const u = (back[0] * x + back[1] * y + back[2]) / c;
    double const v = (back[3] * x + back[4] * y + back[5]) / c;
    bool const isInside = u >= 0 && v >= 0 && u <= pass.source.width && v <= pass.source.height;
    double const w = pass.matrix[6] * u + pass.matrix[7] * v + pass.matrix[8];
    if (!isInside || (w < 0) != pass.isFlipped) return 0;  // beyond the horizon
    double const shrink =
        largestSingularValue((back[0] - u * back[6]) / c, (back[1] - u * back[7]) / c,
                             (back[3] - v * back[6]) / c, (back[4] - v * back[7]) / c);
    return std::isfinite(shrink) ? shrink : 0;
}

}  // namespace

double largestShrink(PlanReport const& plan) {
    double most = 0;
    for (PassReport const& pass : plan.passes) {
        if (!pass.isDrawn) continue;
        Matrix const back = adjugate(pass.matrix);
        for (int j = 0; j < kGrid; ++j)
            for (int i = 0; i < kGrid; ++i)
                most =
                    std::max(most, shrinkAt(pass, back, (i + 0.5) / kGrid * pass.destination.width,
                                            (j + 0.5) / kGrid * pass.destination.height));
    }
    return most;
}

}  // namespace zelk

// A chart of curves with axes, for figures that are easier seen than read.
#pragma once

#include <string>
#include <vector>

#include "apps/drawing/canvas.h"

namespace zelk {

/// An axis from the least to the greatest value of all curves; a logarithmic one takes values above
/// 0 and marks powers of its base.
struct Axis {
    std::string label;
    int logBase = 0;           ///< 0 for a linear axis
    bool startsAtZero = true;  ///< of a linear axis
};

struct Curve {
    std::string label;  ///< none for a chart whose only curve needs no name
    CanvasColor color;
    std::vector<CanvasPoint> points;  ///< in the axes' units, in order of x
    bool hasDots = true;
};

struct Chart {
    std::string title;
    Axis x, y;
    std::vector<Curve> curves;
};

/// Points that an axis can't show (not finite, or not above 0 on a logarithmic one) are left out.
Canvas drawChart(Chart const& chart, int width = 800, int height = 500);

}  // namespace zelk

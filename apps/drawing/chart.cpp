// Scales, ticks and curves; see chart.h.
#include "apps/drawing/chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zelk {

namespace {

constexpr CanvasColor kPaper{255, 255, 255}, kInk{40, 40, 40}, kGrid{225, 225, 225};
constexpr double kTextPx = 13, kLeftPx = 80, kRightPx = 25, kTopPx = 45, kBottomPx = 60;

/// From an axis' values to a length from 0 to 1.
class Scale {
public:
    Scale(Axis const& axis, std::vector<double> const& values) : m_axis(axis) {
        m_low = std::numeric_limits<double>::infinity();
        m_high = -m_low;
        for (double const value : values) {
            if (!isShown(value)) continue;
            m_low = std::min(m_low, measure(value));
            m_high = std::max(m_high, measure(value));
        }
        if (!(m_low <= m_high)) m_low = m_high = 0;
        if (axis.logBase) {
            m_low = std::floor(m_low), m_high = std::ceil(m_high);
        } else if (axis.startsAtZero) {
            m_low = std::min(m_low, 0.0), m_high = std::max(m_high, 0.0);
        }
        if (m_low == m_high) m_high = m_low + 1;
        if (!axis.logBase) roundEnds();
    }

    bool isShown(double value) const {
        return std::isfinite(value) && (m_axis.logBase == 0 || value > 0);
    }
    double at(double value) const { return (measure(value) - m_low) / (m_high - m_low); }

    /// Values that are marked.
    std::vector<double> ticks() const {
        std::vector<double> marks;
        double const step =
            m_axis.logBase ? std::max(1.0, std::ceil((m_high - m_low) / 8)) : linearStep();
        for (int i = 0; m_low + i * step <= m_high + step * 1e-9; ++i) {
            double const mark = m_low + i * step;
            marks.push_back(m_axis.logBase ? std::pow(m_axis.logBase, mark) : mark);
        }
        return marks;
    }

private:
    double measure(double value) const {
        return m_axis.logBase ? std::log(value) / std::log(m_axis.logBase) : value;
    }
    /// 1, 2 or 5 times a power of ten, four to ten of them to the axis.
    double linearStep() const {
        double const rough = (m_high - m_low) / 5;
        double const power = std::pow(10, std::floor(std::log10(rough)));
        double const lead = rough / power;
        return power * (lead < 1.5 ? 1 : lead < 3.5 ? 2 : lead < 7.5 ? 5 : 10);
    }
    void roundEnds() {
        double const step = linearStep();
        m_low = std::floor(m_low / step + 1e-9) * step;
        m_high = std::ceil(m_high / step - 1e-9) * step;
    }

    Axis m_axis;
    double m_low = 0, m_high = 1;
};

struct Frame {
    double left, top, width, height;
    CanvasPoint at(double x, double y) const { return {left + x * width, top + (1 - y) * height}; }
};

std::vector<double> valuesOf(Chart const& chart, double CanvasPoint::*coordinate) {
    std::vector<double> values;
    for (Curve const& curve : chart.curves)
        for (CanvasPoint const& point : curve.points) values.push_back(point.*coordinate);
    return values;
}

void drawAxes(Canvas& canvas, Chart const& chart, Frame const& frame, Scale const& x,
              Scale const& y) {
    for (double const mark : x.ticks()) {
        CanvasPoint const foot = frame.at(x.at(mark), 0);
        canvas.line(foot, frame.at(x.at(mark), 1), {kGrid});
        canvas.text({foot.x, foot.y + 18}, fmt::format("{:.4g}", mark), kTextPx, kInk,
                    TextAlign::kCenter);
    }
    for (double const mark : y.ticks()) {
        CanvasPoint const foot = frame.at(0, y.at(mark));
        canvas.line(foot, frame.at(1, y.at(mark)), {kGrid});
        canvas.text({foot.x - 8, foot.y + 4}, fmt::format("{:.3g}", mark), kTextPx, kInk,
                    TextAlign::kRight);
    }
    canvas.line(frame.at(0, 0), frame.at(1, 0), {kInk, 1.5});
    canvas.line(frame.at(0, 0), frame.at(0, 1), {kInk, 1.5});
    canvas.text({frame.left + frame.width / 2, frame.top + frame.height + 42}, chart.x.label,
                kTextPx, kInk, TextAlign::kCenter);
    canvas.text({12, frame.top - 10}, chart.y.label, kTextPx, kInk);
    canvas.text({frame.left + frame.width / 2, 20}, chart.title, kTextPx + 3, kInk,
                TextAlign::kCenter);
}

void drawCurve(Canvas& canvas, Curve const& curve, Frame const& frame, Scale const& x,
               Scale const& y) {
    std::vector<CanvasPoint> points;
    for (CanvasPoint const& point : curve.points)
        if (x.isShown(point.x) && y.isShown(point.y))
            points.push_back(frame.at(x.at(point.x), y.at(point.y)));
    canvas.polyline(points, {curve.color, 2});
    if (!curve.hasDots) return;
    for (CanvasPoint const& point : points) canvas.dot(point, 3.5, curve.color);
}

void drawLegend(Canvas& canvas, Chart const& chart, Frame const& frame) {
    if (chart.curves.size() == 1 && chart.curves[0].label.empty()) return;
    double width = 0;
    for (Curve const& curve : chart.curves)
        width = std::max(width, canvas.textWidth(curve.label, kTextPx));
    double const left = frame.left + frame.width - width - 45;
    double const height = 20.0 * static_cast<double>(chart.curves.size()) + 8;
    canvas.rectangle({left - 8, frame.top + 4}, width + 50, height, kPaper);
    double y = frame.top + 20;
    for (Curve const& curve : chart.curves) {
        canvas.line({left, y - 4}, {left + 25, y - 4}, {curve.color, 3});
        canvas.text({left + 33, y}, curve.label, kTextPx, kInk);
        y += 20;
    }
}

}  // namespace

Canvas drawChart(Chart const& chart, int width, int height) {
    Canvas canvas(width, height, kPaper);
    Frame const frame{kLeftPx, kTopPx, width - kLeftPx - kRightPx, height - kTopPx - kBottomPx};
    Scale const x(chart.x, valuesOf(chart, &CanvasPoint::x));
    Scale const y(chart.y, valuesOf(chart, &CanvasPoint::y));
    drawAxes(canvas, chart, frame, x, y);
    for (Curve const& curve : chart.curves) drawCurve(canvas, curve, frame, x, y);
    drawLegend(canvas, chart, frame);
    return canvas;
}

}  // namespace zelk

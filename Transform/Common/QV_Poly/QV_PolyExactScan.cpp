// The exact scan: the area of each pixel inside the outline, and the split of each pixel row into
// edge and interior runs.
//
//      left edge   |   Each side of the outline is a half-plane d >= 0, d in pixels.
//        /|        |   A pixel is interior where d >= 0 of every side on all of it, and untouched
//       / |        |   where d < 0 of one side on all of it; pixels in between are the edge runs.
//      /  | pixel  |   Their area is summed over the sides: one that goes down from (xa, ya) to
//     /___|        |   (xb, yb) in a row counts what lies right of it, one that goes up takes it
//                      off again. Of a pixel from x to x + 1 that is F(x + 1) - F(x), with
//                      F(t) = integral over the side's rows of max(0, t - x(y)).
//
// With a feather f coverage is the product over the sides of s((d - choke) / f + 1/2), s(t) =
// 3 t^2 - 2 t^3 from 0 to 1: along a side the ramp itself, at a corner as round as a blur leaves
// it. It is taken at 8 / f points on each axis of a pixel, 1 to 16. A choke alone moves the sides
// inward; corners stay sharp.
//
// u, v and q are affine over the screen. They come from the three vertices that span the most, so
// that no row depends on how short its side is. In an outline narrower than a pixel, where pixel
// centres lie outside, each pixel is sampled at the centroid of its area.
//
// The polygon reaches past the window by at least a pixel, half the feather and the choke: where
// it was cut there, the cut plays no part. It is convex. Rows depend on nothing but the outline,
// so that the team may take them in any order; each thread clears, draws and finishes its own.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "Transform/Common/QV_Poly/QV_Assert.h"
#include "Transform/Common/QV_Poly/QV_Poly.h"
#include "Transform/Common/SaturatingCast.h"

namespace {

/// Pixels of an edge run that are drawn at once.
constexpr int kAtOnce = 256;
/// A quad's sides, the window's, and as many more for cuts by a choke.
constexpr int kMostSides = 2 * POLY_NMAX;
/// How far a pixel may reach outside and be interior: rounding of positions, pixels.
constexpr double kInside = 1e-9;
/// How far a short side's direction may lead its line astray, pixels: such pixels are looked at.
constexpr double kBeside = 1e-3;
/// A side that has no direction: its ends are one point but for rounding.
constexpr double kShortest = 1e-9;
/// Below this a feather is none.
constexpr double kLeastFeatherPx = 0.125;

struct ScreenPoint {
    double x, y;
};

/// d = nx x + ny y - c.
struct Side {
    double nx, ny, c;
    double at(double x, double y) const { return nx * x + ny * y - c; }
};

/// A value over the screen, from a point where it is known.
struct Affine {
    double value = 0, perX = 0, perY = 0, x = 0, y = 0;
    double at(double atX, double atY) const { return value + perX * (atX - x) + perY * (atY - y); }
};

/// Pixels of a row: [start, midStart) edge, [midStart, midEnd) interior, [midEnd, end) edge.
struct RowRuns {
    int start, midStart, midEnd, end;

    RowRuns before(int right) const {
        return {std::min(start, right), std::min(midStart, right), std::min(midEnd, right),
                std::min(end, right)};
    }
};

/// A side's part in a row: F(t) by closed form. `height` is negative for one that goes up.
struct RowPart {
    double least, width, height;
    double leftOf(double t) const {
        double const d = t - least;
        if (d <= 0) return 0;
        if (d >= width) return (d - 0.5 * width) * height;
        return 0.5 * d * d / width * height;
    }
};

struct RowParts {
    RowPart parts[kMostSides];
    int count = 0;
    double leftOf(double t) const {
        double sum = 0;
        for (int i = 0; i < count; ++i) sum += parts[i].leftOf(t);
        return sum;
    }
};

double cross(ScreenPoint const& o, ScreenPoint const& a, ScreenPoint const& b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

double smoothStep(double t) { return t <= 0 ? 0 : t >= 1 ? 1 : t * t * (3 - 2 * t); }

/// A convex polygon of screen points.
struct Shape {
    ScreenPoint points[kMostSides] = {};
    int count = 0;

    void add(ScreenPoint const& p) {
        if (count < kMostSides) points[count++] = p;
    }
    /// The part with d >= 0.
    Shape cut(Side const& side) const {
        Shape kept;
        for (int i = 0; i < count; ++i) {
            ScreenPoint const &a = points[i], &b = points[i + 1 == count ? 0 : i + 1];
            double const da = side.at(a.x, a.y), db = side.at(b.x, b.y);
            if (da >= 0) kept.add(a);
            if ((da >= 0) == (db >= 0)) continue;
            double const t = da / (da - db);
            kept.add({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
        }
        return kept;
    }
    /// Twice the area, negative for the other way round; `centroid` may be null.
    double doubleArea(ScreenPoint* centroid = nullptr) const {
        double sum = 0, sumX = 0, sumY = 0;
        for (int i = 2; i < count; ++i) {
            double const area = cross(points[0], points[i - 1], points[i]);
            sum += area;
            sumX += area * (points[i - 1].x + points[i].x - 2 * points[0].x);
            sumY += area * (points[i - 1].y + points[i].y - 2 * points[0].y);
        }
        if (centroid && sum != 0)
            *centroid = {points[0].x + sumX / (3 * sum), points[0].y + sumY / (3 * sum)};
        return sum;
    }
};

class Outline {
public:
    Outline(QV_Poly_vert const* vertices, int count, double featherPx, double chokePx)
        : m_feather(featherPx < kLeastFeatherPx ? 0 : featherPx) {
        for (int i = 0; i < count; ++i) m_shape.add({vertices[i].sx, vertices[i].sy});
        findBounds();
        findSides();
        layTexture(vertices);
        for (int i = 0; i < m_sideCount; ++i) m_sides[i].c += chokePx;
        for (int i = 0; chokePx != 0 && i < m_sideCount; ++i) m_shape = m_shape.cut(m_sides[i]);
        m_isNarrow = m_feather == 0 && width() < 1;
    }

    bool isNarrow() const { return m_isNarrow; }
    /// First row that may be touched, and the one after the last.
    int top() const { return saturatingInt(std::floor(m_top - m_feather / 2)); }
    int bottom() const { return saturatingInt(std::ceil(m_bottom + m_feather / 2)); }

    RowRuns runsOf(int y, QV_Window const& win) const {
        double const reach = m_feather / 2;
        RowRuns r{};
        r.start = std::max(win.x0, saturatingInt(std::floor(m_left - reach)));
        r.end = std::min(win.x1 + 1, saturatingInt(std::ceil(m_right + reach)));
        r.midStart = r.start, r.midEnd = r.end;
        if (m_sideCount < 3) r.end = r.start;
        for (int i = 0; i < m_sideCount; ++i) {
            Side const& s = m_sides[i];
            double const row = s.c - s.ny * y;
            // nx x > most leaves the pixel at x in part inside, nx x >= least all of it.
            double const most = row - reach - kBeside - std::max(s.nx, 0.0) - std::max(s.ny, 0.0);
            double const least = row + reach - kInside - std::min(s.nx, 0.0) - std::min(s.ny, 0.0);
            if (s.nx > 0) {
                r.start = std::max(r.start, saturatingInt(std::floor(most / s.nx)) + 1);
                r.midStart = std::max(r.midStart, saturatingInt(std::ceil(least / s.nx)));
            } else if (s.nx < 0) {
                r.end = std::min(r.end, saturatingInt(std::ceil(most / s.nx)));
                r.midEnd = std::min(r.midEnd, saturatingInt(std::floor(least / s.nx)) + 1);
            } else {
                if (most >= 0) r.end = r.start;
                if (least > 0) r.midEnd = r.midStart;
            }
        }
        // A row beside the outline: two sides have left nothing, perhaps far outside the window.
        r.start = std::clamp(r.start, win.x0, win.x1 + 1);
        r.end = std::max(r.end, r.start);
        r.midStart = std::clamp(r.midStart, r.start, r.end);
        r.midEnd = std::clamp(r.midEnd, r.start, r.end);
        if (r.midStart >= r.midEnd) r.midStart = r.midEnd = r.end;
        return r;
    }

    RowParts partsOf(int y) const {
        RowParts row;
        for (int i = 0; i < m_shape.count; ++i) {
            ScreenPoint const& a = m_shape.points[i];
            ScreenPoint const& b = m_shape.points[i + 1 == m_shape.count ? 0 : i + 1];
            double const from = std::clamp(a.y, double(y), y + 1.0);
            double const to = std::clamp(b.y, double(y), y + 1.0);
            if (from == to) continue;
            double const low = std::min(a.x, b.x), high = std::max(a.x, b.x);
            auto const xAt = [&](double atY) {
                return std::clamp(a.x + (atY - a.y) * ((b.x - a.x) / (b.y - a.y)), low, high);
            };
            double const x0 = xAt(from), x1 = xAt(to);
            row.parts[row.count++] = {std::min(x0, x1), std::fabs(x1 - x0), to - from};
        }
        return row;
    }

    /// Coverage of `count` pixels of row y from `x` on.
    void cover(RowParts const& row, int x, int y, int count, float* coverage) const {
        if (m_feather > 0) {
            for (int i = 0; i < count; ++i) coverage[i] = softCover(x + i, y);
            return;
        }
        double left = row.leftOf(x);
        for (int i = 0; i < count; ++i) {
            double const right = row.leftOf(x + i + 1);
            coverage[i] = settled(std::fabs(right - left));
            left = right;
        }
    }

    /// Of one pixel, with the centre of what is covered.
    float coverAt(int x, int y, ScreenPoint& centroid) const {
        Shape const inside = m_shape.cut({1, 0, double(x)})
                                 .cut({-1, 0, -(x + 1.0)})
                                 .cut({0, 1, double(y)})
                                 .cut({0, -1, -(y + 1.0)});
        return settled(std::fabs(inside.doubleArea(&centroid)) / 2);
    }

    /// The run's start at a point of the screen.
    void place(LineRenderStruct& line, double x, double y) const {
        line.x = m_u.at(x, y);
        line.y = m_v.at(x, y);
        line.w = m_q.at(x, y);
    }
    void setSteps(LineRenderStruct& line) const {
        line.dx = m_u.perX;
        line.dy = m_v.perX;
        line.dw = m_q.perX;
    }

private:
    /// Without what rounding leaves of nothing and takes from all.
    static float settled(double area) {
        return area < kInside ? 0.0f : area > 1 - kInside ? 1.0f : static_cast<float>(area);
    }

    void findBounds() {
        m_left = m_top = 1e300;
        m_right = m_bottom = -1e300;
        for (int i = 0; i < m_shape.count; ++i) {
            ScreenPoint const& p = m_shape.points[i];
            m_left = std::min(m_left, p.x), m_right = std::max(m_right, p.x);
            m_top = std::min(m_top, p.y), m_bottom = std::max(m_bottom, p.y);
        }
    }

    void findSides() {
        double const turn = m_shape.doubleArea() < 0 ? -1 : 1;
        for (int i = 0; i < m_shape.count; ++i) {
            ScreenPoint const& a = m_shape.points[i];
            ScreenPoint const& b = m_shape.points[i + 1 == m_shape.count ? 0 : i + 1];
            double const dx = b.x - a.x, dy = b.y - a.y, length = std::hypot(dx, dy);
            if (!(length > kShortest)) continue;
            double const nx = -turn * dy / length, ny = turn * dx / length;
            m_sides[m_sideCount++] = {nx, ny, nx * a.x + ny * a.y};
        }
    }

    void layTexture(QV_Poly_vert const* vertices) {
        ScreenPoint const* const p = m_shape.points;
        int a = 0, b = 0, c = 0;
        double most = 0;
        for (int i = 0; i < m_shape.count; ++i)
            for (int j = i + 1; j < m_shape.count; ++j)
                for (int k = j + 1; k < m_shape.count; ++k) {
                    double const area = std::fabs(cross(p[i], p[j], p[k]));
                    if (area > most) a = i, b = j, c = k, most = area;
                }
        double const area = cross(p[a], p[b], p[c]);
        if (area == 0) {
            m_sideCount = 0;  // nothing is covered
            return;
        }
        auto const affine = [&](double QV_Poly_vert::*f) {
            double const f0 = vertices[a].*f;
            double const fb = vertices[b].*f - f0, fc = vertices[c].*f - f0;
            return Affine{f0, (fb * (p[c].y - p[a].y) - fc * (p[b].y - p[a].y)) / area,
                          (fc * (p[b].x - p[a].x) - fb * (p[c].x - p[a].x)) / area, p[a].x, p[a].y};
        };
        m_u = affine(&QV_Poly_vert::u);
        m_v = affine(&QV_Poly_vert::v);
        m_q = affine(&QV_Poly_vert::q);
    }

    /// Across the narrowest way, pixels.
    double width() const {
        double least = 1e300;
        for (int i = 0; i < m_sideCount; ++i) {
            double most = 0;
            for (int k = 0; k < m_shape.count; ++k)
                most = std::max(most, m_sides[i].at(m_shape.points[k].x, m_shape.points[k].y));
            least = std::min(least, most);
        }
        return least;
    }

    float softCover(int x, int y) const {
        int const n = static_cast<int>(std::clamp(std::ceil(8 / m_feather), 1.0, 16.0));
        double sum = 0;
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i) {
                double product = 1;
                for (int k = 0; k < m_sideCount; ++k)
                    product *= smoothStep(
                        m_sides[k].at(x + (i + 0.5) / n, y + (j + 0.5) / n) / m_feather + 0.5);
                sum += product;
            }
        return settled(sum / (n * n));
    }

    Shape m_shape;
    Side m_sides[kMostSides];
    int m_sideCount = 0;
    double m_feather;
    double m_left, m_right, m_top, m_bottom;  ///< of the outline before the choke
    Affine m_u, m_v, m_q;
    bool m_isNarrow;
};

/// One row of one polygon, on one thread.
class RowDrawer {
public:
    RowDrawer(QV_Poly const& poly, Outline const& outline, unsigned char* row, int left, int y)
        : m_poly(poly), m_outline(outline), m_row(row), m_left(left), m_y(y) {}

    void draw(RowRuns const& runs) const {
        if (m_outline.isNarrow()) return drawNarrow(runs);
        RowParts const parts = m_outline.partsOf(m_y);
        drawEdge(parts, runs.start, runs.midStart);
        if (runs.midEnd > runs.midStart) {
            LineRenderStruct line = lineAt(runs.midStart);
            line.count = runs.midEnd - runs.midStart;
            m_poly.m_interiorFunc(m_poly.m_lineArg, &line);
        }
        drawEdge(parts, runs.midEnd, runs.end);
    }

private:
    LineRenderStruct lineAt(int x) const {
        LineRenderStruct line{};
        m_outline.place(line, x + 0.5, m_y + 0.5);
        m_outline.setSteps(line);
        line.dest = m_row + static_cast<std::ptrdiff_t>(x - m_left) * m_poly.m_pixelBytes;
        return line;
    }

    void drawEdge(RowParts const& parts, int from, int to) const {
        float coverage[kAtOnce];
        for (; from < to; from += kAtOnce) {
            LineRenderStruct line = lineAt(from);
            line.count = std::min(kAtOnce, to - from);
            line.coverage = coverage;
            m_outline.cover(parts, from, m_y, line.count, coverage);
            m_poly.m_edgeFunc(m_poly.m_lineArg, &line);
        }
    }

    void drawNarrow(RowRuns const& runs) const {
        for (int x = runs.start; x < runs.end; ++x) {
            LineRenderStruct line = lineAt(x);
            ScreenPoint centroid{x + 0.5, m_y + 0.5};
            float const coverage = m_outline.coverAt(x, m_y, centroid);
            m_outline.place(line, centroid.x, centroid.y);
            line.count = 1;
            line.coverage = &coverage;
            m_poly.m_edgeFunc(m_poly.m_lineArg, &line);
        }
    }

    QV_Poly const& m_poly;
    Outline const& m_outline;
    unsigned char* m_row;
    int m_left, m_y;
};

}  // namespace

void QV_Poly::polyExactScan(QV_Window* win, int left, int /*top*/, int /*right*/, int /*bottom*/) {
    QV_ASSERT(!(m_n > POLY_NMAX), "!(m_n>POLY_NMAX)");
    Outline const outline(m_vert, m_n, m_featherPx, m_chokePx);
    int const drawTop = std::max(win->y0, outline.top());
    int const drawEnd = std::min(win->y1 + 1, outline.bottom());
    bool const clears = m_clearHeight > 0;
    int first = clears ? m_dstTop : drawTop, end = clears ? m_dstTop + m_clearHeight : drawEnd;
    int right = left + m_clearWidth, drawRight = std::numeric_limits<int>::max();
    if (m_wantedEnd > m_wantedTop) {
        first = std::max(first, m_wantedTop), end = std::min(end, m_wantedEnd);
        drawRight = std::max(left, m_wantedRight), right = std::min(right, drawRight);
    }
    auto const bytes = [this](int pixels) {
        return static_cast<std::size_t>(pixels) * static_cast<std::size_t>(m_pixelBytes);
    };
    auto const doRow = [&](int y) {
        RowRuns runs{left, left, left, left};
        if (y >= drawTop && y < drawEnd) runs = outline.runsOf(y, *win).before(drawRight);
        unsigned char* const row = rowAddress(y);
        int const from = runs.start - left, to = runs.end - left;
        if (clears) std::memset(row, 0, bytes(from));
        if (to > from) RowDrawer(*this, outline, row, left, y).draw(runs);
        if (!clears) return;
        if (m_finishFunc && to > from) m_finishFunc(m_finishContext, row + bytes(from), to - from);
        std::memset(row + bytes(to), 0, bytes(right - left - to));
    };
    [[maybe_unused]] std::int64_t const pixels =
        std::int64_t{end - first} * (clears ? m_clearWidth : win->x1 - win->x0 + 1);
    [[maybe_unused]] bool const isForTeam = m_useOpenMP && pixels >= kPixelsForTeam;
#pragma omp parallel for schedule(guided, 1) if (isForTeam)
    for (int y = first; y < end; ++y) doRow(y);
}

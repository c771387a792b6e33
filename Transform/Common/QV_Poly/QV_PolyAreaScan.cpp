// The area scan: how much of each pixel the polygon covers, on a fixed grid of 16 sub-rows by 512
// sub-columns, and the split of each pixel row into edge and interior runs.
//
//   sub-row 0   . . . . . a=========b . .      a = ceil(512 * left), b = floor(512 * right),
//   sub-row 1   . . . . a===========b . .      both inclusive, in 1/512 pixel
//      ...      . . . a==============b . .
//   sub-row 15  . . a=================b .      covered pixels share all 16 spans: interior
//              |  edge |  interior  | edge |
//
// Coverage of a pixel is the number of covered sub-columns over its 16 sub-rows / 8192: integer
// arithmetic, so any order of summing gives the same bits. A row with an empty sub-row is one edge
// run; a row whose sub-rows share no column draws nothing.
//
// The walk ends with the window's last row. It and all edge runs stay on the calling thread. With
// OpenMP on, interior runs are collected, at most one a row, and rendered by the team after the
// walk (QV_PolyRuns.cpp).
#include <algorithm>
#include <cmath>

#include "Transform/Common/QV_Poly/QV_Assert.h"
#include "Transform/Common/QV_Poly/QV_Poly.h"
#include "Transform/Common/SaturatingCast.h"

namespace {

constexpr int kBeyondAnySpan = 100000000;
constexpr float kPixelsPerSubColumn = 0.001953125f;      // 1 / 512
constexpr float kCoveragePerSubCell = 0.0001220703125f;  // 1 / 8192

int ceilSingle(double x) { return saturatingInt(std::ceil(static_cast<float>(x))); }
int floorSingle(double x) { return saturatingInt(std::floor(static_cast<float>(x))); }

/// Span ends, whole sub-columns. Limited: an edge that is level to within rounding may put its ends
/// anywhere. Any end of a polygon in a window from -17578 to 175781 pixels is inside the limits.
int limitedSpan(int subColumn) { return std::clamp(subColumn, -9000000, 90000000); }

/// Where an edge stands in a sub-row, sub-columns. Its first sub-row may have been rounded to just
/// before its start; the edge is at its start then, unless that is the same to within a sub-column:
/// extrapolated back, a nearly level edge would leave its polygon.
double positionOf(QV_Poly_vert const& edge, QV_Poly_vert const& start, int sub) {
    bool const isBefore = sub < start.ny && !(std::fabs(edge.nx - start.nx) < 1.0);
    return isBefore ? start.nx : edge.nx;
}

void clearSpans(int (*spans)[2]) {
    for (int k = 0; k < kSubRows; ++k) spans[k][0] = spans[k][1] = kEmptySpan;
}

/// One more pixel row: texture and screen position step at row centres.
void stepRow(QV_Poly_vert& edge, QV_Poly_vert const& slope) {
    edge.sx += slope.sx;
    edge.u += slope.u;
    edge.v += slope.v;
    edge.q += slope.q;
}

/// Extremes of the 16 spans, and whether one of them was empty.
struct SpanLimits {
    int maxL = -kBeyondAnySpan, minL = kBeyondAnySpan;
    int maxR = -kBeyondAnySpan, minR = kBeyondAnySpan;
    bool sawEmpty = false;

    explicit SpanLimits(int (*spans)[2]) {
        for (int k = 0; k < kSubRows; ++k) {
            int const l = spans[k][0], r = spans[k][1];
            if (l == kEmptySpan) {
                sawEmpty = true;
                continue;
            }
            maxL = std::max(maxL, l);
            minL = std::min(minL, l);
            maxR = std::max(maxR, r);
            minR = std::min(minR, r);
        }
    }
    bool shareNoColumn() const { return minR < maxL || minL > maxR; }
};

/// Pixel bounds of the three runs of a row: [start, midStart) edge, [midStart, midEnd) interior,
/// [midEnd, end) edge.
struct RowRuns {
    int start, midStart, midEnd, end;

    RowRuns(SpanLimits const& s, QV_Window const& win) {
        constexpr float f = kPixelsPerSubColumn;
        start = static_cast<int>(static_cast<float>(s.minL) * f);
        end = static_cast<int>(static_cast<float>(s.maxR) * f + 1.0f);
        midStart = midEnd = end;
        if (!s.sawEmpty) {
            midStart = static_cast<int>(static_cast<float>(s.maxL) * f + 1.0f);
            midEnd = static_cast<int>(static_cast<float>(s.minR) * f);
        }
        start = std::max(start, win.x0);
        midStart = std::max(midStart, win.x0);
        midEnd = std::min(midEnd, win.x1);
        end = std::min(end, win.x1 + 1);
        // For a polygon inside the window these change nothing but midEnd.
        end = std::max(end, start);
        midStart = std::clamp(midStart, start, end);
        midEnd = std::clamp(midEnd, midStart, end);
    }
};

}  // namespace

void QV_Poly::areaIncrementalize_y(QV_Poly_vert* a, QV_Poly_vert* b, QV_Poly_vert* p,
                                   QV_Poly_vert* dp, int y, int subRow) {
    double dy = b->sy - a->sy;
    if (dy == 0.0) dy = 1.0;
    double const toCentre = y + 0.5 - a->sy;
    for (double QV_Poly_vert::*f :
         {&QV_Poly_vert::sx, &QV_Poly_vert::u, &QV_Poly_vert::v, &QV_Poly_vert::q}) {
        dp->*f = (b->*f - a->*f) / dy;
        p->*f = a->*f + dp->*f * toCentre;
    }
    double dny = b->ny - a->ny;
    if (dny == 0.0) dny = 1.0;
    dp->nx = (b->nx - a->nx) / dny;
    p->nx = a->nx + dp->nx * (subRow - a->ny);
}

void QV_Poly::areaIncrementalize_x(QV_Poly_vert* lo, QV_Poly_vert* hi, QV_Poly_vert* p,
                                   QV_Poly_vert* dp, int x) {
    double dx = hi->sx - lo->sx;
    if (dx == 0.0) dx = 1.0;
    double const toCentre = x + 0.5 - lo->sx;
    for (double QV_Poly_vert::*f : {&QV_Poly_vert::u, &QV_Poly_vert::v, &QV_Poly_vert::q}) {
        dp->*f = (hi->*f - lo->*f) / dx;
        p->*f = lo->*f + dp->*f * toCentre;
    }
}

void QV_Poly::calcCoverage(int count, int firstPixel, int (*spans)[2]) {
    if (count > m_coverageSize) {
        m_coverage.reset();
        m_coverage = std::make_unique_for_overwrite<float[]>(static_cast<std::size_t>(count));
        m_coverageSize = count;
    }
    for (int i = 0; i < count; ++i) {
        int const lo = (firstPixel + i) * kSubColumns;
        int const hi = lo | (kSubColumns - 1);
        int sum = 0;
        for (int k = 0; k < kSubRows; ++k)
            sum += std::max(0, std::min(spans[k][1], hi) - std::max(spans[k][0], lo) + 1);
        m_coverage[static_cast<std::size_t>(i)] = static_cast<float>(sum) * kCoveragePerSubCell;
    }
}

void QV_Poly::runEdge(LineRenderStruct& line, int count, int firstPixel, int (*spans)[2]) {
    line.count = count;
    calcCoverage(count, firstPixel, spans);
    line.coverage = m_coverage.get();
    m_edgeFunc(m_lineArg, &line);
}

void QV_Poly::runInterior(LineRenderStruct& line, int count, int y) {
    line.count = count;
    if (!m_useOpenMP) {
        m_interiorFunc(m_lineArg, &line);
        return;
    }
    putOff(line, y);
    if (count > 0) {
        line.x += count * line.dx;
        line.y += count * line.dy;
        line.w += count * line.dw;
    }
}

void QV_Poly::areaScanline(int y, int left, int /*right*/, QV_Poly_vert* lo, QV_Poly_vert* hi,
                           QV_Window* win, int (*spans)[2]) {
    const SpanLimits limits(spans);
    if (limits.shareNoColumn()) return;
    const RowRuns runs(limits, *win);
    if (runs.start > win->x1) return;

    QV_Poly_vert at{}, step{};
    areaIncrementalize_x(lo, hi, &at, &step, runs.start);
    LineRenderStruct line{};
    line.x = at.u;
    line.y = at.v;
    line.w = at.q;
    line.dx = step.u;
    line.dy = step.v;
    line.dw = step.q;
    noteRow(y, runs.start - left, runs.end - left);
    auto* dest = rowAddress(y) + static_cast<std::ptrdiff_t>(runs.start - left) * m_pixelBytes;

    line.dest = dest;
    runEdge(line, runs.midStart - runs.start, runs.start, spans);

    dest += static_cast<std::ptrdiff_t>(runs.midStart - runs.start) * m_pixelBytes;
    line.dest = dest;
    runInterior(line, runs.midEnd - runs.midStart, y);

    dest += static_cast<std::ptrdiff_t>(runs.midEnd - runs.midStart) * m_pixelBytes;
    line.dest = dest;
    runEdge(line, runs.end - runs.midEnd, runs.midEnd, spans);
}

void QV_Poly::polyAreaScan_internal(QV_Window* win, int left, int /*top*/, int right,
                                    int /*bottom*/) {
    QV_ASSERT(!(m_n > POLY_NMAX), "!(m_n>POLY_NMAX)");
    for (int i = 0; i < m_n; ++i) {
        m_vert[i].nx = m_vert[i].sx * kSubColumns;
        m_vert[i].ny = m_vert[i].sy * kSubRows;
    }
    int const start = topVertex();
    if (start < 0) return;

    int spans[kSubRows][2];
    clearSpans(spans);
    int y = floorSingle(m_vert[start].sy + 0.0625);
    int sub = ceilSingle(m_vert[start].ny);
    int ly = sub - 1, ry = sub - 1;  // sub-row that the edge in hand reaches, exclusive
    int li = start, ri = start;
    int lStart = start, rStart = start;  // where the edges in hand begin
    int rem = m_n;
    QV_Poly_vert l{}, dl{}, r{}, dr{};
    QV_Poly_vert *lo = &l, *hi = &r;
    QV_Poly_vert lastLo{}, lastHi{};  // edges of the last sub-row: the next edge overwrites l and r

    auto const drawRow = [&](QV_Poly_vert* from, QV_Poly_vert* to) {
        if (y >= win->y0 && y <= win->y1) areaScanline(y, left, right, from, to, win, spans);
    };
    while (rem > 0 && y <= win->y1) {
        while (ly <= sub && rem > 0) {
            --rem;
            int const i = previousVertex(li);
            areaIncrementalize_y(&m_vert[li], &m_vert[i], &l, &dl, y, sub);
            lStart = li;
            ly = ceilSingle(m_vert[i].ny);
            li = i;
        }
        while (ry <= sub && rem > 0) {
            --rem;
            int const i = nextVertex(ri);
            areaIncrementalize_y(&m_vert[ri], &m_vert[i], &r, &dr, y, sub);
            rStart = ri;
            ry = ceilSingle(m_vert[i].ny);
            ri = i;
        }
        int const from = sub;
        while (sub < ly && sub < ry && y <= win->y1) {
            double const lx = positionOf(l, m_vert[lStart], sub);
            double const rx = positionOf(r, m_vert[rStart], sub);
            lo = lx <= rx ? &l : &r;
            hi = lx <= rx ? &r : &l;
            int const a = limitedSpan(ceilSingle(std::min(lx, rx)));
            int const b = limitedSpan(floorSingle(std::max(lx, rx)));
            int const k = sub & (kSubRows - 1);
            spans[k][0] = a < b ? a : kEmptySpan;
            spans[k][1] = a < b ? b : kEmptySpan;
            if (k == kSubRows - 1) {
                drawRow(lo, hi);
                clearSpans(spans);
                ++y;
                stepRow(l, dl);
                stepRow(r, dr);
            }
            ++sub;
            l.nx += dl.nx;
            r.nx += dr.nx;
        }
        if (sub > from) {
            lastLo = *lo;
            lastHi = *hi;
        }
    }
    if ((sub & (kSubRows - 1)) != 0) drawRow(&lastLo, &lastHi);
}

void QV_Poly::polyAreaScan(QV_Window* win, int left, int top, int right, int bottom) {
    beginRuns(std::max(win->y1 - win->y0 + 1, bottom - top + 1) + 10);
    polyAreaScan_internal(win, left, top, right, bottom);
    finishRuns();
}

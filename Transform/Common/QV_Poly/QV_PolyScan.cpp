// The plain scan: one run for each pixel row, over the pixels whose centres lie inside.
//
// Two edges walk down from the topmost vertex, the left one backwards along the outline and the
// right one forwards. A row y belongs to the polygon when its centre y + 0.5 does; values are
// taken at row and column centres. The walk ends with the window. Runs are drawn in row order;
// where the scan clears, they may be put off and drawn by a team (QV_PolyRuns.cpp).
#include <cmath>

#include "Transform/Common/QV_Poly/QV_Assert.h"
#include "Transform/Common/QV_Poly/QV_Poly.h"
#include "Transform/Common/SaturatingCast.h"

namespace {

/// What start values of a search for the least are.
constexpr double kLargest = 3.4028234663852886e38;

/// An edge that is level to within rounding may put its end anywhere.
int ceilInt(double x) { return saturatingInt(std::ceil(x)); }
int floorInt(double x) { return saturatingInt(std::floor(x)); }

/// The shared form of incrementalize_x and _y: `along` is the field that is walked.
void incrementalize(double const* p1, double const* p2, double* p, double* dp, double centre,
                    int along, unsigned long mask) {
    double length = p2[along] - p1[along];
    if (length == 0.0) length = 1.0;
    double const offset = centre - p1[along];
    for (int f = 0; f < kPolyFieldCount; ++f) {
        if (!(mask & (1ul << f))) continue;
        dp[f] = (p2[f] - p1[f]) / length;
        p[f] = p1[f] + dp[f] * offset;
    }
}

/// One more row: adds the slopes of the live fields.
void stepEdge(QV_Poly_vert& edge, QV_Poly_vert const& slope, unsigned long mask) {
    for (int f = 0; f < kPolyFieldCount; ++f)
        if (mask & (1ul << f)) edge.fields()[f] += slope.fields()[f];
}

}  // namespace

int QV_Poly::topVertex() const {
    int top = -1;
    double least = kLargest;
    for (int i = 0; i < m_n; ++i) {
        if (!(m_vert[i].sy < least)) continue;
        least = m_vert[i].sy;
        top = i;
    }
    return top;
}

void QV_Poly::incrementalize_y(double* p1, double* p2, double* p, double* dp, int y,
                               unsigned long mask) {
    incrementalize(p1, p2, p, dp, y + 0.5, 1, mask);
}

void QV_Poly::incrementalize_x(double* p1, double* p2, double* p, double* dp, int x,
                               unsigned long mask) {
    incrementalize(p1, p2, p, dp, x + 0.5, 0, mask);
}

void QV_Poly::scanline(int y, int left, int right, QV_Poly_vert* l, QV_Poly_vert* r, QV_Window* win,
                       unsigned long mask) {
    int lx = ceilInt(l->sx - 0.5);
    if (lx < win->x0) lx = win->x0;
    int rx = floorInt(r->sx - 0.5);
    if (rx > win->x1) rx = win->x1;
    if (lx > rx) return;

    QV_Poly_vert at{}, step{};
    incrementalize_x(l->fields(), r->fields(), at.fields(), step.fields(), lx,
                     mask & ~static_cast<unsigned long>(kMaskSx | kMaskSy));

    LineRenderStruct line{};
    line.x = at.u;
    line.y = at.v;
    line.w = at.q;
    line.dx = step.u;
    line.dy = step.v;
    line.dw = step.q;
    line.skipLeft = lx - left;
    line.count = rx - lx + 1;
    line.skipRight = right - rx;
    line.dest = rowAddress(y);
    noteRow(y, line.skipLeft, line.skipLeft + line.count);
    if (m_useOpenMP && m_rows)
        putOff(line, y);
    else
        m_interiorFunc(m_lineArg, &line);
}

void QV_Poly::poly_scan(QV_Window* win, int left, int top, int right, int bottom) {
    QV_ASSERT(!(m_n > POLY_NMAX), "!(m_n>POLY_NMAX)");
    beginRuns(m_clearHeight);
    polyScan_internal(win, left, top, right, bottom);
    finishRuns();
}

void QV_Poly::polyScan_internal(QV_Window* win, int left, int /*top*/, int right, int /*bottom*/) {
    int const start = topVertex();
    if (start < 0) return;

    unsigned long const mask = m_mask & ~static_cast<unsigned long>(kMaskSy);
    int y = ceilInt(m_vert[start].sy - 0.5);
    int ly = y - 1, ry = y - 1;  // last row that the edge in hand reaches, exclusive
    int li = start, ri = start;
    int rem = m_n;
    QV_Poly_vert l{}, dl{}, r{}, dr{};

    while (rem > 0 && y <= win->y1) {
        while (ly <= y && rem > 0) {
            --rem;
            int const i = previousVertex(li);
            incrementalize_y(m_vert[li].fields(), m_vert[i].fields(), l.fields(), dl.fields(), y,
                             mask);
            ly = floorInt(m_vert[i].sy + 0.5);
            li = i;
        }
        while (ry <= y && rem > 0) {
            --rem;
            int const i = nextVertex(ri);
            incrementalize_y(m_vert[ri].fields(), m_vert[i].fields(), r.fields(), dr.fields(), y,
                             mask);
            ry = floorInt(m_vert[i].sy + 0.5);
            ri = i;
        }
        while (y < ly && y < ry && y <= win->y1) {
            if (y >= win->y0) {
                if (l.sx <= r.sx)
                    scanline(y, left, right, &l, &r, win, mask);
                else
                    scanline(y, left, right, &r, &l, win, mask);
            }
            ++y;
            stepEdge(l, dl, mask);
            stepEdge(r, dr, mask);
        }
    }
}

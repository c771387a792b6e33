// Homogeneous clipping of a convex polygon against a box, one half-space after the other.
//
// A vertex is inside a plane when sign * s <= k * sw; on the plane counts as inside. Since the
// planes are compared before any division, a polygon that crosses the viewer's plane (sw = 0) is
// cut there and no vertex with a negative sw survives the x and y planes.
#include "Transform/Common/QV_Poly/QV_Assert.h"
#include "Transform/Common/QV_Poly/QV_Poly.h"

namespace {

struct ClipPlane {
    int index;    ///< 0, 1, 2: sx, sy, sz
    double sign;  ///< inside: sign * s <= k * sw
    double k;
};

constexpr int kPlaneCount = 6;

/// The planes in the order in which they cut.
void planesOfBox(QV_Poly_box const& box, ClipPlane (&planes)[kPlaneCount]) {
    const ClipPlane all[kPlaneCount] = {{0, -1.0, -box.x0}, {0, 1.0, box.x1},   {1, -1.0, -box.y0},
                                        {1, 1.0, box.y1},   {2, -1.0, -box.z0}, {2, 1.0, box.z1}};
    for (int i = 0; i < kPlaneCount; ++i) planes[i] = all[i];
}

/// Vertices of `p` outside each plane.
void countOutside(QV_Poly const& p, QV_Poly_box const& box, int (&outside)[kPlaneCount]) {
    for (int& n : outside) n = 0;
    for (int i = 0; i < p.m_n; ++i) {
        QV_Poly_vert const& v = p.m_vert[i];
        outside[0] += v.sx < box.x0 * v.sw;
        outside[1] += v.sx > box.x1 * v.sw;
        outside[2] += v.sy < box.y0 * v.sw;
        outside[3] += v.sy > box.y1 * v.sw;
        outside[4] += v.sz < box.z0 * v.sw;
        outside[5] += v.sz > box.z1 * v.sw;
    }
}

/// Room for one more vertex. A convex outline gains at most one a plane and always has it; one
/// whose corners were flipped behind the viewer may not be convex, and is given up when it has not.
bool hasRoom(QV_Poly& q) {
    if (q.m_n < POLY_NMAX) return true;
    q.m_n = 0;
    return false;
}

/// u + t (v - u) in the live fields.
void interpolateVertex(QV_Poly_vert const& u, QV_Poly_vert const& v, double t, std::uint32_t mask,
                       QV_Poly_vert& out) {
    double const* a = u.fields();
    double const* b = v.fields();
    for (int f = 0; f < kPolyFieldCount; ++f)
        if (mask & (1u << f)) out.fields()[f] = a[f] + t * (b[f] - a[f]);
}

}  // namespace

void QV_Poly::poly_clip_to_halfspace(QV_Poly* p, QV_Poly* q, int index, double sign, double k) {
    q->m_n = 0;
    q->m_mask = p->m_mask;
    if (p->m_n == 0) return;

    QV_Poly_vert const* u = &p->m_vert[p->m_n - 1];
    double tu = sign * u->fields()[index] - k * u->sw;
    for (int i = 0; i < p->m_n; ++i) {
        QV_Poly_vert const* v = &p->m_vert[i];
        double const tv = sign * v->fields()[index] - k * v->sw;
        if ((tu <= 0.0) != (tv <= 0.0)) {
            if (!hasRoom(*q)) return;
            interpolateVertex(*u, *v, tu / (tu - tv), p->m_mask, q->m_vert[q->m_n++]);
        }
        if (tv <= 0.0) {
            if (!hasRoom(*q)) return;
            q->m_vert[q->m_n++] = *v;
        }
        u = v;
        tu = tv;
    }
}

int QV_Poly::poly_clip_to_box(QV_Poly* p1, QV_Poly_box* box, bool clipXY) {
    QV_ASSERT(!(p1->m_n + 6 > POLY_NMAX), "!(p1->m_n+6>POLY_NMAX)");

    int outside[kPlaneCount];
    countOutside(*p1, *box, outside);
    bool allInside = true;
    for (int n : outside) allInside = allInside && n == 0;
    if (allInside) return 2;

    if (clipXY) {
        for (int n : outside) {
            if (n != p1->m_n) continue;
            p1->m_n = 0;
            return 0;
        }
    }

    ClipPlane planes[kPlaneCount];
    planesOfBox(*box, planes);
    QV_Poly local;
    QV_Poly* from = p1;
    QV_Poly* to = &local;
    for (int i = clipXY ? 0 : 4; i < kPlaneCount; ++i) {
        if (outside[i] == 0) continue;
        if (from->m_n == 0) break;
        poly_clip_to_halfspace(from, to, planes[i].index, planes[i].sign, planes[i].k);
        QV_Poly* emptied = from;
        from = to;
        to = emptied;
    }

    if (from->m_n == 0) {
        p1->m_n = 0;
        return 0;
    }
    if (from != p1) {
        p1->m_n = from->m_n;
        p1->m_mask = from->m_mask;
        for (int i = 0; i < from->m_n; ++i) p1->m_vert[i] = from->m_vert[i];
    }
    return 1;
}

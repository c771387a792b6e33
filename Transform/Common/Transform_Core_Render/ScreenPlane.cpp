// The plane through three vertices; see ScreenPlane.h.
#include "Transform/Common/Transform_Core_Render/ScreenPlane.h"

#include <cmath>

namespace {

/// Twice the signed area of a triangle on the screen.
double twiceArea(QV_Poly_vert const& a, QV_Poly_vert const& b, QV_Poly_vert const& c) {
    return (b.sx - a.sx) * (c.sy - a.sy) - (c.sx - a.sx) * (b.sy - a.sy);
}

}  // namespace

bool screenPlaneOf(QV_Poly const& poly, ScreenPlane& plane) {
    QV_Poly_vert const* best[3] = {};
    double area = 0;
    for (int i = 0; i < poly.m_n; ++i)
        for (int j = i + 1; j < poly.m_n; ++j)
            for (int k = j + 1; k < poly.m_n; ++k) {
                double const twice = twiceArea(poly.m_vert[i], poly.m_vert[j], poly.m_vert[k]);
                if (!(std::fabs(twice) > std::fabs(area))) continue;
                area = twice;
                best[0] = &poly.m_vert[i], best[1] = &poly.m_vert[j], best[2] = &poly.m_vert[k];
            }
    if (area == 0 || !std::isfinite(area)) return false;

    QV_Poly_vert const &a = *best[0], &b = *best[1], &c = *best[2];
    auto const through = [&](double QV_Poly_vert::*field, double(&f)[3]) {
        double const db = b.*field - a.*field, dc = c.*field - a.*field;
        f[0] = (db * (c.sy - a.sy) - dc * (b.sy - a.sy)) / area;
        f[1] = (dc * (b.sx - a.sx) - db * (c.sx - a.sx)) / area;
        f[2] = a.*field - f[0] * a.sx - f[1] * a.sy;
    };
    through(&QV_Poly_vert::u, plane.u);
    through(&QV_Poly_vert::v, plane.v);
    through(&QV_Poly_vert::q, plane.q);
    return true;
}

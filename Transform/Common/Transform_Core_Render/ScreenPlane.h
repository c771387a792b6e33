// ScreenPlane: the source position of a polygon as a function of the screen.
//
// u, v and q of a polygon that was divided by w are linear over the screen; the source position at
// a point is (u / q, v / q). This is the inverse of the render's map.
#pragma once

#include "Transform/Common/QV_Poly/QV_Poly.h"

struct ScreenPlane {
    /// Each is f[0] sx + f[1] sy + f[2].
    double u[3], v[3], q[3];

    static double at(double const (&f)[3], double sx, double sy) {
        return f[0] * sx + f[1] * sy + f[2];
    }
};

/// From the three vertices that span the largest triangle. False for a polygon without area.
bool screenPlaneOf(QV_Poly const& poly, ScreenPlane& plane);

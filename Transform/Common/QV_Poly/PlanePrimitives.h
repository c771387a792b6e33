// Value types of the plane: point, rectangles, linear interpolator, line, affine matrix, and the
// two hit tests. Units are the caller's (pixels, or fractions of a picture) and y points down.
// Plain values without invariants across objects: safe from any thread on separate objects.
#pragma once

#include <cstdint>

/// A point, (0, 0) by default.
struct QV_Point2D {
    double x = 0.0, y = 0.0;

    QV_Point2D() = default;
    QV_Point2D(double px, double py) : x(px), y(py) {}
};

/// A rectangle with real-valued sides, all 0 by default.
struct QV_FRect {
    double left = 0.0, top = 0.0, right = 0.0, bottom = 0.0;

    QV_FRect() = default;
    QV_FRect(double l, double t, double r, double b) : left(l), top(t), right(r), bottom(b) {}

    /// False if the sides are crossed on either axis. A rectangle of one point is defined.
    bool getDefined() const { return !(left > right || top > bottom); }

    /// Scales about the origin.
    void scale(double sx, double sy);
};

/// A rectangle of pixels, all four sides inclusive.
struct QV_IRect {
    std::int32_t left, top, right, bottom;
};

/// The straight line f(t) = m_a * t + m_b, in single precision; the user evaluates it.
struct QV_Lerp {
    float m_a, m_b;

    /// Maps t0 to r0 and t1 to r1. Stops the program when t1 - t0 is 0.
    QV_Lerp(float t0, float r0, float t1, float r1);
};

struct QV_Matrix2D;

/// A line from (x, y) along (dx, dy).
struct QV_Line2D {
    double x = 0.0, y = 0.0;
    double dx = 1.0, dy = 0.0;
    bool m_normalized = true;  ///< (dx, dy) has length 1

    QV_Line2D() = default;
    /// From (x0, y0) to (x1, y1); the flag is stored as given.
    QV_Line2D(double x0, double y0, double x1, double y1, bool isNormalized);
    QV_Line2D(QV_Point2D const& a, QV_Point2D const& b, bool isNormalized);

    /// Compares start and direction; the flag takes no part.
    bool operator==(QV_Line2D const& other) const;

    /// A copy with the flag false. The matrix isn't read: the line stays where it is.
    QV_Line2D operator*(QV_Matrix2D const& matrix) const;

    void translate(double tx, double ty);

    /// A moved copy made from its two end points, with the flag false.
    QV_Line2D translated(double tx, double ty) const;

    /// The point at parameter t: 0 is the start, 1 the end.
    QV_Point2D point(double t) const;
    QV_Point2D center() const;

    /// Distance of (px, py) from the infinite line. Not a number when dx = dy = 0.
    double distance(double px, double py) const;
    double length() const;

    /// Angle of the direction, radians.
    double angle() const;

    /// Gives the direction length 1 and sets the flag. Lengths below 1e-6 give (1, 0). Nothing is
    /// done if the flag is already set.
    void normalize();
    QV_Line2D normalized() const;

    /// The line from the start to the end point turned by a quarter about the origin, (-yEnd,
    /// xEnd).
    QV_Line2D perpendicular() const;
};

/// A 3x3 matrix, row after row; a point is the row vector (x, y, 1), so the translation is in
/// elements 6 and 7. Operations return a new matrix that acts after this one.
struct QV_Matrix2D {
    double m[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

    QV_Matrix2D() = default;
    /// Elements 0, 1, 3, 4, 6, 7; the last column is 0, 0, 1.
    QV_Matrix2D(double a, double b, double c, double d, double e, double f);

    QV_Matrix2D operator*(QV_Matrix2D const& right) const;
    QV_Matrix2D translate(double tx, double ty) const;
    QV_Matrix2D scale(double sx, double sy) const;
    QV_Matrix2D shearx(double k) const;
    QV_Matrix2D sheary(double k) const;
    /// `angle` in radians.
    QV_Matrix2D rotate(double angle) const;

    /// The inverse. A matrix whose best pivot is exactly 0 gives nine zeros.
    QV_Matrix2D inverse() const;
};

/// True if the point is in the triangle, edges included. `area` := the triangle's area. The areas
/// of the three triangles that the point makes with the sides must agree with it to 0.001 square
/// units.
bool isPointInTriangle(double px, double py, double ax, double ay, double bx, double by, double cx,
                       double cy, double& area);

/// True if the point is in triangle (0, 1, 2) or (3, 1, 2) of a quad in Z order. `area` := the sum
/// of their areas.
bool isPointInQuad(double px, double py, double x0, double y0, double x1, double y1, double x2,
                   double y2, double x3, double y3, double& area);

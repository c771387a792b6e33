// The 4x4 homogeneous matrix that holds every map of the effect: quad to quad, the viewing frustum,
// and the translate, scale and rotate steps.
//
// Points are row vectors: (x, y, z, w) * M, so the translation is row 3 (m[12..14]) and the
// projective column is m[3], m[7], m[11], m[15]. Every in-place operation multiplies on the left,
// M := Op * M: of a series of calls the one made last acts first on a point. Angles are in degrees.
//
// A quad is eight doubles x0, y0, ... x3, y3 in Z order, the images of the square's corners:
//
//     0 (0,0) ---- 1 (1,0)
//        |      /     |
//     2 (0,1) ---- 3 (1,1)
#pragma once

/// Row-major 4x4 matrix of doubles. Plain value; safe on separate objects from any thread.
class QV_Mtrx44 {
public:
    /// Element m[4*r + c] is row r, column c.
    double m[16];

    /// The identity.
    QV_Mtrx44() { unify(); }

    /// Sets the identity.
    void unify();

    /// this := b * this.
    void multLeft(QV_Mtrx44 const& b);

    void translate(double x, double y, double z);
    void scale(double x, double y, double z);
    void rotX(double degrees);
    void rotY(double degrees);
    void rotZ(double degrees);

    /// Writes (x, y, z, w) * M, not divided by w.
    void transform(double x, double y, double z, double w, double* ox, double* oy, double* oz,
                   double* ow) const;

    /// Left-multiplies a projection with the full vertical field of view `fovy` (degrees). Stops
    /// the program when zNear is 0 or equals zFar.
    void perspective(double fovy, double aspect, double zNear, double zFar);

    /// Left-multiplies the inverse of `perspective` with the same arguments; its tangent is single
    /// precision, so the two cancel to about 1e-7. Same contract.
    void perspectiveInverse(double fovy, double aspect, double zNear, double zFar);

    /// Left-multiplies the map from the unit square onto the quad (Z order). When corners 1, 2 and
    /// 3 are collinear the quad is taken as the parallelogram of corners 0, 1, 2. Always returns 1.
    int square2Quad(double const* quad);

    /// Returns the adjugate of rows and columns 0, 1, 3, read as a plane projective map: the
    /// inverse up to a factor, with row 2 and column 2 all 0. With `overwrite` the matrix becomes
    /// it too.
    QV_Mtrx44 square2QuadInverse(bool overwrite);

    /// Left-multiplies the map from the quad (Z order) onto the unit square. Always returns 1.
    int quad2Square(double const* quad);

    /// Left-multiplies the map from `fromQuad` to `toQuad` (both Z order), with the input transform
    /// of the nine numbers applied on the unit square in between if `useInput`. A singular
    /// `fromQuad` isn't detected. Always returns 1.
    int quad2Quad(double const* fromQuad, double const* toQuad, bool useInput, double offsetX,
                  double offsetY, double scaleX, double scaleY, double rotation, double centerX,
                  double centerY, double centerZ, double aspect);

    /// Left-multiplies a scale, a rotation (degrees) and an offset (percent of the unit square)
    /// about the centre of the unit square, in the order a point meets them. The rotation keeps
    /// right angles on a picture whose width is `aspect` times its height. The three centre values
    /// take no part in the result.
    void inputTransform(double offsetX, double offsetY, double scaleX, double scaleY,
                        double rotation, double centerX, double centerY, double centerZ,
                        double aspect);

    /// Prints the four rows on standard output, for debugging.
    void print() const;
};

// Corners in unit measure and their source positions, both passes of the clip, perspective
// division. See transformPoly.h.
//
// Filtered qualities stretch the texture half a source pixel past the outer pixel centres, out to
// the outer pixel edges; nearest neighbour stays half a pixel inside them, so that truncation
// never leaves the source rectangle.
#include "Transform/Common/Transform_Core_Render/transformPoly.h"

#include <algorithm>
#include <cmath>

#include "Transform/Common/SaturatingCast.h"

namespace {

/// Part of a pixel that the last row and column add to the clip box: below 1, so that the box
/// never reaches the next pixel.
constexpr double kLastPixelExtent = 0.99;

/// How far a vertex may leave the clip box, pixels. A clipped vertex lies in the box but for the
/// rounding of its division, which was at most 1e-9 over random quads of up to 1000 frames.
constexpr double kClipTolerance = 1.0;

constexpr int kCornerCount = 4;
constexpr std::uint32_t kClippedFields =
    kMaskSx | kMaskSy | kMaskSz | kMaskSw | kMaskU | kMaskV;  // 399

QV_FRect clipRectangle(RenderSettings const& s, QV_FRect const& target) {
    if (s.renderMode == 1) return target;
    return {static_cast<float>(s.dstLeft), static_cast<float>(s.dstTop),
            static_cast<float>(s.dstRight), static_cast<float>(s.dstBottom)};
}

/// The part of unit measure that the source rectangle stands for.
QV_FRect unitRectangle(RenderSettings const& s, QV_IRect const& src) {
    if (s.renderMode != 1) return {0.0, 0.0, 1.0, 1.0};
    float const w = static_cast<float>(s.hostWidth - 1);
    float const h = static_cast<float>(s.hostHeight - 1);
    return {static_cast<float>(src.left) / w, static_cast<float>(src.top) / h,
            static_cast<float>(src.right) / w, static_cast<float>(src.bottom) / h};
}

QV_FRect cornerRectangle(RenderSettings const& s, QV_FRect const& unit) {
    if (s.renderMode != 1) return unit;
    return {std::max(unit.left, 0.0), std::max(unit.top, 0.0), std::min(unit.right, 1.0),
            std::min(unit.bottom, 1.0)};
}

float evaluate(QV_Lerp const& lerp, double t) {
    return lerp.m_a * static_cast<float>(t) + lerp.m_b;
}

/// The four vertices in outline order: upper left, lower left, lower right, upper right.
void layCorners(QV_FRect const& c, QV_Lerp const& toU, QV_Lerp const& toV, double d,
                QV_Poly_vert (&corners)[kCornerCount]) {
    double const u0 = evaluate(toU, c.left) + d, u1 = evaluate(toU, c.right) - d;
    double const v0 = evaluate(toV, c.top) + d, v1 = evaluate(toV, c.bottom) - d;
    double const at[kCornerCount][4] = {{c.left, c.top, u0, v0},
                                        {c.left, c.bottom, u0, v1},
                                        {c.right, c.bottom, u1, v1},
                                        {c.right, c.top, u1, v0}};
    for (int i = 0; i < kCornerCount; ++i) {
        corners[i] = {};
        corners[i].x = at[i][0];
        corners[i].y = at[i][1];
        corners[i].u = at[i][2];
        corners[i].v = at[i][3];
        corners[i].q = 1.0;
    }
}

/// Puts the corners into `poly`, on screen. `flip` negates those behind the viewer: the
/// homogeneous point -p is the same point as p. With exact edges it negates all of them, so that
/// the outline stays convex.
void placeCorners(QV_Poly_vert const (&corners)[kCornerCount], RenderSettings const& s,
                  QV_Mtrx44 const& matrix, bool flip, QV_Poly& poly) {
    poly.m_n = kCornerCount;
    poly.m_mask = kClippedFields;
    for (int i = 0; i < kCornerCount; ++i) {
        QV_Poly_vert& v = poly.m_vert[i];
        v = corners[i];
        if (s.renderMode == 2 || s.renderMode == 3) {
            v.sx = s.sourceQuad[i].x;
            v.sy = s.sourceQuad[i].y;
            v.sz = v.sw = 1.0;
        } else {
            matrix.transform(v.x, v.y, v.z, 1.0, &v.sx, &v.sy, &v.sz, &v.sw);
        }
        if (flip && (s.hasExactEdges || v.sw < 0.0)) {
            v.sx = -v.sx;
            v.sy = -v.sy;
            v.sz = -v.sz;
            v.sw = -v.sw;
        }
    }
}

/// False too for a position that is not a number.
bool liesInBox(QV_Poly_vert const& v, QV_Poly_box const& box) {
    return v.sx >= box.x0 - kClipTolerance && v.sx <= box.x1 + kClipTolerance &&
           v.sy >= box.y0 - kClipTolerance && v.sy <= box.y1 + kClipTolerance;
}

/// After this u, v and q are linear in screen space. False when a vertex has no position: not a
/// finite one, or one that left the box to which it was clipped. Then its w is nothing but
/// rounding, and the scans would walk as far as that throws it.
bool divideByW(QV_Poly& poly, QV_Poly_box const& box) {
    for (int i = 0; i < poly.m_n; ++i) {
        QV_Poly_vert& v = poly.m_vert[i];
        if (v.sw == 0.0) return false;
        v.q = 1.0 / v.sw;
        v.sx = v.sx / v.sw;
        v.sy = v.sy / v.sw;
        v.u = v.u / v.sw;
        v.v = v.v / v.sw;
        for (double f : {v.q, v.u, v.v})
            if (!std::isfinite(f)) return false;
        if (!liesInBox(v, box)) return false;
    }
    return true;
}

/// Exact edges need the outline as it is as far as it can be felt in the frame: there a side of the
/// box is none of it.
QV_Poly_box clipBox(RenderSettings const& s, QV_FRect const& clip) {
    double const beside = s.hasExactEdges ? 1.0 + 0.5 * s.featherPx + s.chokePx : 0.0;
    double const last = s.hasExactEdges ? 1.0 + beside : kLastPixelExtent;
    return {clip.left - beside, clip.right + last, clip.top - beside, clip.bottom + last, 0.0, 1.0};
}

QV_IRect pixelBounds(QV_Poly const& poly, bool filtered) {
    float left = static_cast<float>(poly.m_vert[0].sx), right = left;
    float top = static_cast<float>(poly.m_vert[0].sy), bottom = top;
    for (int i = 1; i < poly.m_n; ++i) {
        float const x = static_cast<float>(poly.m_vert[i].sx);
        float const y = static_cast<float>(poly.m_vert[i].sy);
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
    auto const floorInt = [](float x) { return saturatingInt(std::floor(x)); };
    auto const ceilInt = [](float x) { return saturatingInt(std::ceil(x)); };
    if (filtered) return {floorInt(left), floorInt(top), floorInt(right), floorInt(bottom)};
    return {ceilInt(left - 0.5f), ceilInt(top - 0.5f), floorInt(right - 0.5f),
            floorInt(bottom - 0.5f)};
}

}  // namespace

int transformPoly(PluginHost_API* /*host*/, QV_Poly* poly, QV_FRect* target, QV_IRect const& src,
                  QV_IRect* bounds, QV_Window* window, RenderSettings* settings,
                  QV_Mtrx44 const* matrix) {
    const QV_FRect clip = clipRectangle(*settings, *target);
    QV_Poly_box box = clipBox(*settings, clip);
    if (window) {
        *window = {saturatingInt(clip.left), saturatingInt(clip.top), saturatingInt(clip.right),
                   saturatingInt(clip.bottom)};
    }

    const QV_FRect unit = unitRectangle(*settings, src);
    const QV_Lerp toU(static_cast<float>(unit.left), static_cast<float>(src.left),
                      static_cast<float>(unit.right), static_cast<float>(src.right));
    const QV_Lerp toV(static_cast<float>(unit.top), static_cast<float>(src.top),
                      static_cast<float>(unit.bottom), static_cast<float>(src.bottom));
    const QV_FRect cornersAt = cornerRectangle(*settings, unit);
    if (!cornersAt.getDefined()) return 0;

    bool const filtered = isFiltered(*settings);
    QV_Poly_vert corners[kCornerCount];
    layCorners(cornersAt, toU, toV, filtered ? -0.5 : 0.5, corners);

    int result = 0;
    for (int pass = 0; pass < 2 && result == 0; ++pass) {
        placeCorners(corners, *settings, *matrix, pass == 1, *poly);
        result = QV_Poly::poly_clip_to_box(poly, &box, true);
    }
    if (result == 0 || poly->m_n == 0 || !divideByW(*poly, box)) return 0;

    if (bounds) *bounds = pixelBounds(*poly, filtered);
    return result;
}

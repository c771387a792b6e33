// See naive_engine.h. Plain loops over plain numbers; nothing here is meant to be fast.
#include "tests/support/naive_engine.h"

#include <algorithm>
#include <cmath>

namespace zelk {

namespace {

constexpr double kUnit = 1.0 / 512.0;  // width of a coverage column
// How far a vertex or an edge may lie off, in pixels: the view distance is single precision, which
// moves a pixel by 4.4e-8 of its way from the centre (below 64), and an edge's place on the grid is
// rounded to single precision at up to 64 * 512, by 2^-9 columns.
constexpr double kShift = 64 * 4.4e-8 + kUnit / 512;
// A span may lose or gain one column of the grid; spans of one column are taken as empty.
constexpr double kSpanError = 1.01 * kUnit;

// Triangle (2), Keys (6), or Parzen, the cubic B-spline (9).
double kernelOf(int filter, double x) {
    const double a = std::fabs(x);
    if (a >= 2) return 0;
    if (filter == 2) return std::max(0.0, 1 - a);
    if (filter == 6)
        return a < 1 ? (1.5 * a - 2.5) * a * a + 1 : ((-0.5 * a + 2.5) * a - 4) * a + 2;
    return a < 1 ? 2.0 / 3.0 - a * a + a * a * a / 2 : (2 - a) * (2 - a) * (2 - a) / 6;
}

// The weights of a signed fraction, quantised to the 256 rows from -1 to 1. Taps lie from -1 to 2
// kernel units, whatever their number.
std::vector<double> weightsOf(int filter, int taps, double fraction) {
    const double row = std::clamp(std::trunc((fraction + 1.0) * 255.0 * 0.5), 0.0, 255.0);
    std::vector<double> weights(static_cast<std::size_t>(taps));
    double sum = 0;
    for (int k = 0; k < taps; ++k) {
        weights[k] = kernelOf(filter, -1.0 + 3.0 * k / (taps - 1) - (row / 127.5 - 1.0));
        sum += weights[k];
    }
    for (double& w : weights) w /= sum;
    return weights;
}

}  // namespace

void Range::include(double value) {
    lo = std::min(lo, value);
    hi = std::max(hi, value);
}

void Range::include(const Range& other) {
    include(other.lo);
    include(other.hi);
}

NaiveEngine::NaiveEngine(const EngineScene& scene, const GuardedRaster& source)
    : m_scene(scene), m_source(source) {
    mapPicture();
    for (int y = scene.window.top; y <= scene.window.bottom; ++y) m_rows.push_back(makeRow(y));
}

void NaiveEngine::mapPicture() {
    Matrix3 toFrame = product(inverse(axesToQuad(m_scene.from)),
                              axesToQuad(m_scene.to, m_scene.frameWidth, m_scene.frameHeight));
    // Which side of the horizon is in front: the From quad's own corners, if the quad isn't
    // mirrored; else the other side, as far as anything lies there.
    const Quad& f = m_scene.from;
    const double turn = (f[2] - f[0]) * (f[5] - f[1]) - (f[3] - f[1]) * (f[4] - f[0]);
    const double corner = apply({f[0], f[1], 1}, toFrame)[2];
    const bool flip = (turn < 0) != (corner < 0);
    for (double& e : toFrame) e = flip ? -e : e;

    const Polygon square = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
    int behind = 0;
    for (const Point& p : square) behind += apply({p.x, p.y, 1}, toFrame)[2] < 0;
    if (behind == 4) {
        for (double& e : toFrame) e = -e;
    }
    m_toUnit = inverse(toFrame);

    // The last row and column are cut at 0.99 of their pixels.
    const PixelRect& w = m_scene.window;
    const double sides[4] = {w.left * 1.0, w.top * 1.0, w.right + 0.99, w.bottom + 0.99};
    Polygon visible = keep(square, [&](const Point& p) {
        return apply({p.x, p.y, 1}, toFrame)[2];
    });
    for (int i = 0; i < 4; ++i) {
        visible = keep(visible, [&](const Point& p) {
            const Vector3 at = apply({p.x, p.y, 1}, toFrame);
            const double inside = at[i % 2] - sides[i] * at[2];
            return i < 2 ? inside : -inside;
        });
    }
    for (const Point& p : visible) {
        const Vector3 at = apply({p.x, p.y, 1}, toFrame);
        m_polygon.push_back({at[0] / at[2], at[1] / at[2]});
    }
    m_canTell = behind == 0 || behind == 4 || std::fabs(signedArea(m_polygon)) > 1e-3;
}

NaiveEngine::Cut NaiveEngine::cut(double y) const {
    Cut out = {1e30, -1e30};
    for (std::size_t i = 0; i < m_polygon.size(); ++i) {
        const Point& a = m_polygon[i];
        const Point& b = m_polygon[(i + 1) % m_polygon.size()];
        if (std::min(a.y, b.y) > y || std::max(a.y, b.y) < y) continue;
        const double x = a.y == b.y ? a.x : a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x);
        for (const double end : {x, a.y == b.y ? b.x : x}) {
            out.l = std::min(out.l, end);
            out.r = std::max(out.r, end);
        }
    }
    return out;
}

NaiveEngine::Row NaiveEngine::makeRow(int y) const {
    Row row{};
    row.surelyFull = row.maybeFull = true;
    row.maxLeft = row.minRight = {0, 0};
    double leftLo = -1e30, leftHi = -1e30, rightLo = 1e30, rightHi = 1e30;
    bool anySure = false, anyMaybe = false;
    for (int k = 0; k < kLines; ++k) {
        bool sure = true, maybe = false;
        Range l = {1e30, -1e30}, r = {1e30, -1e30};
        for (int s = 0; s < kShifts; ++s) {
            const Cut c = row.cuts[k][s] = cut(y + k / 16.0 + (s - 1) * kShift);
            sure = sure && c.width() > 2 * kSpanError;
            maybe = maybe || c.width() > kUnit - 2 * kShift;
            if (c.width() == 0.0) continue;
            l.include(Range{c.l - kShift, c.l + kSpanError});
            r.include(Range{c.r - kSpanError, c.r + kShift});
        }
        row.surelyFull = row.surelyFull && sure;
        row.maybeFull = row.maybeFull && maybe;
        anySure = anySure || sure;
        anyMaybe = anyMaybe || maybe;
        if (sure) {
            leftLo = std::max(leftLo, l.lo);
            rightHi = std::min(rightHi, r.hi);
        }
        if (maybe) {
            leftHi = std::max(leftHi, l.hi);
            rightLo = std::min(rightLo, r.lo);
        }
    }
    row.maxLeft = {leftLo, leftHi};
    row.minRight = {rightLo, rightHi};
    const bool surelyShared = anySure && leftHi <= rightLo;
    const bool surelyNot = !anyMaybe || (anySure && leftLo > rightHi);
    row.drop = surelyNot ? Drop::kYes : surelyShared ? Drop::kNo : Drop::kMaybe;
    return row;
}

Range NaiveEngine::sampledCoverage(int x, int y) const {
    const Row& row = rowAt(y);
    if (row.drop == Drop::kYes) return {0, 0};
    Range sum = {0, 0};
    for (const auto& line : row.cuts) {
        Range part = {1, 0};
        for (const Cut& c : line) {
            const double length =
                std::clamp(std::min(c.r, x + 1.0) - std::max(c.l, x * 1.0), 0.0, 1.0);
            // No end in or at the pixel: all of its columns count, or none.
            const bool beside = c.r < x - kShift || c.l > x + 1 + kShift;
            const bool across = c.l < x - kShift && c.r > x + 1 + kShift;
            const bool thin = c.width() <= 2 * kSpanError;
            const double error = beside || across ? 0.0 : thin ? 2 * kSpanError : kSpanError;
            part.include(Range{std::max(0.0, length - error), std::min(1.0, length + error)});
        }
        sum.lo += part.lo / kLines;
        sum.hi += part.hi / kLines;
    }
    if (row.drop == Drop::kMaybe) sum.lo = 0;
    return sum;
}

NaiveEngine::SourcePoint NaiveEngine::sourceOf(int x, int y) const {
    const PixelRect& s = m_scene.source;
    // Filtered qualities lay the picture half a pixel past the outer pixel centres; nearest
    // neighbour, which truncates, keeps half a pixel inside them.
    const double outset = m_scene.quality() == 0 ? -0.5 : 0.5;
    const auto at = [&](double px, double py, double* uv) {
        const Vector3 unit = apply({px, py, 1}, m_toUnit);
        uv[0] = s.left - outset + unit[0] / unit[2] * (s.right - s.left + 2 * outset);
        uv[1] = s.top - outset + unit[1] / unit[2] * (s.bottom - s.top + 2 * outset);
        return unit[2];
    };
    double centre[2], moved[2];
    const double q = at(x + 0.5, y + 0.5, centre);
    // Narrowing to single precision at up to 64, twice for good measure.
    SourcePoint p = {centre[0], centre[1], 64 * 0x1p-23, 64 * 0x1p-23, true};
    for (const Point& step :
         {Point{kShift, 0}, Point{-kShift, 0}, Point{0, kShift}, Point{0, -kShift}}) {
        const double moveQ = at(x + 0.5 + step.x, y + 0.5 + step.y, moved);
        p.errorU = std::max(p.errorU, 64 * 0x1p-23 + std::fabs(moved[0] - centre[0]));
        p.errorV = std::max(p.errorV, 64 * 0x1p-23 + std::fabs(moved[1] - centre[1]));
        p.known = p.known && q > 0 && moveQ > 0;
    }
    // Beyond a third of a step of the weight table a range could hide more than one step.
    p.known = p.known && p.errorU < 0.0025 && p.errorV < 0.0025;
    return p;
}

double NaiveEngine::bilinearAt(double u, double v, int channel) const {
    const PixelRect& s = m_scene.source;
    u = std::clamp(u, s.left * 1.0, s.right * 1.0);
    v = std::clamp(v, s.top * 1.0, s.bottom * 1.0);
    double sum = 0;
    for (int y = s.top; y <= s.bottom; ++y) {
        for (int x = s.left; x <= s.right; ++x) {
            const double weight =
                std::max(0.0, 1 - std::fabs(u - x)) * std::max(0.0, 1 - std::fabs(v - y));
            if (weight > 0) sum += weight * m_source.get(x, y, channel);
        }
    }
    return sum;
}

double NaiveEngine::kernelAt(double u, double v, int taps, bool repeatBorder, int channel) const {
    const PixelRect& s = m_scene.source;
    const int filter = m_scene.quality() == 3 ? 9 : m_scene.filter;
    const std::vector<double> wx = weightsOf(filter, taps, u - std::trunc(u));
    const std::vector<double> wy = weightsOf(filter, taps, v - std::trunc(v));
    double sum = 0;
    for (int j = 0; j < taps; ++j) {
        for (int i = 0; i < taps; ++i) {
            const int x = static_cast<int>(std::trunc(u)) - (taps / 2 - 1) + i;
            const int y = static_cast<int>(std::trunc(v)) - (taps / 2 - 1) + j;
            const int cx = std::clamp(x, s.left, s.right), cy = std::clamp(y, s.top, s.bottom);
            if (!repeatBorder && (cx != x || cy != y)) continue;  // black outside
            sum += wx[i] * wy[j] * m_source.get(cx, cy, channel);
        }
    }
    return sum;
}

template <typename Sample>
Range NaiveEngine::around(const SourcePoint& p, Sample sample) {
    Range range = {1e9, -1e9};
    for (const double u : {p.u - p.errorU, p.u, p.u + p.errorU})
        for (const double v : {p.v - p.errorV, p.v, p.v + p.errorV}) range.include(sample(u, v));
    return range;
}

Range NaiveEngine::bilinear(const SourcePoint& p, int channel) const {
    return around(p, [&](double u, double v) { return bilinearAt(u, v, channel); });
}

Range NaiveEngine::kernel(const SourcePoint& p, int taps, bool repeatBorder, int channel) const {
    return around(p,
                  [&](double u, double v) { return kernelAt(u, v, taps, repeatBorder, channel); });
}

Range NaiveEngine::interior(const SourcePoint& p, int channel) const {
    if (m_scene.quality() == 1) return bilinear(p, channel);
    if (m_scene.quality() == 2) {
        const int taps = 4 + 2 * m_scene.sizeIndex;
        return kernel(p, taps, taps == 4, channel);
    }
    Range sum = {0, 0};
    for (int k = 0; k < kSuperSamples; ++k) {
        SourcePoint moved = p;
        moved.u += m_scene.ssOffsetX[k];
        moved.v += m_scene.ssOffsetY[k];
        const Range sample = kernel(moved, 4, true, channel);
        sum.lo += m_scene.ssWeight[k] * sample.lo;
        sum.hi += m_scene.ssWeight[k] * sample.hi;
    }
    return sum;
}

Range NaiveEngine::nearest(int x, int y, int channel) const {
    bool sure = true, maybe = false;
    for (int s = 0; s < kShifts; ++s) {
        const Cut c = cut(y + 0.5 + (s - 1) * kShift);
        if (c.l > c.r) {
            sure = false;
            continue;
        }
        sure = sure && c.l + kShift < x + 0.5 && x + 0.5 < c.r - kShift;
        maybe = maybe || (c.l - kShift < x + 0.5 && x + 0.5 < c.r + kShift);
    }
    if (!maybe) return {0, 0};
    const SourcePoint p = sourceOf(x, y);
    if (!p.known) return {0, 1};
    const PixelRect& b = m_scene.source;
    Range range = around(p, [&](double u, double v) {
        return m_source.get(std::clamp(static_cast<int>(std::trunc(u)), b.left, b.right),
                            std::clamp(static_cast<int>(std::trunc(v)), b.top, b.bottom), channel);
    });
    if (!sure) range.include(0.0);
    return range;
}

Range NaiveEngine::value(int x, int y, int channel) const {
    if (m_scene.quality() == 0) return nearest(x, y, channel);
    const Row& row = rowAt(y);
    const Range coverage = sampledCoverage(x, y);
    if (coverage.hi == 0) return {0, 0};
    const SourcePoint p = sourceOf(x, y);
    if (!p.known) return {-1, 2};

    // Interior runs begin in the pixel after the one that holds the last left end, and end before
    // the pixel that holds the first right end.
    const bool surelyInterior = row.surelyFull && x >= row.maxLeft.hi && x + 1 <= row.minRight.lo;
    const bool maybeInterior = row.maybeFull && x >= row.maxLeft.lo && x + 1 <= row.minRight.hi;
    Range range = {1e9, -1e9};
    if (maybeInterior) range.include(interior(p, channel));
    if (!surelyInterior) {
        const Range sample = m_scene.quality() == 3 ? interior(p, channel) : bilinear(p, channel);
        range.include(Range{sample.lo * coverage.lo, sample.hi * coverage.hi});
    }
    if (row.drop != Drop::kNo) range.include(0.0);
    return range;
}

}  // namespace zelk

// Footprints: the pyramid, the choice of samples, the scalar sampler and the line functions; see
// Footprint.h.
#include "Transform/Common/Transform_Core_Render/Footprint.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "Transform/Common/RowBands.h"
#include "Transform/Common/Transform_Core_Render/FootprintTaps.h"

namespace {

/// A level is halved once more while the footprint's narrow side has twice as many texels.
constexpr double kFinestTexels = 4;
/// Samples along a side at most; a longer one halves the level too.
constexpr double kMostSamples = 64;
/// Along a side of several texels. Fewer let the pattern of the samples show, more show nothing.
constexpr double kSamplesPerTexel = 1.1;

// Variances are in twelfths of a squared texel: a box of length l has l l, the B-spline 4.
constexpr double kSplineVariance = 4;

/// Squares of the parallelogram's sides, of the longer one, and of its area.
struct Extent {
    double column, row, longer, area;

    explicit Extent(Footprint const& f)
        : column(f.ux * f.ux + f.vx * f.vx),
          row(f.uy * f.uy + f.vy * f.vy),
          longer(std::max(column, row)) {
        double const product = f.ux * f.vy - f.uy * f.vx;
        area = product * product;
    }

    /// The height over the longer side, area / longer, has twice the finest texels, or the longer
    /// side more than samples go along it. `scale` is that of squares.
    bool wantsHalf(double scale) const {
        constexpr double kTwice = 4 * kFinestTexels * kFinestTexels;
        return area * scale > kTwice * longer || longer * scale > kMostSamples * kMostSamples;
    }
};

/// Squares of the side from which on the whole of it is integrated, and of the one from which on
/// samples alone do it. Up to the first the kernel's width is enough.
constexpr double kWholeSide = 1.6, kSampledSide = 2.1;

/// How one side of the parallelogram is integrated: by the kernel's width and by several samples.
///
///   side          variance              by the kernel      samples
///   < 1           0                     0                  1
///   1 .. 1.26     from 0 to the side's  all of it          1
///   1.26 .. 1.45  the whole side's      from all to none   2
///   > 1.45        the whole side's      none               2 and more
struct Spread {
    double kernel = 0;
    std::int32_t count = 1;
    double step = 0;  ///< from one sample to the next, of the side

    /// `side` is the square of the side's length in texels, `done` the variance that the level's
    /// own texels have already. n points at distances s have the variance s s (n n - 1).
    Spread(double side, double done) {
        if (!(side > 1)) return;
        constexpr double kRise = kWholeSide / (kWholeSide - 1);
        double const whole = std::max((side < kWholeSide ? (side - 1) * kRise : side) - done, 0.0);
        kernel = std::min(
            whole,
            kWholeSide * std::clamp((kSampledSide - side) / (kSampledSide - kWholeSide), 0.0, 1.0));
        double const rest = whole - kernel;
        if (!(rest > 0)) return;
        count = 2;
        constexpr double kTwoSuffice = 4 / (kSamplesPerTexel * kSamplesPerTexel);
        if (rest > kTwoSuffice) {
            double const wanted = std::min(std::sqrt(rest) * kSamplesPerTexel, kMostSamples);
            count = static_cast<std::int32_t>(std::ceil(wanted));
        }
        step = std::sqrt(rest / ((static_cast<double>(count) * count - 1) * side));
    }
};

/// The mean of two by two texels each.
void halveRow(FootprintSource::Level const& from, std::int32_t y, float* out, std::int32_t width) {
    float const* const upper = from.pixels + std::ptrdiff_t{2} * y * from.rowFloats;
    float const* const lower = from.pixels + std::min(2 * y + 1, from.height - 1) * from.rowFloats;
    for (std::int32_t x = 0; x < width; ++x) {
        std::ptrdiff_t const left = std::ptrdiff_t{8} * x;
        std::ptrdiff_t const right = std::ptrdiff_t{4} * std::min(2 * x + 1, from.width - 1);
        for (int c = 0; c < 4; ++c)
            out[4 * x + c] =
                ((upper[left + c] + upper[right + c]) + (lower[left + c] + lower[right + c])) *
                0.25f;
    }
}

}  // namespace

FootprintSource::FootprintSource(RenderSettings const& settings, int levels)
    : m_left(settings.srcMinX), m_top(settings.srcMinY) {
    const std::ptrdiff_t rowFloats = settings.srcRowBytes / std::ptrdiff_t{sizeof(float)};
    m_levels.push_back({static_cast<float const*>(settings.srcData) + m_top * rowFloats +
                            std::ptrdiff_t{4} * m_left,
                        rowFloats, settings.srcMaxX - m_left + 1, settings.srcMaxY - m_top + 1});
    while (static_cast<int>(m_levels.size()) < levels) {
        Level const& last = m_levels.back();
        if (last.width == 1 && last.height == 1) break;
        if (addLevel()) continue;
        m_levels.clear();
        return;
    }
}

int FootprintSource::levelsFor(Footprint const& footprint) {
    constexpr int kMost = 16;  // of the largest image that a host has
    const Extent extent(footprint);
    int levels = 1;
    for (double scale = 1; levels < kMost && extent.wantsHalf(scale * scale); scale *= 0.5)
        ++levels;
    return levels;
}

bool FootprintSource::addLevel() {
    const Level from = m_levels.back();
    const std::int32_t width = (from.width + 1) / 2, height = (from.height + 1) / 2;
    const std::ptrdiff_t rowFloats = std::ptrdiff_t{4} * width;
    PixelMemory& memory =
        m_memory.emplace_back(static_cast<std::size_t>(rowFloats * height) * sizeof(float),
                              PixelMemory::Start::kAnything);
    auto* const pixels = reinterpret_cast<float*>(memory.data());
    if (!pixels) return false;
    forEachRow(height, 12 * rowFloats * std::int64_t{sizeof(float)} / 4,
               [&](int y) { halveRow(from, y, pixels + y * rowFloats, width); });
    m_levels.push_back({pixels, rowFloats, width, height});
    return true;
}

FootprintSamples samplesOf(FootprintSource const& source, Footprint const& f) {
    const Extent extent(f);
    FootprintSamples s{};
    double scale = 1;
    auto const levels = static_cast<std::int32_t>(source.levels().size());
    for (; s.level + 1 < levels && extent.wantsHalf(scale * scale); ++s.level) scale *= 0.5;

    double const done = 1 - scale * scale;  // a texel is a box of 2^level pixels
    const Spread column(extent.column * scale * scale, done);
    const Spread row(extent.row * scale * scale, done);
    // Each side's share of the kernel goes to the axes as the side points.
    double const ofColumn = column.kernel > 0 ? column.kernel / extent.column : 0;
    double const ofRow = row.kernel > 0 ? row.kernel / extent.row : 0;
    auto const share = [&](double alongColumn, double alongRow) {
        double const variance = ofColumn * alongColumn * alongColumn + ofRow * alongRow * alongRow;
        return static_cast<float>(std::min(variance / kSplineVariance, 1.0));
    };
    s.splineX = share(f.ux, f.uy);
    s.splineY = share(f.vx, f.vy);
    s.columns = column.count;
    s.rows = row.count;
    s.columnX = f.ux * scale * column.step;
    s.columnY = f.vx * scale * column.step;
    s.rowX = f.uy * scale * row.step;
    s.rowY = f.vy * scale * row.step;
    s.x = (f.u + 0.5 - source.left()) * scale - 0.5 - 0.5 * (s.columns - 1) * s.columnX -
          0.5 * (s.rows - 1) * s.rowX;
    s.y = (f.v + 0.5 - source.top()) * scale - 0.5 - 0.5 * (s.columns - 1) * s.columnY -
          0.5 * (s.rows - 1) * s.rowY;
    s.scale = static_cast<float>(1.0 / (static_cast<double>(s.columns) * s.rows));
    return s;
}

void sampleFootprints(FootprintSource const& source, FootprintSamples const* samples, int count,
                      float* out) {
    using namespace footprint_taps;
    auto const polynomial = [](auto const& powers, int k, float f) {
        int n = static_cast<int>(std::size(powers)) - 1;
        float sum = powers[n][k];
        while (--n >= 0) sum = sum * f + powers[n][k];
        return sum;
    };
    auto const weights = [polynomial](float f, float spline, float(&w)[kTaps]) {
        for (int k = 0; k < kTaps; ++k) {
            float const sharp = polynomial(kSharp, k, f) * kSharpUnit;
            w[k] = sharp + (polynomial(kSpline, k, f) * kSplineUnit - sharp) * spline;
        }
    };
    for (int n = 0; n < count; ++n, out += 4) {
        float columns[kTaps][4] = {};
        forEachSample(source, samples[n], [&](Block block, float fx, float fy) {
            float wx[kTaps], wy[kTaps];
            weights(fx, samples[n].splineX, wx);
            weights(fy, samples[n].splineY, wy);
            for (int k = 0; k < kTaps; ++k) {
                for (int c = 0; c < 4; ++c) {
                    float const* const texel = block.first + 4 * k + c;
                    float sum = texel[0] * wy[0];
                    for (int j = 1; j < kTaps; ++j) sum = sum + texel[j * block.rowFloats] * wy[j];
                    columns[k][c] = columns[k][c] + sum * wx[k];
                }
            }
        });
        for (int c = 0; c < 4; ++c)
            out[c] = (((columns[0][c] + columns[2][c]) + columns[4][c]) +
                      ((columns[1][c] + columns[3][c]) + columns[5][c])) *
                     samples[n].scale;
    }
}

Footprint footprintAt(ScreenPlane const& p, double sx, double sy) {
    double const w = ScreenPlane::at(p.q, sx, sy);
    double const u = ScreenPlane::at(p.u, sx, sy) / w, v = ScreenPlane::at(p.v, sx, sy) / w;
    return {u,
            v,
            (p.u[0] - u * p.q[0]) / w,
            (p.v[0] - v * p.q[0]) / w,
            (p.u[1] - u * p.q[1]) / w,
            (p.v[1] - v * p.q[1]) / w};
}

namespace {

constexpr int kBlock = 64;

void runFootprints(RenderSettings const& s, LineRenderStruct& line) {
    FootprintContext const& context = *s.footprint;
    ScreenPlane const& p = context.plane;
    auto* out = static_cast<float*>(line.dest);
    FootprintSamples samples[kBlock];
    for (int first = 0; first < line.count; first += kBlock) {
        int const count = std::min(kBlock, line.count - first);
        for (int k = 0; k < count; ++k) {
            int const i = first + k;
            double const r = 1 / (line.w + i * line.dw);
            double const u = (line.x + i * line.dx) * r, v = (line.y + i * line.dy) * r;
            samples[k] = samplesOf(context.source,
                                   {u, v, (line.dx - u * line.dw) * r, (line.dy - v * line.dw) * r,
                                    (p.u[1] - u * p.q[1]) * r, (p.v[1] - v * p.q[1]) * r});
        }
        sampleFootprintsSimd(context.source, samples, count, out);
        for (int k = 0; k < count; ++k, out += 4) {
            out[s.alphaOffset] = limitedAlpha(out[s.alphaOffset]);
        }
    }
    line.x += line.count * line.dx;
    line.y += line.count * line.dy;
    line.w += line.count * line.dw;
}

}  // namespace

void footprintFunc(void* settings, LineRenderStruct* line) {
    if (line->count > 0) runFootprints(*static_cast<RenderSettings const*>(settings), *line);
}

// Row by row compositing: a row of source pixels is found or sampled, then laid by the transfer
// modes' own row functions, so a host and the effect agree to the bit.
#include "hostkit/compositing.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <vector>

#include "Transform/Common/RowBands.h"
#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "hostkit/pixel_ops.h"

namespace zelk {
namespace {

/// `action(trait)` for the pixel trait of a world.
template <class Action>
bool withTraitOf(World const& world, Action const& action) {
    switch (world.depth()) {
        case Depth::k16:
            return action(PIXEL_ARGB15{});
        case Depth::kFloat:
            return action(PIXEL_ARGB32{});
        case Depth::k8:
            break;
    }
    return world.spec().bgra ? action(PIXEL_BGRA8{}) : action(PIXEL_ARGB8{});
}

template <class Trait>
float opacityOf(PF_CompositeMode const& mode) {
    if (Trait::kWhite == 32768)
        return std::min(static_cast<float>(mode.opacitySu) / 32768.0f, 1.0f);
    return static_cast<float>(mode.opacity) / 255.0f;
}

/// PF_Xfer_COPY as a row function.
template <class Trait>
void copyRow(typename Trait::Channel const* foreground, typename Trait::Channel const*,
             typename Trait::Channel* destination, int width, BlendOptions const& options) {
    using Channel = typename Trait::Channel;
    std::copy_n(foreground, 4 * static_cast<std::ptrdiff_t>(width), destination);
    for (Channel* alpha = destination + Trait::kAlpha; width > 0; --width, alpha += 4)
        *alpha = static_cast<Channel>(
            blend_detail::BlendArithmetic<Trait>::withOpacity(*alpha, options.foregroundOpacity));
}

/// Null for a number that PF_Xfer_Mode doesn't name, and for Dissolve.
template <class Trait>
BlendRow<Trait> rowFunctionOf(PF_Xfer_Mode mode) {
    if (mode == PF_Xfer_COPY) return copyRow<Trait>;
    bool const isNamed = (mode >= PF_Xfer_BEHIND && mode <= PF_Xfer_LUMINOSITY) ||
                         (mode >= PF_Xfer_COLOR_DODGE && mode <= PF_Xfer_EXCLUSION);
    return isNamed && mode != PF_Xfer_DISSOLVE ? blendRowOfMode<Trait>(mode) : nullptr;
}

/// Lays rows of `width` pixels over rows of a destination.
template <class Trait>
class RowLayer {
public:
    using Channel = typename Trait::Channel;

    RowLayer(PF_CompositeMode const& mode, BlendRow<Trait> blend, int width)
        : m_blend(blend),
          m_options{opacityOf<Trait>(mode)},
          m_width(width),
          m_alphas(mode.rgb_only ? static_cast<std::size_t>(width) : 0) {}

    /// Rows may be laid on several threads.
    bool isStateless() const { return m_alphas.empty(); }

    /// `source` and `destination` are the same row or have nothing in common.
    void lay(Channel const* source, Channel* destination) {
        Channel* alpha = destination + Trait::kAlpha;
        for (std::size_t x = 0; x < m_alphas.size(); ++x) m_alphas[x] = alpha[4 * x];
        m_blend(source, destination, destination, m_width, m_options);
        for (std::size_t x = 0; x < m_alphas.size(); ++x) alpha[4 * x] = m_alphas[x];
    }

private:
    BlendRow<Trait> m_blend;
    BlendOptions m_options;
    int m_width;
    std::vector<Channel> m_alphas;  ///< the destination's while rgb_only is on, else none
};

template <class Channel>
Channel nearestChannel(double value) {
    if constexpr (std::is_floating_point_v<Channel>)
        return static_cast<Channel>(value);
    else
        return static_cast<Channel>(std::floor(value + 0.5));
}

/// Reads a source at points; each writes one pixel of four channels.
template <class Trait>
class Sampler {
public:
    using Channel = typename Trait::Channel;

    explicit Sampler(World const& source) : m_source(source) {}

    void nearest(double x, double y, Channel* pixel) const {
        // Compared before any cast: a point that is not finite lies outside.
        bool const inside = x >= 0 && x < m_source.width() && y >= 0 && y < m_source.height();
        if (inside)
            std::copy_n(at(static_cast<int>(x), static_cast<int>(y)), 4, pixel);
        else
            std::fill_n(pixel, 4, Channel{0});
    }

    ///   a = sum w_i a_i    c = sum w_i a_i c_i / a, 0 when a is 0
    void bilinear(double x, double y, Channel* pixel) const {
        double const left = x - 0.5, top = y - 0.5;
        std::fill_n(pixel, 4, Channel{0});
        if (!(left > -1 && left < m_source.width() && top > -1 && top < m_source.height())) return;
        int const column = static_cast<int>(std::floor(left));
        int const row = static_cast<int>(std::floor(top));
        double const right = left - column, bottom = top - row;  // weights, 0 to below 1
        if (right == 0 && bottom == 0) return nearest(x, y, pixel);

        double sums[4] = {};
        add(column, row, (1 - right) * (1 - bottom), sums);
        add(column + 1, row, right * (1 - bottom), sums);
        add(column, row + 1, (1 - right) * bottom, sums);
        add(column + 1, row + 1, right * bottom, sums);
        double const alpha = sums[Trait::kAlpha];
        if (alpha == 0) return;
        for (int c : {Trait::kRed, Trait::kGreen, Trait::kBlue})
            pixel[c] = nearestChannel<Channel>(sums[c] / alpha);
        pixel[Trait::kAlpha] = nearestChannel<Channel>(alpha);
    }

private:
    Channel const* at(int x, int y) const {
        return m_source.rowAs<Channel>(y) + 4 * static_cast<std::ptrdiff_t>(x);
    }
    /// Adds a pixel of the source, premultiplied, to the four sums.
    void add(int x, int y, double weight, double (&sums)[4]) const {
        if (x < 0 || x >= m_source.width() || y < 0 || y >= m_source.height()) return;
        Channel const* const pixel = at(x, y);
        double const alpha = weight * pixel[Trait::kAlpha];
        if (alpha == 0) return;
        sums[Trait::kAlpha] += alpha;
        for (int c : {Trait::kRed, Trait::kGreen, Trait::kBlue}) sums[c] += alpha * pixel[c];
    }

    World const& m_source;
};

/// Samples for a row of the destination: `width` pixels from (left, y) on.
template <class Trait>
void sampleRow(Sampler<Trait> const& sampler, PixelMap const& m, Sampling sampling, int left, int y,
               int width, typename Trait::Channel* pixels) {
    double const yc = y + 0.5;
    for (int i = 0; i < width; ++i, pixels += 4) {
        double const xc = left + i + 0.5;
        double const u = xc * m[0][0] + yc * m[1][0] + m[2][0];
        double const v = xc * m[0][1] + yc * m[1][1] + m[2][1];
        double const w = xc * m[0][2] + yc * m[1][2] + m[2][2];
        if (w == 0)
            std::fill_n(pixels, 4, typename Trait::Channel{0});
        else if (sampling == Sampling::kBilinear)
            sampler.bilinear(u / w, v / w, pixels);
        else
            sampler.nearest(u / w, v / w, pixels);
    }
}

/// The matrix of cofactors, transposed: the inverse times the determinant, which is the same map.
///   A[i][j] = m[j+1][i+1] m[j+2][i+2] - m[j+1][i+2] m[j+2][i+1], indices modulo 3
/// Singular: a determinant within its own rounding, some 4 of its 2^-53, of 0.
std::optional<PixelMap> inverseOf(PixelMap const& m) {
    PixelMap inverse;
    double determinant = 0, magnitude = 0;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            std::size_t const j1 = (j + 1) % 3, j2 = (j + 2) % 3, i1 = (i + 1) % 3,
                              i2 = (i + 2) % 3;
            double const plus = m[j1][i1] * m[j2][i2], minus = m[j1][i2] * m[j2][i1];
            inverse[i][j] = plus - minus;
            if (j > 0) continue;
            determinant += m[0][i] * inverse[i][0];
            magnitude += std::fabs(m[0][i]) * (std::fabs(plus) + std::fabs(minus));
        }
    bool const isRegular = std::fabs(determinant) > 0x1p-50 * magnitude;  // false for NaN
    if (!isRegular || !std::isfinite(determinant)) return std::nullopt;
    return inverse;
}

}  // namespace

bool transferPixels(World const& source, PF_Rect const* sourceRect, PF_CompositeMode const& mode,
                    int x, int y, World& destination) {
    // No image nor 16-bit rectangle reaches that far: an offset beyond it leads outside.
    constexpr int kFar = 1 << 18;
    if (!sameLayout(source, destination)) return false;
    Bounds const rect = Bounds::of(sourceRect, source);
    int const dx = std::clamp(x, -kFar, kFar) - rect.left;
    int const dy = std::clamp(y, -kFar, kFar) - rect.top;
    Bounds const area = rect.meet(Bounds::of(source)).shifted(dx, dy).meet(Bounds::of(destination));

    return withTraitOf(destination, [&](auto trait) {
        using Trait = decltype(trait);
        using Channel = typename Trait::Channel;
        BlendRow<Trait> const blend = rowFunctionOf<Trait>(mode.xfer);
        if (!blend || area.empty()) return blend != nullptr;

        auto const from = [&](int row) {
            return source.rowAs<Channel>(row - dy) + 4 * (area.left - dx);
        };
        auto const to = [&](int row) { return destination.rowAs<Channel>(row) + 4 * area.left; };
        RowLayer<Trait> layer(mode, blend, area.width());
        bool const isSame = &source == &destination;
        if (!isSame && layer.isStateless()) {
            forEachRow(area.height(), std::int64_t{3} * Trait::kPixelBytes * area.width(),
                       [&](int i) { layer.lay(from(area.top + i), to(area.top + i)); });
            return true;
        }
        std::size_t const rowChannels = 4 * static_cast<std::size_t>(area.width());
        std::vector<Channel> kept(isSame ? rowChannels : 0);
        for (int i = 0; i < area.height(); ++i) {
            // Within one image downwards from the bottom up, so that no row is changed unread.
            int const row = isSame && dy > 0 ? area.bottom - 1 - i : area.top + i;
            if (isSame) std::copy_n(from(row), rowChannels, kept.data());
            layer.lay(isSame ? kept.data() : from(row), to(row));
        }
        return true;
    });
}

std::optional<PixelMap> pixelMap(PF_FloatMatrix const& matrix, bool sourceToDestination) {
    PixelMap map;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) map[i][j] = matrix.mat[i][j];
    return sourceToDestination ? inverseOf(map) : map;
}

bool transformPixels(World const& source, PixelMap const& map, Sampling sampling,
                     PF_CompositeMode const& mode, PF_Rect const* rect, World& destination) {
    if (!sameLayout(source, destination)) return false;
    Bounds const area = Bounds::of(rect, destination).meet(Bounds::of(destination));
    return withTraitOf(destination, [&](auto trait) {
        using Trait = decltype(trait);
        using Channel = typename Trait::Channel;
        BlendRow<Trait> const blend = rowFunctionOf<Trait>(mode.xfer);
        if (!blend || area.empty()) return blend != nullptr;

        World kept;
        if (&source == &destination) {
            kept = World(source.spec());
            copyPixels(source, kept, nullptr, nullptr);
        }
        Sampler<Trait> const sampler(&source == &destination ? kept : source);
        RowLayer<Trait> layer(mode, blend, area.width());
        std::vector<Channel> samples(4 * static_cast<std::size_t>(area.width()));
        for (int y = area.top; y < area.bottom; ++y) {
            sampleRow(sampler, map, sampling, area.left, y, area.width(), samples.data());
            layer.lay(samples.data(), destination.rowAs<Channel>(y) + 4 * area.left);
        }
        return true;
    });
}

}  // namespace zelk

// Bilinear samples in vector code: two pixels of four channels at once, or one channel of many.
// Included once for each instruction set, by their line functions and by what measures them.
#include "Transform/Common/Transform_Core_Render/LineFuncPlane-inl.h"
#include "Transform/Common/Transform_Core_Render/LineFuncRun-inl.h"

#if defined(ZELK_LINE_FUNC_BILINEAR_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef ZELK_LINE_FUNC_BILINEAR_INL
#undef ZELK_LINE_FUNC_BILINEAR_INL
#else
#define ZELK_LINE_FUNC_BILINEAR_INL
#endif

#if !ZELK_LINE_FUNC_SCALAR
HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

/// p (1 - f) + q f; the integer types truncate each lerp at once.
template <class T>
HWY_INLINE VF lerp(VF p, VF q, VF g, VF f) {
    const VF r = hn::Add(hn::Mul(p, g), hn::Mul(q, f));
    if constexpr (std::is_floating_point_v<T>)
        return r;
    else
        return hn::Trunc(r);
}

/// What the pixels of a block read.
struct BilinearPlaces {
    alignas(64) std::int32_t x[kBlock], y[kBlock];  ///< upper left pixel; inside: x is its offset
    alignas(64) float fx[kBlock + 4], fy[kBlock + 4];  ///< fractions, read four at once
};
using BilinearBlock = BlockOf<BilinearPlaces>;

/// 16 bytes at offset `at` of each pixel.
HWY_INLINE hn::Vec<D8> loadPixels(std::uint8_t const* const* p, std::ptrdiff_t at) {
    const hn::FixedTag<std::uint8_t, 16> d;
    return sideBySide(D8(), hn::LoadU(d, p[0] + at), hn::LoadU(d, p[kSide - 1] + at));
}

/// 8 bytes of each pixel, and above them 8 at offset `below`.
HWY_INLINE hn::Vec<D8> loadPairs(std::uint8_t const* const* p, std::ptrdiff_t below) {
    const hn::FixedTag<std::uint8_t, 8> half;
    const hn::FixedTag<std::uint8_t, 16> d;
    std::uint8_t const *first = p[0], *second = p[kSide - 1];
    return sideBySide(D8(), hn::Combine(d, hn::LoadU(half, first + below), hn::LoadU(half, first)),
                      hn::Combine(d, hn::LoadU(half, second + below), hn::LoadU(half, second)));
}

/// As many pairs of pixels as a vector has lanes, from four bytes of each on: `left` and `right` of
/// the pair, a pixel a lane.
struct PixelPairs {
    hn::Vec<DI> left, right;

    HWY_INLINE PixelPairs(std::uint8_t const* source, std::int32_t const* offsets) {
        auto const first = loadHalf(source, offsets);
        auto const second = loadHalf(source, offsets + kLanes / 2);
        left = hn::ConcatEven(DI(), second, first);
        right = hn::ConcatOdd(DI(), second, first);
    }

private:
    static HWY_INLINE hn::Vec<hn::FixedTag<std::uint8_t, 16> > loadTwo(
        std::uint8_t const* source, std::int32_t const* offsets) {
        const hn::FixedTag<std::uint8_t, 8> half;
        const hn::FixedTag<std::uint8_t, 16> d;
        return hn::Combine(d, hn::LoadU(half, source + offsets[1]),
                           hn::LoadU(half, source + offsets[0]));
    }
    static HWY_INLINE hn::Vec<DI> loadHalf(std::uint8_t const* source,
                                           std::int32_t const* offsets) {
        auto const pairs =
            sideBySide(D8(), loadTwo(source, offsets), loadTwo(source, offsets + kLanes / 2 - 2));
        return hn::BitCast(DI(), pairs);
    }
};

/// Byte shuffles: row c lifts byte c of every 32 bits, zeros above.
constexpr LiftTable packedTable() {
    LiftTable table{};
    for (int c = 0; c < 4; ++c)
        for (int i = 0; i < 32; ++i)
            table.row[c][i] = static_cast<std::uint8_t>(i % 4 == 0 ? i % 16 + c : 0x80);
    return table;
}
inline constexpr LiftTable kPacked = packedTable();

/// Channel C of packed pixels of bytes.
template <int C>
HWY_INLINE VF channelOf(hn::Vec<DI> pixels) {
    hn::Vec<DI> byte;
    if constexpr (C == 3)
        byte =
            hn::BitCast(DI(), hn::ShiftRight<24>(hn::BitCast(hn::RebindToUnsigned<DI>(), pixels)));
    else if constexpr (C == 0)
        byte = hn::And(pixels, hn::Set(DI(), 255));
    else
        byte = hn::BitCast(DI(), hn::TableLookupBytesOr0(hn::BitCast(D8(), pixels),
                                                         hn::Load(D8(), kPacked.row[C])));
    return hn::ConvertTo(DF(), byte);
}

/// Channel C of kLanes pixels, in its place of a packed pixel.
template <int C>
HWY_INLINE hn::Vec<DI> sampleChannel(PixelPairs const& upper, PixelPairs const& lower, VF gx, VF fx,
                                     VF gy, VF fy) {
    using T = unsigned char;
    const VF above = lerp<T>(channelOf<C>(upper.left), channelOf<C>(upper.right), gx, fx);
    const VF below = lerp<T>(channelOf<C>(lower.left), channelOf<C>(lower.right), gx, fx);
    return hn::ShiftLeft<8 * C>(truncatedWithin(lerp<float>(above, below, gy, fy)));
}

/// kLanes packed pixels of bytes from i on.
HWY_INLINE hn::Vec<D8> samplePacked(std::uint8_t const* source, std::ptrdiff_t below,
                                    BilinearBlock const& b, int i) {
    const DF d;
    const PixelPairs upper(source, b.x + i), lower(source + below, b.x + i);
    const VF one = hn::Set(d, 1.0f);
    const VF fx = hn::Load(d, b.fx + i), gx = hn::Sub(one, fx);
    const VF fy = hn::Load(d, b.fy + i), gy = hn::Sub(one, fy);
    return hn::BitCast(D8(), hn::Or(hn::Or(sampleChannel<0>(upper, lower, gx, fx, gy, fy),
                                           sampleChannel<1>(upper, lower, gx, fx, gy, fy)),
                                    hn::Or(sampleChannel<2>(upper, lower, gx, fx, gy, fy),
                                           sampleChannel<3>(upper, lower, gx, fx, gy, fy))));
}

/// The sums of kSide pixels from i on, whose upper left ones stand at `p`; whole numbers truncated
/// where `Truncates` says so.
template <class T, bool Truncates = true>
HWY_INLINE VF sampleAt(std::uint8_t const* const* p, std::ptrdiff_t below, BilinearBlock const& b,
                       int i) {
    const DF d;
    VF upperLeft, upperRight, lowerLeft, lowerRight;
    if constexpr (sizeof(T) == 1) {
        auto const all = loadPairs(p, below);
        upperLeft = lifted<T>(all, 0), upperRight = lifted<T>(all, 1);
        lowerLeft = lifted<T>(all, 2), lowerRight = lifted<T>(all, 3);
    } else if constexpr (sizeof(T) == 2) {
        auto const upper = loadPixels(p, 0), lower = loadPixels(p, below);
        upperLeft = lifted<T>(upper, 0), upperRight = lifted<T>(upper, 1);
        lowerLeft = lifted<T>(lower, 0), lowerRight = lifted<T>(lower, 1);
    } else {
        upperLeft = hn::BitCast(d, loadPixels(p, 0));
        upperRight = hn::BitCast(d, loadPixels(p, 16));
        lowerLeft = hn::BitCast(d, loadPixels(p, below));
        lowerRight = hn::BitCast(d, loadPixels(p, below + 16));
    }
    const VF one = hn::Set(d, 1.0f);
    const VF fx = overPixels(b.fx + i), gx = hn::Sub(one, fx);
    const VF fy = overPixels(b.fy + i), gy = hn::Sub(one, fy);
    using Last = std::conditional_t<Truncates, T, float>;
    return lerp<Last>(lerp<T>(upperLeft, upperRight, gx, fx),
                      lerp<T>(lowerLeft, lowerRight, gx, fx), gy, fy);
}

template <class T>
struct Bilinear {
    using Block = BilinearBlock;
    static constexpr int kChannels = 4, kTaps = 2;
    static constexpr Rounding kRounding = Rounding::kTruncate;
    /// Measured: whole-number channels gain a sixth, floats lose a little, as kernels do.
    static constexpr bool kPrefetches = !std::is_floating_point_v<T>;
    static constexpr bool kHasInside = true;
    static constexpr int kPrefetchStep = sizeof(T) == 1 ? 4 : 2;  ///< pixels; measured

    /// Inside: at least the first pixel and less than the last, along both axes.
    static HWY_INLINE void split(RenderSettings const& s, int count, Block& b) {
        const DF d;
        const DI di;
        auto const lowX = hn::Set(d, static_cast<float>(s.srcMinX));
        auto const highX = hn::Set(d, static_cast<float>(s.srcMaxX));
        auto const lowY = hn::Set(d, static_cast<float>(s.srcMinY));
        auto const highY = hn::Set(d, static_cast<float>(s.srcMaxY));
        for (int k = 0; k < count; k += kLanes) {
            auto const u = hn::Load(d, b.u + k), v = hn::Load(d, b.v + k);
            auto const inside = hn::And(hn::And(hn::Ge(u, lowX), hn::Lt(u, highX)),
                                        hn::And(hn::Ge(v, lowY), hn::Lt(v, highY)));
            noteOutside(b.outside, k, inside);
            auto const safeU = hn::IfThenElse(inside, u, lowX);
            auto const safeV = hn::IfThenElse(inside, v, lowY);
            auto const x = hn::ConvertTo(di, safeU), y = hn::ConvertTo(di, safeV);
            hn::Store(x, di, b.x + k);
            hn::Store(y, di, b.y + k);
            // Through whole numbers, so that -0 has the fraction of the scalar's, -0.
            hn::Store(hn::Sub(safeU, hn::ConvertTo(d, x)), d, b.fx + k);
            hn::Store(hn::Sub(safeV, hn::ConvertTo(d, y)), d, b.fy + k);
        }
    }

    static HWY_INLINE VF sample(RenderSettings const& s, Block const& b, int i) {
        std::uint8_t const* p[kSide];
        for (int k = 0; k < kSide; ++k) p[k] = sourceOf<T>(s, b, i + k);
        return sampleAt<T>(p, s.srcRowBytes, b, i);
    }

    static HWY_INLINE void scalar(RenderSettings const& s, ps::SourcePosition at, T* out) {
        ps::sampleBilinear<T, 4>(s, at, out);
    }

    static HWY_INLINE void splitInside(RenderSettings const& s, int count, Block& b) {
        const DF d;
        const DI di;
        auto const rowBytes = hn::Set(di, s.srcRowBytes);
        for (int k = 0; k < count; k += kLanes) {
            auto const u = hn::Load(d, b.u + k), v = hn::Load(d, b.v + k);
            auto const x = truncatedWithin(u), y = truncatedWithin(v);
            hn::Store(offsetOf<T>(x, y, rowBytes), di, b.x + k);
            hn::Store(hn::Sub(u, hn::ConvertTo(d, x)), d, b.fx + k);
            hn::Store(hn::Sub(v, hn::ConvertTo(d, y)), d, b.fy + k);
        }
    }

    static HWY_INLINE void sampleInside(RenderSettings const& s, Block const& b, int i, T* out) {
        auto const* source = static_cast<std::uint8_t const*>(s.srcData);
#pragma GCC unroll 4
        for (int k = 0; k < kGroup; k += kStep, i += kStep, out += 4 * kStep)
            sampleSome(source, s.srcRowBytes, b, i, out);
    }

private:
    /// Pixels of four bytes are sampled a channel at a time, others a pixel at a time.
    static constexpr int kStep = sizeof(T) == 1 ? kLanes : kSide;

    static HWY_INLINE void sampleSome(std::uint8_t const* source, std::ptrdiff_t below,
                                      Block const& b, int i, T* out) {
        const DF d;
        if constexpr (sizeof(T) == 1) {
            hn::StoreU(samplePacked(source, below, b, i), D8(), out);
        } else {
            std::uint8_t const* p[kSide];
            for (int k = 0; k < kSide; ++k) p[k] = source + b.x[i + k];
            const VF r = sampleAt<T, false>(p, below, b, i);
            if constexpr (sizeof(T) == 2) {
                const hn::Rebind<T, DF> dt;
                hn::StoreU(hn::DemoteTo(dt, truncatedWithin(r)), dt, out);
            } else {
                hn::StoreU(r, d, out);
            }
        }
    }
};

/// One channel, a pixel a lane.
template <class T>
struct BilinearPlane : Bilinear<T> {
    using Block = BilinearBlock;
    static constexpr int kChannels = 1;
    static constexpr bool kPrefetches = false, kHasInside = false;

    static HWY_INLINE VF sample(RenderSettings const& s, Block const& b, int i) {
        const DF d;
        VF corner[4];
        valuesOfPixels<T>(corner, [&](int m) {
            T const* upper = ps::sourcePixel<T, 1>(s, b.x[i + m], b.y[i + m]);
            return loadTwoAndTwo(upper, ps::sourcePixel<T, 1>(s, b.x[i + m], b.y[i + m] + 1));
        });
        const VF one = hn::Set(d, 1.0f);
        const VF fx = hn::Load(d, b.fx + i), gx = hn::Sub(one, fx);
        const VF fy = hn::Load(d, b.fy + i), gy = hn::Sub(one, fy);
        return lerp<T>(lerp<T>(corner[0], corner[1], gx, fx), lerp<T>(corner[2], corner[3], gx, fx),
                       gy, fy);
    }

    static HWY_INLINE void scalar(RenderSettings const& s, ps::SourcePosition at, T* out) {
        ps::sampleBilinear<T, 1>(s, at, out);
    }
};

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();
#endif  // !ZELK_LINE_FUNC_SCALAR
#endif  // target toggle

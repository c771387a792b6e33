// Kernel table samples in vector code: what LineFuncKernel_simd.cpp and
// LineFuncSuperSampled_simd.cpp share. Included once for each instruction set.
#include "Transform/Common/Transform_Core_Render/LineFuncRun-inl.h"

#if defined(ZELK_LINE_FUNC_TAPS_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef ZELK_LINE_FUNC_TAPS_INL
#undef ZELK_LINE_FUNC_TAPS_INL
#else
#define ZELK_LINE_FUNC_TAPS_INL
#endif

#if !ZELK_LINE_FUNC_SCALAR
HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

/// Places in the table of the weights of signed fractions, as weightRow has them: a fraction lies
/// between -1 and 1, so the row needs no limits.
HWY_INLINE hn::Vec<DI> weightRows(VF fraction, int taps) {
    const DF d;
    auto const scaled =
        hn::Mul(hn::Mul(hn::Add(fraction, hn::Set(d, 1.0f)), hn::Set(d, 255.0f)), hn::Set(d, 0.5f));
    return hn::Mul(truncatedWithin(scaled), hn::Set(DI(), taps));
}

/// What the kernels of a block read.
struct TapPlaces {
    alignas(64) std::int32_t x[kBlock], y[kBlock];    ///< upper left pixel; inside: x is its offset
    alignas(64) std::int32_t wx[kBlock], wy[kBlock];  ///< places of the weights in `lut`
};

/// The places of kernels at `positionU`, `positionV`. Inside: all taps within the source.
HWY_INLINE void splitTaps(RenderSettings const& s, int taps, int count, float const* positionU,
                          float const* positionV, TapPlaces& at, std::uint64_t& outside) {
    const DF d;
    const DI di;
    auto const before = hn::Set(di, taps / 2 - 1);
    auto const lowX = hn::Set(di, s.srcMinX), highX = hn::Set(di, s.srcMaxX - (taps - 1));
    auto const lowY = hn::Set(di, s.srcMinY), highY = hn::Set(di, s.srcMaxY - (taps - 1));
    auto const far = hn::Set(d, 1073741824.0f);  // saturatingInt's; beyond it lies no source
    for (int k = 0; k < count; k += kLanes) {
        auto const u = hn::Load(d, positionU + k), v = hn::Load(d, positionV + k);
        auto const usable = hn::And(hn::Lt(hn::Abs(u), far), hn::Lt(hn::Abs(v), far));
        auto const safeU = hn::IfThenElseZero(usable, u), safeV = hn::IfThenElseZero(usable, v);
        auto const wholeU = truncatedWithin(safeU), wholeV = truncatedWithin(safeV);
        auto const x = hn::Sub(wholeU, before), y = hn::Sub(wholeV, before);
        auto const beyond = hn::Or(hn::Or(hn::Lt(x, lowX), hn::Gt(x, highX)),
                                   hn::Or(hn::Lt(y, lowY), hn::Gt(y, highY)));
        noteOutside(outside, k, hn::AndNot(hn::RebindMask(d, beyond), usable));
        hn::Store(hn::IfThenElse(beyond, lowX, x), di, at.x + k);
        hn::Store(hn::IfThenElse(beyond, lowY, y), di, at.y + k);
        hn::Store(weightRows(hn::Sub(safeU, hn::ConvertTo(d, wholeU)), taps), di, at.wx + k);
        hn::Store(weightRows(hn::Sub(safeV, hn::ConvertTo(d, wholeV)), taps), di, at.wy + k);
    }
}

/// Pixels as floats, shared by the kernels of a block: neighbours read mostly the same ones, and to
/// bring a channel to float takes half of a tap's time.
struct TapTile {
    static constexpr int kPitch = 80, kRows = 16;  ///< pixels: a block's width and some, within L1
    alignas(64) float pixels[kPitch * kRows * 4];
    std::int32_t origin;  ///< place of its first pixel, as bytes of a tile over the whole source
};

/// What the kernels of a block read.
template <class T>
struct TapBlockPlaces
    : TapPlaces {  ///< inside: y is a place in a tile over the whole source, bytes
    TapTile tile;
    bool isTiled;
};
template <>
struct TapBlockPlaces<float> : TapPlaces {};

/// Upper left corners of a block's kernels, the least and the greatest of each lane.
struct TapCorners {
    hn::Vec<DI> minX, minY, maxX, maxY;

    HWY_INLINE TapCorners(hn::Vec<DI> x, hn::Vec<DI> y) : minX(x), minY(y), maxX(x), maxY(y) {}
    HWY_INLINE void add(hn::Vec<DI> x, hn::Vec<DI> y) {
        minX = hn::Min(minX, x), maxX = hn::Max(maxX, x);
        minY = hn::Min(minY, y), maxY = hn::Max(maxY, y);
    }
};

/// Makes the tile of a block of `count` kernels, where that costs less than what it saves.
template <class T, int Taps>
HWY_INLINE void fillTile(RenderSettings const& s, TapCorners const& corners, int count,
                         TapBlockPlaces<T>& at) {
    const DF d;
    const DI di;
    int const x0 = hn::GetLane(hn::MinOfLanes(di, corners.minX));
    int const y0 = hn::GetLane(hn::MinOfLanes(di, corners.minY));
    int const width = hn::GetLane(hn::MaxOfLanes(di, corners.maxX)) - x0 + Taps;
    int const rows = hn::GetLane(hn::MaxOfLanes(di, corners.maxY)) - y0 + Taps;
    at.isTiled = Taps > 4 && width <= TapTile::kPitch && rows <= TapTile::kRows &&
                 5 * width * rows <= 2 * count * Taps * Taps;
    if (!at.isTiled) return;
    at.tile.origin = (y0 * TapTile::kPitch + x0) * 4 * int{sizeof(float)};
    const hn::Rebind<T, DF> dt;
    for (int y = 0; y < rows; ++y) {
        T const* const from = ps::sourcePixel<T, 4>(s, x0, y0 + y);
        float* const to = at.tile.pixels + 4 * TapTile::kPitch * y;
        auto const convert = [&](int x) {
            auto const whole = hn::PromoteTo(di, hn::LoadU(dt, from + 4 * x));
            hn::StoreU(hn::ConvertTo(d, whole), d, to + 4 * x);
        };
        for (int x = 0; x + kSide <= width; x += kSide) convert(x);
        convert(width - kSide);  // again, where the width is no whole number of vectors
    }
}

/// The same of kernels that read wholly inside.
template <class T, int Taps>
HWY_INLINE void splitTapsInside(RenderSettings const& s, int count, float const* positionU,
                                float const* positionV, TapBlockPlaces<T>& at) {
    const DF d;
    const DI di;
    auto const before = hn::Set(di, Taps / 2 - 1), rowBytes = hn::Set(di, s.srcRowBytes);
    auto const firstX = hn::Sub(truncatedWithin(hn::Load(d, positionU)), before);
    auto const firstY = hn::Sub(truncatedWithin(hn::Load(d, positionV)), before);
    TapCorners corners(firstX, firstY);
    for (int k = 0; k < count; k += kLanes) {
        auto const u = hn::Load(d, positionU + k), v = hn::Load(d, positionV + k);
        auto const wholeU = truncatedWithin(u), wholeV = truncatedWithin(v);
        auto const x = hn::Sub(wholeU, before), y = hn::Sub(wholeV, before);
        hn::Store(offsetOf<T>(x, y, rowBytes), di, at.x + k);
        hn::Store(weightRows(hn::Sub(u, hn::ConvertTo(d, wholeU)), Taps), di, at.wx + k);
        hn::Store(weightRows(hn::Sub(v, hn::ConvertTo(d, wholeV)), Taps), di, at.wy + k);
        if constexpr (!std::is_floating_point_v<T>) {
            corners.add(x, y);
            constexpr std::int32_t kRowBytes = TapTile::kPitch * 4 * sizeof(float);
            hn::Store(offsetOf<float>(x, y, hn::Set(di, kRowBytes)), di, at.y + k);
        }
    }
    if constexpr (!std::is_floating_point_v<T>) fillTile<T, Taps>(s, corners, count, at);
}

/// 16 bytes of each of kSide rows, `stride` apart.
HWY_INLINE hn::Vec<D8> loadRows(std::uint8_t const* p, std::ptrdiff_t stride) {
    const hn::FixedTag<std::uint8_t, 16> d;
    return sideBySide(D8(), hn::LoadU(d, p), hn::LoadU(d, p + (kSide - 1) * stride));
}

/// Sums of kSide rows of whole-number channels, first tap first. A load has four or two pixels; the
/// last one steps back rather than read beyond the row.
template <class T, int Taps>
HWY_INLINE VF sumRows(std::uint8_t const* p, std::ptrdiff_t stride, float const* wx) {
    constexpr int kPerLoad = 4 / static_cast<int>(sizeof(T));
    VF r = hn::Zero(DF());
    hn::Vec<D8> bytes = hn::Zero(D8());
#pragma GCC unroll 10
    for (int i = 0; i < Taps; ++i) {
        int const from = std::min(i / kPerLoad * kPerLoad, Taps - kPerLoad);
        if (i % kPerLoad == 0) bytes = loadRows(p + from * 4 * int{sizeof(T)}, stride);
        const VF weighted = hn::Mul(hn::Set(DF(), wx[i]), lifted<T>(bytes, i - from));
        r = i == 0 ? weighted : hn::Add(r, weighted);
    }
    return r;
}

/// The same of float channels. Two rows: two pixels of a row are weighted at once, then the halves
/// brought together by column, which saves a load of 16 bytes each.
template <int Taps>
HWY_INLINE VF sumFloatRows(float const* p, std::ptrdiff_t stride, float const* wx) {
    const DF d;
    VF r = hn::Zero(d);
    if constexpr (kSide == 1) {
#pragma GCC unroll 10
        for (int i = 0; i < Taps; ++i) {
            const VF weighted = hn::Mul(hn::Set(d, wx[i]), hn::LoadU(d, p + 4 * i));
            r = i == 0 ? weighted : hn::Add(r, weighted);
        }
    } else {
        auto const* q =
            reinterpret_cast<float const*>(reinterpret_cast<std::uint8_t const*>(p) + stride);
#pragma GCC unroll 5
        for (int i = 0; i < Taps; i += 2) {
            const VF w = overPixels(wx + i);
            const VF upper = hn::Mul(w, hn::LoadU(d, p + 4 * i));
            const VF lower = hn::Mul(w, hn::LoadU(d, q + 4 * i));
            const VF first = hn::ConcatLowerLower(d, lower, upper);
            r = i == 0 ? first : hn::Add(r, first);
            r = hn::Add(r, hn::ConcatUpperUpper(d, lower, upper));
        }
    }
    return r;
}

/// kSide rows of a pixel from `p` on: summed along x, and each weighted along y.
template <class T, int Taps>
HWY_INLINE VF weighRows(std::uint8_t const* p, std::ptrdiff_t stride, float const* wx,
                        float const* wy) {
    VF rows;
    if constexpr (std::is_floating_point_v<T>)
        rows = sumFloatRows<Taps>(reinterpret_cast<float const*>(p), stride, wx);
    else
        rows = sumRows<T, Taps>(p, stride, wx);
    return hn::Mul(overPixels(wy), rows);
}

/// The sums of kSide pixels, which read from p and q on. Two: the rows of each are weighed two by
/// two, and added for both.
template <class T, int Taps>
HWY_INLINE VF sumTapsAt(RenderSettings const& s, TapPlaces const& at, int i, std::uint8_t const* p,
                        [[maybe_unused]] std::uint8_t const* q, std::ptrdiff_t stride) {
    const DF d;
    float const *wx = s.lut + at.wx[i], *wy = s.lut + at.wy[i];
    VF total = hn::Zero(d);
    if constexpr (kSide == 1) {
#pragma GCC unroll 10
        for (int j = 0; j < Taps; ++j, p += stride) {
            const VF row = weighRows<T, Taps>(p, stride, wx, wy + j);
            total = j == 0 ? row : hn::Add(total, row);
        }
    } else {
        float const *wxQ = s.lut + at.wx[i + 1], *wyQ = s.lut + at.wy[i + 1];
#pragma GCC unroll 5
        for (int j = 0; j < Taps; j += 2) {
            const VF rowsP = weighRows<T, Taps>(p + j * stride, stride, wx, wy + j);
            const VF rowsQ = weighRows<T, Taps>(q + j * stride, stride, wxQ, wyQ + j);
            const VF first = hn::ConcatLowerLower(d, rowsQ, rowsP);
            total = j == 0 ? first : hn::Add(total, first);
            total = hn::Add(total, hn::ConcatUpperUpper(d, rowsQ, rowsP));
        }
    }
    return total;
}

/// The sums of pixels i and on, read from the source.
template <class T, int Taps>
HWY_INLINE VF sumTaps(RenderSettings const& s, TapPlaces const& at, int i) {
    return sumTapsAt<T, Taps>(s, at, i, sourceOf<T>(s, at, i), sourceOf<T>(s, at, i + kSide - 1),
                              s.srcRowBytes);
}

/// The same by the source's offsets.
template <class T, int Taps>
HWY_INLINE VF sumTapsInside(RenderSettings const& s, TapPlaces const& at, int i) {
    auto const* const source = static_cast<std::uint8_t const*>(s.srcData);
    return sumTapsAt<T, Taps>(s, at, i, source + at.x[i], source + at.x[i + kSide - 1],
                              s.srcRowBytes);
}

/// The same, read from the tile.
template <class T, int Taps>
HWY_INLINE VF sumTapsTiled(RenderSettings const& s, TapBlockPlaces<T> const& at, int i) {
    auto const* const tile = reinterpret_cast<std::uint8_t const*>(at.tile.pixels);
    return sumTapsAt<float, Taps>(s, at, i, tile + (at.y[i] - at.tile.origin),
                                  tile + (at.y[i + kSide - 1] - at.tile.origin),
                                  TapTile::kPitch * 4 * std::ptrdiff_t{sizeof(float)});
}

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();
#endif  // !ZELK_LINE_FUNC_SCALAR
#endif  // target toggle

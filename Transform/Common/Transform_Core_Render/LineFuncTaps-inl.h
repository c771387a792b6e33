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

/// The same of kernels that read wholly inside.
template <class T, int Taps>
HWY_INLINE void splitTapsInside(RenderSettings const& s, int count, float const* positionU,
                                float const* positionV, TapPlaces& at) {
    const DF d;
    const DI di;
    auto const before = hn::Set(di, Taps / 2 - 1), rowBytes = hn::Set(di, s.srcRowBytes);
    for (int k = 0; k < count; k += kLanes) {
        auto const u = hn::Load(d, positionU + k), v = hn::Load(d, positionV + k);
        auto const x = truncatedWithin(u), y = truncatedWithin(v);
        hn::Store(offsetOf<T>(hn::Sub(x, before), hn::Sub(y, before), rowBytes), di, at.x + k);
        hn::Store(weightRows(hn::Sub(u, hn::ConvertTo(d, x)), Taps), di, at.wx + k);
        hn::Store(weightRows(hn::Sub(v, hn::ConvertTo(d, y)), Taps), di, at.wy + k);
    }
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

/// What pixel i reads, from its upper left channel on.
template <class T, bool IsInside>
HWY_INLINE std::uint8_t const* tapsOf(RenderSettings const& s, TapPlaces const& at, int i) {
    if constexpr (IsInside)
        return static_cast<std::uint8_t const*>(s.srcData) + at.x[i];
    else
        return sourceOf<T>(s, at, i);
}

/// The sums of kSide pixels. Two: the rows of each are weighed two by two, and added for both.
template <class T, int Taps, bool IsInside = false>
HWY_INLINE VF sumTaps(RenderSettings const& s, TapPlaces const& at, int i) {
    const DF d;
    const std::ptrdiff_t stride = s.srcRowBytes;
    std::uint8_t const* p = tapsOf<T, IsInside>(s, at, i);
    float const *wx = s.lut + at.wx[i], *wy = s.lut + at.wy[i];
    VF total = hn::Zero(d);
    if constexpr (kSide == 1) {
#pragma GCC unroll 10
        for (int j = 0; j < Taps; ++j, p += stride) {
            const VF row = weighRows<T, Taps>(p, stride, wx, wy + j);
            total = j == 0 ? row : hn::Add(total, row);
        }
    } else {
        std::uint8_t const* q = tapsOf<T, IsInside>(s, at, i + 1);
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

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();
#endif  // !ZELK_LINE_FUNC_SCALAR
#endif  // target toggle

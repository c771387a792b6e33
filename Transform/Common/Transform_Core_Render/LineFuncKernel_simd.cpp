// The vector twin of LineFuncKernel.cpp: interior runs of four channels, 4 by 4 taps and 6, 8 or 10
// a side, two pixels at once. Any other number of taps goes to the scalar function.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/LineFuncKernel_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/LineFuncRun-inl.h"
#include "Transform/Common/Transform_Core_Render/LineFuncSimd.h"

HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

#if ZELK_LINE_FUNC_SCALAR

template <class T>
void run4x4(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc_4x4(settings, line);
}
template <class T>
void runTaps(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc(settings, line);
}

#else

/// Places in the table of the weights of signed fractions, as weightRow has them: a fraction lies
/// between -1 and 1, so the row needs no limits.
HWY_INLINE hn::Vec<DI> weightRows(VF fraction, int taps) {
    const DF d;
    auto const scaled =
        hn::Mul(hn::Mul(hn::Add(fraction, hn::Set(d, 1.0f)), hn::Set(d, 255.0f)), hn::Set(d, 0.5f));
    return hn::Mul(hn::ConvertTo(DI(), scaled), hn::Set(DI(), taps));
}

/// Inside: all taps within the source.
HWY_INLINE void splitTaps(RenderSettings const& s, int taps, int count, Block& b) {
    const DF d;
    const DI di;
    auto const before = hn::Set(di, taps / 2 - 1);
    auto const lowX = hn::Set(di, s.srcMinX), highX = hn::Set(di, s.srcMaxX - (taps - 1));
    auto const lowY = hn::Set(di, s.srcMinY), highY = hn::Set(di, s.srcMaxY - (taps - 1));
    auto const far = hn::Set(d, 1073741824.0f);  // saturatingInt's; beyond it lies no source
    for (int k = 0; k < count; k += kLanes) {
        auto const u = hn::Load(d, b.u + k), v = hn::Load(d, b.v + k);
        auto const usable = hn::And(hn::Lt(hn::Abs(u), far), hn::Lt(hn::Abs(v), far));
        auto const safeU = hn::IfThenElseZero(usable, u), safeV = hn::IfThenElseZero(usable, v);
        auto const wholeU = hn::ConvertTo(di, safeU), wholeV = hn::ConvertTo(di, safeV);
        auto const x = hn::Sub(wholeU, before), y = hn::Sub(wholeV, before);
        auto const beyond = hn::Or(hn::Or(hn::Lt(x, lowX), hn::Gt(x, highX)),
                                   hn::Or(hn::Lt(y, lowY), hn::Gt(y, highY)));
        noteOutside(b, k, hn::AndNot(hn::RebindMask(d, beyond), usable));
        hn::Store(hn::IfThenElse(beyond, lowX, x), di, b.x + k);
        hn::Store(hn::IfThenElse(beyond, lowY, y), di, b.y + k);
        hn::Store(weightRows(hn::Sub(safeU, hn::ConvertTo(d, wholeU)), taps), di, b.wx + k);
        hn::Store(weightRows(hn::Sub(safeV, hn::ConvertTo(d, wholeV)), taps), di, b.wy + k);
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
        float const* q = p + stride / static_cast<std::ptrdiff_t>(sizeof(float));
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

/// The sums of kSide pixels. Two: the rows of each are weighed two by two, and added for both.
template <class T, int Taps>
HWY_INLINE VF sumTaps(RenderSettings const& s, Block const& b, int i) {
    const DF d;
    const std::ptrdiff_t stride = s.srcRowBytes;
    std::uint8_t const* p = sourceOf<T>(s, b, i);
    float const *wx = s.lut + b.wx[i], *wy = s.lut + b.wy[i];
    VF total = hn::Zero(d);
    if constexpr (kSide == 1) {
#pragma GCC unroll 10
        for (int j = 0; j < Taps; ++j, p += stride) {
            const VF row = weighRows<T, Taps>(p, stride, wx, wy + j);
            total = j == 0 ? row : hn::Add(total, row);
        }
    } else {
        std::uint8_t const* q = sourceOf<T>(s, b, i + 1);
        float const *wxQ = s.lut + b.wx[i + 1], *wyQ = s.lut + b.wy[i + 1];
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

template <class T>
struct Kernel4x4 {
    static constexpr Rounding kRounding = Rounding::kRoundThenLimit;
    static constexpr bool kPrefetches = false, kHasInside = false;
    static HWY_INLINE void split(RenderSettings const& s, int count, Block& b) {
        splitTaps(s, 4, count, b);
    }
    static HWY_INLINE VF sample(RenderSettings const& s, Block const& b, int i) {
        return sumTaps<T, 4>(s, b, i);
    }
    static HWY_INLINE void scalar(RenderSettings const& s, ps::SourcePosition at, T* out) {
        float sum[4];
        ps::sample4x4<T, 4, ps::Outside::kRepeatBorder>(s, at, sum);
        for (int c = 0; c < 4; ++c) out[c] = ps::roundThenLimit<T>(s, sum[c]);
    }
};

template <class T, int Taps>
struct KernelTaps {
    static constexpr Rounding kRounding = Rounding::kLimitThenRound;
    static constexpr bool kPrefetches = false, kHasInside = false;
    static HWY_INLINE void split(RenderSettings const& s, int count, Block& b) {
        splitTaps(s, Taps, count, b);
    }
    static HWY_INLINE VF sample(RenderSettings const& s, Block const& b, int i) {
        return sumTaps<T, Taps>(s, b, i);
    }
    static HWY_INLINE void scalar(RenderSettings const& s, ps::SourcePosition at, T* out) {
        float sum[4];
        ps::sampleTaps<T, 4>(s, at, sum);
        for (int c = 0; c < 4; ++c) out[c] = ps::limitThenRound<T>(s, sum[c]);
    }
};

template <class T>
void run4x4(void* settings, LineRenderStruct* line) {
    run<T, Kernel4x4<T> >(settings, line);
}

template <class T>
void runTaps(void* settings, LineRenderStruct* line) {
    switch (static_cast<RenderSettings const*>(settings)->taps) {
        case 6:
            return run<T, KernelTaps<T, 6> >(settings, line);
        case 8:
            return run<T, KernelTaps<T, 8> >(settings, line);
        case 10:
            return run<T, KernelTaps<T, 10> >(settings, line);
        default:
            LineFuncCP<T>::biCubicFunc(settings, line);
    }
}

#endif  // ZELK_LINE_FUNC_SCALAR

void kernel4x4_8(void* s, LineRenderStruct* line) { run4x4<unsigned char>(s, line); }
void kernel4x4_16(void* s, LineRenderStruct* line) { run4x4<unsigned short>(s, line); }
void kernel4x4_float(void* s, LineRenderStruct* line) { run4x4<float>(s, line); }
void kernelTaps_8(void* s, LineRenderStruct* line) { runTaps<unsigned char>(s, line); }
void kernelTaps_16(void* s, LineRenderStruct* line) { runTaps<unsigned short>(s, line); }
void kernelTaps_float(void* s, LineRenderStruct* line) { runTaps<float>(s, line); }
char const* targetName() { return hwy::TargetName(HWY_TARGET); }

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace line_simd {
HWY_EXPORT(kernel4x4_8);
HWY_EXPORT(kernel4x4_16);
HWY_EXPORT(kernel4x4_float);
HWY_EXPORT(kernelTaps_8);
HWY_EXPORT(kernelTaps_16);
HWY_EXPORT(kernelTaps_float);
HWY_EXPORT(targetName);
}  // namespace line_simd

#define ZELK_SLOT(T, member, taps, function)                               \
    template <>                                                            \
    void LineFuncSimd<T>::member(void* settings, LineRenderStruct* line) { \
        if (line_simd::hasRoom(settings, taps))                            \
            HWY_DYNAMIC_DISPATCH(line_simd::function)(settings, line);     \
        else                                                               \
            LineFuncCP<T>::member(settings, line);                         \
    }
#define ZELK_SETTINGS_TAPS static_cast<RenderSettings const*>(settings)->taps
ZELK_SLOT(unsigned char, biCubicFunc_4x4, 4, kernel4x4_8)
ZELK_SLOT(unsigned short, biCubicFunc_4x4, 4, kernel4x4_16)
ZELK_SLOT(float, biCubicFunc_4x4, 4, kernel4x4_float)
ZELK_SLOT(unsigned char, biCubicFunc, ZELK_SETTINGS_TAPS, kernelTaps_8)
ZELK_SLOT(unsigned short, biCubicFunc, ZELK_SETTINGS_TAPS, kernelTaps_16)
ZELK_SLOT(float, biCubicFunc, ZELK_SETTINGS_TAPS, kernelTaps_float)
#undef ZELK_SETTINGS_TAPS
#undef ZELK_SLOT

char const* lineFuncSimdTarget() { return HWY_DYNAMIC_DISPATCH(line_simd::targetName)(); }
#endif  // HWY_ONCE

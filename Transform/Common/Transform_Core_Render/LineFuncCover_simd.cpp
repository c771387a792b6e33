// The vector twins of edge runs: the interior run, and then its pixels times their coverage, in
// place.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/LineFuncCover_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/LineFuncRun-inl.h"
#include "Transform/Common/Transform_Core_Render/LineFuncSlots.h"

HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

/// Whole vectors of pixels; returns how many pixels those are.
template <class T, int C, bool Rounds>
HWY_INLINE int coverVectors([[maybe_unused]] LineRenderStruct const& line) {
    int i = 0;
#if !ZELK_LINE_FUNC_SCALAR
    const DF d;
    const hn::Rebind<T, DF> dt;
    constexpr int kPixels = kLanes / C;
    for (; i + kPixels <= line.count; i += kPixels) {
        T* const p = static_cast<T*>(line.dest) + C * i;
        float const* c = line.coverage + i;
        VF coverage;
        if constexpr (C == 1)
            coverage = hn::LoadU(d, c);
        else
            coverage = sideBySide(d, hn::Set(DF4(), c[0]), hn::Set(DF4(), c[kSide - 1]));
        if constexpr (std::is_floating_point_v<T>) {
            hn::StoreU(hn::Mul(hn::LoadU(d, p), coverage), d, p);
        } else {
            VF v = hn::Mul(hn::ConvertTo(d, hn::PromoteTo(DI(), hn::LoadU(dt, p))), coverage);
            if constexpr (Rounds) v = hn::Add(v, hn::Set(d, 0.5f));
            hn::StoreU(hn::DemoteTo(dt, hn::ConvertTo(DI(), v)), dt, p);
        }
    }
#endif
    return i;
}

template <class T, int C, bool Rounds>
HWY_INLINE void cover(LineRenderStruct const& line) {
    using namespace pixel_sampling;
    T* const out = static_cast<T*>(line.dest);
    for (int i = coverVectors<T, C, Rounds>(line); i < line.count; ++i)
        for (int c = 0; c < C; ++c)
            out[C * i + c] = Rounds ? coverRounding(out[C * i + c], line.coverage[i])
                                    : coverTruncating(out[C * i + c], line.coverage[i]);
}

template <class T>
void coverFour(void*, LineRenderStruct* line) {
    cover<T, 4, false>(*line);
}
template <class T>
void coverFourRounding(void*, LineRenderStruct* line) {
    cover<T, 4, true>(*line);
}
template <class T>
void coverOneRounding(void*, LineRenderStruct* line) {
    cover<T, 1, true>(*line);
}
ZELK_PLAIN_FUNCTIONS(coverFour)
ZELK_PLAIN_FUNCTIONS(coverFourRounding)
ZELK_PLAIN_FUNCTIONS(coverOneRounding)

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define ZELK_EDGE_SLOT_OF(T, member, interior, function)                   \
    namespace line_simd {                                                  \
    HWY_EXPORT(function);                                                  \
    }                                                                      \
    template <>                                                            \
    void LineFuncSimd<T>::member(void* settings, LineRenderStruct* line) { \
        interior(settings, line);                                          \
        HWY_DYNAMIC_DISPATCH(line_simd::function)(settings, line);         \
    }
#define ZELK_EDGE_SLOT(member, interior, function)                     \
    ZELK_EDGE_SLOT_OF(unsigned char, member, interior, function##_8)   \
    ZELK_EDGE_SLOT_OF(unsigned short, member, interior, function##_16) \
    ZELK_EDGE_SLOT_OF(float, member, interior, function##_float)
ZELK_EDGE_SLOT(edgeBilinearFunc, bilinearFunc, coverFour)
ZELK_EDGE_SLOT(edgeBilinearFunc_1, bilinearFunc_1, coverOneRounding)
ZELK_EDGE_SLOT(edgeBiCubicFunc_4x4_ss, biCubicFunc_4x4_ss, coverFourRounding)
#undef ZELK_EDGE_SLOT
#undef ZELK_EDGE_SLOT_OF
#endif  // HWY_ONCE

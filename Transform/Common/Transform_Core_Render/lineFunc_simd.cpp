// The vector twin of lineFunc.cpp: nearest neighbour for pixels of 4, 8 or 16 bytes.
//
// Positions come by repeated addition, so a run is one chain of additions: x, y and w step in one
// pair of vectors. Up to four pixels are divided, limited and truncated at once. Blocks of 64
// pixels: the places of the next block are computed, and asked for, between the copies of this one.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/lineFunc_simd.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Transform/Common/Transform_Core_Render/LineFuncSimd.h"
#include "Transform/Common/Transform_Core_Render/lineFunc.h"

HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_HAVE_SCALABLE || !HWY_HAVE_FLOAT64

void nearest(void* settings, LineRenderStruct* line) { lineFunc(settings, line); }

#else

namespace hn = hwy::HWY_NAMESPACE;

constexpr int kBlock = 64;  ///< pixels
constexpr int kGroup = 8;   ///< pixels between two looks at what comes next

using D2 = hn::FixedTag<double, 2>;
using D = hn::CappedTag<double, 8>;
using V2 = hn::Vec<D2>;
using DI = hn::Rebind<std::int32_t, D>;
using DO = hn::RepartitionToWide<DI>;
constexpr int kSide = static_cast<int>(hn::MaxLanes(D())) / 2;  ///< pixels divided at once

HWY_INLINE V2 pair(double first, double second) {
    alignas(16) double const both[2] = {first, second};
    return hn::Load(D2(), both);
}

/// As many pairs side by side as a vector holds.
template <class DAll, class V>
HWY_INLINE hn::Vec<DAll> sideBySide(DAll d, V const* pairs) {
    if constexpr (hn::MaxLanes(d) == 2) {
        return pairs[0];
    } else if constexpr (hn::MaxLanes(d) == 4) {
        return hn::Combine(d, pairs[1], pairs[0]);
    } else {
        const hn::Half<DAll> half;
        return hn::Combine(d, sideBySide(half, pairs + 2), sideBySide(half, pairs));
    }
}

/// The chain of positions, and the limits that bring one that rounding has carried out of the
/// source back to it.
class Walk {
public:
    HWY_INLINE Walk(RenderSettings const& s, LineRenderStruct const& line, int pixelBytes)
        : m_xy(pair(line.x, line.y)),
          m_w(pair(line.w, line.w)),
          m_stepXY(pair(line.dx, line.dy)),
          m_stepW(pair(line.dw, line.dw)),
          m_low(spread(s.srcMinX, s.srcMinY)),
          m_high(spread(s.srcMaxX, s.srcMaxY)),
          m_pixelBytes(hn::Set(DI(), pixelBytes)),
          m_rowBytes(hn::Set(DI(), s.srcRowBytes)) {}

    /// Where the next kGroup pixels are read, bytes from the source's start.
    HWY_INLINE void stepGroup(std::int64_t* offsets) {
#pragma GCC unroll 8
        for (int i = 0; i < kGroup; i += kSide, offsets += kSide) {
            V2 at[kSide], w[kSide];
#pragma GCC unroll 4
            for (int k = 0; k < kSide; ++k) stepInto(at[k], w[k]);
            hn::StoreU(offsetsOf(hn::Div(sideBySide(D(), at), sideBySide(D(), w))), DO(), offsets);
        }
    }

    /// The same of `count` pixels.
    HWY_INLINE void stepSome(int count, std::int64_t* offsets) {
        for (int i = 0; i < count; ++i) {
            V2 at[kSide], w[kSide];
            stepInto(at[0], w[0]);
            for (int k = 1; k < kSide; ++k) at[k] = at[0], w[k] = w[0];
            offsets[i] = hn::GetLane(offsetsOf(hn::Div(sideBySide(D(), at), sideBySide(D(), w))));
        }
    }

    /// Leaves the position behind the run's last pixel, as the scalar function does.
    HWY_INLINE void leave(LineRenderStruct& line) const {
        alignas(16) double xy[2];
        hn::Store(m_xy, D2(), xy);
        line.x = xy[0];
        line.y = xy[1];
        line.w = hn::GetLane(m_w);
    }

private:
    static HWY_INLINE hn::Vec<D> spread(double first, double second) {
        V2 pairs[kSide];
        for (V2& each : pairs) each = pair(first, second);
        return sideBySide(D(), pairs);
    }

    HWY_INLINE void stepInto(V2& xy, V2& w) {
        xy = m_xy;
        w = m_w;
        m_xy = hn::Add(m_xy, m_stepXY);
        m_w = hn::Add(m_w, m_stepW);
    }

    /// y * rowBytes + x * pixelBytes. A pixel's x and y are the halves of 64 bits.
    HWY_INLINE hn::Vec<DO> offsetsOf(hn::Vec<D> at) const {
        auto const inside = hn::Min(hn::IfThenElse(hn::Ge(at, m_low), at, m_low), m_high);
        auto const x = hn::DemoteTo(DI(), inside);
        auto const y = hn::BitCast(DI(), hn::ShiftRight<32>(hn::BitCast(DO(), x)));
        return hn::Add(hn::MulEven(x, m_pixelBytes), hn::MulEven(y, m_rowBytes));
    }

    V2 m_xy, m_w, m_stepXY, m_stepW;
    hn::Vec<D> m_low, m_high;
    hn::Vec<DI> m_pixelBytes, m_rowBytes;
};

/// Where the next group of a run is read that has `left` pixels to go; asks for it. A run that
/// crosses source rows is nothing that the processor foresees.
HWY_INLINE void stepAhead(Walk& walk, int left, unsigned char const* source,
                          std::int64_t* offsets) {
    if (left >= kGroup) {
        walk.stepGroup(offsets);
#pragma GCC unroll 8
        for (int k = 0; k < kGroup; ++k) hwy::Prefetch(source + offsets[k]);
    } else if (left > 0) {
        walk.stepSome(left, offsets);
    }
}

template <int PixelBytes>
HWY_INLINE void copyPixels(unsigned char const* source, std::int64_t const* offsets, int count,
                           unsigned char* dest) {
#pragma GCC unroll 8
    for (int k = 0; k < count; ++k)
        std::memcpy(dest + k * PixelBytes, source + offsets[k], PixelBytes);
}

template <int PixelBytes>
HWY_INLINE void copyRun(RenderSettings const& s, LineRenderStruct& line) {
    auto const* source = static_cast<unsigned char const*>(s.srcData);
    auto* dest = static_cast<unsigned char*>(line.dest) +
                 static_cast<std::ptrdiff_t>(line.skipLeft) * PixelBytes;
    alignas(64) std::int64_t both[2][kBlock];
    std::int64_t *now = both[0], *next = both[1];
    Walk walk(s, line, PixelBytes);
    for (int i = 0; i < kBlock; i += kGroup) stepAhead(walk, line.count - i, source, next + i);
    for (int left = line.count; left > 0;) {
        std::swap(now, next);
        for (int i = 0; i < kBlock && left > 0; i += kGroup, left -= kGroup) {
            stepAhead(walk, left - kBlock, source, next + i);
            if (left >= kGroup)
                copyPixels<PixelBytes>(source, now + i, kGroup, dest);
            else
                copyPixels<PixelBytes>(source, now + i, left, dest);
            dest += kGroup * PixelBytes;
        }
    }
    walk.leave(line);
}

void nearest(void* settings, LineRenderStruct* line) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    if (line->count < 1) return;
    switch (s.srcPixelBytes) {
        case 4:
            return copyRun<4>(s, *line);
        case 8:
            return copyRun<8>(s, *line);
        case 16:
            return copyRun<16>(s, *line);
        default:
            lineFunc(settings, line);
    }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace line_simd {
HWY_EXPORT(nearest);
}  // namespace line_simd

void lineFuncSimd(void* settings, LineRenderStruct* line) {
    HWY_DYNAMIC_DISPATCH(line_simd::nearest)(settings, line);
}
#endif  // HWY_ONCE

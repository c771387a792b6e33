// One run of pixels in vector code: what the vector twins of line functions share. Included once
// for each instruction set.
//
// A run is done in blocks of 64 pixels, in three steps:
//
//   positions   u, v: double, the scalar's expression lane by lane, narrowed to float
//   split       whole parts, fractions or weight rows, and which pixels read wholly inside
//   sample      taps as vectors of floats: the four channels of a pixel in a block of 128 bits, or
//               a pixel of one channel a lane
//
// Remainder policy: a pixel that is not wholly inside is sampled at a harmless place, and then done
// over by the scalar function from the same u and v; pixels past the run's end, up to a whole
// group, are computed and not stored. So the loops have no bounds test, no mask and no tail.
//
// Each lane rounds as the scalar does: Mul and Add, never MulAdd, sums in the scalar's order.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "Transform/Common/Transform_Core_Render/PixelSampling.h"

#if defined(ZELK_LINE_FUNC_RUN_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef ZELK_LINE_FUNC_RUN_INL
#undef ZELK_LINE_FUNC_RUN_INL
#else
#define ZELK_LINE_FUNC_RUN_INL
#endif

// Without vectors of a known size that hold doubles the scalar functions take the slots.
#undef ZELK_LINE_FUNC_SCALAR
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_HAVE_SCALABLE || !HWY_HAVE_FLOAT64
#define ZELK_LINE_FUNC_SCALAR 1
#else
#define ZELK_LINE_FUNC_SCALAR 0
#endif

#if !ZELK_LINE_FUNC_SCALAR
HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
namespace ps = pixel_sampling;

constexpr int kBlock = 64;  ///< pixels, as many as `Block::outside` has bits
constexpr int kGroup = 8;   ///< pixels between two looks at what comes next

// One or two pixels side by side: a sample is written for these.
using DF = hn::CappedTag<float, 8>;
using DI = hn::RebindToSigned<DF>;
using D8 = hn::Repartition<std::uint8_t, DF>;
using DF4 = hn::FixedTag<float, 4>;
using VF = hn::Vec<DF>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(DF()));
constexpr int kSide = kLanes / 4;  ///< pixels of a vector

/// ConvertTo, of values within the range of whole numbers: it cares for others, which takes four
/// instructions more.
HWY_INLINE hn::Vec<DI> truncatedWithin(VF v) {
#if HWY_ARCH_X86 && HWY_MAX_BYTES >= 32
    return hn::Vec<DI>{_mm256_cvttps_epi32(v.raw)};
#elif HWY_ARCH_X86
    return hn::Vec<DI>{_mm_cvttps_epi32(v.raw)};
#else
    return hn::ConvertTo(DI(), v);
#endif
}

/// `Places` says what the pixels read.
template <class Places>
struct BlockOf : Places {
    alignas(64) float u[kBlock], v[kBlock];
    alignas(64) float nextU[kBlock], nextV[kBlock];  ///< of the next block, while this is sampled
    alignas(64) float sum[4 * kBlock];
    std::uint64_t outside;  ///< bit i: pixel i is to be done over
};

/// Makes the positions of a run, a group at each call. Divisions are slow but leave the other units
/// free, so they stand between the samples of the block before.
class Positions {
public:
    HWY_INLINE explicit Positions(LineRenderStruct const& line)
        : m_line(line), m_i(hn::Iota(D(), 0.0)) {}

    HWY_INLINE void step(float* u, float* v) {
        const D d;
        const hn::Rebind<float, D> df;
        constexpr int kDoubles = static_cast<int>(hn::MaxLanes(D()));
        for (int k = 0; k < kGroup; k += kDoubles) {
            auto const w = hn::Add(hn::Set(d, m_line.w), hn::Mul(m_i, hn::Set(d, m_line.dw)));
            auto const x = hn::Add(hn::Set(d, m_line.x), hn::Mul(m_i, hn::Set(d, m_line.dx)));
            auto const y = hn::Add(hn::Set(d, m_line.y), hn::Mul(m_i, hn::Set(d, m_line.dy)));
            hn::Store(hn::DemoteTo(df, hn::Div(x, w)), df, u + k);
            hn::Store(hn::DemoteTo(df, hn::Div(y, w)), df, v + k);
            m_i = hn::Add(m_i, hn::Set(d, double{kDoubles}));  // whole numbers: exact
        }
    }

private:
    using D = hn::CappedTag<double, 8>;
    LineRenderStruct const& m_line;
    hn::Vec<D> m_i;
};

/// How far outside `SafeBounds` a position may lie that stands between two within them, pixels.
constexpr float kSlack = 0.015625f;

/// Whether the positions between two pixels of a run lie between those of the two, give or take
/// kSlack: exact ones do where w keeps its sign. With w and the numerators no more than 2^20 times
/// the least w, rounding moves a position by less than 2^-9 and 2^-22 of its size. The run counts
/// up to the end of its last group.
inline bool isSteady(LineRenderStruct const& line) {
    constexpr double kRange = 1048576.0;
    double const last = line.count + kGroup;
    double const w0 = std::fabs(line.w), w1 = std::fabs(line.w + last * line.dw);
    double const least = kRange * std::min(w0, w1);
    auto const isSmall = [&](double from, double step) {
        return std::fabs(from) <= least && std::fabs(from + last * step) <= least;
    };
    return line.w * (line.w + last * line.dw) > 0 && w0 <= least && w1 <= least &&
           isSmall(line.x, line.dx) && isSmall(line.y, line.dy);
}

/// Offsets into the source fit 32 bits, and its coordinates as floats are finer than kSlack.
inline bool hasShortOffsets(RenderSettings const& s) {
    constexpr int kFineFloats = 65536;
    return s.srcMaxX < kFineFloats && s.srcMaxY < kFineFloats &&
           std::abs(std::int64_t{s.srcRowBytes}) * (std::int64_t{s.srcMaxY} + 1) <
               std::numeric_limits<std::int32_t>::max();
}

/// Bytes from the source's start to pixels of four channels, where they fit.
template <class T>
HWY_INLINE hn::Vec<DI> offsetOf(hn::Vec<DI> x, hn::Vec<DI> y, hn::Vec<DI> rowBytes) {
    constexpr int kPixelShift = sizeof(T) == 1 ? 2 : sizeof(T) == 2 ? 3 : 4;
    return hn::Add(hn::Mul(y, rowBytes), hn::ShiftLeft<kPixelShift>(x));
}

/// Bounds of positions, inclusive, for which all that a kernel reads lies within the source.
struct SafeBounds {
    float lowX, lowY, highX, highY;

    /// Of `taps` a side, `before` of them left of and above the position.
    SafeBounds(RenderSettings const& s, int taps, int before)
        : lowX(static_cast<float>(s.srcMinX + before) + kSlack),
          lowY(static_cast<float>(s.srcMinY + before) + kSlack),
          highX(static_cast<float>(s.srcMaxX + 2 + before - taps) - kSlack),
          highY(static_cast<float>(s.srcMaxY + 2 + before - taps) - kSlack) {}
    bool hold(float u, float v) const { return u >= lowX && u <= highX && v >= lowY && v <= highY; }
};

/// Notes the lanes of `inside` that are not set as pixels k and on of a block.
template <class M>
HWY_INLINE void noteOutside(std::uint64_t& outside, int k, M inside) {
    std::uint8_t bytes[8] = {};  // as many as StoreMaskBits may write
    hn::StoreMaskBits(DF(), hn::Not(inside), bytes);
    outside |= std::uint64_t{bytes[0] & ((1u << kLanes) - 1)} << k;
}

/// Vectors of 128 bits as one of kSide pixels: `second` stands above `first`, if there is room.
template <class D, class V>
HWY_INLINE hn::Vec<D> sideBySide(D d, V first, V second) {
    if constexpr (kSide == 1)
        return first;
    else
        return hn::Combine(d, second, first);
}

/// kSide floats from `p` on, each over the four lanes of one pixel; reads four.
HWY_INLINE VF overPixels(float const* p) {
    alignas(32) static constexpr std::uint8_t kPick[32] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2,
                                                           3, 0, 1, 2, 3, 4, 5, 6, 7, 4, 5,
                                                           6, 7, 4, 5, 6, 7, 4, 5, 6, 7};
    auto const four = hn::LoadU(DF4(), p);
    auto const bytes = hn::BitCast(D8(), sideBySide(DF(), four, four));
    return hn::BitCast(DF(), hn::TableLookupBytes(bytes, hn::Load(D8(), kPick)));
}

/// Byte shuffles: row n lifts pixel n of every 128 bits into four lanes of 32, zeros above.
struct LiftTable {
    alignas(32) std::uint8_t row[4][32];
};
constexpr LiftTable liftTable(int channelBytes) {
    LiftTable table{};
    for (int n = 0; n < 4; ++n)
        for (int i = 0; i < 32; ++i) {
            int const channel = i / 4 % 4, byte = i % 4;
            int const from = (4 * n + channel) * channelBytes + byte;
            table.row[n][i] = static_cast<std::uint8_t>(byte < channelBytes ? from & 15 : 0x80);
        }
    return table;
}
template <class T>
inline constexpr LiftTable kLift = liftTable(static_cast<int>(sizeof(T)));

/// Pixel n of every 128 bits of whole-number channels, as floats.
template <class T>
HWY_INLINE VF lifted(hn::Vec<D8> bytes, int n) {
    auto const lanes = hn::TableLookupBytesOr0(bytes, hn::Load(D8(), kLift<T>.row[n]));
    return hn::ConvertTo(DF(), hn::BitCast(DI(), lanes));
}

/// What pixel i of a block reads, from its upper left channel on.
template <class T, int C = 4, class Places>
HWY_INLINE std::uint8_t const* sourceOf(RenderSettings const& s, Places const& at, int i) {
    return reinterpret_cast<std::uint8_t const*>(ps::sourcePixel<T, C>(s, at.x[i], at.y[i]));
}

/// Asks for what the pixel at (u, v) will read of a lower row, a block before it does: a run that
/// crosses source rows is nothing that the processor foresees.
template <class T>
HWY_INLINE void prefetchAt(RenderSettings const& s, float u, float v) {
    int const x = std::clamp(saturatingInt(u), s.srcMinX, s.srcMaxX);
    int const y = std::clamp(saturatingInt(v) + 1, s.srcMinY, s.srcMaxY);
    hwy::Prefetch(ps::sourcePixel<T, 4>(s, x, y));
}

enum class Rounding { kTruncate, kRoundThenLimit, kLimitThenRound };

/// Sums to whole-number channels, as roundThenLimit and limitThenRound of PixelSampling.h do it.
/// The limits are whole numbers, so limiting before truncation is the same as after it. Not a
/// number becomes the least value.
template <Rounding R>
class Rounder {
public:
    HWY_INLINE explicit Rounder(RenderSettings const& s)
        : m_low(hn::Set(DF(), static_cast<float>(s.minValue))),
          m_high(hn::Set(DF(), static_cast<float>(s.maxValue))) {}

    HWY_INLINE hn::Vec<DI> operator()(VF v) const {
        auto const half = hn::Set(DF(), 0.5f);
        if constexpr (R == Rounding::kRoundThenLimit) v = hn::Add(v, half);
        if constexpr (R != Rounding::kTruncate)
            v = hn::Min(hn::IfThenElse(hn::Gt(v, m_low), v, m_low), m_high);
        if constexpr (R == Rounding::kLimitThenRound) v = hn::Add(v, half);
        return truncatedWithin(v);
    }

private:
    VF m_low, m_high;
};

template <class T, Rounding R>
HWY_INLINE void storeChannels(RenderSettings const& s, float const* sums, int n, T* out) {
    const hn::Rebind<T, DF> d;
    Rounder<R> const rounded(s);
    int k = 0;
    for (; k + kLanes <= n; k += kLanes)
        hn::StoreU(hn::DemoteTo(d, rounded(hn::Load(DF(), sums + k))), d, out + k);
    if (k == n) return;
    alignas(32) T rest[kLanes];
    hn::Store(hn::DemoteTo(d, rounded(hn::Load(DF(), sums + k))), d, rest);
    std::memcpy(out + k, rest, static_cast<std::size_t>(n - k) * sizeof(T));
}

/// Four vectors of whole numbers of a byte each, channels of the next 4 kSide pixels, as bytes.
HWY_INLINE hn::Vec<D8> packedBytes(hn::Vec<DI> const* v) {
    alignas(16) static constexpr std::uint8_t kByVector[16] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                               2, 6, 10, 14, 3, 7, 11, 15};
    auto const mixed = hn::Or(hn::Or(v[0], hn::ShiftLeft<8>(v[1])),
                              hn::Or(hn::ShiftLeft<16>(v[2]), hn::ShiftLeft<24>(v[3])));
    auto const bytes =
        hn::TableLookupBytes(hn::BitCast(D8(), mixed), hn::LoadDup128(D8(), kByVector));
    if constexpr (kSide == 1) {
        return bytes;
    } else {  // even pixels below, odd ones above
        alignas(32) static constexpr std::int32_t kInTurn[8] = {0, 4, 1, 5, 2, 6, 3, 7};
        const DI di;
        return hn::BitCast(
            D8(), hn::TableLookupLanes(hn::BitCast(di, bytes), hn::SetTableIndices(di, kInTurn)));
    }
}

/// Stores the sums of a group of pixels of four channels.
template <class T, Rounding R>
HWY_INLINE void storeGroup(RenderSettings const& s, float const* sums, T* out) {
    constexpr int kVectors = kGroup / kSide;
    Rounder<R> const rounded(s);
    hn::Vec<DI> whole[kVectors];
#pragma GCC unroll 8
    for (int k = 0; k < kVectors; ++k) whole[k] = rounded(hn::Load(DF(), sums + kLanes * k));
    if constexpr (sizeof(T) == 1) {
        for (int k = 0; k < kVectors; k += 4)
            hn::StoreU(packedBytes(whole + k), D8(), out + kLanes * k);
    } else {
        const hn::Rebind<T, DF> dt;
#pragma GCC unroll 8
        for (int k = 0; k < kVectors; ++k)
            hn::StoreU(hn::DemoteTo(dt, whole[k]), dt, out + kLanes * k);
    }
}

/// Samples `count` pixels of the block, 64 or fewer, into `out`; makes the next block's positions,
/// unless this is the last.
template <class T, class Kernel, bool IsLast>
HWY_INLINE void runBlock(RenderSettings const& s, int count, typename Kernel::Block& b,
                         Positions& next, T* out) {
    constexpr int kChannels = Kernel::kChannels;
    b.outside = 0;
    Kernel::split(s, (count + kGroup - 1) / kGroup * kGroup, b);
    float* sums = b.sum;
    if constexpr (std::is_floating_point_v<T>)
        if (count == kBlock) sums = out;  // only a whole block may be written past `count`
    for (int group = 0; group < count; group += kGroup) {
        if constexpr (!IsLast) {
            next.step(b.nextU + group, b.nextV + group);
            if constexpr (Kernel::kPrefetches)
                if (group % (16 / static_cast<int>(sizeof(T))) == 0)  // a cache line of 64 bytes
                    prefetchAt<T>(s, b.nextU[group], b.nextV[group]);
        }
        for (int i = group; i < std::min(group + kGroup, count); i += kLanes / kChannels)
            hn::StoreU(Kernel::sample(s, b, i), DF(), sums + kChannels * i);
    }
    if constexpr (!std::is_floating_point_v<T>)
        storeChannels<T, Kernel::kRounding>(s, b.sum, kChannels * count, out);
    else if (sums != out)
        std::memcpy(out, sums, static_cast<std::size_t>(count) * kChannels * sizeof(T));
}

/// The same of a block that reads wholly inside, up to the end of its last group.
template <class T, class Kernel>
HWY_INLINE void runInside(RenderSettings const& s, int count, typename Kernel::Block& b,
                          Positions& next, T* out) {
    constexpr int kChannels = Kernel::kChannels;
    int const whole = count / kGroup * kGroup, rest = count - whole;
    Kernel::splitInside(s, rest == 0 ? count : whole + kGroup, b);
    auto const* source = static_cast<std::uint8_t const*>(s.srcData);
    // The next block's last rows are asked for as if it went on as this one does.
    std::ptrdiff_t const ahead = std::ptrdiff_t{Kernel::kTaps - 1} * s.srcRowBytes +
                                 (count == kBlock ? b.x[kBlock - 1] - b.x[0] : 0);
    for (int group = 0; group < whole; group += kGroup) {
        next.step(b.nextU + group, b.nextV + group);
        for (int i = group; i < group + kGroup; i += Kernel::kPrefetchStep)
            hwy::Prefetch(source + (b.x[i] + ahead));
        Kernel::sampleInside(s, b, group, out + kChannels * group);
    }
    if (rest == 0) return;
    T last[kChannels * kGroup];
    Kernel::sampleInside(s, b, whole, last);
    std::memcpy(out + kChannels * whole, last,
                static_cast<std::size_t>(rest) * kChannels * sizeof(T));
}

/// Whether all that the block's first `count` pixels read, up to the end of the last group, lies
/// within the source.
template <class Block>
bool isInside(Block const& b, int count, SafeBounds const& bounds) {
    int const last = (count - 1) / kGroup * kGroup + kGroup - 1;
    return bounds.hold(b.u[0], b.v[0]) && bounds.hold(b.u[last], b.v[last]);
}

/// A line function. `Kernel` has `kChannels`, 4 or 1; its `Block`; `split`, which fills the block's
/// places; `sample`, which gives a vector of sums; `scalar`, one pixel by scalar code; `kRounding`
/// `kTaps` and `kPrefetches`. One with `kHasInside` has `splitInside` for blocks that read inside,
/// which fills x with offsets in bytes, and `sampleInside`, which gives a group of pixels.
template <class T, class Kernel>
HWY_INLINE void run(void* settings, LineRenderStruct* line) {
    constexpr int kChannels = Kernel::kChannels;
    auto const& s = *static_cast<RenderSettings const*>(settings);
    if (line->count < 1) return;
    T* out = static_cast<T*>(line->dest);
    typename Kernel::Block b;
    Positions next(*line);
    const SafeBounds bounds(s, Kernel::kTaps, Kernel::kTaps / 2 - 1);
    [[maybe_unused]] bool const isSimple =
        Kernel::kHasInside && hasShortOffsets(s) && isSteady(*line);
    for (int i = 0; i < std::min(kBlock, line->count); i += kGroup)
        next.step(b.nextU + i, b.nextV + i);
    for (int left = line->count; left > 0; left -= kBlock, out += kChannels * kBlock) {
        std::memcpy(b.u, b.nextU, sizeof b.u);
        std::memcpy(b.v, b.nextV, sizeof b.v);
        int const count = std::min(kBlock, left);
        if constexpr (Kernel::kHasInside) {
            if (isSimple && count >= kGroup && isInside(b, count, bounds)) {
                runInside<T, Kernel>(s, count, b, next, out);
                continue;
            }
        }
        if (count == kBlock)  // the same, with a count that the compiler knows
            runBlock<T, Kernel, false>(s, kBlock, b, next, out);
        else
            runBlock<T, Kernel, true>(s, count, b, next, out);
        std::uint64_t todo = ~std::uint64_t{0} >> (kBlock - count);
        for (todo &= b.outside; todo != 0; todo &= todo - 1) {
            int const i = std::countr_zero(todo);
            Kernel::scalar(s, {b.u[i], b.v[i]}, out + kChannels * i);
        }
    }
    ps::advance(*line);
}

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();
#endif  // !ZELK_LINE_FUNC_SCALAR
#endif  // target toggle

// The vector twin of png_filter.h: whole vectors of bytes, the rest of a row by the scalar.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "zelk/pictures/png_filter_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "zelk/pictures/png_filter.h"

HWY_BEFORE_NAMESPACE();
namespace png_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using zelk::PngRow;
using zelk::PngSums;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

PngSums sums(PngRow const& row) { return zelk::pngSums(row); }
void differences(PngRow const& row, int predictor, std::uint8_t* to) {
    zelk::pngDifferences(row, predictor, to);
}

#else

using D = hn::ScalableTag<std::uint8_t>;
using V = hn::Vec<D>;

/// |x - y|
HWY_INLINE V distance(V x, V y) { return hn::Or(hn::SaturatedSub(x, y), hn::SaturatedSub(y, x)); }

/// x where x <= y in all lanes of the mask.
HWY_INLINE hn::Mask<D> isAtMost(V x, V y) { return hn::Eq(hn::Min(x, y), x); }

/// Averages round up, but for an odd sum, which truncates. Paeth's pc is pa + pb where b - c and
/// a - c have one sign, else their distance; a sum that saturates is beyond pa and pb all the same.
template <int Predictor>
HWY_INLINE V guess(V a, V b, V c) {
    if constexpr (Predictor == 1) return a;
    if constexpr (Predictor == 2) return b;
    if constexpr (Predictor == 3)
        return hn::Sub(hn::AverageRound(a, b), hn::And(hn::Xor(a, b), hn::Set(D(), 1)));
    V const pa = distance(b, c), pb = distance(a, c);
    auto const differ =
        hn::Xor(hn::VecFromMask(D(), isAtMost(b, c)), hn::VecFromMask(D(), isAtMost(a, c)));
    V const pc =
        hn::IfThenElse(hn::MaskFromVec(differ), distance(pa, pb), hn::SaturatedAdd(pa, pb));
    V const bOrC = hn::IfThenElse(isAtMost(pb, pc), b, c);
    return hn::IfThenElse(hn::And(isAtMost(pa, pb), isAtMost(pa, pc)), a, bOrC);
}

struct Neighbours {
    V x, a, b, c;
};

HWY_INLINE Neighbours load(PngRow const& row, std::size_t i) {
    D const d;
    return {hn::LoadU(d, row.row + i), hn::LoadU(d, row.row + i - row.pixelBytes),
            hn::LoadU(d, row.above + i), hn::LoadU(d, row.above + i - row.pixelBytes)};
}

template <int Predictor>
HWY_INLINE V difference(Neighbours const& n) {
    return hn::Sub(n.x, guess<Predictor>(n.a, n.b, n.c));
}

/// Sums of eight sizes each, of differences as signed bytes.
HWY_INLINE hn::Vec<hn::Repartition<std::uint64_t, D> > sizes(V difference) {
    return hn::SumsOf8(hn::Min(difference, hn::Sub(hn::Zero(D()), difference)));
}

PngSums sums(PngRow const& row) {
    hn::Repartition<std::uint64_t, D> const d64;
    std::size_t const lanes = hn::Lanes(D());
    auto sub = hn::Zero(d64), up = sub, average = sub, paeth = sub;
    std::size_t i = 0;
    for (; i + lanes <= row.bytes; i += lanes) {
        Neighbours const n = load(row, i);
        sub = hn::Add(sub, sizes(difference<1>(n)));
        up = hn::Add(up, sizes(difference<2>(n)));
        average = hn::Add(average, sizes(difference<3>(n)));
        paeth = hn::Add(paeth, sizes(difference<4>(n)));
    }
    auto const total = [&](auto sum) { return hn::GetLane(hn::SumOfLanes(d64, sum)); };
    PngSums all = {total(sub), total(up), total(average), total(paeth)};
    zelk::png_detail::addSums(row, i, all);
    return all;
}

template <int Predictor>
HWY_INLINE void differencesFrom(PngRow const& row, std::uint8_t* to) {
    std::size_t const lanes = hn::Lanes(D());
    std::size_t i = 0;
    for (; i + lanes <= row.bytes; i += lanes)
        hn::StoreU(difference<Predictor>(load(row, i)), D(), to + i);
    zelk::png_detail::addDifferences<Predictor>(row, i, to);
}

void differences(PngRow const& row, int predictor, std::uint8_t* to) {
    switch (predictor) {
        case 1:
            return differencesFrom<1>(row, to);
        case 2:
            return differencesFrom<2>(row, to);
        case 3:
            return differencesFrom<3>(row, to);
        default:
            return differencesFrom<4>(row, to);
    }
}

#endif  // scalar

}  // namespace HWY_NAMESPACE
}  // namespace png_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace png_simd {
HWY_EXPORT(sums);
HWY_EXPORT(differences);
}  // namespace png_simd

namespace zelk {

PngSums pngSumsSimd(PngRow const& row) { return HWY_DYNAMIC_DISPATCH(png_simd::sums)(row); }
void pngDifferencesSimd(PngRow const& row, int predictor, std::uint8_t* to) {
    HWY_DYNAMIC_DISPATCH(png_simd::differences)(row, predictor, to);
}

}  // namespace zelk
#endif  // HWY_ONCE

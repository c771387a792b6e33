// Premultiplication against real arithmetic: every pair of 8 bits, edges and random pairs of 15
// bits, the float rules, and what must stay as it is.
#include <algorithm>
#include <cmath>

#include "tests/effect/premultiply.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/random_quads.h"
#include "tests/support/simd_targets.h"

namespace {

/// Of 256 by 256 pairs: alpha and colour are the rows and columns of 8 bits; else random, and
/// edges.
template <class T>
double valueAt(zelk::Random& random, int place) {
    constexpr double kEdges[] = {0, 1, 2, 16384, 16385, 32767, 32768, 65535};
    constexpr double kFloatEdges[] = {0, 1, 2, 0.3f, 1e-30f, -1, 0.5, 4};
    auto const edge = static_cast<std::size_t>(random.integer(0, 7));
    bool const isEdge = random.flip();
    if (T::kWhite == 255) return place;
    if (T::kIsFloat) return isEdge ? kFloatEdges[edge] : static_cast<float>(random.uniform(0, 2));
    return isEdge ? kEdges[edge] : random.integer(0, 32768);
}

/// Products of integers are exact in double. Floats have no limits and don't divide by less than 0.
template <class T>
double wanted(bool divides, double alpha, double colour) {
    if (T::kIsFloat) {
        auto const a = static_cast<float>(alpha), c = static_cast<float>(colour);
        return !divides ? a * c : a > 0 ? c / a : c;
    }
    if (!divides)
        return T::kWhite == 255 ? std::floor(alpha * colour / 256 + 0.5)
                                : std::min(std::floor(alpha * colour / 32768 + 0.5), 32768.0);
    return alpha == 0 ? colour : std::min(std::floor(colour * T::kWhite / alpha), 1.0 * T::kWhite);
}

template <class T>
struct Premultiplication : testing::Test {};
TYPED_TEST_SUITE(Premultiplication, zelk_test::RenderedFormats);

TYPED_TEST(Premultiplication, IsRealArithmeticAndKeepsAlphaAndPadding) {
    using T = TypeParam;
    auto const check = [](int width, bool divides) {
        zelk::Random random(4711);
        zelk::GuardedRaster before(T::kFormat, width, 256, 20);
        before.paint(
            [&](int x, int y, int c) { return valueAt<T>(random, c == T::kAlpha ? y : x); });
        zelk::GuardedRaster raster = before;
        zelk_test::changeColour<T>(divides, raster.info());
        EXPECT_TRUE(raster.guardsIntact());
        raster.forEachChannel([&](int x, int y, int c) {
            const double a = before.get(x, y, T::kAlpha), was = before.get(x, y, c);
            ASSERT_EQ(raster.get(x, y, c), c == T::kAlpha ? was : wanted<T>(divides, a, was))
                << was << (divides ? " over " : " times ") << a;
        });
    };
    zelk::onEveryTarget([&] {
        for (const int width : {0, 1, 2, 3, 7, 9, 256})
            for (const bool divides : {false, true}) check(width, divides);
    });
}

}  // namespace

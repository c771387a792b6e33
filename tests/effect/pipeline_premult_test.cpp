// Premultiplication against real arithmetic: every pair of 8 bits, edges and random pairs of 15
// bits, the float rules, and what must stay as it is.
#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/effect/premultiply.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/random_quads.h"

namespace {

struct Pair {
    double alpha, colour;
};

template <class T>
std::vector<Pair> pairsOf() {
    std::vector<Pair> pairs;
    if (T::kIsFloat) {
        pairs = {{0.3f, 0.7f}, {1, 0.1f}, {2, 3}, {1e-30f, 0.5f}, {0.5, 4}, {0, 0.25}, {-1, 0.25}};
        pairs.resize(80, {0.625, 0.3f});
    } else if (T::kWhite == 255) {
        for (int i = 0; i < 65536; ++i) pairs.push_back({1.0 * (i / 256), 1.0 * (i % 256)});
    } else {
        zelk::Random random(4711);
        for (const double edge : {0, 1, 2, 16383, 16384, 16385, 32767, 32768})
            for (int c = 0; c <= 32768; c += 7) pairs.push_back({edge, 1.0 * c});
        for (int i = 0; i < 20000; ++i)
            pairs.push_back({1.0 * random.integer(0, 32768), 1.0 * random.integer(0, 32768)});
        for (const double a : {0, 1, 20000, 32768}) pairs.push_back({a, 65535});  // beyond white
    }
    return pairs;
}

/// Products of integers are exact in double. Floats have no limits and don't divide by less than 0.
template <class T>
double wanted(bool divides, Pair const& p) {
    if (T::kIsFloat) {
        const auto a = static_cast<float>(p.alpha), c = static_cast<float>(p.colour);
        return !divides ? a * c : a > 0 ? c / a : c;
    }
    if (!divides) return std::floor(p.alpha * p.colour / (T::kWhite == 255 ? 256 : 32768) + 0.5);
    if (p.alpha == 0) return p.colour;
    return std::min(std::floor(p.colour * T::kWhite / p.alpha), 1.0 * T::kWhite);
}

template <class T>
struct Premultiplication : testing::Test {};
TYPED_TEST_SUITE(Premultiplication, zelk_test::RenderedFormats);

TYPED_TEST(Premultiplication, IsRealArithmeticAndKeepsAlphaAndPadding) {
    using T = TypeParam;
    const std::vector<Pair> pairs = pairsOf<T>();
    for (const int width : {0, 1, 2, 3, 5, 8, 17, 33, 80})
        for (const bool divides : {false, true}) {
            const int height = width ? static_cast<int>(pairs.size()) / width : 3;
            zelk::GuardedRaster raster(T::kFormat, width, height, 20);
            const auto pairAt = [&](int x, int y) {
                return pairs[static_cast<std::size_t>(y * width + x)];
            };
            raster.paint([&](int x, int y, int c) {
                return c == T::kAlpha ? pairAt(x, y).alpha : pairAt(x, y).colour;
            });
            zelk_test::changeColour<T>(divides, raster.info());
            EXPECT_TRUE(raster.guardsIntact());
            raster.forEachChannel([&](int x, int y, int c) {
                const Pair p = pairAt(x, y);
                ASSERT_EQ(raster.get(x, y, c), c == T::kAlpha
                                                   ? static_cast<typename T::Channel>(p.alpha)
                                                   : wanted<T>(divides, p))
                    << p.colour << (divides ? " over " : " times ") << p.alpha;
            });
        }
}

}  // namespace

// Rows to the bytes of a screen: vector twins against the scalar on every instruction set.
#include "zelk/render/screen_rows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <string>

#include "tests/support/random_quads.h"
#include "tests/support/simd_targets.h"
#include "zelk/color/color_space.h"
#include "zelk/color/color_transform.h"
#include "zelk/render/screen_picture.h"

namespace zelk {
namespace {

/// Pixels of all kinds: opaque, transparent, between, beyond, and what is no number.
std::vector<float> pixels(int count) {
    Random random(5);
    float const odd[] = {0.0f,
                         -0.0f,
                         1.0f,
                         std::numeric_limits<float>::infinity(),
                         std::numeric_limits<float>::quiet_NaN(),
                         1e-30f,
                         0.5f / 255};
    std::vector<float> values;
    for (int i = 0; i < 4 * count; ++i) {
        float value = float(random.uniform(-0.2, 1.2));
        if (random.integer(0, 3) == 0) value = std::ldexp(value, -random.integer(0, 20));
        if (random.integer(0, 5) == 0) value = odd[random.integer(0, 6)];
        values.push_back(i % 4 == 0 && random.flip() ? 1 : value);
    }
    return values;
}

TEST(ScreenRows, VectorsGiveTheBytesOfTheScalarOnEveryTarget) {
    CurveSpace const screen = *builtInSpace("sRGB")->curve();
    auto const table = byteTableOf(ColorTransform({[screen](float* rgb, int count) {
        for (int i = 0; i < 3 * count; ++i) rgb[i] = encoded(screen, rgb[i]);
    }}));
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->shift, 16);
    std::vector<float> const row = pixels(4096);
    onEveryTarget([&] {
        for (int count : {0, 1, 2, 3, 4, 5, 7, 9, 17, 31, 4096})
            for (int kind = 0; kind < 8; ++kind) {
                ScreenRowWay const way = {kind % 2 == 1, kind / 2 % 2 == 1,
                                          kind / 4 ? table.get() : nullptr};
                std::vector<std::uint8_t> a(4 * std::size_t(count) + 1, 77), b = a;
                scalarScreenRows().toBytes(row.data(), count, way, a.data());
                vectorScreenRows().toBytes(row.data(), count, way, b.data());
                ASSERT_EQ(a, b) << count << " pixels, kind " << kind;
            }
        std::vector<std::uint16_t> values(65536);
        std::iota(values.begin(), values.end(), 0);
        for (bool const isBgra : {false, true}) {
            std::vector<std::uint8_t> a(values.size()), b = a;
            scalarScreenRows().toBytes16(values.data(), 16384 - 1, isBgra, a.data());
            vectorScreenRows().toBytes16(values.data(), 16384 - 1, isBgra, b.data());
            ASSERT_EQ(a, b);
        }
    });
}

}  // namespace
}  // namespace zelk

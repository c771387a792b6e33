// The vectors' way of every value against the scalar's, bit for bit, on every instruction set.
#include "zelk/pictures/row_values.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "tests/support/simd_targets.h"

namespace zelk {
namespace {

std::vector<std::uint16_t> allShorts() {
    std::vector<std::uint16_t> all(65536);
    std::iota(all.begin(), all.end(), std::uint16_t{0});
    return all;
}

std::vector<std::uint32_t> bitsOf(std::vector<float> const& values) {
    std::vector<std::uint32_t> bits;
    for (float const value : values) bits.push_back(std::bit_cast<std::uint32_t>(value));
    return bits;
}

/// Halves, what lies halfway between them, the floats beside both, and random bits.
std::vector<float> roundedFloats(std::vector<float> const& halves) {
    std::vector<float> all;
    for (float const value : halves)
        for (std::uint32_t const cut : {0u, 1u, 0xfffu, 0x1000u, 0x1001u, 0x1fffu})
            all.push_back(std::bit_cast<float>(std::bit_cast<std::uint32_t>(value) + cut));
    for (int step = 0; step < 4096; ++step)  // halfway below the least normal half
        for (float const near : {0x1p-26f, -0x1p-26f, 0x1p-60f})
            all.push_back(static_cast<float>(step) * 0x1p-25f + near);
    std::mt19937 random(5);
    for (int i = 0; i < 1 << 20; ++i)
        all.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
    return all;
}

TEST(RowValues, VectorsConvertEveryValueAsTheScalars) {
    auto const shorts = allShorts();
    std::vector<float> floats(65536), mine(65536);
    std::vector<std::uint16_t> expected(65536), found(65536);
    scalarRows().fromHalf(shorts.data(), 65536, floats.data());
    std::vector<float> const rounded = roundedFloats(floats);
    std::vector<std::uint16_t> halves(rounded.size()), myHalves(rounded.size());
    scalarRows().toHalf(rounded.data(), rounded.size(), halves.data());
    onEveryTarget([&] {
        vectorRows().fromHalf(shorts.data(), 65536, mine.data());
        EXPECT_EQ(bitsOf(mine), bitsOf(floats));
        vectorRows().toHalf(rounded.data(), rounded.size(), myHalves.data());
        for (std::size_t i = 0; i < rounded.size(); ++i)
            ASSERT_EQ(myHalves[i], halves[i]) << bitsOf({rounded[i]})[0];
        for (auto const way : {&RowFunctions::fromFile16, &RowFunctions::toFile16}) {
            (scalarRows().*way)(shorts.data(), 65536, expected.data());
            (vectorRows().*way)(shorts.data(), 65536, found.data());
            EXPECT_EQ(found, expected);
        }
    });
}

/// Both on rows of 0 to 40 pixels, with a mark behind that must stay.
template <class T, class Call>
void expectSame(std::vector<T> const& from, Call call) {
    for (std::size_t count = 0; count <= 40; ++count) {
        std::vector<T> a(4 * count + 1, T(77)), b = a;
        call(scalarRows(), from.data(), count, a.data());
        call(vectorRows(), from.data(), count, b.data());
        ASSERT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(T)), 0) << count << " pixels";
    }
}

TEST(RowValues, VectorsTurnAndWeighRowsOfAnyLength) {
    std::vector<std::uint8_t> bytes(160);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{3});
    auto const shorts = allShorts();
    std::vector<float> floats(160);
    for (std::size_t i = 0; i < floats.size(); ++i)  // with alphas 0, -0, negative, infinite
        floats[i] = i % 4 == 3 ? std::vector{0.0f, -0.0f, -0.5f, 0.3f, 1.0f, HUGE_VALF}[i / 4 % 6]
                               : static_cast<float>(i) * 0.37f - 20;
    std::vector<std::uint8_t> everyByte(4 << 16);  // each colour with each alpha
    for (std::size_t i = 0; i < everyByte.size(); ++i)
        everyByte[i] = static_cast<std::uint8_t>(i % 4 == 3 ? i >> 10 : i / 4);
    std::vector<float> weighed(everyByte.size()), mine(everyByte.size());
    scalarRows().fromStraightBytes(everyByte.data(), 1 << 16, weighed.data());
    std::vector<float> hostile = floats;
    for (float const odd : {NAN, -NAN, HUGE_VALF, -HUGE_VALF, 1e30f, 0.5f / 255})
        hostile.insert(hostile.end(), {odd, 1, odd, 0.5f, 0.5f, odd, 0, odd});
    onEveryTarget([&] {
        vectorRows().fromStraightBytes(everyByte.data(), 1 << 16, mine.data());
        EXPECT_EQ(bitsOf(mine), bitsOf(weighed));
        std::vector<std::uint8_t> back(everyByte.size());
        vectorRows().toStraightBytes(mine.data(), 1 << 16, back.data());
        for (std::size_t i = 0; i < back.size(); ++i)
            ASSERT_EQ(back[i], i >> 10 || i % 4 == 3 ? everyByte[i] : 0) << i;
        for (std::size_t skip = 0; skip + 160 <= hostile.size(); skip += 16)
            expectSame(std::vector<float>(hostile.begin() + std::ptrdiff_t(skip), hostile.end()),
                       [](auto& rows, auto* f, std::size_t n, auto* t) {
                           std::vector<std::uint8_t> made(4 * n);
                           rows.toStraightBytes(f, n, made.data());
                           std::copy_n(made.data(), 4 * n, t);
                       });
        for (Turn const way : {Turn::kToAlphaFirst, Turn::kToAlphaLast}) {
            expectSame(bytes, [=](auto& rows, auto* f, std::size_t n, auto* t) {
                rows.turn8(f, n, way, t);
            });
            expectSame(shorts, [=](auto& rows, auto* f, std::size_t n, auto* t) {
                rows.turn16(f, n, way, t);
            });
            expectSame(floats, [=](auto& rows, auto* f, std::size_t n, auto* t) {
                rows.turnFloat(f, n, way, t);
            });
        }
        for (bool const divides : {false, true})
            for (bool const keeps : {divides, true})
                expectSame(floats, [=](auto& rows, auto* f, std::size_t n, auto* t) {
                    std::copy_n(f, 4 * n, t);
                    rows.byAlpha(t, n, {divides, keeps});
                });
    });
}

}  // namespace
}  // namespace zelk

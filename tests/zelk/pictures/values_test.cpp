// The parts of the command line that need no process: channel values, means of blocks and areas.
#include <gtest/gtest.h>

#include "zelk/pictures/area_reduce.h"
#include "zelk/pictures/box_reduce.h"
#include "zelk/pictures/channel_values.h"

namespace zelk {
namespace {

// 65536 file values meet 32769 world values: there and back is off by one at most, and white,
// black and every world value come back exactly.
TEST(ChannelValues, DepthsMeetAtTheNearestValue) {
    for (int v = 0; v <= 65535; ++v) {
        auto const world = fromFile<std::uint16_t>(static_cast<std::uint16_t>(v));
        ASSERT_EQ(world, std::lround(v * 32768.0 / 65535.0)) << v;
        if (v > 32768) continue;
        auto const file = toFile(static_cast<std::uint16_t>(v));
        ASSERT_EQ(file, std::lround(v * 65535.0 / 32768.0)) << v;
        if (v > 255) continue;
        auto const byte = static_cast<std::uint8_t>(v);
        EXPECT_EQ(fromFile<std::uint16_t>(byte), std::lround(v * 32768.0 / 255.0));
        EXPECT_EQ(fromFile<std::uint8_t>(fromFile<float>(byte)), v);
        EXPECT_EQ(fromFile<std::uint8_t>(static_cast<std::uint16_t>(v * 257)), v);
    }
    EXPECT_EQ(toFile<std::uint16_t>(40000), 65535);
    EXPECT_EQ(fromFile<std::uint8_t>(1.5f), 255);
    EXPECT_EQ(fromFile<std::uint16_t>(-0.5f) + fromFile<std::uint8_t>(std::nanf("")), 0);
}

template <class Channel>
std::vector<Channel> reduce(std::vector<Channel> const& rgba, int width, int n) {
    BoxReducer<Channel> reducer(width, n);
    std::vector<Channel> all, row(static_cast<std::size_t>(width / n) * 4);
    for (std::size_t at = 0; at < rgba.size(); at += static_cast<std::size_t>(width) * 4)
        if (reducer.add(&rgba[at], row.data())) all.insert(all.end(), row.begin(), row.end());
    return all;
}

TEST(BoxReduce, WeighsColourByAlphaAndRoundsToNearest) {
    using Bytes = std::vector<std::uint8_t>;
    // One opaque pixel among three transparent ones keeps its colour, at a quarter of its alpha.
    EXPECT_EQ(reduce(Bytes{200, 10, 3, 255, 9, 9, 9, 0, 9, 9, 9, 0, 9, 9, 9, 0}, 2, 2),
              (Bytes{200, 10, 3, 64}));
    EXPECT_EQ(reduce(Bytes(16, 0), 2, 2), Bytes(4, 0));
    // Means 1/4, 2/4 and 3/4 go to 0, 1 and 1.
    EXPECT_EQ(reduce(Bytes{1, 1, 1, 255, 0, 1, 1, 255, 0, 0, 1, 255, 0, 0, 0, 255}, 2, 2),
              (Bytes{0, 1, 1, 255}));
    // Sums of the largest block that the host allows do not overflow.
    std::vector<std::uint16_t> const white(4 * 256 * 256, 32768);
    EXPECT_EQ(reduce(white, 256, 256), std::vector<std::uint16_t>(4, 32768));
    // A ramp's block means are its values in the blocks' middles; the rest is left out.
    std::vector<float> ramp;
    for (int i = 0; i < 10 * 7; ++i) ramp.insert(ramp.end(), {float(i % 10), float(i / 10), 0, 1});
    EXPECT_EQ(reduce(ramp, 10, 3), (std::vector<float>{1, 1, 0, 1, 4, 1, 0, 1, 7, 1, 0, 1,
                                                       1, 4, 0, 1, 4, 4, 0, 1, 7, 4, 0, 1}));
}

TEST(AreaReduce, WeightsAreWhatAPixelCovers) {
    for (int from = 1; from <= 40; ++from)
        for (int to = 1; to <= from; ++to) {
            AreaSide const side(from, to);
            double const length = double(from) / to;
            for (int j = 0; j < to; ++j) {
                AreaSide::Span const span = side.span(j);
                double sum = 0;
                for (int i = 0; i < span.count; ++i) {
                    int const at = span.first + i;
                    double const end = std::min((j + 1) * length, at + 1.0);
                    EXPECT_NEAR(span.weights[i], (end - std::max(j * length, double(at))) / length,
                                1e-6);
                    sum += span.weights[i];
                }
                ASSERT_NEAR(sum, 1, 1e-5) << from << " to " << to << ", " << j;
            }
        }
    // Three pixels to two, half of the middle one to each: straight colour by its alpha.
    World row({3, 1, Depth::k8});
    std::uint8_t const pixels[] = {255, 90, 0, 30, 51, 0, 240, 30, 0, 9, 9, 9};
    std::copy(std::begin(pixels), std::end(pixels), row.rowAs<std::uint8_t>(0));
    World const two = areaReduced(row, {2, 1}, AlphaForm::kStraight);
    auto const* found = two.rowAs<std::uint8_t>(0);
    EXPECT_EQ(std::vector(found, found + 8),
              (std::vector<std::uint8_t>{187, 82, 22, 30, 17, 0, 240, 30}));
}

}  // namespace
}  // namespace zelk

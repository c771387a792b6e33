// The parts of the command line that need no process: names, numbers, channel values, block means
// and the quad test.
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <regex>
#include <set>

#include "zelk/pictures/box_reduce.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/quad_check.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {
namespace {

/// "kParamToUpperLeftOffsetX" to "to-upper-left-offset-x".
std::string kebab(std::string const& constant) {
    std::string name;
    for (char c : constant.substr(6)) {
        bool const isCapital = c >= 'A' && c <= 'Z';
        if (isCapital && !name.empty()) name += '-';
        name += isCapital ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return name;
}

TEST(ParameterNames, AreTheEffectsConstantsInTheirOrder) {
    std::ifstream header(PARAM_INDEX_HEADER);
    std::string const text(std::istreambuf_iterator<char>(header), {});
    std::regex const enumerator(R"(\b(kParam[A-Z]\w*)\s*(=\s*\d+\s*)?,)");
    std::size_t count = 0;
    for (std::sregex_iterator i(text.begin(), text.end(), enumerator), end; i != end;
         ++i, ++count) {
        std::string const name = kebab((*i)[1]);
        ASSERT_LT(count, kParameterNames.size());
        EXPECT_EQ(name, kParameterNames[count]);
        EXPECT_EQ(parameterIndex(name), static_cast<int>(count));
        EXPECT_EQ(nearestParameterName(name), name);
    }
    EXPECT_EQ(count, kParameterNames.size());
}

// 65536 file values meet 32769 world values: there and back is off by one at most, and white,
// black and every world value come back exactly.
TEST(ChannelValues, DepthsMeetAtTheNearestValue) {
    for (int v = 0; v <= 65535; ++v) {
        auto const world = fromFile<std::uint16_t>(static_cast<std::uint16_t>(v));
        ASSERT_EQ(world, std::lround(v * 32768.0 / 65535.0)) << v;
        if (v > 32768) continue;
        auto const file = toFile(static_cast<std::uint16_t>(v));
        ASSERT_EQ(file, std::lround(v * 65535.0 / 32768.0)) << v;
        ASSERT_EQ(fromFile<std::uint16_t>(file), v);
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
    std::vector<Channel> all, row(static_cast<std::size_t>(reducer.reducedWidth()) * 4);
    for (std::size_t at = 0; at < rgba.size(); at += static_cast<std::size_t>(width) * 4) {
        if (reducer.add(&rgba[at], row.data())) all.insert(all.end(), row.begin(), row.end());
    }
    return all;
}

// A ramp's block mean is the ramp at the block's middle; the last row and column are left out.
TEST(BoxReduce, OfARampIsTheRampAtTheBlocksMiddle) {
    auto const ramp = [](int columns, int rows, int step, int first) {
        std::vector<float> rgba;
        for (int i = 0; i < columns * rows; ++i) {
            int const x = i % columns * step + first, y = i / columns * step + first;
            rgba.insert(rgba.end(), {float(x), float(y), float(x - 2 * y), 1.0f});
        }
        return rgba;
    };
    EXPECT_EQ(reduce(ramp(10, 7, 1, 0), 10, 3), ramp(3, 2, 3, 1));
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
    auto const one = Bytes{1, 2, 3, 4, 5, 6, 7, 255};
    EXPECT_EQ(reduce(one, 2, 1), one);
}

TEST(QuadCheck, TellsCrossedAndFlatFromUsable) {
    for (auto const& [corners, fault] :
         {std::pair<Corners, QuadFault>{{{{0, 0}, {1, 0}, {0, 1}, {1, 1}}}, QuadFault::kNone},
          {{{{1, 0}, {0, 0}, {1, 1}, {0, 1}}}, QuadFault::kNone},         // mirrored
          {{{{0, 0}, {1, 0}, {0, 1}, {0.5, 0.5}}}, QuadFault::kNone},     // one straight corner
          {{{{0, 0}, {1, 0}, {0, 1}, {0.4, 0.4}}}, QuadFault::kCrossed},  // one corner inward
          {{{{0, 0}, {1, 1}, {0, 1}, {1, 0}}}, QuadFault::kCrossed},      // bow-tie
          {{{{0, 0}, {1, 1}, {2, 2}, {3, 3}}}, QuadFault::kFlat},         // a line
          {{{{5, 5}, {5, 5}, {5, 5}, {5, 5}}}, QuadFault::kFlat}})        // one point
        EXPECT_EQ(checkQuad(corners), fault);
}

}  // namespace
}  // namespace zelk

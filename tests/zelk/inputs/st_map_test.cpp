// ST maps as files have them: which values become which positions, and which look nowhere.
#include "zelk/inputs/st_map.h"

#include <cmath>
#include <limits>

#include "tests/support/zelk_process.h"
#include "zelk/text/errors.h"

namespace zelk_test {
namespace {

using namespace zelk;

constexpr PixelSize kFrame = {50, 20};

/// Pixels of the frame from a corner on look 3.25 pixels to the right and 1.5 up; `more` are
/// further channels.
std::vector<float> movedMap(std::vector<float> const& more, int left = 0, int top = 0) {
    std::vector<float> values;
    for (int y = top; y < kFrame.height; ++y)
        for (int x = left; x < kFrame.width; ++x) {
            values.push_back((static_cast<float>(x) + 3.75f) / 50);
            values.push_back(1 - (static_cast<float>(y) - 1.0f) / 20);
            values.insert(values.end(), more.begin(), more.end());
        }
    return values;
}

/// Every pixel looks where it should, but for those that `looks` denies.
void expectMoved(StMap const& map, bool (*looks)(int x, int y)) {
    float const* at = map.positions.data();
    for (int y = 0; y < kFrame.height; ++y)
        for (int x = 0; x < kFrame.width; ++x, at += 2) {
            ASSERT_EQ(std::isfinite(at[0]) && std::isfinite(at[1]), looks(x, y)) << x << "," << y;
            if (!looks(x, y)) continue;
            ASSERT_NEAR(at[0], x + 3.75, 1e-5);
            ASSERT_NEAR(at[1], y - 1, 1e-5);
        }
}

using StMaps = ZelkTest;

InputPicture written(std::filesystem::path const& file, OIIO::ImageSpec const& spec,
                     std::vector<float> const& values) {
    writeValues(file, spec, values);
    return {file};
}

TEST_F(StMaps, TellPositionsInEveryFormThatHoldsThem) {
    OIIO::ImageSpec two(50, 20, 2, OIIO::TypeFloat), three(50, 20, 3, OIIO::TypeFloat),
        four(50, 20, 4, OIIO::TypeFloat);
    two.channelnames = {"R", "G"};
    OIIO::ImageSpec tiled = four;
    tiled.tile_width = tiled.tile_height = 16;
    for (auto const& file : {written(at("rgb.exr"), three, movedMap({0.5f})),
                             written(at("two.exr"), two, movedMap({})),
                             written(at("zero.exr"), four, movedMap({0, 0})),
                             written(at("tiled.exr"), tiled, movedMap({0, 0.25f})),
                             written(at("associated.tif"), four, movedMap({0, 0.5f}))}) {
        SCOPED_TRACE(file.name());
        expectMoved(readStMap(file, kFrame), [](int, int) { return true; });
    }
}

TEST_F(StMaps, LookNowhereWhereTheFileSaysSo) {
    auto values = movedMap({0, 1});
    values[4 * (3 * 50 + 7) + 3] = 0;  // hidden, no number, infinite
    values[4 * (4 * 50 + 8)] = std::numeric_limits<float>::quiet_NaN();
    values[4 * (5 * 50 + 9) + 1] = std::numeric_limits<float>::infinity();
    auto const holes =
        written(at("holes.exr"), OIIO::ImageSpec(50, 20, 4, OIIO::TypeFloat), values);
    expectMoved(readStMap(holes, kFrame),
                [](int x, int y) { return !(x == y + 4 && y >= 3 && y <= 5); });
    // A data window that leaves a border on two sides of the frame.
    OIIO::ImageSpec part(46, 17, 3, OIIO::TypeFloat);
    std::tie(part.x, part.y) = std::pair(104, 53);
    part.set_roi_full({100, 150, 50, 70, 0, 1, 0, 3});
    expectMoved(readStMap(written(at("part.exr"), part, movedMap({0}, 4, 3)), kFrame),
                [](int x, int y) { return x >= 4 && y >= 3; });
}

// Halves below 1 are 2^-11 apart.
TEST_F(StMaps, WarnOfCoarseSamplesAndRefuseOneChannel) {
    auto const half = written(at("half.exr"), {512, 20, 3, OIIO::TypeHalf}, {0.25f});
    EXPECT_TRUE(has(checkStMap(half, {512, 20}).at(0), "to 0.25 pixels"));
    auto const grey = written(at("grey.exr"), {50, 20, 1, OIIO::TypeFloat}, {0.25f});
    EXPECT_THROW(readStMap(grey, kFrame), UserError);
}

}  // namespace
}  // namespace zelk_test

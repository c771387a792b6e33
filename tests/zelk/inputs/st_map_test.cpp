// ST maps as files have them: which values become which positions, and which look nowhere.
#include "zelk/inputs/st_map.h"

#include <cmath>
#include <limits>

#include "tests/support/zelk_process.h"
#include "zelk/text/errors.h"

namespace zelk_test {
namespace {

using namespace zelk;

constexpr int kWidth = 50, kHeight = 20;

/// An undistorted frame's own map, moved by 3.25 pixels to the right and 1.5 up, with `more` as
/// further channels.
std::vector<float> movedMap(std::vector<float> const& more = {}, int left = 0, int top = 0,
                            int width = kWidth, int height = kHeight) {
    std::vector<float> values;
    for (int y = top; y < top + height; ++y)
        for (int x = left; x < left + width; ++x) {
            values.push_back((static_cast<float>(x) + 0.5f + 3.25f) / kWidth);
            values.push_back(1 - (static_cast<float>(y) + 0.5f - 1.5f) / kHeight);
            values.insert(values.end(), more.begin(), more.end());
        }
    return values;
}

class StMaps : public ZelkTest {
protected:
    StMap read(std::string const& name) const { return readStMap({at(name)}, {kWidth, kHeight}); }
    /// Every pixel looks where it should, but for those that `looks` denies.
    template <class Looks>
    void expectMoved(StMap const& map, double tolerancePx, Looks const& looks) const {
        FrameMap const frame = map.frameMap();
        ASSERT_EQ(std::pair(frame.width, frame.height), std::pair(kWidth, kHeight));
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                float const* const at = frame.positions + y * frame.rowFloats + 2 * x;
                SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
                ASSERT_EQ(std::isfinite(at[0]) && std::isfinite(at[1]), looks(x, y));
                if (!looks(x, y)) continue;
                ASSERT_NEAR(at[0], x + 0.5 + 3.25, tolerancePx);
                ASSERT_NEAR(at[1], y + 0.5 - 1.5, tolerancePx);
            }
    }
};

// Values above 1 and below 0 count, so only files of floats hold all of the map.
TEST_F(StMaps, TellPositionsInEveryFormThatHoldsThem) {
    auto const everywhere = [](int, int) { return true; };
    auto const specOf = [](int channels, OIIO::TypeDesc type = OIIO::TypeFloat) {
        return OIIO::ImageSpec(kWidth, kHeight, channels, type);
    };
    OIIO::ImageSpec two = specOf(2), named = specOf(3), tiled = specOf(4);
    two.channelnames = {"R", "G"};
    named.channelnames = {"Z", "s", "t"};
    named.z_channel = 0;
    tiled.tile_width = tiled.tile_height = 16;
    writeValues(at("rgb.exr"), specOf(3), movedMap({0.5f}));
    writeValues(at("two.exr"), two, movedMap());
    writeValues(at("zero.exr"), specOf(4), movedMap({0, 0}));
    writeValues(at("tiled.exr"), tiled, movedMap({0, 0.25f}));
    writeValues(at("straight.tif"), specOf(4), movedMap({0, 0.5f}));
    for (char const* file : {"rgb.exr", "two.exr", "zero.exr", "tiled.exr", "straight.tif"}) {
        SCOPED_TRACE(file);
        expectMoved(read(file), 1e-5, everywhere);
        EXPECT_TRUE(checkStMap({at(file)}, {kWidth, kHeight}).empty());
    }
}

TEST_F(StMaps, LookNowhereWhereTheFileSaysSo) {
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    auto values = movedMap({0, 1});
    values[4 * (3 * kWidth + 7) + 3] = 0;  // hidden
    values[4 * (4 * kWidth + 8)] = kNone;  // no number
    values[4 * (5 * kWidth + 9) + 1] = 1 / 0.0f;
    writeValues(at("holes.exr"), OIIO::ImageSpec(kWidth, kHeight, 4, OIIO::TypeFloat), values);
    auto const holes = [](int x, int y) { return !(x == y + 4 && y >= 3 && y <= 5); };
    expectMoved(read("holes.exr"), 1e-5, holes);

    // A data window that leaves a border, and one side of overscan.
    OIIO::ImageSpec part(kWidth, 10, 3, OIIO::TypeFloat);
    std::tie(part.x, part.y) = std::pair(104, 53);
    part.set_roi_full({100, 100 + kWidth, 50, 50 + kHeight, 0, 1, 0, 3});
    writeValues(at("part.exr"), part, movedMap({0}, 4, 3, kWidth, 10));
    expectMoved(read("part.exr"), 1e-5, [](int x, int y) { return x >= 4 && y >= 3 && y < 13; });

    StMap const half = reducedMap(read("holes.exr"), 2);
    ASSERT_EQ(half.size, (PixelSize{kWidth / 2, kHeight / 2}));
    EXPECT_NEAR(half.positions[2 * (6 * 25 + 20)], (40 + 1 + 3.25) / 2, 1e-5);
    EXPECT_FALSE(std::isfinite(emptyStMap({2, 2}).positions[5]));
}

TEST_F(StMaps, WarnOfCoarseSamplesAndRefuseWhatCannotBeOne) {
    PixelSize const frame = {kWidth, kHeight};
    auto const write = [&](char const* name, int channels, OIIO::TypeDesc type, int width) {
        OIIO::ImageSpec spec(width, kHeight, channels, type);
        writeValues(at(name), spec, {0.25f});
        return InputPicture{at(name)};
    };
    // Halves below 1 are 2^-11 apart.
    InputPicture const coarse = write("half.exr", 3, OIIO::TypeHalf, 512);
    auto const warnings = checkStMap(coarse, {512, kHeight});
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_TRUE(has(warnings[0], "to 0.25 pixels")) << warnings[0];
    EXPECT_TRUE(checkStMap(write("small.exr", 3, OIIO::TypeHalf, kWidth), frame).empty());
    EXPECT_TRUE(checkStMap(write("deep.png", 3, OIIO::TypeUInt16, kWidth), frame).empty());
    for (auto const& [file, part] :
         {std::pair(write("bytes.png", 3, OIIO::TypeUInt8, kWidth), "8-bit"),
          {write("grey.exr", 1, OIIO::TypeFloat, kWidth), "red and green"},
          {write("wide.exr", 3, OIIO::TypeFloat, 64), "\"64x20\", expected 50x20"}}) {
        for (bool const reads : {false, true}) {
            try {
                reads ? static_cast<void>(readStMap(file, frame))
                      : static_cast<void>(checkStMap(file, frame));
                ADD_FAILURE() << file.name();
            } catch (UserError const& error) {
                EXPECT_EQ(error.code(), ExitCode::kInput);
                EXPECT_TRUE(has(error.what(), part)) << error.what();
            }
        }
    }
}

}  // namespace
}  // namespace zelk_test

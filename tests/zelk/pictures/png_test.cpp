// PNG's strips: every pixel comes back whatever their number and level, damage in the middle is
// found, and the vector code agrees with the scalar.
#include <random>

#include "tests/support/simd_targets.h"
#include "tests/support/zelk_process.h"
#include "zelk/pictures/png_data.h"
#include "zelk/pictures/png_filter.h"
#include "zelk/pictures/writer.h"

namespace {

using PngFile = zelk_test::ZelkTest;

/// Noise on a slope, flat in the lower half, with the alpha of noise.
template <class Channel>
zelk::World worldOf(int width, int height, Channel white) {
    zelk::World world({width, height, sizeof(Channel) == 1 ? zelk::Depth::k8 : zelk::Depth::k16});
    std::mt19937 random(unsigned(width * height));
    for (int y = 0; y < height; ++y)
        for (int i = 0; i < 4 * width; ++i) {
            auto const noise = static_cast<unsigned>(random() % 7), slope = unsigned(i / 4 + 3 * y);
            unsigned const value = 2 * y < height ? slope + noise : 100u * unsigned(i % 4);
            world.rowAs<Channel>(y)[i] = static_cast<Channel>(value % (white + 1u));
        }
    return world;
}

template <class Channel>
void expectBack(std::filesystem::path const& file, Channel white) {
    // One pixel, one column, one row, and two strips or three with a shorter last one.
    for (auto const& [width, height] : {std::pair(1, 1), {1, 300}, {701, 1}, {2001, 150}})
        for (int level : {0, 1, 2, 6})
            for (bool const opaque : {false, true}) {
                SCOPED_TRACE(testing::Message() << width << " x " << height << " level " << level);
                zelk::World const world = worldOf(width, height, white);
                zelk::WriteRequest request;
                request.depth = world.depth();
                request.opaque = opaque;
                request.pngLevel = level;
                request.form = zelk::AlphaForm::kAssociated;  // colour over black as it is
                if (!opaque) request.form = zelk::AlphaForm::kStraight;
                writePicture(world, file, request);
                zelk::PictureReader reader(file);
                zelk::World const back = readStraightWorld(reader);
                int differing = 0;
                for (int y = 0; y < height; ++y)
                    for (int i = 0; i < 4 * width; ++i)
                        if (!opaque || i % 4 != 0)
                            differing += world.rowAs<Channel>(y)[i] != back.rowAs<Channel>(y)[i];
                EXPECT_EQ(differing, 0);
            }
}

TEST_F(PngFile, ComesBackAtEveryLevelAndNumberOfStrips) {
    expectBack<std::uint8_t>(at("o.png"), 255);
    expectBack<std::uint16_t>(at("o.png"), 32768);
}

// The end is as it should be; only a look at the strips can tell.
TEST_F(PngFile, DamageWithinAStripIsFound) {
    writePicture(worldOf<std::uint8_t>(3001, 200, 255), at("o.png"), {});
    std::string const whole = bytesOf("o.png");
    auto const isFound = [&](std::string const& bytes) {
        put("o.png", bytes);
        return !zelk::faultOfPng(at("o.png"), 3001, 200).empty();
    };
    EXPECT_FALSE(isFound(whole));
    std::size_t const second = whole.find("IDAT", whole.find("IDAT") + 4) - 4;
    std::size_t const third = whole.find("IDAT", second + 8) - 4;
    for (std::size_t at = second; at < third; at += (third - second) / 9) {
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 1);
        EXPECT_TRUE(isFound(changed)) << at;
        EXPECT_TRUE(isFound(whole.substr(0, at) + whole.substr(at + 40))) << at;
        EXPECT_TRUE(isFound(whole.substr(0, at) + whole.substr(whole.size() - 12))) << at;
    }
    EXPECT_TRUE(isFound(whole.substr(0, second) + whole.substr(third))) << "sound without it";
    EXPECT_TRUE(isFound(whole.substr(0, third) + whole.substr(second))) << "sound but double";
}

TEST(PngFilter, VectorsGiveTheScalarsBytes) {
    std::mt19937 random(11);
    zelk::onEveryTarget([&] {
        for (std::size_t pixelBytes : {1, 3, 4, 6, 8})
            for (std::size_t bytes = 1; bytes < 140; ++bytes) {
                std::vector<std::uint8_t> row(8 + bytes), above(8 + bytes), a(bytes), b(bytes);
                for (std::size_t i = 8; i < row.size(); ++i)
                    for (auto* const to : {&row[i], &above[i]})
                        *to = static_cast<std::uint8_t>(random() >> (bytes % 2 ? 0 : 29));
                zelk::PngRow const both = {&row[8], &above[8], bytes, pixelBytes};
                ASSERT_EQ(zelk::pngSums(both), zelk::pngSumsSimd(both)) << bytes;
                for (int predictor = 1; predictor <= 4; ++predictor) {
                    zelk::pngDifferences(both, predictor, a.data());
                    zelk::pngDifferencesSimd(both, predictor, b.data());
                    ASSERT_EQ(a, b) << predictor << " of " << bytes << " bytes";
                }
            }
    });
}

}  // namespace

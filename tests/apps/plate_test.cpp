// A layer in a frame of another size, over a plate: exact arithmetic, windows, alpha, refusals, and
// the two roads against each other.
#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tests/apps/zelk_process.h"

namespace {

using zelk_test::noise;
using zelk_test::Outcome;
using zelk_test::Picture;
using zelk_test::readPicture;
using zelk_test::writePicture;

class Plate : public zelk_test::ZelkTest {
protected:
    void expectRefusal(std::vector<std::string> options, int exitCode, char const* fragment) {
        std::vector<std::string> words = {"render", "layer.png"};
        words.insert(words.end(), options.begin(), options.end());
        Outcome const outcome = run(words);
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_NE(outcome.err.find(fragment), std::string::npos) << outcome.err;
    }
};

float at(Picture<float> const& p, int x, int y, int c) {
    return p.values[static_cast<std::size_t>((y * p.width + x) * p.channels + c)];
}

// Medium at whole-pixel pins samples pixel centres: inside its border the layer is laid over as it
// is, f + p (1 - a), computed in float.
TEST_F(Plate, LaysTheLayerOverByItsAlpha) {
    auto const layer = noise<float>(20, 16, 4, 11);
    auto const plate = noise<float>(50, 40, 4, 12);
    writePicture(at("layer.exr"), layer);
    writePicture(at("plate.exr"), plate);
    Outcome const outcome = run({"render", "layer.exr", "--over", "plate.exr", "-o", "out.exr",
                                 "--quality", "medium", "--to", "7,5 27,5 7,21 27,21"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    auto const out = readPicture<float>(at("out.exr"));
    ASSERT_EQ(std::tuple(out.width, out.height, out.channels), std::tuple(50, 40, 4));
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 50; ++x)
            for (int c = 0; c < 4; ++c) {
                double const p = ::at(plate, x, y, c);
                bool const beside = x < 6 || x > 28 || y < 4 || y > 22;
                bool const inside = x > 7 && x < 26 && y > 5 && y < 20;
                if (beside) {
                    ASSERT_EQ(::at(out, x, y, c), static_cast<float>(p));
                }
                if (!inside) continue;
                double const f = ::at(layer, x - 7, y - 5, c), a = ::at(layer, x - 7, y - 5, 3);
                // Positions are off by 2^-24 of the frame and bilinear weights by as much: below
                // 50 * 2^-23 of a difference of at most 1 on each axis; colour is divided by alpha
                // and multiplied back, and alpha may be small.
                ASSERT_NEAR(::at(out, x, y, c), f + p * (1 - a), 3e-5) << x << ", " << y;
            }
}

/// Most by which alpha and colour times alpha differ, in steps of `white`.
std::pair<double, double> apart(Picture<float> const& a, Picture<float> const& b, double white) {
    double alpha = 0, color = 0;
    for (std::size_t i = 0; i < a.values.size(); ++i) {
        double const x = a.values[i | 3], y = b.values[i | 3];
        double const off = (i & 3) == 3 ? x - y : a.values[i] * x - b.values[i] * y;
        double& most = (i & 3) == 3 ? alpha : color;
        most = std::max(most, white * std::abs(off));
    }
    return {alpha, color};
}

// The same bits in float, and in integers within the bounds that docs/numerics.md derives.
TEST_F(Plate, BothRoadsAgreeToTheBitInFloatAndWithinTheirBoundsInIntegers) {
    struct Case {
        char const *depth, *extension, *quality;
        double white, alpha, color, pass;  ///< the bounds, and what each pass adds to both
    };
    for (Case const& c :
         {Case{"float", ".exr", "low", 0, 0, 0, 0}, Case{"float", ".exr", "medium", 0, 0, 0, 0},
          Case{"float", ".exr", "high", 0, 0, 0, 0}, Case{"8", ".png", "medium", 255, 2, 5, 3},
          Case{"16", ".png", "medium", 65535, 4, 9, 6}})
        for (char const* view : {"from", "to", "both", "crop"}) {
            bool const isCrop = view == std::string("crop");
            writePicture(at("in.png"), noise<std::uint16_t>(40, 30, 4, 13),
                         c.white > 255 ? "uint16" : "uint8");
            Picture<float> results[2];
            for (int road = 0; road < 2; ++road) {
                std::string const out = std::string("out") + c.extension;
                Outcome const outcome =
                    run({"render",    "in.png",
                         "-o",        out,
                         "--road",    road ? "memory" : "module",
                         "--depth",   c.depth,
                         "--quality", c.quality,
                         "--view",    isCrop ? "both" : view,
                         "--from",    "2,1 37,0 0,29 40,28",
                         "--to",      "5.5,3 33,1 4,28 38,25.25",
                         "--set",     "rotate=7",
                         "--opacity", "80",
                         "--set",     isCrop ? "crop-to-pins=on" : "crop-to-pins=off"});
                ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
                results[road] = readPicture<float>(at(out));
            }
            SCOPED_TRACE(std::string(c.depth) + " " + c.quality + " " + view);
            if (c.white == 0) {
                EXPECT_EQ(results[0], results[1]);
            }
            auto const [alpha, color] = apart(results[0], results[1], c.white);
            EXPECT_LE(alpha, c.alpha + (isCrop ? 2 : 1) * c.pass);
            EXPECT_LE(color, c.color + (isCrop ? 2 : 1) * c.pass);
        }
}

TEST_F(Plate, TheDeeperOfTwoFilesAndThePlatesAlphaDecideTheOutput) {
    struct Case {
        char const *layer, *plate, *depth, *type;
        int channels;
    };
    writePicture(at("l8.png"), noise<std::uint8_t>(9, 9, 4, 1));
    writePicture(at("l16.png"), noise<std::uint16_t>(9, 9, 3, 2));
    writePicture(at("p8.png"), noise<std::uint8_t>(20, 10, 3, 3));
    writePicture(at("p16.tif"), noise<std::uint16_t>(20, 10, 4, 4));
    writePicture(at("ph.exr"), noise<float>(20, 10, 4, 5), "half");
    for (Case const& c :
         {Case{"l8.png", "p8.png", "", "uint8", 3}, Case{"l16.png", "p8.png", "", "uint16", 3},
          Case{"l8.png", "p16.tif", "", "uint16", 4}, Case{"l16.png", "ph.exr", "", "half", 4},
          Case{"ph.exr", "", "", "half", 4}, Case{"ph.exr", "", "float", "float", 4},
          Case{"l8.png", "ph.exr", "float", "float", 4},
          Case{"l16.png", "p8.png", "8", "uint8", 3}}) {
        // Without a plate: the layer in its own frame, by the module.
        std::filesystem::path const model = *c.plate ? c.plate : c.layer;
        std::string const out = "out" + model.extension().string();
        std::vector<std::string> words = {"render", c.layer, "-o", out};
        if (*c.plate) words.insert(words.end(), {"--over", c.plate});
        if (*c.depth) words.insert(words.end(), {"--depth", c.depth});
        ASSERT_EQ(run(words).exitCode, 0) << c.layer << " over " << c.plate;
        auto const picture = readPicture<float>(at(out));
        EXPECT_EQ(picture.format, c.type) << c.layer << " over " << c.plate;
        EXPECT_EQ(picture.channels, c.channels) << c.layer << " over " << c.plate;
    }
}

TEST_F(Plate, TheLayerIsTheDisplayWindowAndTheOutputKeepsItsPlace) {
    // Data 6 x 4 at (2, 1) of a 10 x 8 display window that starts at (100, 50), one column
    // overscan.
    auto const writer = OIIO::ImageOutput::create("exr");
    OIIO::ImageSpec spec(9, 4, 4, OIIO::TypeFloat);
    spec.full_x = 100;
    spec.full_y = 50;
    spec.full_width = 10;
    spec.full_height = 8;
    spec.x = 102;
    spec.y = 51;
    ASSERT_TRUE(writer->open(at("in.exr").string(), spec));
    ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, std::vector<float>(9 * 4 * 4, 0.5f).data()));
    ASSERT_TRUE(writer->close());
    Outcome const outcome = run({"render", "in.exr", "-o", "out.exr", "--view", "original"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_NE(outcome.err.find("overscan"), std::string::npos) << outcome.err;
    auto const input = OIIO::ImageInput::open(at("out.exr").string());
    EXPECT_EQ(std::tuple(input->spec().full_x, input->spec().full_y, input->spec().full_width),
              std::tuple(100, 50, 10));
    auto const out = readPicture<float>(at("out.exr"));
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 10; ++x)
            EXPECT_EQ(::at(out, x, y, 3), x >= 2 && y >= 1 && y < 5 ? 0.5f : 0.0f) << x << "," << y;
}

TEST_F(Plate, MetadataSurvivesAndCanBeDropped) {
    auto const writer = OIIO::ImageOutput::create("exr");
    OIIO::ImageSpec spec(4, 4, 4, OIIO::TypeHalf);
    spec.attribute("PixelAspectRatio", 2.0f);
    int const timeCode[2] = {0x01020304, 0};
    spec.attribute("smpte:TimeCode", OIIO::TypeTimeCode, timeCode);
    spec.attribute("project", "a farm");
    ASSERT_TRUE(writer->open(at("in.exr").string(), spec));
    ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, std::vector<float>(64, 1.0f).data()));
    ASSERT_TRUE(writer->close());
    for (bool const keep : {true, false}) {
        std::vector<std::string> words = {"render", "in.exr", "-o", "out.exr"};
        if (!keep) words.push_back("--no-metadata");
        ASSERT_EQ(run(words).exitCode, 0);
        auto const input = OIIO::ImageInput::open(at("out.exr").string());
        EXPECT_EQ(input->spec().get_string_attribute("project"), keep ? "a farm" : "");
        EXPECT_EQ(input->spec().get_float_attribute("PixelAspectRatio", 1.0f), keep ? 2.0f : 1.0f);
        EXPECT_EQ(input->spec().find_attribute("smpte:TimeCode") != nullptr, keep);
        EXPECT_EQ(
            input->spec().get_string_attribute("Exif:ImageHistory").find("zelk render in.exr"),
            keep ? 0u : std::string::npos);
    }
}

TEST_F(Plate, OptionsThatDoNotFitAreRefusedAndFilesAreKept) {
    writePicture(at("layer.png"), noise<std::uint8_t>(8, 8, 4, 1));
    writePicture(at("plate.png"), noise<std::uint8_t>(12, 12, 3, 2));
    put("there.png", "kept");
    expectRefusal({"-o", "o.png", "--over", "plate.png", "--size", "9x9"}, 2, "9x9");
    expectRefusal({"-o", "o.png", "--over", "plate.png", "--road", "module"}, 2, "module");
    expectRefusal({"-o", "o.png", "--size", "9x9", "--downsample", "2"}, 2, "--downsample");
    expectRefusal({"-o", "o.png", "--size", "9x9", "--host", "KeyG"}, 2, "KeyG");
    expectRefusal({"-o", "o.png", "--size", "9by9"}, 2, "9by9");
    expectRefusal({"-o", "o.png", "--over", "gone.png"}, 3, "gone.png");
    expectRefusal({"-o", "-"}, 4, "-");
    expectRefusal({"-o", "there.png", "--no-clobber"}, 4, "--no-clobber");
    EXPECT_EQ(bytesOf("there.png"), "kept");
    // No alpha in JPEG: over black, told once.
    Outcome const jpeg = run({"render", "layer.png", "--size", "20x20", "-o", "o.jpg"});
    EXPECT_EQ(jpeg.exitCode, 0);
    EXPECT_EQ(std::count(jpeg.err.begin(), jpeg.err.end(), '\n'), 1) << jpeg.err;
    EXPECT_NE(jpeg.err.find("over black"), std::string::npos) << jpeg.err;
}

}  // namespace

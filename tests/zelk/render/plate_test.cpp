// A layer in a frame of another size, over a plate: exact arithmetic, windows, alpha, depth, and
// the two roads against each other.
#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

using Plate = ZelkTest;

// The same bits in float, and in integers within the bounds that docs/numerics.md derives: for
// alpha and colour times alpha, in steps of the file, and what each pass adds to both.
TEST_F(Plate, BothRoadsAgreeToTheBitInFloatAndWithinTheirBoundsInIntegers) {
    Words const common = {"--from",    "2,1 37,0 0,29 40,28",
                          "--to",      "5.5,3 33,1 4,28 38,25.25",
                          "--opacity", "80",
                          "--set",     "rotate=7",
                          "--color",   "raw"};
    for (auto const& [depth, file, quality, white, ofAlpha, ofColor, ofPass] :
         {std::tuple("float", "out.exr", "low", 1., 0, 0, 0),
          {"float", "out.exr", "high", 1., 0, 0, 0},
          {"8", "out.png", "medium", 255., 2, 5, 3},
          {"16", "out.png", "medium", 65535., 4, 9, 6}})
        for (std::string const view : {"from", "to", "both", "crop"}) {
            SCOPED_TRACE(std::string(depth) + " " + quality + " " + view);
            bool const isCrop = view == "crop";
            writePicture(at("in.png"), noise<std::uint16_t>(40, 30, 4, 13),
                         white > 255 ? "uint16" : "uint8");
            Words const own = {"--depth",   depth,
                               "--quality", quality,
                               "--view",    isCrop ? "both" : view,
                               "--set",     isCrop ? "crop-to-pins=on" : "crop-to-pins=off"};
            std::vector<float> values[2];
            for (int road = 0; road < 2; ++road) {
                render("in.png", file,
                       joined(joined(common, own), {"--road", road ? "memory" : "module"}));
                values[road] = readPicture<float>(at(file)).values;
            }
            if (white == 1) {
                EXPECT_EQ(values[0], values[1]);
            }
            for (std::size_t i = 0; i < values[0].size(); ++i) {
                bool const isAlpha = (i & 3) == 3;
                double const a = isAlpha ? 1 : values[0][i | 3], b = isAlpha ? 1 : values[1][i | 3];
                ASSERT_LE(white * std::abs(values[0][i] * a - values[1][i] * b),
                          (isAlpha ? ofAlpha : ofColor) + (isCrop ? 2 : 1) * ofPass);
            }
        }
}

TEST_F(Plate, TheDeeperOfTwoFilesAndThePlatesAlphaDecideTheOutput) {
    writePicture(at("l8.png"), noise<std::uint8_t>(9, 9, 4, 1));
    writePicture(at("l16.png"), noise<std::uint16_t>(9, 9, 3, 2));
    writePicture(at("p8.png"), noise<std::uint8_t>(20, 10, 3, 3));
    writePicture(at("p16.tif"), noise<std::uint16_t>(20, 10, 4, 4));
    writePicture(at("ph.exr"), noise<float>(20, 10, 4, 5), "half");
    for (auto const& [layer, plate, depth, type, channels] :
         {std::tuple("l16.png", "p8.png", "", "uint16", 3),
          {"l8.png", "p16.tif", "", "uint16", 4},
          {"l16.png", "ph.exr", "", "half", 4},
          {"l8.png", "ph.exr", "float", "float", 4},
          {"ph.exr", "", "float", "float", 4},
          {"l16.png", "p8.png", "8", "uint8", 3}}) {
        // Without a plate: the layer in its own frame, by the module.
        std::string const model = *plate ? plate : layer,
                          out = "out" + model.substr(model.find('.'));
        Words options;
        if (*plate) options = {"--over", plate};
        if (*depth) options = joined(options, {"--depth", depth});
        render(layer, out, options);
        auto const picture = readPicture<float>(at(out));
        EXPECT_EQ(picture.format + std::to_string(picture.channels),
                  type + std::to_string(channels))
            << layer << " over " << plate;
    }
}

// Not even endless light comes through a layer of the plate's size, whatever samples it; alpha
// stays within 0 and 1 beside an edge in the layer, where lobes overshoot.
TEST_F(Plate, ALayerThatFillsTheFrameHidesThePlate) {
    auto layer = noise<float>(24, 18, 4, 21);
    for (std::size_t i = 3; i < layer.values.size(); i += 4) layer.values[i] = 1;
    writePicture(at("layer.exr"), layer);
    OIIO::ImageSpec const spec(24, 18, 4, OIIO::TypeFloat);
    writeValues(at("plate.exr"), spec, {std::numeric_limits<float>::infinity()});
    for (std::string const how : {"--quality low", "--quality medium", "--quality high",
                                  "--filter sinc --taps 10", "--filter catmull-rom"}) {
        SCOPED_TRACE(how);
        render("layer.exr", "out.exr", joined({"--over", "plate.exr"}, split(how, ' ')));
        auto const values = readPicture<float>(at("out.exr")).values;
        for (float const value : values) ASSERT_LT(value, 2);
        for (std::size_t i = 3; i < values.size(); i += 4) ASSERT_EQ(values[i], 1);
    }
    for (std::size_t i = 3; i < layer.values.size(); i += 4) layer.values[i] = i / 4 % 24 > 11;
    writePicture(at("layer.exr"), layer);
    render("layer.exr", "out.exr", {"--size", "50x40", "--filter", "catmull-rom"});
    auto const out = readPicture<float>(at("out.exr"));
    for (std::size_t i = 3; i < out.values.size(); i += 4)
        ASSERT_EQ(out.values[i], std::clamp(out.values[i], 0.f, 1.f));
}

// The grid's 1/16 in the first row is still there to be had.
TEST_F(Plate, EdgesAndShrinksAreToldApart) {
    writeValues(at("white.png"), OIIO::ImageSpec(64, 48, 3, OIIO::TypeUInt8), {1});
    writeValues(at("black.exr"), OIIO::ImageSpec(64, 48, 4, OIIO::TypeFloat), {0});
    for (std::string const edges : {"grid", "exact"}) {
        render("white.png", "out.exr",
               {"--over", "black.exr", "--quality", "medium", "--edges", edges});
        auto const out = readPicture<float>(at("out.exr"));
        EXPECT_EQ(out.at(30, 0, 3), edges == "grid" ? 15 / 16.f : 1) << edges;
    }
    for (auto const& [words, isTold] :
         {std::pair<Words, bool>{{"--to", "2,2 36,2 2,28 36,28"}, false},
          {{"--to", "2,2 30,2 2,24 30,24"}, false},
          {{"--to", "2,2 30,2 2,24 30,24", "--quality", "medium"}, true},
          {{"--to", "2,2 26,2 2,22 26,22"}, true},
          {{"--to", "0,0 64,0 20,48 22,48"}, true},
          {{"--to", "0,0 30,0 0,24 30,24", "--quality", "super"}, false},
          {{"--to", "0,0 30,0 0,24 30,24", "--filter", "parzen"}, false}}) {
        Outcome const outcome = run(joined({"render", "white.png", "-o", "out.png"}, words));
        EXPECT_EQ(has(outcome.err, "--quality best"), isTold) << words[1] << outcome.err;
        EXPECT_EQ(outcome.exitCode, 0);
    }
}

/// Writes values whose data begin at (2, 1) of a display window of 10 x 8 at (100, 50).
void writeInWindow(std::filesystem::path const& file, OIIO::ImageSpec spec, float value) {
    std::tie(spec.x, spec.y) = std::pair(102, 51);
    spec.set_roi_full({100, 110, 50, 58, 0, 1, 0, spec.nchannels});
    writeValues(file, spec, {value});
}

bool hasWindow(std::filesystem::path const& file) {
    OIIO::ROI const window = specOf(file).roi_full();
    return window.xbegin == 100 && window.ybegin == 50 && window.width() == 10 &&
           window.height() == 8;
}

// Data 9 x 4 at (2, 1) of the display window, and one column of overscan.
TEST_F(Plate, TheLayerIsTheDisplayWindowAndTheOutputKeepsItsPlace) {
    writeInWindow(at("in.exr"), OIIO::ImageSpec(9, 4, 4, OIIO::TypeFloat), 0.5f);
    EXPECT_TRUE(has(copy("in.exr", "out.exr"), "overscan"));
    EXPECT_TRUE(hasWindow(at("out.exr")));
    auto const out = readPicture<float>(at("out.exr"));
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 10; ++x)
            EXPECT_EQ(out.at(x, y, 3), x >= 2 && y >= 1 && y < 5 ? 0.5f : 0.0f) << x << "," << y;
}

// An opaque layer at whole pixels covers its square exactly, and what is beside is the plate's, of
// infinite light here; the plate's windows are the output's.
TEST_F(Plate, AnOpaqueLayerCoversThePlateInItsOwnWindow) {
    constexpr float kEndless = std::numeric_limits<float>::infinity();
    writeValues(at("layer.png"), OIIO::ImageSpec(4, 3, 3, OIIO::TypeUInt8), {0.2f});
    writeInWindow(at("plate.exr"), OIIO::ImageSpec(7, 6, 3, OIIO::TypeFloat), kEndless);
    render(
        "layer.png", "out.exr",
        {"--over", "plate.exr", "--to", "5,4 9,4 5,7 9,7", "--quality", "low", "--color", "raw"});
    EXPECT_TRUE(hasWindow(at("out.exr")));
    auto const out = readPicture<float>(at("out.exr"));
    ASSERT_EQ(out.channels, 3);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 10; ++x) {
            bool const isLayer = x >= 5 && x < 9 && y >= 4 && y < 7;
            bool const isPlate = x >= 2 && x < 9 && y >= 1 && y < 7;
            float const beside = isPlate ? kEndless : 0;
            ASSERT_EQ(out.at(x, y, 0), isLayer ? 51 / 255.0f : beside) << x << ", " << y;
        }
}

}  // namespace
}  // namespace zelk_test

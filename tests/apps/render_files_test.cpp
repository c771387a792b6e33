// Whole runs of `zelk render` and `zelk params` with the real effect: every kind of picture at
// every quality, what comes back unchanged, warnings, reduced resolution and memory.
#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/apps/zelk_process.h"

namespace zelk_test {
namespace {

using Files = ZelkTest;

std::string all(Outcome const& outcome) { return outcome.out + outcome.err; }

/// The four channels of a picture of any channel count: grey thrice, missing alpha `white`.
template <class T>
std::vector<T> asRgba(Picture<T> const& picture, T white) {
    std::vector<T> rgba;
    int const n = picture.channels;
    bool const hasAlpha = n == 2 || n == 4;
    for (std::size_t i = 0; i < picture.values.size(); i += static_cast<std::size_t>(n)) {
        T const* from = &picture.values[i];
        for (int c = 0; c < 3; ++c) rgba.push_back(from[n < 3 ? 0 : c]);
        rgba.push_back(hasAlpha ? from[n - 1] : white);
    }
    return rgba;
}

TEST_F(Files, TheOriginalViewGivesBackAnEightBitPngBitForBit) {
    for (int channels = 1; channels <= 4; ++channels) {
        for (char const* host : {"FXTC", "PrMr", "KeyG", "MOTN"}) {  // PrMr: blue first
            auto const picture = noise<std::uint8_t>(37, 23, channels, 11u + channels);
            writePicture(at("in.png"), picture);
            Outcome const outcome =
                run({"render", "in.png", "-o", "out.png", "--view", "original", "--host", host});
            ASSERT_EQ(outcome.exitCode, 0) << all(outcome);
            auto const back = readPicture<std::uint8_t>(at("out.png"));
            EXPECT_EQ(back.format, "uint8");
            EXPECT_EQ(back.values, asRgba<std::uint8_t>(picture, 255)) << channels << host;
        }
    }
}

TEST_F(Files, SixteenBitsAndFloatKeepTheirDepth) {
    auto const deep = noise<std::uint16_t>(19, 9, 4, 5);
    writePicture(at("in.png"), deep);
    ASSERT_EQ(run({"render", "in.png", "-o", "out.tif", "--view", "original"}).exitCode, 0);
    auto const deepBack = readPicture<std::uint16_t>(at("out.tif"));
    EXPECT_EQ(deepBack.format, "uint16");
    ASSERT_EQ(deepBack.values.size(), deep.values.size());
    // 15 bits and a half in between: a step of the host is two steps of the file.
    for (std::size_t i = 0; i < deep.values.size(); ++i) {
        ASSERT_LE(std::abs(deepBack.values[i] - deep.values[i]), 1);
    }

    auto floats = noise<float>(19, 9, 3, 5);
    floats.values[0] = 7.5f;    // beyond white
    floats.values[1] = -0.25f;  // below black
    writePicture(at("in.exr"), floats, "half");
    ASSERT_EQ(run({"render", "in.exr", "-o", "out.exr", "--view", "original"}).exitCode, 0);
    auto const floatBack = readPicture<float>(at("out.exr"));
    EXPECT_EQ(floatBack.format, "half");
    EXPECT_EQ(floatBack.values, asRgba(floats, 1.0f));

    ASSERT_EQ(run({"render", "in.exr", "-o", "out.png", "--depth", "8"}).exitCode, 0);
    EXPECT_EQ(readPicture<std::uint8_t>(at("out.png")).format, "uint8");
}

// EXR keeps colour times alpha: a half red (0.5, 0, 0, 0.5) is full red for the effect.
TEST_F(Files, AssociatedColourIsDividedAndMultiplied) {
    Picture<float> const stored{2, 1, 4, {0.5f, 0, 0.25f, 0.5f, 0.75f, 1, 0, 1}, {}};
    writePicture(at("in.exr"), stored, "float");
    ASSERT_EQ(
        run({"render", "in.exr", "-o", "out.png", "--depth", "8", "--view", "original"}).exitCode,
        0);
    EXPECT_EQ(readPicture<std::uint8_t>(at("out.png")).values,
              (std::vector<std::uint8_t>{255, 0, 128, 128, 191, 255, 0, 255}));
    ASSERT_EQ(run({"render", "in.exr", "-o", "out.exr", "--view", "original"}).exitCode, 0);
    EXPECT_EQ(readPicture<float>(at("out.exr")).values, stored.values);
    ASSERT_EQ(
        run({"render", "in.exr", "-o", "out.ppm", "--depth", "8", "--view", "original"}).exitCode,
        0);  // no alpha: over black
    EXPECT_EQ(readPicture<std::uint8_t>(at("out.ppm")).values,
              (std::vector<std::uint8_t>{128, 0, 64, 191, 255, 0}));
}

struct Kind {
    char const* name;
    char const* file;
    int width, height, channels;
    char const* type;  ///< "uint8", "uint16" or "half"
};

Kind const kKinds[] = {
    {"OnePixel", "in.png", 1, 1, 4, "uint8"},      {"OneColumn", "in.png", 1, 9, 3, "uint8"},
    {"OneRow", "in.png", 9, 1, 4, "uint16"},       {"TwoByTwo", "in.png", 2, 2, 3, "uint8"},
    {"Grey", "in.png", 16, 12, 1, "uint8"},        {"GreyAlpha", "in.png", 16, 12, 2, "uint8"},
    {"Rgb", "in.tif", 16, 12, 3, "uint8"},         {"Rgba", "in.tif", 16, 12, 4, "uint8"},
    {"Deep", "in.tif", 16, 12, 4, "uint16"},       {"Half", "in.exr", 16, 12, 4, "half"},
    {"FiveChannels", "in.exr", 16, 12, 5, "half"}, {"TinyHalf", "in.exr", 1, 1, 3, "half"},
};

class Kinds : public ZelkTest, public ::testing::WithParamInterface<Kind> {};

// Every quality takes every kind and keeps its size and depth; pins far out of the frame leave
// nothing of it.
TEST_P(Kinds, RenderAtEveryQuality) {
    Kind const& kind = GetParam();
    if (std::string(kind.type) == "uint8") {
        writePicture(at(kind.file), noise<std::uint8_t>(kind.width, kind.height, kind.channels, 3));
    } else if (std::string(kind.type) == "uint16") {
        writePicture(at(kind.file),
                     noise<std::uint16_t>(kind.width, kind.height, kind.channels, 3));
    } else {
        auto picture = noise<float>(kind.width, kind.height, kind.channels, 3);
        writePicture(at(kind.file), picture, "half");
    }
    std::string const extension = std::filesystem::path(kind.file).extension();
    std::string const out = "out" + extension;
    for (char const* quality : {"low", "medium", "high", "super"}) {
        SCOPED_TRACE(quality);
        Outcome const inside = run({"render", kind.file, "-o", out, "--quality", quality});
        ASSERT_EQ(inside.exitCode, 0) << all(inside);
        bool const drops = kind.channels == 5;
        EXPECT_EQ(all(inside),
                  drops ? "zelk: warning: in.exr: channels dropped: \"channel4\"\n" : "");
        auto const picture = readPicture<float>(at(out));
        EXPECT_EQ(picture.format, kind.type);
        EXPECT_EQ(std::tuple(picture.width, picture.height, picture.channels),
                  std::tuple(kind.width, kind.height, 4));
        EXPECT_TRUE(std::any_of(picture.values.begin(), picture.values.end(),
                                [](float v) { return v != 0; }));

        Outcome const outside = run({"render", kind.file, "-o", out, "--quality", quality, "--to",
                                     "500,500 600,510 490,600 620,640"});
        ASSERT_EQ(outside.exitCode, 0) << all(outside);
        auto const empty = readPicture<float>(at(out));
        EXPECT_TRUE(
            std::all_of(empty.values.begin(), empty.values.end(), [](float v) { return v == 0; }));
    }
    EXPECT_EQ(files(), (std::vector<std::string>{kind.file, out}));
}

INSTANTIATE_TEST_SUITE_P(Table, Kinds, ::testing::ValuesIn(kKinds),
                         [](auto const& row) { return row.param.name; });

struct Warning {
    std::vector<std::string> arguments;
    std::vector<std::string> fragments;  ///< none for no warning
};

TEST_F(Files, UnusablePinsWarnOnceAndGiveATransparentFrame) {
    writePicture(at("in.png"), noise<std::uint8_t>(20, 20, 3, 9));
    std::string const tie = "0,0 20,20 0,20 20,0", line = "0,0 5,5 10,10 20,20",
                      good = "1,1 19,2 2,18 17,17", whole = "0,0 20,0 0,20 20,20";
    std::vector<Warning> const warnings = {
        {{"--to", tie}, {"To Pins", "both ways"}},
        {{"--to", line, "--view", "to"}, {"To Pins", "one line"}},
        {{"--to", "5,5 5,5 5,5 5,5"}, {"To Pins", "one point"}},
        {{"--from", tie, "--to", good}, {"From Pins", "both ways"}},
        {{"--from", tie}, {"From Pins", "To Pins"}},
        {{"--from", line, "--to", good, "--view", "from"}, {"From Pins"}},
        {{"--from", tie, "--to", good, "--set", "crop-to-pins=on"}, {"From Pins"}},
        {{"--set", "to-upper-left-offset-x=100", "--set", "to-upper-left-offset-y=100"},
         {"To Pins"}},
        {{"--from", tie, "--to", good, "--view", "to"}, {}},
        {{"--from", good, "--to", tie, "--view", "from"}, {}},
        {{"--from", tie, "--to", tie, "--view", "original"}, {}},
        // The first of two passes is left out for whole From Pins, their offsets with it.
        {{"--view", "from", "--set", "from-upper-left-offset-x=100", "--set",
          "from-upper-left-offset-y=100"},
         {}},
        {{"--from", whole, "--to", good, "--set", "crop-to-pins=on", "--set",
          "from-upper-left-offset-x=100", "--set", "from-upper-left-offset-y=100"},
         {}},
    };
    for (Warning const& warning : warnings) {
        std::vector<std::string> arguments = {"render", "in.png", "-o", "out.png"};
        arguments.insert(arguments.end(), warning.arguments.begin(), warning.arguments.end());
        Outcome const outcome = run(arguments);
        SCOPED_TRACE(::testing::PrintToString(warning.arguments) + outcome.err);
        ASSERT_EQ(outcome.exitCode, 0);
        bool const isExpected = !warning.fragments.empty();
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), isExpected ? 1 : 0);
        EXPECT_EQ(outcome.err.starts_with("zelk: warning: "), isExpected);
        for (std::string const& fragment : warning.fragments) {
            EXPECT_NE(outcome.err.find(fragment), std::string::npos) << fragment;
        }
        // The warning mirrors the engine: exactly then the frame is empty.
        auto const picture = readPicture<std::uint8_t>(at("out.png"));
        bool const isEmpty = std::all_of(picture.values.begin(), picture.values.end(),
                                         [](auto v) { return v == 0; });
        EXPECT_EQ(isEmpty, isExpected);
    }
}

// To Pins that no one sets follow the From Pins, and --set wins over the other options.
TEST_F(Files, OptionsAndSettingsMeanTheSame) {
    writePicture(at("in.png"), noise<std::uint8_t>(24, 18, 4, 21));
    auto const outputOf = [&](std::vector<std::string> const& more) {
        std::vector<std::string> arguments = {"render", "in.png", "-o", "out.png"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        Outcome const outcome = run(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << all(outcome);
        return readPicture<std::uint8_t>(at("out.png"));
    };
    auto const tilted = outputOf({"--to", "2.5,1 22,-3 0,17 25.25,16"});
    EXPECT_EQ(tilted,
              outputOf({"--set", "to-upper-left=2.5,1", "--set", "TO-UPPER-RIGHT=22,-3", "--set",
                        "to-lower-left= 0 , 17", "--set", "to-lower-right=25.25,16"}));
    EXPECT_EQ(tilted, outputOf({"--to", "0,0 22,-3 0,17 25.25,16", "--quality", "low", "--set",
                                "to-upper-left=2.5,1", "--set", "quality=HIGH", "--threads", "3"}));
    EXPECT_NE(tilted, outputOf({"--to", "2.5,1 22,-3 0,17 25.25,16", "--quality", "low"}));

    std::string const corners = "3,2 20,4 1,15 22,17";
    EXPECT_EQ(outputOf({"--from", corners}), outputOf({"--from", corners, "--to", corners}));
    EXPECT_EQ(outputOf({"--set", "from-upper-left=3,2"}),
              outputOf({"--set", "from-upper-left=3,2", "--set", "to-upper-left=3,2"}));
}

// A flat layer stays flat, and pins count in pixels of the layer at full resolution.
TEST_F(Files, ReducedResolutionIsAPictureOfItsOwnSize) {
    Picture<std::uint8_t> flat{25, 14, 3, std::vector<std::uint8_t>(25 * 14 * 3, 90), {}};
    writePicture(at("in.png"), flat);
    ASSERT_EQ(run({"render", "in.png", "-o", "out.png", "--downsample", "3", "--to",
                   "0,0 12,0 0,12 12,12"})
                  .exitCode,
              0);
    auto const small = readPicture<std::uint8_t>(at("out.png"));
    EXPECT_EQ(std::pair(small.width, small.height), std::pair(8, 4));
    auto const alphaAt = [&](int x, int y) {
        return small.values[static_cast<std::size_t>(y * small.width + x) * 4 + 3];
    };
    EXPECT_EQ(small.values[0], 90);
    EXPECT_EQ(alphaAt(2, 2), 255);  // 4 by 4 pixels of 12 by 12
    EXPECT_EQ(alphaAt(6, 1), 0);
}

TEST_F(Files, ParamsListsAllOfThemInBothForms) {
    Outcome const text = run({"params"});
    ASSERT_EQ(text.exitCode, 0) << all(text);
    for (char const* word : {"super-sample-softness", "Super Sample Softnesss", "Lower  Left From",
                             "-1000 to 1000 (slider -100 to 100)", "#ffff32", "100%,100%",
                             "5 Add, 6 Multiply", "cannot-time-vary supervised"}) {
        EXPECT_NE(text.out.find(word), std::string::npos) << word;
    }
    for (auto const& [host, kind, blurs] :
         {std::tuple("FXTC", "float slider", 3), std::tuple("KeyG", "fixed slider", 2)}) {
        Outcome const outcome = run({"params", "--json", "--host", host});
        ASSERT_EQ(outcome.exitCode, 0) << all(outcome);
        auto const list = nlohmann::json::parse(outcome.out);
        ASSERT_EQ(list.size(), 63u);
        for (std::size_t i = 0; i < list.size(); ++i) EXPECT_EQ(list[i]["index"], i);
        EXPECT_EQ(list[49]["kind"], kind);
        EXPECT_EQ(list[49]["diskId"], 186);
        EXPECT_EQ(list[49]["valid"]["max"], 5);
        EXPECT_EQ(list[55]["choices"].size(), static_cast<std::size_t>(blurs));
        EXPECT_EQ(list[62]["choices"].size(), 23u);
        EXPECT_EQ(list[24]["default"]["xPercent"], 100);
    }
}

TEST_F(Files, HelpAndVersionGoToStandardOutput) {
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{"--help"}, {"render", "--help"}, {"params", "-h"}}) {
        Outcome const outcome = run(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        for (char const* word : {"Usage: zelk", "Examples:", "Exit codes:", "\n  4  "}) {
            EXPECT_NE(outcome.out.find(word), std::string::npos) << word;
        }
    }
    EXPECT_TRUE(run({"--version"}).out.starts_with("zelk "));
}

#if !defined(__SANITIZE_ADDRESS__)  // its shadow memory would count as well
// The layer, the output, two images of the effect's own and 100 MB for all the rest.
TEST_F(Files, APictureOf4KIsNotInMemoryTwice) {
    constexpr int kWidth = 3840, kHeight = 2160;
    constexpr double kRasterMb = kWidth * kHeight * 16 / 1e6;
    auto const writer = OIIO::ImageOutput::create("exr");
    OIIO::ImageSpec spec(kWidth, kHeight, 4, OIIO::TypeFloat);
    ASSERT_TRUE(writer && writer->open(at("in.exr").string(), spec));
    std::vector<float> const row(kWidth * 4, 0.5f);
    for (int y = 0; y < kHeight; ++y) {
        ASSERT_TRUE(writer->write_scanline(y, 0, OIIO::TypeFloat, row.data()));
    }
    ASSERT_TRUE(writer->close());
    Outcome const outcome =
        run({"render", "in.exr", "-o", "out.exr", "--to", "100,60 3500,-40 300,2100 3900,2000"});
    ASSERT_EQ(outcome.exitCode, 0) << all(outcome);
    EXPECT_LE(outcome.peakMb, 4 * kRasterMb + 100);
    RecordProperty("peakMb", std::to_string(outcome.peakMb));
}
#endif

}  // namespace
}  // namespace zelk_test

// Whole runs of `zelk render` and `zelk params` with the real effect: every kind of picture at
// every quality, what comes back unchanged, warnings, reduced resolution and memory.
#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

using Files = ZelkTest;

template <class T>
bool isEmpty(Picture<T> const& picture) {
    return std::all_of(picture.values.begin(), picture.values.end(), [](T v) { return v == 0; });
}

// Grey comes back thrice, missing alpha opaque.
TEST_F(Files, TheOriginalViewGivesBackAnEightBitPngBitForBit) {
    for (int n = 1; n <= 4; ++n)
        for (char const* host : {"FXTC", "PrMr", "KeyG", "MOTN"}) {  // PrMr: blue first
            auto const in = noise<std::uint8_t>(37, 23, n, 11u + n);
            writePicture(at("in.png"), in);
            copy("in.png", "out.png", {"--host", host});
            auto const out = readPicture<std::uint8_t>(at("out.png"));
            ASSERT_EQ(out.format + std::to_string(out.channels), "uint84");
            for (int i = 0; i < 37 * 23; ++i)
                for (int c = 0; c < 4; ++c)
                    ASSERT_EQ(out.at(i, 0, c), c < 3        ? in.at(i, 0, n < 3 ? 0 : c)
                                               : n % 2 == 0 ? in.at(i, 0, n - 1)
                                                            : 255);
        }
}

// Every quality takes every kind and keeps its size and depth; pins far out of the frame leave
// nothing of it.
TEST_F(Files, EveryKindOfPictureRendersAtEveryQuality) {
    for (auto const& [file, width, height, channels, type] :
         {std::tuple("pixel.png", 1, 1, 4, "uint8"),
          {"row.png", 9, 1, 4, "uint16"},
          {"grey.png", 16, 12, 1, "uint8"},
          {"many.exr", 16, 12, 5, "half"}}) {
        writePicture(at(file), noise<float>(width, height, channels, 3), type);
        std::string const out = std::string("out-") + file;
        for (char const* quality : {"low", "medium", "high", "super"}) {
            SCOPED_TRACE(out + " " + quality);
            EXPECT_EQ(
                render(file, out, {"--quality", quality}),
                channels < 5 ? "" : "zelk: warning: many.exr: channels dropped: \"channel4\"\n");
            auto const picture = readPicture<float>(at(out));
            EXPECT_EQ(picture.format, type);
            EXPECT_EQ(std::tuple(picture.width, picture.height, picture.channels),
                      std::tuple(width, height, 4));
            EXPECT_FALSE(isEmpty(picture));
            render(file, out, {"--quality", quality, "--to", "500,500 600,510 490,600 620,640"});
            EXPECT_TRUE(isEmpty(readPicture<float>(at(out))));
        }
    }
}

// The warning mirrors the engine: exactly then the frame is empty.
TEST_F(Files, UnusablePinsWarnOnceAndGiveATransparentFrame) {
    writePicture(at("in.png"), noise<std::uint8_t>(20, 20, 3, 9));
    // ! is a quad that crosses itself, v one with a corner inward, - a line, . a point, + a good
    // one, # the whole picture.
    std::map<char, char const*> const quads = {
        {'!', "0,0 20,20 0,20 20,0"}, {'v', "0,0 20,0 0,20 8,8"},   {'-', "0,0 5,5 10,10 20,20"},
        {'.', "5,5 5,5 5,5 5,5"},     {'+', "1,1 19,2 2,18 17,17"}, {'#', "0,0 20,0 0,20 20,20"}};
    std::string const offset = "-upper-left-offset-";
    // From and To, the view, crop or an offset of which pins, and the warning, if any.
    for (auto const& [pins, view, more, told] :
         {std::tuple("#!", "both", "",
                     "To Pins make a quad that crosses itself or is dented (corners"),
          {"#.", "both", "", "To Pins"},
          {"#v", "to", "", "or is dented"},
          {"!!", "both", "", "lower right), the To Pins make"},
          {"-+", "from", "", "From Pins"},
          {"!+", "both", "crop", "From Pins"},
          {"##", "both", "to", "To Pins"},
          {"!+", "to", "", ""},
          {"+!", "from", "", ""},
          {"!!", "original", "", ""},
          // The first of two passes is left out for whole From Pins, their offsets with it.
          {"##", "from", "from", ""},
          {"#+", "both", "crop from", ""}}) {
        Words options = {"--from", quads.at(pins[0]), "--to", quads.at(pins[1]), "--view", view};
        if (has(more, "crop")) options = joined(options, {"--set", "crop-to-pins=on"});
        for (std::string const which : {"to", "from"})
            if (has(more, which))
                options = joined(options, {"--set", which + offset + "x=100", "--set",
                                           which + offset + "y=100"});
        std::string const said = render("in.png", "out.png", options);
        SCOPED_TRACE(testing::PrintToString(options) + said);
        EXPECT_EQ(lines(said), *told ? 1 : 0);
        EXPECT_TRUE(has(said, told));
        EXPECT_EQ(isEmpty(readPicture<std::uint8_t>(at("out.png"))), *told != '\0');
    }
}

// To Pins that no one sets follow the From Pins, and --set wins over the other options.
TEST_F(Files, OptionsAndSettingsMeanTheSame) {
    writePicture(at("in.png"), noise<std::uint8_t>(24, 18, 4, 21));
    auto const outputOf = [&](Words const& options) {
        render("in.png", "out.png", options);
        return readPicture<std::uint8_t>(at("out.png"));
    };
    auto const tilted = outputOf({"--to", "2.5,1 22,-3 0,17 25.25,16"});
    EXPECT_EQ(tilted, outputOf({"--to", "0,0 22,-3 0,0 25.25,16", "--quality", "low", "--set",
                                "TO-UPPER-LEFT=2.5,1", "--set", "to-lower-left= 0 , 17", "--set",
                                "quality=HIGH", "--threads", "3"}));
    EXPECT_NE(tilted, outputOf({"--to", "2.5,1 22,-3 0,17 25.25,16", "--quality", "low"}));
    EXPECT_EQ(outputOf({"--set", "from-upper-left=3,2"}),
              outputOf({"--set", "from-upper-left=3,2", "--set", "to-upper-left=3,2"}));
}

// A flat layer stays flat, and pins count in pixels of the layer at full resolution.
TEST_F(Files, ReducedResolutionIsAPictureOfItsOwnSize) {
    writeValues(at("in.png"), OIIO::ImageSpec(25, 14, 3, OIIO::TypeUInt8), {90 / 255.0f});
    render("in.png", "out.png", {"--downsample", "3", "--to", "0,0 12,0 0,12 12,12"});
    auto const small = readPicture<std::uint8_t>(at("out.png"));
    EXPECT_EQ(std::pair(small.width, small.height), std::pair(8, 4));
    EXPECT_EQ(small.values[0], 90);
    EXPECT_EQ(small.at(2, 2, 3), 255);  // 4 by 4 pixels of 12 by 12
    EXPECT_EQ(small.at(6, 1, 3), 0);
}

TEST_F(Files, ParamsHelpAndVersionGoToStandardOutput) {
    Words const help = {"Usage: zelk", "Examples:", "Exit codes:", "\n  4  "};
    for (auto const& [words, told] :
         {std::pair<Words, Words>{{"--help"}, help},
          {{"help", "render"}, {"Usage: zelk render", "--in-place"}},
          {{"--version"}, {"zelk "}},
          {{"filters"}, {"mitchell          20        2  no             yes", "kaiser"}},
          {{"filters", "sinc", "--plot", "plot.png"}, {"sinc              16     none  yes"}},
          {{"params", "--resource"},
           {"Quorvane Zelk Corner Pin\n", "EntryPointFunc", "0x80600", "0x6088001", "0x1408"}},
          {{"params"},
           {"Super Sample Softnesss", "-1000 to 1000 (slider -100 to 100)", "#ffff32", "100%,100%",
            "5 Add, 6 Multiply", "cannot-time-vary supervised", "% of quad  ", "degrees  "}}}) {
        Outcome const outcome = run(words);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        for (std::string const& word : told) EXPECT_TRUE(has(outcome.out, word)) << word;
    }
    auto const resource = nlohmann::json::parse(run({"params", "--resource", "--json"}).out);
    EXPECT_EQ(resource["matchName"], "QV Zelk Corner Pin") << "stored projects know it";
    auto const list = nlohmann::json::parse(run({"params", "--json", "--host", "KeyG"}).out);
    ASSERT_EQ(list.size(), 63u);
    for (auto const& [place, value] : {std::pair<char const*, nlohmann::json>{"/62/index", 62},
                                       {"/49/kind", "fixed slider"},
                                       {"/49/diskId", 186},
                                       {"/49/valid/max", 5},
                                       {"/24/default/xPercent", 100},
                                       {"/6/unit", "px of frame"},
                                       {"/24/unit", "px of layer"},
                                       {"/37/unit", "#rrggbb"},
                                       {"/44/unit", "degrees"}})
        EXPECT_EQ(list[nlohmann::json::json_pointer(place)], value) << place;
    EXPECT_EQ(list[55]["choices"].size(), 2u);
    for (auto const& control : list)
        EXPECT_EQ(control.contains("default"), control.contains("unit")) << control;
}

#if !defined(__SANITIZE_ADDRESS__)  // its shadow memory would count as well
// The layer, the output, two images of the effect's own and 100 MB for all the rest.
TEST_F(Files, APictureOf4KIsNotInMemoryTwice) {
    constexpr int kWidth = 3840, kHeight = 2160;
    constexpr double kRasterMb = kWidth * kHeight * 16 / 1e6;
    writeValues(at("in.exr"), OIIO::ImageSpec(kWidth, kHeight, 4, OIIO::TypeFloat), {0.5f});
    Outcome const outcome =
        run({"render", "in.exr", "-o", "out.exr", "--to", "100,60 3500,-40 300,2100 3900,2000"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_LE(outcome.peakMb, 4 * kRasterMb + 100);
}
#endif

}  // namespace
}  // namespace zelk_test

// Whole runs of `zelk render` and `zelk params` with the real effect: every kind of picture at
// every quality, what comes back unchanged, warnings, reduced resolution and memory.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/apps/zelk_process.h"

namespace zelk_test {
namespace {

using Files = ZelkTest;

template <class T>
bool isEmpty(Picture<T> const& picture) {
    return std::all_of(picture.values.begin(), picture.values.end(), [](T v) { return v == 0; });
}

/// Four channels of any count: grey thrice, missing alpha opaque.
std::vector<std::uint8_t> asRgba(Picture<std::uint8_t> const& picture) {
    std::vector<std::uint8_t> rgba;
    int const n = picture.channels;
    for (int i = 0; i < picture.width * picture.height; ++i) {
        for (int c = 0; c < 3; ++c) rgba.push_back(picture.at(i, 0, n < 3 ? 0 : c));
        rgba.push_back(n % 2 == 0 ? picture.at(i, 0, n - 1) : 255);
    }
    return rgba;
}

TEST_F(Files, TheOriginalViewGivesBackAnEightBitPngBitForBit) {
    for (int channels = 1; channels <= 4; ++channels) {
        for (char const* host : {"FXTC", "PrMr", "KeyG", "MOTN"}) {  // PrMr: blue first
            auto const picture = noise<std::uint8_t>(37, 23, channels, 11u + channels);
            writePicture(at("in.png"), picture);
            copy("in.png", "out.png", {"--host", host});
            auto const back = readPicture<std::uint8_t>(at("out.png"));
            EXPECT_EQ(back.format, "uint8");
            EXPECT_EQ(back.values, asRgba(picture)) << channels << host;
        }
    }
}

// A step of the host's 16 bits is two of the file's: float loses none.
TEST_F(Files, SixteenBitsGoThroughFloatUnchanged) {
    writePicture(at("in.png"), noise<std::uint16_t>(31, 17, 4, 77));
    copy("in.png", "out.png", {"--depth", "float"});
    EXPECT_EQ(readPicture<std::uint16_t>(at("out.png")), readPicture<std::uint16_t>(at("in.png")));
}

// Every quality takes every kind and keeps its size and depth; pins far out of the frame leave
// nothing of it.
TEST_F(Files, EveryKindOfPictureRendersAtEveryQuality) {
    struct Kind {
        char const* file;
        int width, height, channels;
        char const* type;
    };
    for (Kind const& kind : {Kind{"pixel.png", 1, 1, 4, "uint8"},
                             {"column.png", 1, 9, 3, "uint8"},
                             {"row.png", 9, 1, 4, "uint16"},
                             {"grey.png", 16, 12, 1, "uint8"},
                             {"alpha.png", 2, 2, 2, "uint8"},
                             {"rgb.tif", 16, 12, 3, "uint8"},
                             {"deep.tif", 16, 12, 4, "uint16"},
                             {"many.exr", 16, 12, 5, "half"},
                             {"tiny.exr", 1, 1, 3, "half"}}) {
        auto const in = noise<float>(kind.width, kind.height, kind.channels, 3);
        writePicture(at(kind.file), in, kind.type);
        std::string const out = std::string("out-") + kind.file;
        for (char const* quality : {"low", "medium", "high", "super"}) {
            SCOPED_TRACE(out + " " + quality);
            EXPECT_EQ(render(kind.file, out, {"--quality", quality}),
                      kind.channels == 5
                          ? "zelk: warning: many.exr: channels dropped: \"channel4\"\n"
                          : "");
            auto const picture = readPicture<float>(at(out));
            EXPECT_EQ(picture.format, kind.type);
            EXPECT_EQ(std::tuple(picture.width, picture.height, picture.channels),
                      std::tuple(kind.width, kind.height, 4));
            EXPECT_FALSE(isEmpty(picture));
            render(kind.file, out,
                   {"--quality", quality, "--to", "500,500 600,510 490,600 620,640"});
            EXPECT_TRUE(isEmpty(readPicture<float>(at(out))));
        }
    }
    EXPECT_EQ(files().size(), 18u);  // an input and an output each
}

// The warning mirrors the engine: exactly then the frame is empty.
TEST_F(Files, UnusablePinsWarnOnceAndGiveATransparentFrame) {
    writePicture(at("in.png"), noise<std::uint8_t>(20, 20, 3, 9));
    std::string const tie = "0,0 20,20 0,20 20,0", line = "0,0 5,5 10,10 20,20",
                      good = "1,1 19,2 2,18 17,17", whole = "0,0 20,0 0,20 20,20";
    auto const offset = [](std::string const& pins) {
        return Words{"--set", pins + "-upper-left-offset-x=100", "--set",
                     pins + "-upper-left-offset-y=100"};
    };
    struct Case {
        Words options, fragments;  ///< no fragments for no warning
    };
    for (Case const& c :
         {Case{{"--to", tie}, {"To Pins", "both ways"}},
          {{"--to", line, "--view", "to"}, {"To Pins", "one line"}},
          {{"--to", "5,5 5,5 5,5 5,5"}, {"To Pins", "one point"}},
          {{"--from", tie, "--to", good}, {"From Pins", "both ways"}},
          {{"--from", tie}, {"From Pins", "To Pins"}},
          {{"--from", line, "--to", good, "--view", "from"}, {"From Pins"}},
          {{"--from", tie, "--to", good, "--set", "crop-to-pins=on"}, {"From Pins"}},
          {offset("to"), {"To Pins"}},
          {{"--from", tie, "--to", good, "--view", "to"}, {}},
          {{"--from", good, "--to", tie, "--view", "from"}, {}},
          {{"--from", tie, "--to", tie, "--view", "original"}, {}},
          // The first of two passes is left out for whole From Pins, their offsets with it.
          {joined({"--view", "from"}, offset("from")), {}},
          {joined({"--from", whole, "--to", good, "--set", "crop-to-pins=on"}, offset("from")),
           {}}}) {
        std::string const said = render("in.png", "out.png", c.options);
        SCOPED_TRACE(testing::PrintToString(c.options) + said);
        bool const isTold = !c.fragments.empty();
        EXPECT_EQ(lines(said), isTold ? 1 : 0);
        EXPECT_EQ(said.starts_with("zelk: warning: "), isTold);
        for (std::string const& fragment : c.fragments) EXPECT_TRUE(has(said, fragment));
        EXPECT_EQ(isEmpty(readPicture<std::uint8_t>(at("out.png"))), isTold);
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
          {{"render", "--help"}, help},
          {{"params", "-h"}, help},
          {{"--version"}, {"zelk "}},
          {{"params", "--resource"},
           {"Quorvane Zelk Corner Pin\n", "EntryPointFunc", "0x80600", "0x6088001", "0x1408"}},
          {{"params"},
           {"super-sample-softness", "Super Sample Softnesss", "Lower  Left From",
            "-1000 to 1000 (slider -100 to 100)", "#ffff32", "100%,100%", "5 Add, 6 Multiply",
            "cannot-time-vary supervised"}}}) {
        Outcome const outcome = run(words);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        for (std::string const& word : told) EXPECT_TRUE(has(outcome.out, word)) << word;
    }
    auto const resource = nlohmann::json::parse(run({"params", "--resource", "--json"}).out);
    EXPECT_EQ(resource["matchName"], "QV Zelk Corner Pin") << "stored projects know it";
    for (auto const& [host, kind, blurs] :
         {std::tuple("FXTC", "float slider", 3), std::tuple("KeyG", "fixed slider", 2)}) {
        auto const list = nlohmann::json::parse(run({"params", "--json", "--host", host}).out);
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
    RecordProperty("peakMb", std::to_string(outcome.peakMb));
}
#endif

}  // namespace
}  // namespace zelk_test

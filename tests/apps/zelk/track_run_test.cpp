// `zelk track` as a process: what is printed, drawn and written, and what stays as it was.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

char const* const kCsv =
    "# size 640x360\nframe,ul_x,ul_y,ur_x,ur_y,ll_x,ll_y,lr_x,lr_y\n"
    "7,100,50,500,60,110,300,510,310\n8,102,50,502,60,112,300,512,310\n";

using TrackRun = ZelkTest;

TEST_F(TrackRun, ConvertsThereAndBackAndKeepsWhatIsThere) {
    put("in.csv", kCsv);
    done("track convert in.csv a.txt --first-frame 0 --flip-y"_words);
    auto const shown = nlohmann::json::parse(run({"track", "a.txt", "--json"}).out);
    for (auto const& [place, value] : {std::pair<char const*, nlohmann::json>{"/format", "mocha"},
                                       {"/size", {640, 360}},
                                       {"/frames/count", 2},
                                       {"/firstQuad/frame", 0},
                                       {"/firstQuad/corners/upper left", {100, 310}},
                                       {"/issues/0/kind", "upside-down"},
                                       {"/issues/0/fix", "--flip-y"}})
        EXPECT_EQ(shown[nlohmann::json::json_pointer(place)], value) << place;
    auto const back = run("track convert a.txt b.csv --flip-y --shift-frames 7"_words);
    EXPECT_EQ(back.out, "b.csv: csv, 2 frames, 7 to 8\n");
    EXPECT_EQ(bytesOf("b.csv"), std::string(kCsv).insert(15, "# rate 24\n"));

    EXPECT_EQ(run("track convert a.txt b.csv"_words).exitCode, 4);
    put("bad.csv", "frame,ul_x\n");
    EXPECT_EQ(run("track convert bad.csv b.csv --force"_words).exitCode, 3);
    EXPECT_EQ(bytesOf("b.csv").size(), std::string(kCsv).size() + 10);
    done(
        "track convert in.csv b.csv --force --pixel-aspect 10/20 --corners ur,ul,lr,ll --rate 24000/1001"_words);
    EXPECT_NE(bytesOf("b.csv").find("7,250,60,50,50,255,310,55,300\n"), std::string::npos);
    EXPECT_NE(bytesOf("b.csv").find("# size 320x360\n# rate 23.976023976"), std::string::npos);
}

TEST_F(TrackRun, AProjectTakesTheTrackForItsPins) {
    put("in.csv", kCsv);
    put("l.ppm", "P6 3 2 255\n" + std::string(18, 'x'));
    put("plate.ppm", "P6 640 360 255\n" + std::string(640 * 360 * 3, 'x'));
    done("project new p.zelk.json --layer l.ppm --plate plate.ppm --size 64x36 --frames 7-8"_words);
    done("project import-track p.zelk.json in.csv"_words);
    auto const pins = nlohmann::json::parse(bytesOf("p.zelk.json"))["parameters"];
    for (auto const& [place, value] :
         {std::pair<char const*, nlohmann::json>{"/to-upper-left/keys/0/frame", 7},
          {"/to-upper-left/keys/0/value", {100, 50}},
          {"/to-upper-right/keys/1/value", {502, 60}},
          {"/to-lower-left/keys/1/value", {112, 300}},
          {"/to-lower-right/keys/1/value", {512, 310}},
          {"/to-lower-right/keys/1/frame", 8}})
        EXPECT_EQ(pins.value(nlohmann::json::json_pointer(place), nlohmann::json()), value)
            << place;
}

// The colours of paths and quads, where they must be and nowhere else.
TEST_F(TrackRun, ThePlotHasPathsInTheFrameAndALegendBelow) {
    put("in.csv", kCsv);
    done("track in.csv --plot paths.png"_words);
    auto const plot = readPicture<std::uint8_t>(at("paths.png"));
    ASSERT_EQ(std::tuple(plot.width, plot.height, plot.channels), std::tuple(640, 388, 3));
    EXPECT_GT(plot.at(300, 55, 0), 100);  // the upper edges of both quads
    EXPECT_LT(plot.at(300, 180, 0), 80);  // the middle
    EXPECT_LT(plot.at(630, 380, 0), 40);  // beside the legend
    EXPECT_EQ(run("track in.csv --plot paths.png --no-clobber"_words).exitCode, 4);
    done("track in.csv --plot over.png --over paths.png"_words);
}

// A render with tracks, against the same pins typed for one frame.
class TrackedRender : public ZelkTest {
protected:
    void SetUp() override {
        writePicture(at("l.png"), noise<std::uint8_t>(16, 12, 4, 1));
        for (int n = 1001; n <= 1004; ++n)
            writePicture(at("p." + std::to_string(n) + ".png"),
                         noise<std::uint8_t>(64, 36, 3, unsigned(n)));
        render("l.png", "typed.png", {"--over", "p.1003.png", "--to", "12,5 50,6 11,30 51,31"});
    }
    static std::string row(int frame, char const* separator, std::initializer_list<int> numbers) {
        std::string text = std::to_string(frame);
        for (int const number : numbers) text += separator + std::to_string(number);
        return text + "\n";
    }
    void expectTyped(std::string const& track, std::string const& options) const {
        Words words = "render l.png --over p.####.png -o t.%d.png --progress none"_words;
        words.insert(words.end(), {"--track", track});
        if (!options.empty()) words = joined(words, split(options, ' '));
        done(words);
        EXPECT_EQ(readPicture<std::uint8_t>(at("t.1003.png")),
                  readPicture<std::uint8_t>(at("typed.png")))
            << track << " " << options;
    }
};

TEST_F(TrackedRender, ReadsItAsItIsTold) {
    std::string const names = "frame,ul_x,ul_y,ur_x,ur_y,ll_x,ll_y,lr_x,lr_y\n";
    std::string plain = names, turned = names, large = "# size 128x72\n" + names, below = names;
    for (int i = 1; i <= 4; ++i) {
        int const x = 9 + i;
        plain += row(i, ",", {x, 5, 38 + x, 6, x - 1, 30, 39 + x, 31});
        turned += row(i, ",", {38 + x, 6, x, 5, 39 + x, 31, x - 1, 30});
        large += row(1000 + i, ",", {2 * x, 10, 76 + 2 * x, 12, 2 * x - 2, 60, 78 + 2 * x, 62});
        below += row(1000 + i, ",", {x, 31, 38 + x, 30, x - 1, 6, 39 + x, 5});
    }
    put("plain.csv", plain), put("turned.csv", turned), put("large.csv", large);
    put("below.csv", below);
    expectTyped("plain.csv", "--track-first-frame 1001");
    expectTyped("plain.csv", "--shift-frames 1000 --track-size 64x36 --track-format csv");
    expectTyped("turned.csv", "--corners ur,ul,lr,ll --shift-frames 1000");
    expectTyped("large.csv", "");
    expectTyped("below.csv", "--flip-y --track-size 64x36");
    // Before the track and in a project it is the same.
    Words const project =
        "project new a.zelk.json --shift-frames 1000 --corners ur,ul,lr,ll "
        "--track turned.csv --layer l.png --plate p.####.png -o t.%d.png"_words;
    done(project);
    done("render --project a.zelk.json --progress none"_words);
    EXPECT_EQ(readPicture<std::uint8_t>(at("t.1003.png")),
              readPicture<std::uint8_t>(at("typed.png")));
    EXPECT_TRUE(has(bytesOf("a.zelk.json"), R"("corners": "ur,ul,lr,ll", "shiftFrames": 1000)"));
    EXPECT_EQ(run("project show a.zelk.json --json"_words).out, bytesOf("a.zelk.json"));
    EXPECT_TRUE(has(run("project show a.zelk.json"_words).out,
                    "turned.csv, corners ur,ul,lr,ll, frames shifted by 1000\n"));

    for (auto const& [track, options, told] :
         {std::tuple("plain.csv", "",
                     "one quad would stand still in all of them; correct it by "
                     "`--track-first-frame 1001`"),
          {"turned.csv", "--shift-frames 1000", "correct it by `--corners ur,ul,lr,ll`"},
          {"below.csv", "", "correct it by `--flip-y --track-size WxH`"},
          {"below.csv", "--flip-y", "--track-size WxH"}})
        expectRefusal(joined("render l.png --over p.####.png -o t.%d.png --track"_words,
                             joined({track}, *options ? split(options, ' ') : Words())),
                      3, {track, told});
    // A right track that an order turns over, and the order that undoes both.
    for (auto const& [order, told] : {std::pair("ur,ul,lr,ll", "`--corners ul,ur,ll,lr`"),
                                      {"ul,ll,ur,lr", "`--corners ul,ur,ll,lr`"}}) {
        Words words =
            "render l.png --over p.####.png -o t.%d.png --progress none --track plain.csv "
            "--track-first-frame 1001 --corners"_words;
        EXPECT_TRUE(has(done(joined(words, {order})), told)) << order;
    }
    // A part of the shot that the track does not reach is rendered as the whole shot renders it.
    put("short.csv", large.substr(0, large.find("\n1003") + 1));
    done(
        "render l.png --over p.####.png -o t.%d.png --progress none --frames 1004 --track "
        "short.csv"_words);
}

TEST_F(TrackedRender, ASinglePlateShowsTheFrameOfItsNumber) {
    std::string track = "frame,ul_x,ul_y,ur_x,ur_y,ll_x,ll_y,lr_x,lr_y\n";
    for (int x = 10; x < 14; ++x)
        track += row(991 + x, ",", {x, 5, 38 + x, 6, x - 1, 30, 39 + x, 31});
    put("t.csv", track);
    for (char const* name : {"p.0007.png", "x_v1003.png", "p.03.png"})
        std::filesystem::copy(at("p.1003.png"), at(name));
    auto const typed = readPicture<std::uint8_t>(at("typed.png"));
    for (auto const& [words, isOwn, isTold] : {std::tuple("p.1003.png", true, false),
                                               {"p.1003.png --frames 1001", false, false},
                                               {"p.1003.png --shift-frames -1001", false, true},
                                               {"p.0007.png", false, true},
                                               {"x_v1003.png", false, false},
                                               {"p.03.png", false, false}}) {
        std::string const told =
            done(joined("render l.png -o o.png --track t.csv --over"_words, split(words, ' ')));
        EXPECT_EQ(readPicture<std::uint8_t>(at("o.png")) == typed, isOwn) << words;
        EXPECT_EQ(has(told, "--track-first-frame numbers the track"), isTold) << words << told;
    }
}

TEST_F(TrackedRender, HeadingsThatMirrorTheLayerAreRefused) {
    std::string text = "Keyframe Data\n\tSource Width\t64\n\tSource Height\t36\n";
    for (auto const& [name, x, y] : {std::tuple("Upper Left", 12, 5),
                                     {"Upper Right", 50, 6},
                                     {"Lower Left", 11, 30},
                                     {"Lower Right", 51, 31}}) {
        text += std::string("Effects\tCorner Pin\t") + name + "\n";
        for (int i = -2; i < 2; ++i) text += row(1003 + i, "\t", {x + i, y});
    }
    put("words.txt", text);
    expectTyped("words.txt", "--track-format keyframes");
    Words const words = "render l.png --over p.####.png -o t.%d.png --track words.txt"_words;
    expectRefusal(words, 3, {"`--track-format keyframes`"});
    done(joined(words, {"--track-format", "mocha", "--progress", "none"}));  // it is meant so
}

// Pins scale along: the proxy is the frame's block means, but for the edges.
TEST_F(TrackedRender, AProxyOverAPlateIsTheFrameReduced) {
    writeValues(at("flat.png"), OIIO::ImageSpec(64, 36, 3, OIIO::TypeUInt8), {0.2f});
    writeValues(at("white.png"), OIIO::ImageSpec(32, 24, 3, OIIO::TypeUInt8), {0.8f});
    Words const pinned = {"--over", "flat.png", "--to", "12,8 52,8 12,32 52,32"};
    render("white.png", "whole.png", pinned);
    render("white.png", "half.png", joined(pinned, {"--downsample", "2"}));
    auto const whole = readPicture<std::uint8_t>(at("whole.png")),
               half = readPicture<std::uint8_t>(at("half.png"));
    ASSERT_EQ(std::pair(half.width, half.height), std::pair(32, 18));
    for (int y = 0; y < 18; ++y)
        for (int x = 0; x < 32; ++x) {
            bool const isEdge = x % 20 == 5 || x % 20 == 6 || y % 12 == 3 || y % 12 == 4;
            EXPECT_TRUE(isEdge || half.at(x, y, 0) == whole.at(2 * x, 2 * y, 0)) << x << " " << y;
        }
    EXPECT_TRUE(
        has(render("white.png", "x.png", {"--over", "flat.png", "--to", "12,8 52,8 52,32 12,32"}),
            "the last two the other way make a plain quad"));
}

}  // namespace
}  // namespace zelk_test

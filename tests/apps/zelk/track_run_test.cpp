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

}  // namespace
}  // namespace zelk_test

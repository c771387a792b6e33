// `zelk track` as a process: what is printed, drawn and written, and what stays as it was.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/apps/zelk_process.h"

namespace zelk_test {
namespace {

char const* const kCsv =
    "# size 640x360\nframe,ul_x,ul_y,ur_x,ur_y,ll_x,ll_y,lr_x,lr_y\n"
    "7,100,50,500,60,110,300,510,310\n8,102,50,502,60,112,300,512,310\n";

using TrackRun = ZelkTest;

TEST_F(TrackRun, ConvertsThereAndBackAndKeepsWhatIsThere) {
    put("in.csv", kCsv);
    ASSERT_EQ(
        run({"track", "convert", "in.csv", "a.txt", "--first-frame", "0", "--flip-y"}).exitCode, 0);
    auto const shown = nlohmann::json::parse(run({"track", "a.txt", "--json"}).out);
    for (auto const& [place, value] : {std::pair<char const*, nlohmann::json>{"/format", "mocha"},
                                       {"/size", {640, 360}},
                                       {"/frames/count", 2},
                                       {"/firstQuad/frame", 0},
                                       {"/firstQuad/corners/upper left", {100, 310}},
                                       {"/issues/0/kind", "upside-down"},
                                       {"/issues/0/mend", "--flip-y"}})
        EXPECT_EQ(shown[nlohmann::json::json_pointer(place)], value) << place;
    auto const back =
        run({"track", "convert", "a.txt", "b.csv", "--flip-y", "--shift-frames", "7"});
    EXPECT_EQ(back.out, "b.csv: csv, 2 frames, 7 to 8\n");
    EXPECT_EQ(bytesOf("b.csv"), std::string(kCsv).insert(15, "# rate 24\n"));

    EXPECT_EQ(run({"track", "convert", "a.txt", "b.csv"}).exitCode, 4);
    put("bad.csv", "frame,ul_x\n");
    EXPECT_EQ(run({"track", "convert", "bad.csv", "b.csv", "--force"}).exitCode, 3);
    EXPECT_EQ(bytesOf("b.csv").size(), std::string(kCsv).size() + 10);
    EXPECT_EQ(run({"track", "convert", "in.csv", "b.csv", "--force", "--pixel-aspect", "10/20",
                   "--corners", "ur,ul,lr,ll"})
                  .exitCode,
              0);
    EXPECT_NE(bytesOf("b.csv").find("7,250,60,50,50,255,310,55,300\n"), std::string::npos);
    EXPECT_NE(bytesOf("b.csv").find("# size 320x360\n"), std::string::npos);
}

// The colours of paths and quads, where they must be and nowhere else.
TEST_F(TrackRun, ThePlotHasPathsInTheFrameAndALegendBelow) {
    put("in.csv", kCsv);
    ASSERT_EQ(run({"track", "in.csv", "--plot", "paths.png"}).exitCode, 0);
    auto const plot = readPicture<std::uint8_t>(at("paths.png"));
    ASSERT_EQ(plot.width, 640);
    ASSERT_EQ(plot.height, 388);
    ASSERT_EQ(plot.channels, 3);
    auto const redAt = [&](int x, int y) {
        return int(plot.values[static_cast<std::size_t>(y * plot.width + x) * 3]);
    };
    EXPECT_GT(redAt(300, 55), 100);  // the upper edges of both quads
    EXPECT_LT(redAt(300, 180), 80);  // the middle
    EXPECT_LT(redAt(630, 380), 40);  // beside the legend
    EXPECT_EQ(run({"track", "in.csv", "--plot", "paths.png", "--no-clobber"}).exitCode, 4);
    EXPECT_EQ(run({"track", "in.csv", "--plot", "over.png", "--over", "paths.png"}).exitCode, 0);
}

}  // namespace
}  // namespace zelk_test

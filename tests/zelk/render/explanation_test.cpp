// `--explain`: what the render tells of itself, against what can be known beforehand.
#include <nlohmann/json.hpp>

#include "tests/support/zelk_process.h"
#include "zelk/render/quad_map.h"

namespace zelk_test {
namespace {

using Json = nlohmann::json;

class Explain : public ZelkTest {
protected:
    void SetUp() override { writePicture(at("in.png"), noise<std::uint8_t>(60, 40, 3, 5)); }
    Json explain(Words const& options, std::string const& out = "out.png") {
        Outcome const outcome =
            run(joined({"render", "in.png", "--explain", "json", "-o", out}, options));
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return Json::parse(outcome.out);
    }
};

TEST_F(Explain, MatrixSendsTheCornersToThePins) {
    double const to[4][2] = {{6.5, 4}, {54, 1}, {3, 39}, {58, 35}};
    Json const told = explain({"--to", "6.5,4 54,1 3,39 58,35"});
    ASSERT_EQ(told["passes"].size(), 1u);
    for (int corner = 0; corner < 4; ++corner) {
        auto const matrix = told["passes"][0]["matrix"].get<zelk::PlaneMatrix>();
        auto const [x, y] = zelk::mapped(matrix, {corner % 2 * 60.0, corner / 2 * 40.0}).value();
        // The view distance is rounded to single precision: 2^-24 of the way from the centre.
        EXPECT_NEAR(x, to[corner][0], 60 * 0x1p-23);
        EXPECT_NEAR(y, to[corner][1], 60 * 0x1p-23);
    }
    for (auto const& [key, value] : {std::pair<char const*, Json>{"road", "module"},
                                     {"filter", "parzen"},
                                     {"taps", 4},
                                     {"scan", "area"}})
        EXPECT_EQ(told[key], value);
    // The quad's area is 1787.25 pixels: as many are whole, but for a border of its perimeter.
    double const any = told["coveredPixels"]["any"], whole = told["coveredPixels"]["whole"];
    EXPECT_GT(any, 1787.25);
    EXPECT_LT(whole, 1787.25);
    EXPECT_LT(any - whole, 2 * (2 * (60 + 40)));
    for (char const* stage : {"setup", "read", "render", "write"})
        EXPECT_GE(told["milliseconds"][stage].get<double>(), 0) << stage;
}

TEST_F(Explain, PassesScanAndRoadFollowTheOptions) {
    EXPECT_EQ(explain({"--view", "original"})["passes"].size(), 0u);
    Words const crop = {"--set", "crop-to-pins=on"};
    EXPECT_EQ(explain(joined(crop, {"--from", "5,5 50,0 0,40 60,38"}))["passes"].size(), 2u);
    EXPECT_EQ(explain(crop)["passes"].size(), 1u) << "first one left out";
    for (auto const& [options, place, value] :
         {std::tuple<Words, char const*, Json>{{"--quality", "low"}, "/scan", "plain"},
          {{"--downsample", "3"}, "/filter", "nearest"},
          {{"--to", "5,5 5,5 5,5 5,5"}, "/passes/0/drawn", false},
          {{"--to", "5,5 5,5 5,5 5,5"}, "/coveredPixels/any", 0},
          {{"--size", "90x80"}, "/road", "memory"},
          {{"--size", "90x80"}, "/frame/width", 90},
          {{"--size", "90x80"}, "/depth/rendered", "float"},
          {{"--size", "90x80"}, "/depth/written", "uint8"},
          {{"--host", "PrMr", "--threads", "2"}, "/threads", 1},
          {{"--threads", "2"}, "/threads", 2}})
        EXPECT_EQ(explain(options)[Json::json_pointer(place)], value) << place;
    EXPECT_EQ(explain({"--depth", "float"}, "out.jpg")["depth"]["written"], "uint8");
}

TEST_F(Explain, AloneItIsTextAndTakesNoFileForItsForm) {
    Outcome const outcome = run({"render", "--explain", "in.png", "-o", "out.png"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("road      module\n")) << outcome.out;
    EXPECT_EQ(run({"render", "in.png", "-o", "out.png", "--explain=yaml"}).exitCode, 2);
}

/// As text the first frame is whole, and of the others stands what is another.
TEST_F(Explain, OfASequenceJsonHasEachFrameWhole) {
    Words const sequence = "render in.png -o o.%d.png --frames 1-3 --explain"_words;
    std::istringstream lines(run(joined(sequence, {"json"})).out);
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        Json const told = Json::parse(line);
        EXPECT_EQ(told["number"], ++count);
        EXPECT_GT(told["coveredPixels"]["any"], 0);
        EXPECT_TRUE(told["milliseconds"].contains("write"));
    }
    EXPECT_EQ(count, 3);
    std::string const text = run(sequence).out;
    EXPECT_TRUE(text.starts_with("frame 1\nroad      module\n")) << text;
    EXPECT_TRUE(has(text, "\nframe 2\nframe 3\nframes    3\nread ")) << text;
}

}  // namespace
}  // namespace zelk_test

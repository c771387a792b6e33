// Whole runs over many frames: files, keyframes, missing inputs, movies, and the same bits however
// a frame is reached.
#include <algorithm>
#include <cstdlib>
#include "tests/support/zelk_process.h"
#include "zelk/movies/frames.h"

namespace zelk_test {
namespace {

char const* const kProject = R"({
  "schema": "zelk-project", "version": 1,
  "comp": {"width": 40, "height": 30, "rate": 25, "startFrame": 1001, "duration": 6},
  "layer": "layer.png", "plate": "plate.####.png", "output": "out.####.exr",
  "render": {"depth": "float"},
  "parameters": {
    "quality": {"value": "Medium"},
    "to-upper-left": {"keys": [{"frame": 1001, "value": [2, 3]}, {"frame": 1006, "value": [15, 6]}]},
    "to-upper-right": {"value": [30, 4]},
    "to-lower-left": {"value": [3, 25]},
    "to-lower-right": {"value": [32, 28]},
    "rotate": {"keys": [{"frame": 1001, "value": 0, "interpolation": "bezier"},
                        {"frame": 1006, "value": 40}]}}})";

std::string numbered(std::string const& stem, int number, char const* extension = ".png") {
    return stem + "." + std::to_string(number) + extension;
}

class Sequence : public ZelkTest {
protected:
    void SetUp() override {
        put("p.zelk.json", kProject);
        writePicture(at("layer.png"), noise<std::uint8_t>(16, 12, 4, 1));
        for (int frame = 1001; frame <= 1006; ++frame)
            writePicture(at(numbered("plate", frame)),
                         noise<std::uint8_t>(40, 30, 3, unsigned(frame)));
    }
    void expectProject(Words const& options, int exitCode, std::string const& told = "") {
        Outcome const outcome = run(joined({"render", "--project", "p.zelk.json"}, options));
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
        EXPECT_TRUE(has(outcome.out + outcome.err, told)) << outcome.out << outcome.err;
    }
    auto frame(std::string const& stem, int number) const {
        return readPicture<float>(at(numbered(stem, number, ".exr")));
    }
    auto countOf(std::string const& stem) const {
        auto const names = files();
        return std::count_if(names.begin(), names.end(),
                             [&](auto const& name) { return name.starts_with(stem + "."); });
    }
};

// Over plates, and through all of the composition in a transparent frame.
TEST_F(Sequence, AFrameIsTheSameHoweverItIsReached) {
    for (Words const& size : {Words(), {"--size", "40x30"}}) {
        auto const renderTo = [&](std::string const& stem, Words const& options) {
            Words const common = {"-o", stem + ".####.exr", "--motion-blur", "4"};
            expectProject(joined(joined(common, size), options), 0);
        };
        renderTo("all", {});
        renderTo("back", {"--frames", "1006-1001x-1", "--in-flight", "1", "--threads", "1"});
        renderTo("alone", {"--frames", "1004"});
        for (int n = 1001; n <= 1006; ++n) EXPECT_EQ(frame("all", n), frame("back", n)) << n;
        EXPECT_EQ(frame("all", 1004), frame("alone", 1004));
        EXPECT_NE(frame("all", 1004), frame("all", 1001));
    }
}

// Both roads at a keyed moment between the ends, with the composition's shutter on and off.
TEST_F(Sequence, BothRoadsReadTheSameKeyframesAndShutter) {
    put("own.zelk.json", R"({"schema": "zelk-project", "version": 1, "layer": "layer.png",
        "comp": {"width": 16, "height": 12, "rate": 25, "startFrame": 1001, "duration": 6},
        "parameters": {"to-upper-left": {"keys": [
        {"frame": 1001, "value": [0, 0]}, {"frame": 1006, "value": [8, 3]}]}}})");
    for (Words const& blur : {Words(), {"--motion-blur", "5", "--shutter", "270,-30"}}) {
        for (std::string const road : {"module", "memory"})
            render("layer.png", road + ".####.exr",
                   joined(blur, {"--road", road, "--frames", "1003", "--depth", "float",
                                 "--project", "own.zelk.json"}));
        EXPECT_EQ(frame("module", 1003), frame("memory", 1003));
    }
}

// On the module road each frame has its own file's depth.
TEST_F(Sequence, FilesOfUnlikeDepthsKeepTheirOwn) {
    writePicture(at("d.1.png"), noise<std::uint8_t>(16, 12, 4, 1));
    writePicture(at("d.2.png"), noise<std::uint16_t>(16, 12, 4, 2));
    for (auto const& [frames, output] : {std::pair("1-2", "both.%d.png"), {"2", "alone.%d.png"}})
        render("d.%d.png", output, {"--frames", frames, "--to", "1,1 13,2 2,11 14,10"});
    EXPECT_EQ(readPicture<std::uint16_t>(at("both.2.png")),
              readPicture<std::uint16_t>(at("alone.2.png")));
    expectRefusal({"render", "d.1.png", "-o", "d.%d.png", "--frames", "1-3"}, 2,
                  {"other frames read"});
}

TEST_F(Sequence, MissingInputsByPolicy) {
    std::filesystem::remove(at("plate.1003.png"));
    for (auto const& [mode, code, written, told] :
         {std::tuple("stop", 3, 2, "plate.1003.png: no such file"),
          {"skip", 0, 5, "5 frames written, 1 skipped"},
          {"hold", 0, 6, "6 frames written"},
          {"black", 0, 6, "6 frames written"}}) {
        std::string const stem = mode;
        expectProject({"-o", stem + ".####.exr", "--missing", mode, "--progress", "plain"}, code,
                      told);
        EXPECT_EQ(countOf(stem), written);
    }
    expectProject(
        "--frames 1001-1006 --progress json"_words, 3,
        R"("event":"failure","frame":1003,"file":"plate.1003.png","message":"plate.1003.png: no such file)");
    auto const held = frame("hold", 1003), black = frame("black", 1003);
    EXPECT_EQ(black.at(39, 0, 0), 0) << "upper right, beside the layer";
    EXPECT_EQ(held.at(39, 0, 0), frame("hold", 1002).at(39, 0, 0));
}

// A stand-in for the program fails with words.
TEST_F(Sequence, AMovieTakesItsPlaceWhole) {
    put("m.mov", "earlier");
    putProgram("ffmpeg", "cat > /dev/null; echo no such codec >&2; exit 1");
    expectProject({"-o", "m.mov"}, 4, "no such codec");
    expectProject("-o m.mov --progress json"_words, 4, R"("event":"failure")");
    EXPECT_EQ(bytesOf("m.mov"), "earlier");
    ::setenv("PATH", "/nowhere", 1);
    expectProject({"-o", "n.mp4"}, 4, "the package ffmpeg");
    EXPECT_EQ(countOf("n"), 0);
}

// A lossless movie gives its pictures back to the bit, in a range, alone and backwards.
TEST_F(Sequence, ALosslessMovieIsReadAsItWasWritten) {
    ASSERT_TRUE(zelk::MovieFrames::isAvailable());
    for (int n = 1; n <= 5; ++n)
        writePicture(at(numbered("n", n)), noise<std::uint16_t>(20, 14, 4, unsigned(n)));
    for (char const* out : {"n.mkv", "file.%d.png"})  // both in the host's 15 bits
        copy("n.%d.png", out, "--frames 1-5 --color raw"_words);
    put("m.zelk.json", R"({"schema": "zelk-project", "version": 1, "layer": "n.mkv",
        "movieStart": 1, "comp": {"width": 20, "height": 14, "rate": 25, "startFrame": 1},
        "parameters": {"view-mode": {"value": "Original"}}})");
    for (auto const& [stem, frames] : {std::pair{"all", "1-5"}, {"back", "5-1x-1"}, {"one", "4"}})
        done({"render", "--project", "m.zelk.json", "-o", std::string(stem) + ".%d.png", "--frames",
              frames, "--color", "raw"});
    auto const picture = [&](std::string const& stem, int n) {
        return readPicture<std::uint16_t>(at(numbered(stem, n)));
    };
    for (int n = 1; n <= 5; ++n)
        for (char const* stem : {"all", "back"}) EXPECT_EQ(picture(stem, n), picture("file", n));
    EXPECT_EQ(picture("one", 4), picture("file", 4));
}

}  // namespace
}  // namespace zelk_test

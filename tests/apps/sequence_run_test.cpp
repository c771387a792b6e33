// Whole runs over many frames: files, keyframes, missing and broken inputs, going on where a run
// was cut off, and the same bits however a frame is reached.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/zelk/movie_frames.h"
#include "tests/apps/zelk_process.h"

namespace {

using zelk_test::noise;
using zelk_test::Outcome;
using zelk_test::Picture;
using zelk_test::readPicture;
using zelk_test::writePicture;

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

/// Of a stream that must hold one JSON object a line and nothing else.
std::vector<nlohmann::json> objects(std::string const& text) {
    std::vector<nlohmann::json> all;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        all.push_back(nlohmann::json::parse(line, nullptr, false));
        EXPECT_TRUE(all.back().is_object()) << line;
    }
    return all;
}

class Sequence : public zelk_test::ZelkTest {
protected:
    void SetUp() override {
        ZelkTest::SetUp();
        put("p.zelk.json", kProject);
        writePicture(at("layer.png"), noise<unsigned char>(16, 12, 4, 1));
        for (unsigned frame = 1001; frame <= 1006; ++frame)
            writePicture(at("plate." + std::to_string(frame) + ".png"),
                         noise<unsigned char>(40, 30, 3, frame));
    }
    Outcome project(std::vector<std::string> options) {
        std::vector<std::string> words = {"render", "--project", "p.zelk.json"};
        words.insert(words.end(), options.begin(), options.end());
        return run(words);
    }
    auto frame(std::string const& stem, int number) const {
        return readPicture<float>(at(stem + "." + std::to_string(number) + ".exr"));
    }
    int countOf(std::string const& stem) const {
        auto const names = files();
        return static_cast<int>(std::count_if(names.begin(), names.end(), [&](auto const& name) {
            return name.rfind(stem + ".", 0) == 0;
        }));
    }
};

// Over plates, and through all of the composition in a transparent frame.
TEST_F(Sequence, AFrameIsTheSameHoweverItIsReached) {
    for (std::string const kind : {"plate", "size"}) {
        std::vector<std::string> common = {"--motion-blur", "4", "--progress", "none"};
        if (kind == "size") common.insert(common.end(), {"--size", "40x30"});
        auto const render = [&](std::string const& stem, std::vector<std::string> options) {
            options.insert(options.end(), {"-o", stem + ".####.exr"});
            options.insert(options.end(), common.begin(), common.end());
            Outcome const outcome = project(options);
            EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        };
        render("all" + kind, {});
        render("back" + kind, {"--frames", "1006-1001x-1", "--in-flight", "1", "--threads", "1"});
        render("alone" + kind, {"--frames", "1004"});
        bool moves = false;
        for (int n = 1001; n <= 1006; ++n) {
            EXPECT_EQ(frame("all" + kind, n), frame("back" + kind, n)) << n;
            moves = moves || !(frame("all" + kind, n) == frame("all" + kind, 1001));
        }
        EXPECT_EQ(frame("all" + kind, 1004), frame("alone" + kind, 1004));
        EXPECT_TRUE(moves);
    }
}

// Both roads at a keyed moment between the ends, with the composition's shutter on and off.
TEST_F(Sequence, BothRoadsReadTheSameKeyframesAndShutter) {
    for (std::vector<std::string> blur :
         {std::vector<std::string>{}, {"--motion-blur", "5", "--shutter", "270,-30"}}) {
        for (std::string const road : {"module", "memory"}) {
            std::vector<std::string> words = {
                "render",  "layer.png", "-o",        road + ".####.exr", "--road",
                road,      "--frames",  "1003",      "--progress",       "none",
                "--depth", "float",     "--project", "own.zelk.json"};
            put("own.zelk.json", R"({"schema": "zelk-project", "version": 1,
                "comp": {"width": 16, "height": 12, "rate": 25, "startFrame": 1001, "duration": 6},
                "layer": "layer.png", "parameters": {"to-upper-left": {"keys": [
                {"frame": 1001, "value": [0, 0]}, {"frame": 1006, "value": [8, 3]}]}}})");
            words.insert(words.end(), blur.begin(), blur.end());
            Outcome const outcome = run(words);
            ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
        }
        EXPECT_EQ(frame("module", 1003), frame("memory", 1003));
    }
}

// On the module road each frame has its own file's depth.
TEST_F(Sequence, FilesOfUnlikeDepthsKeepTheirOwn) {
    writePicture(at("d.1.png"), noise<unsigned char>(16, 12, 4, 1));
    writePicture(at("d.2.png"), noise<unsigned short>(16, 12, 4, 2));
    auto const render = [&](char const* frames, std::string const& output) {
        Outcome const outcome = run({"render", "d.%d.png", "-o", output, "--frames", frames, "--to",
                                     "1,1 13,2 2,11 14,10", "--progress", "none"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    };
    render("1-2", "both.%d.png");
    render("2", "alone.%d.png");
    EXPECT_EQ(readPicture<unsigned short>(at("both.2.png")),
              readPicture<unsigned short>(at("alone.2.png")));
    Outcome const inPlace = run({"render", "d.1.png", "-o", "d.%d.png", "--frames", "1-3"});
    EXPECT_EQ(inPlace.exitCode, 2);
    EXPECT_NE(inPlace.err.find("other frames read"), std::string::npos) << inPlace.err;
}

TEST_F(Sequence, MissingInputsByPolicy) {
    std::filesystem::remove(at("plate.1003.png"));
    struct Case {
        char const* mode;
        int code, written;
        char const* told;
    };
    for (Case const& c : {Case{"stop", 3, 2, "plate.1003.png: no such file"},
                          {"skip", 0, 5, "5 frames written, 1 skipped"},
                          {"hold", 0, 6, "6 frames written"},
                          {"black", 0, 6, "6 frames written"}}) {
        std::string const stem = c.mode;
        Outcome const outcome = project({"-o", stem + ".####.exr", "--missing", c.mode,
                                         "--progress", "plain", "--frames", "1001-1006"});
        EXPECT_EQ(outcome.exitCode, c.code) << outcome.err;
        EXPECT_EQ(countOf(stem), c.written);
        EXPECT_NE(outcome.err.find(c.told), std::string::npos) << outcome.err;
    }
    auto const told = objects(project({"--frames", "1001-1006", "--progress", "json"}).err);
    ASSERT_EQ(told.size(), 4u);
    EXPECT_EQ(told[2]["event"], "error");
    EXPECT_EQ(told[2]["frame"], 1003);
    EXPECT_EQ(told[2]["file"], "plate.1003.png");
    EXPECT_NE(told[2]["message"].get<std::string>().find("(2 frames written)"), std::string::npos);
    EXPECT_EQ(told[3]["written"], 2);
    EXPECT_EQ(told[3]["skipped"], 0);
    auto const held = frame("hold", 1003), black = frame("black", 1003);
    EXPECT_NE(held, black);
    EXPECT_EQ(black.values[static_cast<std::size_t>(3 * 39)], 0) << "upper right, beside the layer";
    EXPECT_EQ(held.values[static_cast<std::size_t>(3 * 39)],
              frame("hold", 1002).values[static_cast<std::size_t>(3 * 39)]);
}

TEST_F(Sequence, AFailedFrameIsTheOnlyOne) {
    put("plate.1002.png", "no picture");
    Outcome outcome = project({"--progress", "json"});
    EXPECT_EQ(outcome.exitCode, 5) << outcome.err;
    EXPECT_EQ(countOf("out"), 5);
    EXPECT_NE(outcome.err.find(R"("event":"failed","frame":1002)"), std::string::npos);

    // The files of an earlier run are left alone; the failed one is done when it can be.
    auto const before = std::filesystem::last_write_time(at("out.1001.exr"));
    writePicture(at("plate.1002.png"), noise<unsigned char>(40, 30, 3, 1002));
    outcome = project({"--skip-existing", "--progress", "none"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(countOf("out"), 6);
    EXPECT_EQ(std::filesystem::last_write_time(at("out.1001.exr")), before);

    writePicture(at("plate.1004.png"), noise<unsigned char>(41, 30, 3, 4));
    outcome = project({"--progress", "plain"});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_NE(outcome.err.find("another size than the first frame's"), std::string::npos);
}

TEST_F(Sequence, TellsWithoutRendering) {
    Outcome outcome = project({"--dry-run", "--frames", "1002,1005"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(countOf("out"), 0);
    EXPECT_NE(outcome.out.find("1005: read layer.png, over plate.1005.png, write out.1005.exr"),
              std::string::npos)
        << outcome.out;
    struct Wrong {
        std::vector<std::string> options;
        int code;
        char const* told;
    };
    for (Wrong const& w : {Wrong{{"-o", "one.exr"}, 2, "the same file for every frame"},
                           {{"--frames", "5-x"}, 2, "--frames"},
                           {{"--in-flight", "0"}, 2, "--in-flight"},
                           {{"--missing", "hole"}, 2, "unknown choice \"hole\""},
                           {{"--shutter", "a"}, 2, "--shutter: not a number"},
                           {{"--rate", "0"}, 2, "--rate"},
                           {{"--set", "rotate=1", "--project", "none.json"}, 2, "--project"}}) {
        outcome = project(w.options);
        EXPECT_EQ(outcome.exitCode, w.code) << outcome.err;
        EXPECT_NE(outcome.err.find(w.told), std::string::npos) << outcome.err;
        EXPECT_EQ(countOf("out"), 0);
    }
}

// A stand-in for the program: it keeps what comes through the pipe, or fails with words.
TEST_F(Sequence, AMovieIsPipedAndTakesItsPlaceWhole) {
    put("m.mov", "earlier");
    putProgram("ffmpeg", "cat > /dev/null; echo no such codec >&2; exit 1");
    Outcome outcome = project({"-o", "m.mov", "--progress", "none"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_NE(outcome.err.find("no such codec"), std::string::npos) << outcome.err;
    auto const told = objects(project({"-o", "m.mov", "--progress", "json"}).err);
    ASSERT_EQ(told.size(), 8u);
    EXPECT_EQ(told[6]["event"], "error");
    EXPECT_EQ(told[7]["event"], "done");
    EXPECT_EQ(told[7]["written"], 0);
    EXPECT_EQ(bytesOf("m.mov"), "earlier");

    putProgram("ffmpeg", "for last; do :; done; cat > \"$last\"");
    outcome = project({"-o", "m.mov", "--frames", "1002-1004", "--progress", "none"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    std::string const movie = bytesOf("m.mov");
    ASSERT_EQ(movie.size(), 3u * 40 * 30 * 8);
    Outcome const frames = project({"--frames", "1003", "--progress", "none"});
    auto const still = frame("out", 1003);
    auto const* words = reinterpret_cast<std::uint16_t const*>(movie.data()) + 40 * 30 * 4;
    for (std::size_t i = 0; i < 40 * 30; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            ASSERT_NEAR(words[4 * i + c], 65535 * still.values[3 * i + c], 0.51) << i;

    ::setenv("PATH", "/nowhere", 1);
    outcome = project({"-o", "n.mp4", "--progress", "none"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_NE(outcome.err.find("the package ffmpeg"), std::string::npos) << outcome.err;
    EXPECT_EQ(countOf("n"), 0);
}

// A lossless movie gives its pictures back to the bit, in a range, alone and backwards; one of
// H.264 gives all of them, in the colours that went in: BT.601 would be 20 steps of 255 off.
TEST_F(Sequence, AMovieIsReadAsItWasWritten) {
    ASSERT_TRUE(zelk::MovieFrames::isAvailable());
    auto const still = [&](std::string const& in, std::string const& out,
                           std::string const& frames) {
        return run({"render", in, "-o", out, "--frames", frames, "--view", "original", "--progress",
                    "none"});
    };
    Picture<std::uint8_t> flat{64, 48, 3, std::vector<std::uint8_t>(64 * 48 * 3), {}};
    for (std::size_t i = 0; i < flat.values.size(); ++i) flat.values[i] = i % 3 == 0 ? 200 : 30;
    for (unsigned n = 1; n <= 5; ++n) {
        writePicture(at("n." + std::to_string(n) + ".png"), noise<std::uint16_t>(20, 14, 4, n));
        writePicture(at("c." + std::to_string(n) + ".png"), flat);
    }
    for (char const* out : {"n.mkv", "file.%d.png"})  // both in the host's 15 bits
        ASSERT_EQ(still("n.%d.png", out, "1-5").exitCode, 0);
    ASSERT_EQ(still("c.%d.png", "c.mp4", "1-5").exitCode, 0);
    // A movie's first picture is the least frame asked for: in a project, the composition's first.
    put("m.zelk.json", R"({"schema": "zelk-project", "version": 1, "layer": "n.mkv",
        "comp": {"width": 20, "height": 14, "rate": 25, "startFrame": 1},
        "parameters": {"view-mode": {"value": "Original"}}})");
    for (auto const& [stem, frames] : {std::pair{"all", "1-5"}, {"back", "5-1x-1"}, {"one", "4"}}) {
        Outcome const outcome =
            run({"render", "--project", "m.zelk.json", "-o", std::string(stem) + ".%d.png",
                 "--frames", frames, "--progress", "none"});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    }
    for (int n = 1; n <= 5; ++n)
        for (std::string const stem : {"all", "back", "one"}) {
            if (stem == "one" && n != 4) continue;
            std::string const end = "." + std::to_string(n) + ".png";
            EXPECT_EQ(readPicture<std::uint16_t>(at(stem + end)),
                      readPicture<std::uint16_t>(at("file" + end)))
                << stem << n;
        }
    ASSERT_EQ(still("c.mp4", "d.%d.png", "1-5").exitCode, 0);
    auto const last = readPicture<std::uint8_t>(at("d.5.png"));
    for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(last.values[c], c == 0 ? 200 : 30, 3);
    // White and half of it, opaque and half clear, through 10 bits of video: 64 of 65535 a step.
    Picture<std::uint16_t> steps{64, 48, 4, {}, {}};
    for (int i = 0; i < 64 * 48; ++i) {
        std::uint16_t const v = i < 64 * 24 ? 65535 : 32768;
        steps.values.insert(steps.values.end(), {v, v, v, v});
    }
    writePicture(at("w.png"), steps);
    ASSERT_EQ(still("w.png", "w.mov", "1").exitCode, 0);
    ASSERT_EQ(still("w.mov", "v.%d.png", "1").exitCode, 0);
    auto const white = readPicture<std::uint16_t>(at("v.1.png"));
    for (std::size_t i = 0; i < white.values.size(); ++i)
        // But for the blocks of the edge between them.
        if (i / (4 * 64) < 16 || i / (4 * 64) >= 32) {
            ASSERT_NEAR(white.values[i], steps.values[i], 64) << i;
        }
    Outcome const beyond = still("n.mkv", "x.%d.png", "4-9");
    EXPECT_EQ(beyond.exitCode, 3);
    EXPECT_NE(beyond.err.find("n.mkv: the movie has 5 pictures, frame 9 would be picture \"6\", "
                              "expected a frame from 4 to 8, or --missing (5 frames written)"),
              std::string::npos)
        << beyond.err;
}

}  // namespace

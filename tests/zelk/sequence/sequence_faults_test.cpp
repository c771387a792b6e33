// Trouble in the middle of a run: signals, a full disk, broken and unreadable frames, a folder that
// goes away, inputs that are black. No half file is left, and all other frames are written.
#include <algorithm>
#include <csignal>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

class SequenceFaults : public ZelkTest {
protected:
    void putFrames(int count, int width = 40, int height = 30) const {
        for (int frame = 1; frame <= count; ++frame)
            writePicture(at("in." + std::to_string(frame) + ".png"),
                         noise<std::uint8_t>(width, height, 4, unsigned(frame)));
    }
    static Words words(std::string const& output, int count, char const* input = "in.%d.png") {
        return {
            "render", input,      "-o",         output, "--frames", "1-" + std::to_string(count),
            "--view", "original", "--progress", "plain"};
    }
    /// Of a folder, each a picture that can be read to its end.
    int wholePicturesIn(std::string const& folder) const {
        int count = 0;
        for (auto const& entry : fs::directory_iterator(at(folder))) {
            if (entry.path().filename() == ".zelk-journal") continue;
            EXPECT_NE(entry.path().filename().string()[0], '.') << entry.path();
            count += readPicture<std::uint8_t>(entry.path()).width > 0;
        }
        return count;
    }
};

// The stand-in for the program takes no frame, or takes all and doesn't come to its end.
TEST_F(SequenceFaults, AMovieThatIsInterruptedLeavesNothing) {
    putFrames(4, 320, 240);  // more than a pipe holds
    auto const before = files();
    for (auto const& [script, signals, told] :
         {std::tuple<char const*, std::vector<int>, char const*>{
              ": > _there; exec sleep 60", {SIGINT, SIGTERM}, ""},
          {"cat > /dev/null; : > _there; exec sleep 60", {SIGINT}, "no movie written, interr"}}) {
        putProgram("ffmpeg", script);
        fs::remove(at("_there"));
        Outcome const outcome = run(words("m.mov", 4), {}, [&, &sent = signals](int child) {
            awaitFile("_there");
            for (int const signal : sent) ::kill(child, signal);
        });
        EXPECT_EQ(outcome.exitCode, 130) << outcome.err;
        EXPECT_TRUE(has(outcome.err, told)) << outcome.err;
        EXPECT_EQ(files(), before);
    }
}

TEST_F(SequenceFaults, BrokenAndUnreadableFramesAreTheOnlyOnesThatFail) {
    putFrames(6);
    std::string const whole = bytesOf("in.2.png");
    put("in.2.png", whole.substr(0, whole.size() / 2));
    put("in.5.png", "");
    fs::permissions(at("in.3.png"), fs::perms::none);
    fs::permissions(at(""), fs::perms::all);
    fs::create_directory(at("out"));
    fs::permissions(at("out"), fs::perms::all);
    Outcome const outcome = run(words("out/o.%d.png", 6), {.obeysPermissions = true});
    EXPECT_EQ(outcome.exitCode, 5) << outcome.err;
    for (std::string const frame : {"2", "3", "5"})
        EXPECT_TRUE(has(outcome.err, "/6) failed: in." + frame + ".png: cannot be read"));
    EXPECT_TRUE(has(outcome.err, "zelk: 3 frames written, 3 failed\n"));
    EXPECT_EQ(wholePicturesIn("out"), 3);
}

// All frames are written to the folder that goes away, or told as failed, and some of both.
TEST_F(SequenceFaults, TheOutputsPlaceGoesAway) {
    putFrames(1, 120, 100);
    fs::create_directory(at("out"));
    Outcome const outcome = run(words("out/o.%d.png", 400, "in.1.png"), {}, [&](int) {
        awaitFile("out/o.1.png");
        fs::rename(at("out"), at("gone"));
    });
    EXPECT_EQ(outcome.exitCode, 5) << outcome.err;
    auto const written = wholePicturesIn("gone"), failed = 400 - written;
    EXPECT_GE(std::min(written, failed), 1) << outcome.err;
    EXPECT_TRUE(has(outcome.err, " written, " + std::to_string(failed) + " failed\n"))
        << outcome.err;
    EXPECT_FALSE(fs::exists(at("out")));
}

// Black has the depth of the files that are there, also when they come later: nothing of a layer,
// an opaque black of a plate. Frame 1 lacks its layer, frame 3 its plate.
TEST_F(SequenceFaults, BlackSuitsEveryDepthAndFormOfColour) {
    for (auto const& [l, p, channels] : {std::tuple("half", "uint8", 4),
                                         {"uint16", "half", 3},
                                         {"uint8", "uint16", 3},
                                         {"uint16", "float", 4}}) {
        SCOPED_TRACE(std::string(l) + " over " + p);
        for (unsigned const frame : {1, 2, 3}) {
            std::string const number = "." + std::to_string(frame) + ".tif";
            if (frame != 1) writePicture(at("l" + number), noise<float>(6, 5, 4, frame), l);
            if (frame != 3)
                writePicture(at("p" + number), noise<float>(12, 10, channels, frame), p);
        }
        render("l.%d.tif", "o.%d.tif",
               "--over p.%d.tif --missing black --quality low --frames 1-3 --color raw"_words);
        auto const o1 = readPicture<float>(at("o.1.tif")), o2 = readPicture<float>(at("o.2.tif")),
                   o3 = readPicture<float>(at("o.3.tif")),
                   plate = readPicture<float>(at("p.1.tif"));
        EXPECT_EQ(std::tuple(o1.format, o1.channels), std::tuple(o2.format, channels));
        EXPECT_EQ(std::tuple(o3.format, o3.channels), std::tuple(o2.format, channels));
        for (std::size_t i = 0; i < plate.values.size(); ++i)
            ASSERT_NEAR(o1.values[i], plate.values[i], 0x1p-12) << i;  // half a step of a half
        for (int c = 0; c < channels; ++c) EXPECT_EQ(o3.at(11, 9, c), c == 3) << "beside the layer";
    }
    render("l.%d.tif", "o.%d.tif", "--missing black --frames 1-3"_words);
    EXPECT_EQ(readPicture<float>(at("o.1.tif")).values, std::vector<float>(6 * 5 * 4));
}

}  // namespace
}  // namespace zelk_test

// Trouble in the middle of a run: signals, a full disk, broken and unreadable frames, a folder that
// goes away, inputs that are black. No half file is left, and all other frames are written.
#include <algorithm>
#include <csignal>

#include "tests/apps/zelk_process.h"

namespace zelk_test {
namespace {

namespace fs = std::filesystem;

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
            EXPECT_NE(entry.path().filename().string()[0], '.') << entry.path();
            count += readPicture<std::uint8_t>(entry.path()).width > 0;
        }
        return count;
    }
    static int countOf(std::string const& text, std::string const& part) {
        int count = 0;
        for (auto at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
        return count;
    }
};

// The stand-in for the program takes no frame, or takes all and doesn't come to its end.
TEST_F(SequenceFaults, AMovieThatIsInterruptedLeavesNothing) {
    putFrames(4, 320, 240);  // more than a pipe holds
    auto const before = files();
    struct Case {
        char const* script;
        std::vector<int> signals;
        char const* told;
    };
    for (Case const& c : {Case{": > _there; exec sleep 60", {SIGINT, SIGTERM}, ""},
                          {"cat > /dev/null; : > _there; exec sleep 60",
                           {SIGINT},
                           "no movie written, interrupted"}}) {
        putProgram("ffmpeg", c.script);
        fs::remove(at("_there"));
        Outcome const outcome = run(words("m.mov", 4), {}, [&](int child) {
            awaitFile("_there");
            for (int const signal : c.signals) ::kill(child, signal);
        });
        EXPECT_EQ(outcome.exitCode, 130) << outcome.err;
        EXPECT_TRUE(has(outcome.err, c.told)) << outcome.err;
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
        EXPECT_EQ(countOf(outcome.err, "/6) failed: in." + frame + ".png: cannot be read"), 1)
            << outcome.err;
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
    int const written = wholePicturesIn("gone"), failed = countOf(outcome.err, ") failed: out/");
    EXPECT_GE(std::min(written, failed), 1) << outcome.err;
    EXPECT_EQ(written + failed, 400) << outcome.err;
    EXPECT_FALSE(fs::exists(at("out")));
}

// Black has the depth of the files that are there, also when they come later: nothing of a layer,
// an opaque black of a plate. Frame 1 lacks its layer, frame 3 its plate.
TEST_F(SequenceFaults, BlackSuitsEveryDepthAndFormOfColour) {
    constexpr double kHalfStep = 0x1p-12;  // of a half below 1, the coarsest sample that is rounded
    auto const o = [&](int frame) {
        return readPicture<float>(at("o." + std::to_string(frame) + ".tif"));
    };
    Words const common = {"--missing", "black", "--to",     "1,1 7,1 1,6 7,6",
                          "--quality", "low",   "--frames", "1-3"};
    for (auto const& lp : {std::pair<Words, Words>{{"half", "exr"}, {"uint8", "tif", "4"}},
                           {{"uint16", "tif"}, {"half", "exr", "3"}},
                           {{"uint8", "tif"}, {"uint16", "tif", "3"}},
                           {{"uint16", "tif"}, {"float", "exr", "4"}}}) {
        auto const& [l, p] = lp;
        SCOPED_TRACE(l[0] + " over " + p[0]);
        int const channels = std::stoi(p[2]);
        auto const name = [&](char stem, std::string const& frame) {
            return stem + ("." + frame + "." + (stem == 'l' ? lp.first : lp.second)[1]);
        };
        for (unsigned const frame : {1, 2, 3}) {
            writePicture(at(name('l', std::to_string(frame))),
                         noise<float>(6, 5, 7 - channels, frame), l[0]);
            writePicture(at(name('p', std::to_string(frame))),
                         noise<float>(12, 10, channels, frame), p[0]);
        }
        auto const bare = readPicture<float>(at(name('p', "1")));
        auto const lone = readPicture<float>(at(name('l', "3")));
        fs::remove(at(name('l', "1")));
        fs::remove(at(name('p', "3")));
        render(name('l', "%d"), "o.%d.tif", joined(common, {"--over", name('p', "%d")}));
        for (int const frame : {1, 3})
            EXPECT_EQ(o(frame).format + std::to_string(o(frame).channels), o(2).format + p[2]);
        ASSERT_EQ(o(1).values.size(), bare.values.size());
        for (std::size_t i = 0; i < bare.values.size(); ++i)
            ASSERT_NEAR(o(1).values[i], bare.values[i], kHalfStep) << i;
        for (int c = 0; c < channels; ++c)
            EXPECT_EQ(o(3).at(11, 9, c), c == 3) << "beside the layer";
        if (channels == 4) {  // an opaque layer
            EXPECT_NEAR(o(3).at(2, 2, 0), lone.at(1, 1, 0), kHalfStep);
        }
        if (p[0] != "uint8") continue;
        render(name('l', "%d"), "o.%d.tif", common);
        EXPECT_EQ(o(1).format, o(2).format);
        EXPECT_EQ(o(1).values, std::vector<float>(o(2).values.size()));
    }
}

}  // namespace
}  // namespace zelk_test

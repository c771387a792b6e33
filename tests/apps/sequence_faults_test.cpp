// Trouble in the middle of a run: signals, a full disk, broken and unreadable frames, a folder that
// goes away, inputs that are black. No half file is left, and all other frames are written.
#include <sys/mount.h>

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
    /// All frames are written to a folder or told as failed, and some of both.
    void expectSome(Outcome const& outcome, std::string const& folder, std::string const& named,
                    int count) const {
        EXPECT_EQ(outcome.exitCode, 5) << outcome.err;
        int const written = wholePicturesIn(folder);
        int const failed = countOf(outcome.err, ") failed: " + named + "/");
        EXPECT_GE(std::min(written, failed), 1) << outcome.err;
        EXPECT_EQ(written + failed, count) << outcome.err;
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

// 200 KB hold some of the frames. The folder goes while there is still much to do.
TEST_F(SequenceFaults, TheOutputsPlaceGivesOut) {
    putFrames(12, 120, 100);
    fs::create_directory(at("disk"));
    if (::mount("tmpfs", at("disk").c_str(), "tmpfs", 0, "size=200k") == 0) {
        expectSome(run(words("disk/o.%d.png", 12)), "disk", "disk", 12);
        EXPECT_EQ(::umount(at("disk").c_str()), 0);
    } else {
        std::printf("no file system can be mounted here: a full disk is not tested\n");
    }

    fs::create_directory(at("out"));
    Outcome const outcome = run(words("out/o.%d.png", 400, "in.1.png"), {}, [&](int) {
        awaitFile("out/o.1.png");
        fs::rename(at("out"), at("gone"));
    });
    expectSome(outcome, "gone", "out", 400);
    EXPECT_FALSE(fs::exists(at("out")));
}

// Black has the depth of the files that are there, also when they come later: nothing of a layer,
// an opaque black of a plate. Frame 1 lacks its layer, frame 3 its plate.
TEST_F(SequenceFaults, BlackSuitsEveryDepthAndFormOfColour) {
    constexpr double kHalfStep = 0x1p-12;  // of a half below 1, the coarsest sample that is rounded
    char const* const types[] = {"uint8", "half", "uint16", "float"};
    auto const nameOf = [](std::string const& stem, std::string const& type, auto frame) {
        return stem + frame + (type[0] == 'u' ? ".tif" : ".exr");
    };
    auto const o = [&](int frame) {
        return readPicture<float>(at("o." + std::to_string(frame) + ".tif"));
    };
    Words const common = {"--missing", "black", "--to",     "1,1 7,1 1,6 7,6",
                          "--quality", "low",   "--frames", "1-3"};
    for (int l = 0; l < 4; ++l)
        for (int p = 0; p < 4; ++p) {
            int const channels = 3 + (l + p) % 2;
            SCOPED_TRACE(std::string(types[l]) + " over " + types[p] + std::to_string(channels));
            std::string const layer = nameOf("l.", types[l], "%d");
            std::string const plate = nameOf("p.", types[p], "%d");
            for (unsigned const frame : {1, 2, 3}) {
                auto const name = std::to_string(frame);
                writePicture(at(nameOf("l.", types[l], name)),
                             noise<float>(6, 5, 7 - channels, frame), types[l]);
                writePicture(at(nameOf("p.", types[p], name)),
                             noise<float>(12, 10, channels, frame), types[p]);
            }
            auto const bare = readPicture<float>(at(nameOf("p.", types[p], "1")));
            auto const lone = readPicture<float>(at(nameOf("l.", types[l], "3")));
            fs::remove(at(nameOf("l.", types[l], "1")));
            fs::remove(at(nameOf("p.", types[p], "3")));
            render(layer, "o.%d.tif", joined(common, {"--over", plate}));
            auto const first = o(1), last = o(3);
            for (auto const* black : {&first, &last}) {
                EXPECT_EQ(black->format, o(2).format);
                EXPECT_EQ(black->channels, channels);
            }
            ASSERT_EQ(first.values.size(), bare.values.size());
            for (std::size_t i = 0; i < bare.values.size(); ++i)
                ASSERT_NEAR(first.values[i], bare.values[i], kHalfStep) << i;
            for (int c = 0; c < channels; ++c)
                EXPECT_EQ(last.at(11, 9, c), c == 3) << "beside the layer";
            if (channels == 4) {  // an opaque layer
                EXPECT_NEAR(last.at(2, 2, 0), lone.at(1, 1, 0), kHalfStep);
            }
            if (p > 0) continue;
            render(layer, "o.%d.tif", common);
            EXPECT_EQ(o(1).format, o(2).format);
            EXPECT_EQ(o(1).channels, o(2).channels);
            EXPECT_EQ(o(1).values, std::vector<float>(o(2).values.size()));
        }
}

}  // namespace
}  // namespace zelk_test

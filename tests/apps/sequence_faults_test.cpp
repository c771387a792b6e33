// Trouble in the middle of a run: signals, a full disk, broken and unreadable frames, a folder that
// goes away, inputs that are black. No half file is left, and all other frames are written.
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <csignal>
#include <cstdint>

#include "tests/apps/zelk_process.h"

namespace {

namespace fs = std::filesystem;
using zelk_test::noise;
using zelk_test::Outcome;
using zelk_test::Picture;
using zelk_test::readPicture;
using zelk_test::writePicture;

class SequenceFaults : public zelk_test::ZelkTest {
protected:
    void putFrames(int count, int width = 40, int height = 30) const {
        for (int frame = 1; frame <= count; ++frame)
            writePicture(at("in." + std::to_string(frame) + ".png"),
                         noise<std::uint8_t>(width, height, 4, unsigned(frame)));
    }
    static std::vector<std::string> words(std::string const& output, int count) {
        return {"render",     "in.%d.png",
                "-o",         output,
                "--frames",   "1-" + std::to_string(count),
                "--to",       "1,1 30,2 2,28 33,29",
                "--progress", "plain"};
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
        char const *script, *sign;
        std::vector<int> signals;
        char const* told;
    };
    for (Case const& c : {Case{": > _there; exec sleep 60", "_there", {SIGINT, SIGTERM}, ""},
                          Case{"cat > /dev/null; : > _there; exec sleep 60",
                               "_there",
                               {SIGINT},
                               "no movie written, interrupted"}}) {
        putProgram("ffmpeg", c.script);
        fs::remove(at(c.sign));
        Outcome const outcome = run(words("m.mov", 4), {}, [&](int child) {
            awaitFile(c.sign);
            for (int const signal : c.signals) ::kill(child, signal);
        });
        EXPECT_EQ(outcome.exitCode, 130) << outcome.err;
        EXPECT_NE(outcome.err.find(c.told), std::string::npos) << outcome.err;
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
    Outcome const outcome = run(words("out/o.%d.png", 6), {.isNobody = true});
    if (outcome.exitCode == 126) GTEST_SKIP() << "another user can't reach the program here";
    EXPECT_EQ(outcome.exitCode, 5) << outcome.err;
    for (std::string const frame : {"2", "3", "5"})
        EXPECT_EQ(countOf(outcome.err, "/6) failed: in." + frame + ".png: cannot be read"), 1)
            << outcome.err;
    EXPECT_NE(outcome.err.find("zelk: 3 frames written, 3 failed\n"), std::string::npos);
    EXPECT_EQ(wholePicturesIn("out"), 3);
}

// 200 KB hold some of the frames. The folder goes while there is still much to do.
TEST_F(SequenceFaults, TheOutputsPlaceGivesOut) {
    putFrames(12, 120, 100);
    fs::create_directory(at("disk"));
    if (::mount("tmpfs", at("disk").c_str(), "tmpfs", 0, "size=200k") == 0) {
        auto ask = words("disk/o.%d.png", 12);
        ask.insert(ask.end(), {"--view", "original"});
        Outcome const outcome = run(ask);
        EXPECT_EQ(outcome.exitCode, 5) << outcome.err;
        int const written = wholePicturesIn("disk"),
                  failed = countOf(outcome.err, ") failed: disk/");
        EXPECT_GE(std::min(written, failed), 1) << outcome.err;
        EXPECT_EQ(written + failed, 12) << outcome.err;
        EXPECT_EQ(::umount(at("disk").c_str()), 0);
    } else {
        std::printf("no file system can be mounted here: a full disk is not tested\n");
    }

    fs::create_directory(at("out"));
    auto ask = words("out/o.%d.png", 400);
    ask[1] = "in.1.png";
    Outcome const outcome = run(ask, {}, [&](int) {
        awaitFile("out/o.1.png");
        fs::rename(at("out"), at("gone"));
    });
    EXPECT_EQ(outcome.exitCode, 5) << outcome.err;
    int const written = wholePicturesIn("gone"), failed = countOf(outcome.err, ") failed: out/");
    EXPECT_EQ(written + failed, 400);
    EXPECT_GE(failed, 1);
    EXPECT_FALSE(fs::exists(at("out")));
}

// Black has the depth of the files that are there, also when they come later: nothing of a layer,
// an opaque black of a plate. Frame 1 lacks its layer, frame 3 its plate.
TEST_F(SequenceFaults, BlackSuitsEveryDepthAndFormOfColour) {
    constexpr double kHalfStep = 0x1p-12;  // of a half below 1, the coarsest sample that is rounded
    char const* const types[] = {"uint8", "half", "uint16", "float"};
    auto const nameOf = [](char const* stem, char const* type, std::string const& frame) {
        return stem + frame + (type[0] == 'u' ? ".tif" : ".exr");
    };
    auto const expectRun = [&](std::vector<std::string> words) {
        words.insert(words.end(), {"--missing", "black", "--progress", "none", "--to",
                                   "1,1 7,1 1,6 7,6", "--quality", "low", "--frames", "1-3"});
        Outcome const outcome = run(words);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    };
    auto const o = [&](int frame) {
        return readPicture<float>(at("o." + std::to_string(frame) + ".tif"));
    };
    for (int l = 0; l < 4; ++l)
        for (int p = 0; p < 4; ++p) {
            int const channels = 3 + (l + p) % 2, stride = 12 * channels;
            SCOPED_TRACE(std::string(types[l]) + " over " + types[p] + std::to_string(channels));
            for (int frame : {1, 2, 3}) {
                auto const put = [&](std::string const& name, Picture<float> const& picture,
                                     char const* type, bool isThere) {
                    fs::remove(at(name));
                    if (isThere) writePicture(at(name), picture, type);
                };
                put(nameOf("l.", types[l], std::to_string(frame)),
                    noise<float>(6, 5, 7 - channels, unsigned(frame)), types[l], frame != 1);
                put(nameOf("p.", types[p], std::to_string(frame)),
                    noise<float>(12, 10, channels, unsigned(frame)), types[p], frame != 3);
            }
            std::string const layer = nameOf("l.", types[l], "%d");
            expectRun({"render", layer, "--over", nameOf("p.", types[p], "%d"), "-o", "o.%d.tif"});
            for (int frame : {1, 3}) {
                EXPECT_EQ(o(frame).format, o(2).format) << frame;
                EXPECT_EQ(o(frame).channels, channels) << frame;
            }
            auto const bare = readPicture<float>(at(nameOf("p.", types[p], "1")));
            ASSERT_EQ(o(1).values.size(), bare.values.size());
            for (std::size_t i = 0; i < bare.values.size(); ++i)
                ASSERT_NEAR(o(1).values[i], bare.values[i], kHalfStep) << i;
            for (int c = 0; c < channels; ++c)
                EXPECT_EQ(o(3).values.end()[c - channels], c == 3) << "beside the layer";
            if (channels == 4) {  // an opaque layer
                EXPECT_NEAR(o(3).values[std::size_t(2 * stride + 2 * channels)],
                            readPicture<float>(at(nameOf("l.", types[l], "3"))).values[3 * 7],
                            kHalfStep);
            }
            if (p > 0) continue;
            expectRun({"render", layer, "-o", "o.%d.tif"});
            EXPECT_EQ(o(1).format, o(2).format);
            EXPECT_EQ(o(1).channels, o(2).channels);
            EXPECT_EQ(o(1).values, std::vector<float>(o(2).values.size()));
        }
}

}  // namespace

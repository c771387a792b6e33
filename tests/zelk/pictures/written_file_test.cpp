// A written file's way to its place: cut files that their readers may take for whole, names that
// come up meanwhile, links, the longest name, and a process that ends on the way.
#include "zelk/pictures/written_check.h"

#include <unistd.h>

#include <csignal>
#include <thread>

#include "tests/support/zelk_process.h"
#include "zelk/files/quiet_libraries.h"
#include "zelk/files/temporary_file.h"
#include "zelk/pictures/writer.h"
#include "zelk/sequence/interrupt_flag.h"
#include "zelk/text/errors.h"

namespace {

using WrittenFile = zelk_test::ZelkTest;

// The disk could grow here: only the look at the file itself can tell.
TEST_F(WrittenFile, OneThatLacksItsEndIsFoundOut) {
    zelk::World world({80, 70, zelk::Depth::k8});
    auto const noise = zelk_test::noise<std::uint8_t>(80, 70, 4, 5).values;
    for (int y = 0; y < 70; ++y) std::copy_n(&noise[y * 320u], 320, world.rowAs<std::uint8_t>(y));
    for (std::string const name : {"o.png", "o.exr", "o.tif", "o.dpx", "o.tga", "o.webp", "o.ppm",
                                   "o.hdr", "o.jpg", "o.bmp", "o.sgi", "o.rla", "o.gif", "o.jp2"}) {
        writePicture(world, at(name), {});
        std::string const whole = bytesOf(name);
        zelk::WrittenShape shape{OIIO::ImageInput::open(at(name).string())->format_name(), 80, 70,
                                 3};
        EXPECT_EQ(faultOfWritten(at(name), shape), "") << name;
        for (std::size_t const lost : {1, 2, 64, 4096}) {
            put(name, whole.substr(0, whole.size() - lost));
            EXPECT_NE(faultOfWritten(at(name), shape), "") << name << " without " << lost;
        }
        put(name, whole);
        shape.height = 71;
        EXPECT_NE(faultOfWritten(at(name), shape), "") << name;
    }
}

TEST_F(WrittenFile, TakesItsPlaceOnlyWhereItMay) {
    std::string const longest = std::string(251, 'n') + ".png";
    zelk::TemporaryFile file(at(longest));
    put(file.path().filename(), "new");
    put(longest, "came up meanwhile");
    EXPECT_FALSE(file.putInPlace(false));
    EXPECT_EQ(bytesOf(longest), "came up meanwhile");
    fs::remove(at(longest));
    fs::create_symlink("nothing.png", at(longest));  // is there too
    EXPECT_FALSE(file.putInPlace(false));
    fs::remove(at(longest));
    EXPECT_TRUE(file.putInPlace(false));
    EXPECT_EQ(bytesOf(longest), "new");
}

TEST_F(WrittenFile, LinksStayAndLeadOn) {
    fs::create_directory(at("folder"));
    fs::create_symlink("folder/o.png", at("link.png"));  // leads to nothing yet
    for (int turn = 0; turn < 2; ++turn) {
        EXPECT_THROW(zelk::checkTarget(at("link.png"), true), zelk::UserError);
        zelk::checkTarget(at("link.png"), false);
        zelk::writePicture(zelk::World({4, 4, zelk::Depth::k8}), at("link.png"), {});
        EXPECT_TRUE(fs::is_symlink(at("link.png")) && fs::is_regular_file(at("folder/o.png")));
    }
    fs::create_symlink("round.png", at("round.png"));
    EXPECT_THROW(zelk::checkTarget(at("round.png"), false), zelk::UserError);
}

// A process that ends without destructors: what it leaves, and what it says though the libraries
// are quiet on another thread meanwhile. It is started anew, where a fork would lack the threads
// that libraries have from earlier tests and wait for at their end; so it has a folder of its own,
// and is told of this one.
TEST_F(WrittenFile, NothingIsLeftOfAProcessThatEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // until the end of this test
    constexpr char const* kFolder = "ZELK_TEST_ENDS_IN";
    ::setenv(kFolder, at("").c_str(), 0);
    fs::path const folder = ::getenv(kFolder);
    auto const ends = [&](auto const& end) {
        if (folder != at("")) fs::remove_all(at(""));
        zelk::QuietLibraries const quiet;
        zelk::TemporaryFile const file(folder / "o.png");
        end();
    };
    auto const interrupted = [] {
        zelk::InterruptFlag const interrupt;
        zelk::TemporaryFile const another("o.png");
        for (int const signal : {SIGINT, SIGTERM}) std::raise(signal);
    };
    EXPECT_EXIT(ends([] { std::exit(0); }), testing::ExitedWithCode(4), "could not be finished");
    EXPECT_EXIT(ends([] { std::raise(SIGHUP); }), testing::KilledBySignal(SIGHUP), "");
    EXPECT_EXIT(ends(interrupted), testing::ExitedWithCode(130), "");
    ::unsetenv(kFolder);
    EXPECT_EQ(files(), std::vector<std::string>());
}

// A stream of frames in another's process leaves standard error alone; a file that is written
// beside it does not.
TEST_F(WrittenFile, IsQuietBesideOneThatLeavesStandardErrorAlone) {
    testing::internal::CaptureStderr();
    {
        zelk::leaveStandardErrorAlone(true);
        zelk::QuietLibraries const reader;
        std::fputs("kept", stderr);
        zelk::leaveStandardErrorAlone(false);
        zelk::QuietLibraries const writer;
        std::fputs("lost", stderr);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "kept");
}

// Files come and go while the user keeps the key down: no moment may have the default action.
TEST_F(WrittenFile, NoSignalFindsAGapBetweenFiles) {
    auto const keyHeld = [&] {
        zelk::InterruptFlag const interrupt([](int) {});
        std::jthread const key([](std::stop_token const& end) {
            while (!end.stop_requested()) ::kill(::getpid(), SIGINT);
        });
        for (int i = 0; i < 2000; ++i) zelk::TemporaryFile const file(at("o.png"));
        ::_exit(zelk::InterruptFlag::flag() ? 7 : 8);
    };
    EXPECT_EXIT(keyHeld(), testing::ExitedWithCode(7), "");
}

}  // namespace

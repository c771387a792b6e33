// Picture sequences: names and frame lists, the pipeline under random delays and failures, and what
// is told meanwhile.
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <latch>
#include <memory>
#include <numeric>
#include <thread>

#include "tests/support/random_quads.h"
#include "tests/support/zelk_process.h"
#include "zelk/files/frame_names.h"
#include "zelk/sequence/interrupt_flag.h"
#include "zelk/sequence/pipeline.h"
#include "zelk/sequence/progress.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

using zelk_test::split;

/// What `call` gives in words: its frames, or its refusal.
template <class Call>
std::string answerOf(Call const& call) {
    try {
        return fmt::format("{}", fmt::join(call(), " "));
    } catch (UserError const& error) {
        return error.what();
    }
}

TEST(SequenceName, PutsTheNumberWhereTheMarkIs) {
    // A pattern, and its paths at 7, -8 and 12345. Without a mark all paths are one.
    for (char const* row :
         {"a.%04d.exr a.0007.exr a.-008.exr a.12345.exr", "a# a0007 a-008 a12345", "@ 7 -8 12345",
          "%010d 0000000007 -000000008 0000012345", "$F_l 7_l -8_l 12345_l",
          "s#1/t@/a.##.b s#1/t@/a.07.b s#1/t@/a.-8.b s#1/t@/a.12345.b",
          "9%%.##.$FF 9%.07.$FF 9%.-8.$FF 9%.12345.$FF", "9%%.x 9%.x 9%.x 9%.x"}) {
        auto const words = split(row, ' ');
        SequenceName const name(words[0]);
        EXPECT_EQ(name.isSequence(), words[1] != words[2]) << row;
        for (auto const& [frame, path] :
             {std::pair{7, words[1]}, {-8, words[2]}, {12345, words[3]}})
            EXPECT_EQ(name.pathOf(frame), path);
    }
    for (char const* row : {"a%4d malformed %4d", "50%off malformed %o", "%021d malformed %021d",
                            "$F0 malformed $F0", "%099999999999d malformed %099999999999d",
                            "@@@@@@@@@@@@@@@@@@@@@ malformed @@@@@@@@@@@@@@@@@@@@@",
                            "%d/a.#### second ####", "#@ second @"}) {
        auto const words = split(row, ' ');
        EXPECT_TRUE(answerOf([&] { return SequenceName(words[0]).pathOf(1).string(); })
                        .starts_with(fmt::format("{}: {} frame mark \"{}\", expected ", words[0],
                                                 words[1], words[2])))
            << row;
    }
}

using SequenceOnDisk = zelk_test::ZelkTest;

TEST_F(SequenceOnDisk, FindsItsFrames) {
    fs::create_directory(at("a.0005.exr"));  // a folder is no picture
    for (char const* folder : {"0001", "0002", "3"}) fs::create_directory(at(folder));
    for (char const* name :
         {"a.0010.exr", "a.0002.exr", "a.-003.exr", "a.12345.exr", "a.7.exr", "a.00006.exr",
          "a.-000.exr", "a.+004.exr", "a.0008.exr~", "ba.0009.exr", "a..exr", "a.99999999999.exr",
          "0001/b.exr", "0002/c.exr", "3/b.exr"})
        put(name, "");
    for (auto const& [pattern, frames] : {std::pair("a.####.exr", "-3 2 10 12345"),
                                          {"a.%d.exr", "7 12345"},
                                          {"%04d/b.exr", "1"},
                                          {"a.0002.exr", ""}})  // no sequence
        EXPECT_EQ(
            answerOf([&, name = SequenceName(at(pattern).string())] { return framesOnDisk(name); }),
            frames);
    std::string const said =
        answerOf([&] { return framesOnDisk(SequenceName(at("no/#").string())); });
    EXPECT_TRUE(said.starts_with(at("no/: cannot be listed:").string())) << said;
}

TEST(FrameRange, ListsFramesInOrderOnceOrRefuses) {
    auto const frames = [](std::string const& text) {
        return answerOf([&] { return parseFrameRange("--frames", text); });
    };
    for (char const* row :
         {"-8--5=-8 -7 -6 -5", "4-1=4 3 2 1", "1-3,20-30x4=1 2 3 20 24 28", "1-10y3=2 3 5 6 8 9",
          "10-1x-4=10 6 2", "1-10x-4=10 6 2", "10-5y-2=9 7 5", "3,1-4,2,5=3 1 2 4 5",
          " 1 - 3 x 2 , 9 =1 3 9", "5,5-5y1=5", "007-009=7 8 9", "-2147483648=-2147483648",
          "2147483646-2147483647=2147483646 2147483647"})
        EXPECT_EQ(frames(split(row, '=')[0]), split(row, '=')[1]) << row;
    EXPECT_EQ(parseFrameRange("--frames", "1-1000000").size(), 1'000'000u);
    for (char const* row :
         {"not a list of frames|| |1,|1,,2|abc|1abc|1-|--3|1-3-5|7x2|1-10x|1.5|1-9x2x2|1 3",
          "no frames in|1-10y1|5-5y3", "step of 0 in|1-10x0|1-10y0|5,1-1x0",
          "number beyond 32 bits in|2147483648|-2147483649|1-3x99999999999",
          "range too long in|-2147483648-2147483647x1500000000",
          "more than 1000000 frames in|0-1000000|0-99999999y2|1-1000000,0"}) {
        auto texts = split(row, '|');
        std::string const wrong = std::exchange(texts[0], texts[1]);
        for (std::string const& text : texts)
            EXPECT_EQ(frames(text), fmt::format("--frames: {}{}, expected frames such as 7, "
                                                "1001-1100, 1-10,20-30x2 or 1-100y5",
                                                wrong, text.empty() ? "" : " \"" + text + "\""));
    }
}

enum Stage { kLoad, kRender, kStore, kNone };

TEST(FramePipeline, KeepsOrderBoundAndFramesUnderDelaysAndFailures) {
    FreshRandom random;
    auto const upTo = [&](int most) { return random.below(most + 1); };
    for (int round = 0; round < 150; ++round) {
        SCOPED_TRACE(round);
        int const count = upTo(30), stopFrame = round % 3 ? -1 : upTo(30), stopStage = upTo(2);
        std::vector<int> frames(count), delaysUs(count * 3), failing(count), done, failed;
        std::iota(frames.begin(), frames.end(), 0);
        for (int& delay : delaysUs) delay = upTo(1) * upTo(300);
        for (int& stage : failing) stage = upTo(5) ? kNone : upTo(2);
        std::atomic<bool> stop = false;
        std::atomic<int> alive = 0;  // from the start of a load to the end of the store
        PipelineOptions const options{std::size_t(upTo(4)), upTo(2) == 0, &stop};
        int last[3] = {-1, -1, -1}, ended = 0;
        using Held = std::shared_ptr<int>;
        auto const work = [&, caller = std::this_thread::get_id()](Stage own, int frame,
                                                                   Held held) {
            EXPECT_EQ(*held, frame);
            EXPECT_EQ(own == kRender, std::this_thread::get_id() == caller);
            EXPECT_LT(std::exchange(last[own], frame), frame);
            std::this_thread::sleep_for(std::chrono::microseconds(delaysUs[frame * 3 + own]));
            if (frame == stopFrame && own == stopStage) stop = true;
            if (failing[frame] == own && frame % 3 == 0) throw 1;
            if (failing[frame] == own) throw UserError(ExitCode::kInput, {"f", "w", "v", ""});
            return held;
        };
        auto const load = [&](int frame) {
            EXPECT_LE(++alive, std::max(int(options.inFlight), 1));
            return work(kLoad, frame, {new int(frame), [&](int* gone) { delete gone, --alive; }});
        };
        auto const render = [&](int frame, Held held) { return work(kRender, frame, held); };
        auto const store = [&](int frame, Held const& held) { work(kStore, frame, held); };
        auto const report = [&](int frame, std::size_t index, FrameFailure const* failure) {
            EXPECT_EQ(frame, ended++);
            EXPECT_EQ(frame, int(index));
            ASSERT_EQ(failure != nullptr, failing[frame] != kNone);
            (failure ? failed : done).push_back(frame);
            bool const isUsers = frame % 3 != 0;
            if (!failure) return;
            EXPECT_EQ(failure->message, isUsers ? "f: w \"v\"" : "unknown failure");
            EXPECT_EQ(failure->code, isUsers ? ExitCode::kInput : ExitCode::kRenderFailed);
        };
        PipelineResult const result = runFrames(frames, options, load, render, store, report);
        // As many leave the pipeline without a stop.
        auto const first = std::find_if(failing.begin(), failing.end(), [&](int stage) {
            return options.stopAtFirstFailure && stage != kNone;
        });
        int const most = std::min(count, int(first - failing.begin()) + 1);
        EXPECT_EQ(alive, 0);
        EXPECT_EQ(result.done, done);
        EXPECT_TRUE(std::ranges::equal(result.failed, failed, {}, &FrameFailure::frame));
        EXPECT_LT(last[kStore], ended);  // every store that began has ended
        EXPECT_EQ(result.isStopped, ended < most);
        EXPECT_LE(ended, stop ? stopFrame + (stopStage == kStore) : most);
        EXPECT_TRUE(stop || ended == most);
    }
}

// Each stage waits within its frame for the two others: only three at once get through.
TEST(FramePipeline, WorksOnThreeFramesAtOnce) {
    std::latch meeting(3);
    auto const meet = [&](int frame, int meetingFrame) {
        if (frame != meetingFrame) return frame;
        meeting.count_down();
        for (int ms = 0; ms < 20'000 && !meeting.try_wait(); ++ms)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_TRUE(meeting.try_wait());
        return frame;
    };
    runFrames(
        {0, 1, 2}, {}, [&](int frame) { return meet(frame, 2); },
        [&](int frame, int) { return meet(frame, 1); }, [&](int frame, int) { meet(frame, 0); });
    // What the report throws ends the run and comes out, however far the stages are.
    auto const same = [](int frame, int = 0) { return frame; };
    auto const report = [](int, std::size_t i, FrameFailure const*) { i == 5 ? throw 5 : 0; };
    EXPECT_THROW(runFrames(std::vector<int>(50), {}, same, same, same, report), int);
}

/// What is told of three frames, the second of which fails.
std::string told(ProgressMode mode, bool isTerminal) {
    std::string text;
    double now = 100;
    Progress progress(mode, 3,
                      {[&](std::string_view part) { text += part; }, [&] { return now += 0.5; },
                       [] { return 50; }, isTerminal});
    progress.done(1001);
    progress.failed(1002, {"a\xff\n\"b\"", ExitCode::kInput});
    now += 0.5;
    progress.done(1003);
    progress.end({2, 4, false});
    if (mode == ProgressMode::kJson) {  // whose frames and end tell the memory in use
        auto const lines = split(text, '\n');
        return lines.at(1) + "\n";
    }
    return text;
}

TEST(Progress, TellsEachFrame) {
    std::string const failure = "1002 (2/3) failed: a\xff \"b\"\n";
    EXPECT_EQ(told(ProgressMode::kAuto, false),
              "1001 (1/3) 2.0 frames/s\n" + failure + "1003 (3/3) 1.5 frames/s\n");
    std::string const clear = "\r\x1b[K";
    EXPECT_EQ(told(ProgressMode::kAuto, true),
              clear + "1001 (1/3) [####........] 2.0 frames/s, 0:01 left" + clear + failure +
                  clear + "1002 (2/3) [########....] 2.0 frames/s, 0:01 left" + clear +
                  "1003 (3/3) [############] 1.5 frames/s, 0:00 left" + clear);
    EXPECT_EQ(told(ProgressMode::kJson, true),
              R"({"event":"failure","frame":1002,"index":2,"count":3,"seconds":1.0,"message":"a)"
              "\xef\xbf\xbd"
              R"( \"b\"","code":3,"endsRun":false}
)");
    EXPECT_EQ(told(ProgressMode::kNone, true), failure);
    std::string last;
    double now = 0, step = 1;
    Progress progress(ProgressMode::kPlain, 40,
                      {[&](auto line) { last = line; }, [&] { return now += step; }, {}});
    for (int frame = 1; frame <= 36; ++frame, step = frame < 20 ? 1 : 0.25) progress.done(frame);
    EXPECT_EQ(last, "36 (36/40) 4.0 frames/s\n");  // the slow start is forgotten
}

TEST(InterruptFlag, CatchesTheFirstSignalOnly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // the picture library has threads
    auto const own = +[](int) {};
    std::signal(SIGTERM, SIG_IGN);
    std::signal(SIGINT, own);
    std::signal(SIGPIPE, SIG_DFL);
    {
        InterruptFlag const guard;
        std::raise(SIGTERM);  // still ignored
        EXPECT_FALSE(guard.flag());
        std::raise(SIGINT);
        EXPECT_TRUE(guard.flag());
        EXPECT_EXIT(std::raise(SIGINT), testing::ExitedWithCode(130), "");
        EXPECT_EQ(std::raise(SIGPIPE), 0);  // the test goes on
    }
    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_DFL);
    EXPECT_EQ(std::signal(SIGTERM, SIG_DFL), SIG_IGN);
    EXPECT_EQ(std::signal(SIGINT, SIG_DFL), own);
}

}  // namespace
}  // namespace zelk

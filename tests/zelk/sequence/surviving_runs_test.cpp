// Runs that are cut off, go on, share a folder or meet a full disk: every frame is there once, to
// the bit as an undisturbed run writes it, and nothing else is left.
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <thread>

#include "tests/support/zelk_process.h"
#include "zelk/files/frame_locks.h"
#include "zelk/files/left_overs.h"
#include "zelk/files/process_tag.h"

namespace zelk_test {
namespace {

using Json = nlohmann::json;
using std::chrono::milliseconds;

class SurvivingRuns : public ZelkTest {
protected:
    void SetUp() override { writePicture(at("in.png"), noise<std::uint8_t>(160, 120, 4, 3)); }
    static Words words(std::string const& folder, int count, Words const& more = {}) {
        return joined(
            {"render", "in.png", "-o", folder + "/o.%d.png", "--frames",
             "1-" + std::to_string(count), "--to", "9,3 150,20 2,110 140,115", "--no-metadata"},
            more);
    }
    /// The folder of an undisturbed run.
    auto undisturbed(int count) const {
        fs::create_directory(at("all"));
        done(words("all", count));
        return contents("all");
    }
    std::vector<Json> events(std::string const& log) const {
        std::vector<Json> all;
        std::ifstream file(at(log));
        for (std::string line; std::getline(file, line) && !file.eof();)
            all.push_back(Json::parse(line));
        return all;
    }
    std::multiset<int> written(std::string const& log) const {
        std::multiset<int> frames;
        for (Json const& event : events(log))
            if (event["event"] == "frame") frames.insert(event["frame"].get<int>());
        return frames;
    }
};

TEST_F(SurvivingRuns, AKilledRunGoesOnToTheSameFrames) {
    constexpr int kFrames = 12;
    int const rounds = std::getenv("ZELK_LONG") ? 100 : 9;
    auto const start = std::chrono::steady_clock::now();
    auto const all = undisturbed(kFrames);
    auto const wholeMs =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start).count();
    ASSERT_EQ(all.size(), kFrames);
    std::mt19937 random(20);
    for (int round = 0; round < rounds; ++round) {
        int const signal = std::array{SIGKILL, SIGTERM, SIGHUP}[round % 3];
        std::string const folder = "r" + std::to_string(round);
        fs::create_directory(at(folder));
        milliseconds const pause(random() % static_cast<unsigned>(wholeMs));
        Outcome const cut = run(words(folder, kFrames), {}, [&](int child) {
            std::this_thread::sleep_for(pause);
            ::kill(child, signal);
        });
        // A signal before the run's own handlers ends the process as it does any.
        EXPECT_TRUE(cut.exitCode == -1 || cut.exitCode == 0 || cut.exitCode == 130) << cut.err;
        for (auto const& [name, bytes] : contents(folder))
            EXPECT_TRUE(signal == SIGKILL || bytes == all.at(name)) << name << " " << signal;
        done(words(folder, kFrames, {"--skip-existing"}));
        EXPECT_EQ(contents(folder), all) << "signal " << signal << " after " << pause.count();
    }
}

// A foreign whole picture stays; what is cut, empty, no picture or of another size does not, with
// the journal and without; a file changed at its own length is not what the journal has.
TEST_F(SurvivingRuns, OnlyWholeFramesAreSkipped) {
    auto const all = undisturbed(6);
    std::string const first = bytesOf("all/o.1.png"), last = bytesOf("all/o.6.png");
    writePicture(at("own.png"), noise<std::uint8_t>(160, 120, 4, 8));
    for (bool const hasJournal : {true, false}) {
        put("all/o.1.png", first.substr(0, 700));
        put("all/o.2.png", "");
        put("all/o.3.png", "placeholder");
        writePicture(at("all/o.4.png"), noise<std::uint8_t>(1, 1, 4, 1));
        fs::copy_file(at("own.png"), at("all/o.5.png"), fs::copy_options::overwrite_existing);
        std::string damaged = last;
        damaged[damaged.size() / 2] ^= 1;
        put("all/o.6.png", damaged);
        if (!hasJournal) fs::remove(at("all/.zelk-journal"));
        std::string const plan = run(words("all", 6, {"--skip-existing", "--dry-run"})).out;
        EXPECT_TRUE(has(plan, "5 frames to render, 1 skipped")) << plan;
        EXPECT_TRUE(has(run(words("all", 6, {"--skip-existing=name"})).err, "6 skipped"));
        EXPECT_TRUE(has(done(words("all", 6, {"--skip-existing"})), "5 frames written, 1 skipped"));
        auto now = contents("all");
        EXPECT_EQ(std::exchange(now["o.5.png"], all.at("o.5.png")), contents("").at("own.png"));
        EXPECT_EQ(now, all);
    }
    // Whole frames are kept though their inputs are gone.
    fs::remove(at("in.png"));
    EXPECT_EQ(run(words("all", 6, {"--skip-existing"})).exitCode, 0);
}

TEST_F(SurvivingRuns, RunsShareAFolderAndOneOutlivesTheOther) {
    constexpr int kFrames = 40;
    auto const all = undisturbed(kFrames);
    for (bool const isKilled : {false, true}) {
        std::string const folder = isKilled ? "k" : "s";
        fs::create_directory(at(folder));
        Words const shared = {"--share", "--in-flight", "2", "--quiet", "--log"};
        std::string const other = folder + ".other.json", own = folder + ".own.json";
        Outcome const outcome = run(words(folder, kFrames, joined(shared, {own})), {}, [&](int) {
            run(words(folder, kFrames, joined(shared, {other})), {}, [&](int child) {
                // Between its frames, unless it came too late for any.
                siginfo_t ended{};
                while (isKilled && !ended.si_pid && written(other).size() < 2) {
                    std::this_thread::sleep_for(milliseconds(1));
                    ::waitid(P_PID, unsigned(child), &ended, WEXITED | WNOHANG | WNOWAIT);
                }
                if (isKilled) ::kill(child, SIGKILL);
            });
        });
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(contents(folder), all);
        auto frames = written(own);
        frames.merge(written(other));
        std::set<int> const once(frames.begin(), frames.end());
        EXPECT_TRUE(isKilled || once.size() == kFrames);
        EXPECT_EQ(frames.size(), once.size()) << "a frame was written twice";
    }
}

// Locks and files of the living stay, those of the dead go; of another machine age alone is known.
TEST_F(SurvivingRuns, WhatTheDeadLeftIsTold) {
    zelk::ProcessTag const own = zelk::thisProcess();
    zelk::ProcessTag dead = own, foreign = own;
    dead.start -= 1;  // the id was given again
    foreign.machine ^= 1;
    EXPECT_EQ(lifeOf(own), zelk::Life::kAlive);
    EXPECT_EQ(lifeOf(dead), zelk::Life::kDead);
    auto const age = [&](std::string const& name, int seconds) {
        fs::last_write_time(at(name),
                            fs::file_time_type::clock::now() - std::chrono::seconds(seconds));
    };
    std::string const end = "-0.png";
    for (auto const& [tag, seconds, isLeft, mayTake] : {std::tuple(own, 1'000'000, true, false),
                                                        {dead, 0, false, true},
                                                        {foreign, 60, true, false},
                                                        {foreign, 200, true, true},
                                                        {foreign, 90'000, false, true}}) {
        std::string const file = ".o.zelk-" + tag.text() + end, lock = ".o.png.zelk-lock";
        for (bool const isSwept : {false, true}) {
            put(file, "half");
            put(lock, tag.text() + "-1-1 host\n");
            age(file, seconds);
            age(lock, seconds);
            if (isSwept) {
                zelk::sweepLeftOvers(at(""));
                EXPECT_EQ(files().size(), 1u + isLeft + !mayTake) << tag.text() << " " << seconds;
            } else {
                zelk::FrameLocks locks;
                EXPECT_EQ(locks.take(at("o.png")), mayTake) << tag.text() << " " << seconds;
            }
            for (std::string const& name : {file, lock}) fs::remove(at(name));
        }
    }
    // Another name of the same file.
    fs::create_symlink("o.png", at("link.png"));
    zelk::FrameLocks locks, others;
    EXPECT_TRUE(locks.take(at("o.png")) && !others.take(at("link.png")));
}

// Where /proc tells nothing of a process that is there, as of another user's, its lock is held.
TEST_F(SurvivingRuns, ProcessesThatAreHiddenLive) {
    zelk::ProcessTag own = zelk::thisProcess();
    pid_t const child = ::fork();
    if (child == 0) {
        bool const isHidden = ::unshare(CLONE_NEWNS) == 0 &&
                              ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                              ::mount("none", "/proc", "tmpfs", 0, nullptr) == 0;
        bool const isUnknown = lifeOf(own) == zelk::Life::kUnknown;
        own.id = -1;  // not everybody's
        ::_exit(isHidden ? (isUnknown && lifeOf(own) == zelk::Life::kDead) : 2);
    }
    int state = 0;
    ::waitpid(child, &state, 0);
    if (WEXITSTATUS(state) == 2) GTEST_SKIP() << "/proc can't be hidden here";
    EXPECT_EQ(WEXITSTATUS(state), 1);
}

// Many threads, each a run of its own, want a lock that a dead one left: one has it at a time.
TEST_F(SurvivingRuns, OneTakesADeadLockOver) {
    zelk::ProcessTag dead = zelk::thisProcess();
    dead.start -= 1;
    std::atomic<int> holders = 0, takeovers = 0;
    for (int round = 0; round < 60; ++round) {
        put(".o.zelk-lock", dead.text() + "-" + std::to_string(round) + "-1 host\n");
        std::vector<std::jthread> runs;
        for (int i = 0; i < 4; ++i)
            runs.emplace_back([&] {
                zelk::FrameLocks locks;
                if (!locks.take(at("o"))) return;
                EXPECT_EQ(++holders, 1);
                ++takeovers;
                std::this_thread::sleep_for(milliseconds(1));
                --holders;
            });
        runs.clear();
        fs::remove(at(".o.zelk-lock"));
    }
    EXPECT_GE(takeovers, 60);
    EXPECT_EQ(files(), Words{"in.png"});
}

TEST_F(SurvivingRuns, AFullDiskIsNamedAndEndsTheRun) {
    fs::create_directory(at("disk"));
    if (::mount("none", at("disk").c_str(), "tmpfs", 0, "size=400k") != 0)
        GTEST_SKIP() << "no small disk can be had here";
    for (char const* format : {"png", "exr", "tif", "dpx"}) {
        std::string const name = std::string("disk/o.%d.") + format;
        Outcome const outcome = run({"render", "in.png", "-o", name, "--frames", "1-30", "--log",
                                     "log.json", "--progress", "plain"});
        EXPECT_EQ(outcome.exitCode, 4) << outcome.err;
        EXPECT_TRUE(has(outcome.err, "the disk is full (No space left on device) ("))
            << outcome.err;
        EXPECT_FALSE(has(outcome.err, "failed")) << outcome.err;
        auto const told = events("log.json");
        EXPECT_EQ(told.at(told.size() - 2)["endsRun"], true);
        EXPECT_EQ(contents("disk").size(), written("log.json").size());
        for (auto const& [file, bytes] : contents("disk")) {
            EXPECT_EQ(readPicture<std::uint8_t>(at("disk/" + file)).width, 160);
            fs::remove(at("disk/" + file));
        }
        fs::remove(at("log.json"));
    }
    ::umount(at("disk").c_str());
}

// Each event has the keys that the schema asks for and no others.
TEST_F(SurvivingRuns, EventsAreAsTheSchemaSays) {
    fs::create_directory(at("o"));
    put("in.3.png", "no picture");
    for (int frame : {1, 2, 4})
        writePicture(at("in." + std::to_string(frame) + ".png"), noise<std::uint8_t>(8, 6, 4, 1));
    Words const words = {"render", "in.%d.png", "-o",       "o/o.%d.jpg", "--frames",
                         "1-5",    "--log",     "log.json", "--progress", "json"};
    Outcome const outcome = run(words);
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_EQ(outcome.err, bytesOf("log.json"));
    Json const schema = Json::parse(std::ifstream(ZELK_PROGRESS_SCHEMA))["$defs"];
    std::string order;
    for (Json const& event : events("log.json")) {
        order += event["event"].get<std::string>() + " ";
        Json const& known = schema[event["event"].get<std::string>()];
        for (auto const& key : known["required"])
            EXPECT_TRUE(event.contains(key.get<std::string>())) << key << event;
        for (auto const& [key, value] : event.items()) {
            Json kind = known["properties"][key];
            if (kind.contains("$ref")) kind = schema[kind["$ref"].get<std::string>().substr(8)];
            ASSERT_FALSE(kind.is_null()) << key;
            std::string const type = value.is_number_integer() ? "integer" : value.type_name();
            std::string const wanted = kind.value("type", "");
            EXPECT_TRUE(wanted.empty() || wanted == type ||
                        (wanted == "number" && value.is_number()))
                << key << event;
        }
    }
    EXPECT_EQ(order, "start frame warning frame warning failure frame warning failure end ");
    // A log is added to, below a line that its writer could not end; another file is left alone.
    std::string const cut = bytesOf("log.json") + R"({"event":"st)";
    put("log.json", cut);
    run(words);
    EXPECT_EQ(bytesOf("log.json").find(cut + "\n{\"event\":\"start"), 0u);
    EXPECT_EQ(lines(bytesOf("log.json")), 21);
    put("p.zelk.json", "{}");
    Words const one = {"render", "in.png", "-o", "a.png", "--log"};
    for (char const* name : {"in.1.png", "p.zelk.json"})
        expectRefusal(joined(one, {name}), 4, {name, "no log"});
    expectRefusal(joined(one, {"a.png"}), 2, {"--log", "a.png"});
    EXPECT_FALSE(fs::exists(at("a.png")));
}

// The system counts a program's memory from what the program had that started it.
TEST_F(SurvivingRuns, ThePeakOfMemoryIsTheRunsOwn) {
    std::vector<char> const ours(400'000'000, 1);
    // With something to do meanwhile, a run is started by this process.
    run({"render", "in.png", "-o", "o.png", "--log", "log.json"}, {}, [](int) {});
    EXPECT_LT(events("log.json").back()["peakBytes"], ours.size());
}

TEST_F(SurvivingRuns, QuietAndStrictRuns) {
    Words const jpeg = {"render", "in.png", "-o", "o.%d.jpg", "--frames", "1-2"};
    EXPECT_TRUE(has(run(jpeg).err, "warning: o.1.jpg: alpha"));
    EXPECT_EQ(done(joined(jpeg, {"--quiet"})), "");
    for (char const* name : {"o.1.jpg", "o.2.jpg"}) fs::remove(at(name));
    Outcome const strict = run(joined(jpeg, {"--strict"}));
    EXPECT_EQ(strict.exitCode, 1);
    EXPECT_TRUE(has(strict.err, "1 (1/2) failed: o.1.jpg: alpha can't be kept")) << strict.err;
    EXPECT_EQ(files(), (Words{".zelk-journal", "in.png"}));
    EXPECT_EQ(run(joined(jpeg, {"--strict", "--dry-run"})).exitCode, 1);
    expectRefusal({"render", "in.png", "-o", "o.jpg", "--strict"}, 1, {"o.jpg", "alpha"});
    expectRefusal({"render", "in.png", "-o", "o.png", "--quiet", "--progress", "bar"}, 2,
                  {"--quiet", "--progress"});
    expectRefusal({"render", "in.png", "-o", "o.mov", "--share", "--frames", "1-2"}, 2,
                  {"--share", "movie"});
}

TEST_F(SurvivingRuns, TheEnvironmentGivesDefaults) {
    Words const words = {"render", "in.png", "-o", "o.png"};
    for (char const* name : {"ZELK_THREADS", "ZELK_MODULE"}) {
        ::setenv(name, "nothing.so", 1);
        bool const isModule = std::string(name) == "ZELK_MODULE";
        expectRefusal(words, isModule ? 3 : 2, {isModule ? "nothing.so" : "$ZELK_THREADS"});
        done(joined(words, {isModule ? "--module" : "--threads", isModule ? ZELK_MODULE : "1"}));
        ::setenv(name, "", 1);
        done(words);
        ::unsetenv(name);
    }
}

}  // namespace
}  // namespace zelk_test

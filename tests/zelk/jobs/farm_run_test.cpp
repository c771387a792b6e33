// Jobs from submission to their last frame. Slurm's programs are stood in for: they write down what
// they were told and answer as files say.
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

using Json = nlohmann::json;

class Farm : public ZelkTest {
protected:
    void SetUp() override {
        writePicture(at("in.png"), noise<std::uint8_t>(48, 36, 4, 3));
        fs::create_directory(at("out"));
        putProject(0);
        putProgram("sbatch",
                   "echo \"$*\" >>calls\n[ ! -e refuse ] || { echo \"sbatch: error: $(cat "
                   "refuse)\" >&2; exit 1; }\n"
                   "id=$(grep -c parsable calls)\necho $id\n");
        putProgram("squeue", "cat queue 2>/dev/null\n");
        putProgram("scancel", "echo \"scancel $*\" >>calls\n");
        putProgram("sacct", "exit 1\n");
        putProgram("scontrol", "echo 'MaxArraySize            = 4'\n");
    }
    void putProject(int shift) const {
        put("shot.zelk.json",
            R"({"schema":"zelk-project","version":1,"comp":{"width":48,"height":36,)"
            R"("rate":24,"startFrame":1,"duration":12},"layer":"in.png",)"
            R"("output":"out/o.%d.png","frames":"1-12","parameters":{"to-upper-left":)"
            R"({"keys":[{"frame":1,"value":[)" +
                std::to_string(shift) + R"(,0]},{"frame":12,"value":[20,9]}]}}})");
    }
    Words words(Words const& more) const {
        return joined({"submit", "shot.zelk.json", "--memory", "200"}, more);
    }
    auto frames() const { return contents("out"); }
    /// As one run renders the project now.
    auto rendered(Words const& more = {}) const {
        done(joined({"render", "--project", "shot.zelk.json"}, more));
        auto const all = frames();
        for (auto const& [name, sum] : all) fs::remove(at("out/" + name));
        return all;
    }
    Json status() const {
        return Json::parse(run({"submit", "status", "out/o.zelk-job", "--json"}).out);
    }
    std::string id() const { return Json::parse(bytesOf("out/o.zelk-job/job.json"))["id"]; }
    /// As an engine starts a task; of the job there is, where no other is named.
    int engineRuns(std::string const& arguments, std::string const& variables = "",
                   std::string const& job = "") const {
        return WEXITSTATUS(
            std::system(("cd " + at("").string() + " && " + variables + " out/o.zelk-job/task.sh " +
                         (job.empty() ? id() : job) + " " + arguments + " 2>/dev/null")
                            .c_str()));
    }
    int runAll() const {
        return WEXITSTATUS(
            std::system((at("out/o.zelk-job/run.sh").string() + " 2 2>/dev/null").c_str()));
    }
};

TEST_F(Farm, ArraysRenderWhatWasSubmittedToTheBit) {
    Words const look = {"--opacity", "80", "--set", "quality=1", "--motion-blur", "on"};
    auto const one = rendered(look);
    auto const said =
        run(words(joined(look, {"--engine", "slurm", "--chunk", "2", "--movie", "out/m.mov"})));
    ASSERT_EQ(said.exitCode, 0) << said.err;
    std::string const calls = bytesOf("calls");
    EXPECT_EQ(lines(calls), 3) << calls;  // six tasks, three an array, and the movie
    for (char const* part : {"--array=1-3", "--mem=200M", "--dependency=afterok:1:2", " 1 movie"})
        EXPECT_TRUE(has(calls, part)) << part;
    put("queue",
        "1_1|RUNNING|None\n1_2|PENDING|Resources\n2_3|PENDING|Resources\n3|PENDING|Dependency\n");
    Json state = status();
    EXPECT_EQ(state["running"]["frames"], "1-2");
    EXPECT_EQ(state["waiting"]["frames"], "3-4,11-12");
    EXPECT_EQ(state["movie"], "waiting");
    expectRefusal(words({"--engine", "slurm"}), 4, {"out/o.zelk-job", "resume", "cancel"});
    put("shot.zelk.json", "overwritten");
    for (int task = 1; task <= 3; ++task)
        for (char const* offset : {"0", "3"})
            EXPECT_EQ(engineRuns(std::string("1 ") + offset,
                                 "SLURM_ARRAY_TASK_ID=" + std::to_string(task)),
                      0);
    put("queue", "");
    EXPECT_EQ(frames(), one);
    EXPECT_FALSE(status()["whole"]);
    EXPECT_EQ(engineRuns("1 movie"), 0);
    EXPECT_TRUE(status()["whole"]);
    put("out/m.mov", "short");
    EXPECT_EQ(status()["movie"], "missing");
}

TEST_F(Farm, ResumeHandsOverWhatNobodyHas) {
    auto const one = rendered();
    done(words({"--engine", "slurm", "--chunk", "3"}));
    for (char const* offset : {"0", "1", "2"})
        EXPECT_EQ(engineRuns(std::string("1 ") + offset, "SLURM_ARRAY_TASK_ID=1"), 0);
    fs::remove(at("out/o.2.png"));
    put("out/o.5.png", "short");
    put("out/o.7.png", std::string(bytesOf("out/o.7.png").size(), 'x'));  // of its size
    put("queue", "2_1|RUNNING|None\n");  // the fourth task: frames 10 to 12
    EXPECT_EQ(status()["missing"]["frames"], "2,5");
    put("calls", "");
    EXPECT_TRUE(has(run({"submit", "resume", "out/o.zelk-job", "--verify"}).out, "3 frames"));
    EXPECT_TRUE(has(bytesOf("out/o.zelk-job/tasks-2.txt"), "2,5,7"));
    put("queue", "");
    EXPECT_EQ(engineRuns("2 0", "SLURM_ARRAY_TASK_ID=1"), 0);
    EXPECT_EQ(run({"submit", "status", "out/o.zelk-job"}).exitCode, 5);  // 10 to 12 are lost
    done({"submit", "resume", "out/o.zelk-job"});
    EXPECT_EQ(engineRuns("3 0", "SLURM_ARRAY_TASK_ID=1"), 0);
    EXPECT_EQ(frames(), one);
    EXPECT_EQ(run({"submit", "status", "out/o.zelk-job"}).exitCode, 0);
    put("calls", "");
    done({"submit", "cancel", "out/o.zelk-job"});
    EXPECT_TRUE(has(bytesOf("calls"), "scancel 1 2"));
    EXPECT_NE(engineRuns("3 0", "SLURM_ARRAY_TASK_ID=1"), 0);
}

TEST_F(Farm, ScriptsRunAllTasksAndANewSubmissionRendersAnew) {
    putProgram("parallel", "exit 1\n");  // xargs
    putProject(4);
    Words const plain = {"--no-metadata", "--engine", "shell"};
    auto const later = rendered({"--no-metadata"});
    putProject(0);
    done(words(joined(plain, {"--chunk", "5"})));
    EXPECT_EQ(runAll(), 0);
    EXPECT_NE(frames(), later);
    putProject(4);
    done(words(plain));  // its three timed frames too
    EXPECT_EQ(runAll(), 0);
    EXPECT_EQ(frames(), later);
    fs::remove(at("out/o.4.png"));
    put("out/o.6.png", "a placeholder");
    fs::remove(at("out/.zelk-journal"));
    std::string const plan =
        run(words(joined(plain, {"--chunk", "1", "--skip-existing", "--dry-run"}))).out;
    EXPECT_TRUE(has(plan, "2 frames to render")) << plan;
    EXPECT_FALSE(fs::exists(at("out/.zelk-journal")));  // what is only told writes nothing
    done(words(joined(plain, {"--chunk", "1", "--skip-existing"})));
    EXPECT_EQ(bytesOf("out/o.zelk-job/tasks-1.txt"), "4\n6\n");
    EXPECT_EQ(runAll(), 0);
    EXPECT_EQ(frames(), later);
    EXPECT_TRUE(status()["whole"]);
}

TEST_F(Farm, FramesNameOneRenderForAllFormsOfOptions) {
    Words const shell = {"submit", "--engine", "shell", "--chunk", "12"};
    for (auto const& [more, expected] : std::vector<std::pair<Words, std::string>>{
             {{"-oout/o.%d.png", "shot.zelk.json"}, "-oout/o.%d.png --project shot.zelk.json"},
             {{"--first-frame", "-3", "shot.zelk.json"},
              "--first-frame -3 --project shot.zelk.json"},
             {{"--in-flight", "2", "--", "shot.zelk.json"},
              "--in-flight 2 --project shot.zelk.json"},
             {{"-o", "o.%d.png", "--size=9x9", "--frames=1", "--movie", "m.mkv", "--", "in.png"},
              "-o o.%d.png --size=9x9 --frames=1 -- in.png"}}) {
        done(joined(shell, more));
        std::string const job = has(expected, "in.png") ? "o.zelk-job" : "out/o.zelk-job";
        std::string command = Json::parse(bytesOf(job + "/job.json"))["command"];
        std::erase(command, '\'');  // what a shell needs
        EXPECT_EQ(command, "zelk render " + expected);
    }
}

/// Other work on the same output, and what a script or an engine still has of what was cancelled.
TEST_F(Farm, TasksOfWhatIsOverAreRefused) {
    auto const shell = words({"--engine", "shell", "--chunk", "6"});
    done(shell);
    std::string const former = id();
    fs::create_directory_symlink("out", at("link"));
    done({"submit", "cancel", "link/../out/o.zelk-job"});
    done({"submit", "resume", "link/o.zelk-job"});
    EXPECT_EQ(engineRuns("1 1"), 130);
    EXPECT_EQ(engineRuns("2 1"), 0);
    EXPECT_FALSE(status()["whole"]);
    done(joined(shell, {"--job", "out/o.zelk-job/"}));  // a new job in its place
    EXPECT_EQ(engineRuns("1 1", "", former), 130);
    EXPECT_EQ(engineRuns("1 1"), 0);
    EXPECT_EQ(engineRuns("1 2"), 0);
    EXPECT_TRUE(status()["whole"]);
    // Another render of the output, of as many bytes: the job has its own sums.
    std::string const own = bytesOf("out/o.3.png");
    putProject(1);
    done({"render", "--project", "shot.zelk.json"});
    put("out/o.5.png", std::string(bytesOf("out/o.5.png").size(), 'x'));
    EXPECT_NE(run({"submit", "status", "out/o.zelk-job", "--verify"}).exitCode, 0);
    EXPECT_EQ(engineRuns("1 1"), 0);
    EXPECT_EQ(bytesOf("out/o.3.png"), own);
}

TEST_F(Farm, AJobIsAtWorkWhileItsScriptIs) {
    std::string const mark = at("running").string();
    putProgram("xargs", "touch " + mark + "; while [ -e " + mark + " ]; do sleep 0.05; done\n");
    putProgram("parallel", "exit 1\n");
    auto const shell = words({"--engine", "shell", "--chunk", "3"});
    done(shell);
    std::system((at("out/o.zelk-job/run.sh").string() + " 2>/dev/null &").c_str());
    while (!fs::exists(at("running"))) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(status()["waitingTasks"], 4);
    EXPECT_EQ(run({"submit", "status", "out/o.zelk-job"}).exitCode, 0);
    EXPECT_EQ(runAll(), 4);  // a second one
    expectRefusal(shell, 4, {"out/o.zelk-job", "at work"});
    expectRefusal(joined(shell, {"--job", "other.zelk-job"}), 4, {"o.zelk-job", "o.%d.png"});
    expectRefusal(joined(shell, {"-o", "out/o.%d.exr"}), 4, {"o.%d.png", "o.%d.exr", "--job"});
    expectRefusal({"submit", "resume", "out/o.zelk-job"}, 4, {"at work"});
    done({"submit", "cancel", "out/o.zelk-job"});  // and the script with what it started
    while (status()["script"] == true) continue;
    done(joined(shell, {"--job", "other.zelk-job"}));
    EXPECT_TRUE(fs::is_symlink(at("out/other.zelk-job")));
    // An engine that can't be asked has what it was given until that has ended or was cancelled.
    done(words({"--engine", "openjd", "--chunk", "6", "--frame-time", "1"}));
    EXPECT_EQ(status()["waitingTasks"], 2);
    EXPECT_EQ(engineRuns("1 1"), 0);
    EXPECT_EQ(status()["waitingTasks"], 1);
    expectRefusal({"submit", "resume", "out/o.zelk-job"}, 4, {"at work", "cancel"});
    EXPECT_EQ(engineRuns("1 2"), 0);
    EXPECT_TRUE(status()["whole"]);
    // Of a frame that failed there is no movie, and nobody waits for one.
    done(words({"--engine", "openjd", "--frame-time", "1", "--movie", "out/m.mov"}));
    EXPECT_EQ(status()["movie"], "waiting");
    fs::remove(at("out/o.4.png"));
    fs::remove(at("in.png"));
    EXPECT_EQ(engineRuns("1 1"), 3);
    EXPECT_EQ(engineRuns("1 movie"), 3);
    EXPECT_EQ(status()["movie"], "failed");
    EXPECT_EQ(run({"submit", "status", "out/o.zelk-job"}).exitCode, 5);
}

TEST_F(Farm, RefusalsAreOneLineAndLeaveNothing) {
    auto const slurm = words({"--engine", "slurm", "--chunk", "3"});
    fs::remove(at("_bin/sacct"));
    expectRefusal({"submit", "in.png", "-o", "o.mov", "--frames", "1-3", "--engine", "shell"}, 2,
                  {"--output", "o.mov", "--movie"});
    expectRefusal(words({"--engine", "shell", "--codec", "h264"}), 2, {"--codec", "--movie"});
    expectRefusal(words({"--engine", "shell", "--movie", "m.png"}), 2,
                  {"--movie", "m.png", ".mov"});
    expectRefusal(words({"--engine", "shell", "--movie", "m.mov", "--codec", "ffv1"}), 2,
                  {"--codec", "ffv1", "prores4444"});
    expectRefusal(words({"--engine", "shell", "--movie", "m.mov", "--codec", "dnxhr"}), 2,
                  {"m.mov", "48x36", "256x120"});
    expectRefusal(words({"--engine", "shell", "--job", "no/x", "--dry-run"}), 4, {"no folder"});
    expectRefusal(words({"--engine", "shell", "--engine-option", "-x"}), 2, {"sbatch", "slurm"});
    expectRefusal(words({"--engine", "shell", "--job", "\xff.zelk-job"}), 2, {"UTF-8"});
    fs::create_hard_link(at("in.png"), at("in.mov"));
    expectRefusal(words({"--engine", "shell", "--movie", "in.mov"}), 2, {"--movie", "layer"});
    expectRefusal({"submit", "status", "out"}, 3, {"out", "is no job"});
    fs::remove(at("in.png"));
    expectRefusal(slurm, 3, {"in.png"});
    EXPECT_FALSE(fs::exists(at("out/o.zelk-job")));
    SetUp();
    std::string const path = std::getenv("PATH");
    ::setenv("PATH", "/nowhere", 1);
    expectRefusal(slurm, 1, {"scontrol", "slurm-client"});
    ::setenv("PATH", path.c_str(), 1);
    put("refuse", "Batch job submission failed: Invalid account");
    expectRefusal(slurm, 1, {"sbatch", "Invalid account", "submit resume"});
    fs::remove(at("refuse"));
    done({"submit", "resume", "out/o.zelk-job"});
    // A job whose engine can't be asked blocks its output until it is known to be over.
    auto const other = words({"--engine", "shell", "--job", "other"});
    putProgram("squeue", "echo 'no cluster' >&2; exit 1\n");
    expectRefusal(other, 1, {"out/o.zelk-job", "no cluster", "submit cancel"});
    done({"submit", "cancel", "out/o.zelk-job"});
    done(other);
}

}  // namespace
}  // namespace zelk_test

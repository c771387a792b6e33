// The parts of a job that need no engine: tasks, names, texts of engines, logs.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <numeric>
#include <regex>
#include <set>

#include "apps/zelk/submit_command.h"
#include "tests/support/temporary_folder.h"
#include "zelk/farm/chunks.h"
#include "zelk/farm/openjd_template.h"
#include "zelk/farm/slurm.h"
#include "zelk/farm/task_log.h"
#include "zelk/farm/task_script.h"

namespace zelk {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

TEST(Tasks, HaveEachFrameOnceInOrderAndAreOfOneSize) {
    for (int const count : {1, 2, 9, 10, 11, 197, 1000})
        for (int const most : {1, 2, 3, 10, 1000, 5000}) {
            std::vector<int> frames(static_cast<std::size_t>(count)), all;
            std::iota(frames.begin(), frames.end(), -5);
            std::size_t least = frames.size(), largest = 0;
            for (auto const& task : tasksOf(frames, most)) {
                all.insert(all.end(), task.begin(), task.end());
                least = std::min(least, task.size());
                largest = std::max(largest, task.size());
            }
            EXPECT_EQ(all, frames) << count << " by " << most;
            EXPECT_LE(largest, static_cast<std::size_t>(most));
            EXPECT_LE(largest - least, 1u);
        }
    EXPECT_TRUE(tasksOf({}, 3).empty());
}

TEST(Tasks, TakeAboutTheTimeAskedFor) {
    EXPECT_EQ(framesPerTask(0.5, 120, 1000), 240);
    EXPECT_EQ(framesPerTask(0.5, 120, 100), 100);
    EXPECT_EQ(framesPerTask(500, 120, 100), 1);
    EXPECT_EQ(framesPerTask(0, 120, 100), 100);
}

TEST(JobFolder, StandsBesideTheOutput) {
    for (auto const& [output, folder] : std::vector<std::pair<char const*, char const*>>{
             {"/s/comp.####.exr", "/s/comp.zelk-job"},
             {"/s/comp_v2.%04d.exr", "/s/comp_v2.zelk-job"},
             {"/s/$F4.png", "/s/frames.zelk-job"},
             {"/s/a b/x.exr", "/s/a b/x.zelk-job"},
             {"/s/take.%03d/x.exr", "/s/take.zelk-job"}})
        EXPECT_EQ(jobFolderOf(output), folder) << output;
}

TEST(RenderHistory, IsTheRenderThatTheJobStandsFor) {
    EXPECT_EQ(renderHistory({"submit", "s.zelk.json", "--engine", "slurm", "--chunk=5"}),
              "zelk render --project s.zelk.json");
    EXPECT_EQ(renderHistory({"submit", "--project", "s.json", "--movie", "m.mov", "--codec", "h264",
                             "--opacity", "50"}),
              "zelk render --project s.json --opacity 50");
    EXPECT_EQ(renderHistory({"submit", "in.png", "-o", "o.#.png", "--engine=shell"}),
              "zelk render in.png -o \"o.#.png\"");
}

Job slurmJob() {
    Job job;
    job.folder = "/s/100%.zelk-job";
    job.threads = 3;
    job.memoryMb = 900;
    job.submissions = {{1, 1500, {{"70", 0, 1000}, {"71", 1000, 500}}, "72"},
                       {2, 2, {{"80", 0, 2}}, ""}};
    return job;
}

TEST(Slurm, PartsTasksByTheLargestArray) {
    auto const arrays = arraysOf(2500, 1001);
    ASSERT_EQ(arrays.size(), 3u);
    EXPECT_EQ(arrays[2].offset, 2000);
    EXPECT_EQ(arrays[2].count, 500);
    EXPECT_EQ(arraysOf(1000, 1001).size(), 1u);
    auto const words = arrayWords(slurmJob(), 1, arrays[2]);
    for (char const* word : {"--array=1-500", "--cpus-per-task=3", "--mem=900M", "--requeue",
                             "--output=/s/100%%.zelk-job/logs/slurm-%A_%a.txt", "2000"})
        EXPECT_NE(std::find(words.begin(), words.end(), word), words.end()) << word;
}

TEST(Slurm, FindsItsTasksInTheQueue) {
    auto const tasks = tasksIn(slurmJob(),
                               "70_3|RUNNING|None\n71_1|PENDING|Resources\n72|PENDING|Dependency\n"
                               "80_2|CANCELLED by 0|None\n9_1|RUNNING|None\n70|PENDING|x\nnoise\n");
    ASSERT_EQ(tasks.size(), 4u);
    EXPECT_EQ(tasks[0].task, 3);
    EXPECT_EQ(tasks[0].stage, EngineTask::Stage::kRunning);
    EXPECT_EQ(tasks[1].task, 1001);
    EXPECT_EQ(tasks[1].reason, "Resources");
    EXPECT_EQ(tasks[2].task, 0);
    EXPECT_EQ(tasks[3].submission, 2);
    EXPECT_EQ(tasks[3].word, "CANCELLED");
    EXPECT_EQ(tasks[3].stage, EngineTask::Stage::kEnded);
}

/// Rules of a job template of the public form 2023-09, as far as these templates use it.
void expectTemplate(Json const& job) {
    std::regex const identifier("[A-Za-z_][A-Za-z0-9_]{0,63}");
    EXPECT_EQ(job["specificationVersion"], "jobtemplate-2023-09");
    for (auto const& [key, value] : job.items())
        EXPECT_TRUE(
            (std::set<std::string>{"specificationVersion", "name", "parameterDefinitions", "steps"}
                 .contains(key)));
    auto const name = job["name"].get<std::string>();
    EXPECT_TRUE(!name.empty() && name.size() <= 128);
    std::set<std::string> known, steps;
    for (Json const& parameter : job["parameterDefinitions"]) {
        EXPECT_TRUE(std::regex_match(parameter["name"].get<std::string>(), identifier));
        EXPECT_EQ(parameter["type"], "PATH");
        known.insert("Param." + parameter["name"].get<std::string>());
    }
    ASSERT_FALSE(job["steps"].empty());
    for (Json const& step : job["steps"]) {
        auto const own = step["name"].get<std::string>();
        for (Json const& each : step.value("dependencies", Json::array()))
            EXPECT_TRUE(steps.contains(each["dependsOn"])) << own;
        EXPECT_TRUE(steps.insert(own).second && own.size() <= 64);
        auto names = known;
        if (step.contains("parameterSpace"))
            for (Json const& task : step["parameterSpace"]["taskParameterDefinitions"]) {
                EXPECT_EQ(task["type"], "INT");
                EXPECT_TRUE(
                    std::regex_match(task["range"].get<std::string>(), std::regex("1(-[0-9]+)?")));
                names.insert("Task.Param." + task["name"].get<std::string>());
            }
        for (Json const& amount : step["hostRequirements"]["amounts"]) {
            EXPECT_TRUE(
                (std::set<std::string>{"amount.worker.vcpu", "amount.worker.memory"}.contains(
                    amount["name"])));
            EXPECT_GT(amount["min"].get<int>(), 0);
        }
        Json const& run = step["script"]["actions"]["onRun"];
        std::string words = run["command"];
        for (Json const& word : run["args"]) words += " " + word.get<std::string>();
        std::regex const reference(R"(\{\{([^}]*)\}\})");
        for (std::sregex_iterator at(words.begin(), words.end(), reference), end; at != end; ++at)
            EXPECT_TRUE(names.contains((*at)[1])) << words;
    }
}

TEST(OpenJd, TemplatesKeepTheFormsRules) {
    Job job = slurmJob();
    expectTemplate(Json::parse(openJdText(job, {1, 20, {}, ""})));
    job.movie.emplace();
    for (int const tasks : {0, 1, 2}) {
        Json const json = Json::parse(openJdText(job, {1, tasks, {}, ""}));
        expectTemplate(json);
        EXPECT_EQ(json["steps"].size(), tasks > 0 ? 2u : 1u);
    }
}

TEST(TaskScript, TriesAgainWhatMayPass) {
    zelk_test::TemporaryFolder const folder;
    Job job;
    job.engine = EngineKind::kShell;
    job.folder = folder.at("it's a.zelk-job");
    fs::create_directory(job.folder);
    job.program = folder.at("program");
    writeScript(job.program,
                "#!/bin/sh\necho \"$*\" >>calls\nread code <codes; sed -i 1d codes\n"
                "[ $code != 137 ] || kill -9 $$\nexit $code\n");
    writeScript(job.script(), taskScript(job));
    struct Ends {
        char const* codes;
        int answer, calls;
    };
    for (Ends const& ends :
         {Ends{"0", 0, 1}, Ends{"3", 3, 1}, Ends{"130", 130, 1}, Ends{"5", 5, 1},
          Ends{"4\n0", 0, 2}, Ends{"137\n4\n0", 0, 3}, Ends{"137\n137\n137", 137, 3}}) {
        folder.put("codes", std::string(ends.codes) + "\n");
        folder.put("calls", "");
        std::string const command = "cd '" + folder.path().string() +
                                    "' && PATH=" + folder.path().string() +
                                    "/bin:$PATH \"it's a.zelk-job/task.sh\" 1 7 2>/dev/null";
        fs::create_directories(folder.at("bin"));
        writeScript(folder.at("bin/sleep"), "#!/bin/sh\n");
        int const status = std::system(command.c_str());
        EXPECT_EQ(WEXITSTATUS(status), ends.answer) << ends.codes;
        std::ifstream file(folder.at("calls"));
        int calls = 0;
        for (std::string line; std::getline(file, line); ++calls)
            EXPECT_EQ(line, "submit task " + job.folder.string() + " 1 7");
        EXPECT_EQ(calls, ends.calls) << ends.codes;
    }
}

TEST(TaskLogs, OfKilledRunsAreReadAsFarAsTheyGo) {
    zelk_test::TemporaryFolder const folder;
    auto const file = folder.put(
        "1-1.jsonl",
        R"({"event":"start"})"
        "\n"
        R"({"event":"failure","frame":3,"message":"bad","code":3,"endsRun":false})"
        "\n"
        R"({"event":"failure","frame":4,"message":"bad","code":3,"endsRun":false})"
        "\n"
        R"({"event":"failure","message":"full","code":4,"endsRun":true})"
        "\n"
        R"({"event":"start"})"
        "\n"
        R"({"event":"frame","frame":3,"seconds":2.5,"file":"o.3.png","bytes":70,"peakBytes":9})"
        "\n"
        R"({"event":"frame","fra)");
    TaskLog const log = readTaskLog(file);
    EXPECT_EQ(log.written.at(3).bytes, 70u);
    EXPECT_EQ(log.failed.size(), 1u);
    EXPECT_EQ(log.failed.count(4), 1u);
    EXPECT_EQ(log.end, "");
    EXPECT_EQ(log.seconds, 2.5);
}

}  // namespace
}  // namespace zelk

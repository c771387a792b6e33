// The parts of a job that need no engine: tasks, names, texts of engines, logs.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <numeric>
#include <regex>
#include <set>
#include <tuple>

#include "tests/support/temporary_folder.h"
#include "zelk/files/text_file.h"
#include "zelk/jobs/chunks.h"
#include "zelk/jobs/openjd_template.h"
#include "zelk/jobs/slurm.h"
#include "zelk/jobs/task_log.h"
#include "zelk/jobs/task_script.h"

namespace zelk {
namespace {

using Json = nlohmann::json;

TEST(Tasks, HaveEachFrameOnceInOrderAndAreOfOneSize) {
    for (int const count : {0, 1, 2, 9, 10, 11, 197, 1000})
        for (int const most : {1, 2, 3, 10, 1000, 5000}) {
            std::vector<int> frames(static_cast<std::size_t>(count)), all;
            std::iota(frames.begin(), frames.end(), -5);
            std::set<std::size_t> sizes;
            for (auto const& task : tasksOf(frames, most)) {
                all.insert(all.end(), task.begin(), task.end());
                sizes.insert(task.size());
            }
            EXPECT_EQ(all, frames) << count << " by " << most;
            if (count == 0) continue;
            EXPECT_LE(*sizes.rbegin(), static_cast<std::size_t>(most));
            EXPECT_LE(*sizes.rbegin() - *sizes.begin(), 1u);
        }
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

Job slurmJob() {
    Job job;
    job.folder = "/s/100%.zelk-job";
    job.threads = 3;
    job.memoryMb = 900;
    job.submissions = {{1, 1500, {{"70", 0, 1000}, {"71", 1000, 500}}, "72", false},
                       {2, 2, {{"80", 0, 2}}, "", false}};
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
    std::string found;
    for (EngineTask const& task :
         tasksIn(slurmJob(),
                 "70_3|RUNNING|None\n71_1|PENDING|Resources\n72|PENDING|Dependency\n"
                 "80_2|CANCELLED by 0|None\n9_1|RUNNING|None\n70|PENDING|x\nnoise\n"))
        found += fmt::format("{}-{} {}{} {};", task.submission, task.task, task.word, task.reason,
                             static_cast<int>(task.stage));
    EXPECT_EQ(found,
              "1-3 RUNNING 1;1-1001 PENDINGResources 0;1-0 PENDINGDependency 0;2-2 CANCELLED 2;");
}

/// Rules of a job template of the public form 2023-09, as far as these templates use it.
void expectTemplate(Json const& job) {
    EXPECT_EQ(job["specificationVersion"], "jobtemplate-2023-09");
    std::set<std::string> const keys = {"specificationVersion", "name", "parameterDefinitions",
                                        "steps"};
    for (auto const& [key, value] : job.items()) EXPECT_TRUE(keys.contains(key));
    std::set<std::string> known, steps;
    for (Json const& parameter : job["parameterDefinitions"])
        known.insert("Param." + parameter["name"].get<std::string>());
    for (Json const& step : job["steps"]) {
        for (Json const& each : step.value("dependencies", Json::array()))
            EXPECT_TRUE(steps.contains(each["dependsOn"]));
        EXPECT_TRUE(steps.insert(step["name"]).second);
        auto names = known;
        if (step.contains("parameterSpace"))
            for (Json const& task : step["parameterSpace"]["taskParameterDefinitions"]) {
                EXPECT_TRUE(
                    std::regex_match(task["range"].get<std::string>(), std::regex("1(-[0-9]+)?")));
                names.insert("Task.Param." + task["name"].get<std::string>());
            }
        for (Json const& amount : step["hostRequirements"]["amounts"])
            EXPECT_TRUE(amount["name"].get<std::string>().starts_with("amount.worker.") &&
                        amount["min"] > 0);
        std::string const words = step["script"]["actions"]["onRun"].dump();
        std::regex const reference(R"(\{\{([^}]*)\}\})");
        for (std::sregex_iterator at(words.begin(), words.end(), reference), end; at != end; ++at)
            EXPECT_TRUE(names.contains((*at)[1])) << words;
    }
}

TEST(OpenJd, TemplatesKeepTheFormsRules) {
    Job job = slurmJob();
    expectTemplate(Json::parse(openJdText(job, {1, 20, {}, "", false})));
    job.movie.emplace();
    for (int const tasks : {0, 1, 2}) {
        Json const json = Json::parse(openJdText(job, {1, tasks, {}, "", false}));
        expectTemplate(json);
        EXPECT_EQ(json["steps"].size(), tasks > 0 ? 2u : 1u);
    }
}

TEST(OpenJd, NamesAreCutBetweenCharactersAndHoldNoReference) {
    for (auto const& [name, expected] : std::vector<std::pair<std::string, std::string>>{
             {"a{{b}}", "a{ {b}}"}, {"{{{{", "{ { { {"}, {"a\tb", "a b"}}) {
        Job job;
        job.folder = "/s/" + name + ".zelk-job";
        EXPECT_EQ(Json::parse(openJdText(job, {1, 1, {}, "", false}))["name"], expected);
    }
    Job job;
    std::string letters, cut;
    for (int i = 0; i < 200; ++i) (i < 128 ? cut : letters) += "\u00e9";
    job.folder = "/s/" + cut + letters + ".zelk-job";
    EXPECT_EQ(Json::parse(openJdText(job, {1, 1, {}, "", false}))["name"], cut);
}

TEST(TaskScript, TriesAgainWhatMayPass) {
    zelk_test::TemporaryFolder const folder;
    Job job;
    job.engine = EngineKind::kShell;
    job.folder = folder.at("it's a.zelk-job");
    job.program = folder.at("program");
    fs::create_directory(job.folder);
    writeScript(job.program,
                "#!/bin/sh\necho \"${*% *} S\" >>calls\nread code told <codes; sed -i 1d codes\n"
                "[ -z \"$told\" ] || kill -s $told $PPID\n"
                "[ $code != 137 ] || kill -9 $$\nexit $code\n");
    writeScript(folder.at("sleep"), "#!/bin/sh\n");
    writeScript(job.script(), taskScript(job));
    std::string const command = "cd " + folder.path().string() +
                                " && PATH=.:$PATH \"it's a.zelk-job/task.sh\" ab12 1 7 2>err";
    using Ends = std::tuple<std::string, int, std::size_t>;  // codes in turn, the last, calls
    for (auto const& [codes, answer, calls] :
         {Ends{"0", 0, 1}, Ends{"3", 3, 1}, Ends{"130", 130, 1}, Ends{"5", 5, 1},
          Ends{"4\n0", 0, 2}, Ends{"137\n4\n0", 0, 3}, Ends{"137\n137\n137", 137, 3},
          Ends{"0 TERM", 0, 1}, Ends{"4 TERM", 4, 1}}) {
        folder.put("codes", codes + "\n");
        folder.put("calls", "");
        EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), answer) << codes;
        std::string expected;
        for (std::size_t i = 0; i < calls; ++i)
            expected += "submit task " + job.folder.string() + " 1 7 --job-id ab12 --script S\n";
        EXPECT_EQ(readTextFile(folder.at("calls"), ""), expected) << codes;
    }
}

TEST(TaskLogs, OfKilledRunsAreReadAsFarAsTheyGo) {
    zelk_test::TemporaryFolder const folder;
    TaskLog const log = readTaskLog(folder.put("1-1.jsonl", R"({"event":"start"}
{"event":"failure","frame":3,"message":"bad","code":3,"endsRun":false}
{"event":"failure","frame":4,"message":"bad","code":3,"endsRun":false}
{"event":"failure","message":"full","code":4,"endsRun":true}
{"event":"start"}
{"event":"frame","frame":3,"seconds":2.5,"file":"o.3.png","bytes":70,"crc32":"0000002a","peakBytes":9}
{"event":"frame","fra)"));
    EXPECT_EQ(log.written.at(3).bytes, 70u);
    EXPECT_EQ(log.written.at(3).crc32, 42u);
    EXPECT_EQ(log.failed, (std::map<int, std::string>{{4, "bad"}}));
    EXPECT_EQ(log.failure, "");
    EXPECT_FALSE(log.hasEnded);
    EXPECT_EQ(log.seconds, 2.5);
}

}  // namespace
}  // namespace zelk

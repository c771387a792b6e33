// See openjd_template.h.
#include "zelk/jobs/openjd_template.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "zelk/files/text_file.h"
#include "zelk/jobs/program_call.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"

namespace zelk {

namespace {

using Ordered = nlohmann::ordered_json;

std::filesystem::path templateOf(Job const& job) { return job.folder / "template.json"; }

/// A name of at most 128 characters, none of them a control character; "{{" would start a
/// reference, which the form has no escape for.
std::string jobName(Job const& job) {
    constexpr std::size_t kLongest = 128;
    std::string name = oneLine(job.name());
    for (auto at = name.find("{{"); at != name.npos; at = name.find("{{", at + 1))
        name.insert(at + 1, " ");
    auto const startsCharacter = [](char c) { return (c & 0xC0) != 0x80; };
    std::size_t characters = 0, end = 0;
    while (end < name.size() && (characters += startsCharacter(name[end])) <= kLongest) ++end;
    return name.substr(0, end);
}

Ordered requirementsOf(Job const& job) {
    Ordered amounts = {{{"name", "amount.worker.vcpu"}, {"min", job.threads}}};
    if (job.memoryMb > 0)
        amounts.push_back({{"name", "amount.worker.memory"}, {"min", job.memoryMb}});
    return {{"amounts", amounts}};
}

Ordered scriptOf(std::vector<std::string> const& words) {
    Ordered run = {{"command", "{{Param.JobFolder}}/task.sh"}, {"args", words}};
    return {{"actions", {{"onRun", run}}}};
}

}  // namespace

std::string openJdText(Job const& job, Submission const& submission) {
    Ordered steps = Ordered::array();
    if (submission.tasks > 0) {
        Ordered const task = {{"name", "Task"},
                              {"type", "INT"},
                              {"range", submission.tasks > 1 ? fmt::format("1-{}", submission.tasks)
                                                             : std::string("1")}};
        steps.push_back({{"name", "Frames"},
                         {"parameterSpace", {{"taskParameterDefinitions", Ordered::array({task})}}},
                         {"hostRequirements", requirementsOf(job)},
                         {"script", scriptOf({job.id, fmt::format("{}", submission.number),
                                              "{{Task.Param.Task}}"})}});
    }
    if (job.movie) {
        Ordered movie = {{"name", "Movie"}};
        if (submission.tasks > 0)
            movie["dependencies"] = Ordered::array({{{"dependsOn", "Frames"}}});
        movie["hostRequirements"] = requirementsOf(job);
        movie["script"] = scriptOf({job.id, fmt::format("{}", submission.number), "movie"});
        steps.push_back(movie);
    }
    Ordered const folder = {{"name", "JobFolder"},
                            {"type", "PATH"},
                            {"objectType", "DIRECTORY"},
                            {"dataFlow", "INOUT"},
                            {"default", job.folder.string()}};
    return jsonText({{"specificationVersion", "jobtemplate-2023-09"},
                     {"name", jobName(job)},
                     {"parameterDefinitions", Ordered::array({folder})},
                     {"steps", steps}});
}

void writeTemplate(Job const& job, Submission& submission, std::vector<std::string> const&,
                   std::function<void()> const&) {
    writeTextFile(templateOf(job), openJdText(job, submission), true);
}

std::string templatePlan(Job const& job, Submission const&) {
    return "write " + templateOf(job).string() + "\n";
}

std::string templateNext(Job const& job) {
    return "hand " + templateOf(job).string() + " to your engine";
}

}  // namespace zelk

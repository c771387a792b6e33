// `--engine shell`: a script in the job's folder that runs its tasks with GNU parallel, or with
// plain xargs where there is none, several at a time, and then gathers the movie.
#pragma once

#include <string>
#include <vector>

#include "zelk/jobs/engine.h"

namespace zelk {

void writeShellScript(Job const& job, Submission& submission,
                      std::vector<std::string> const& before, std::function<void()> const& record);
std::string shellPlan(Job const& job, Submission const& submission);
/// "run it: sh .../run.sh"
std::string shellNext(Job const& job);

// Of engines without a queue of their own: what runs is known by the job's files alone.
void nothingRequired(Job const& job);
std::vector<EngineTask> noTasks(Job const& job);
void nothingToCancel(Job const& job);
std::string nothingNext(Job const& job);

}  // namespace zelk

// `--engine slurm`: a submission is an array of Slurm jobs, one element a task, and the movie a job
// that depends on it. More tasks than the cluster's MaxArraySize are several arrays.
//
// Words and texts are those of Slurm 22.05; its programs are sbatch, squeue, scancel and scontrol.
// `sacct`, which not every cluster has, adds how tasks ended that squeue has forgotten.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "zelk/jobs/engine.h"

namespace zelk {

void requireSlurm(Job const& job);
void handToSlurm(Job const& job, Submission& submission, std::vector<std::string> const& before,
                 std::function<void()> const& record);
std::string slurmPlan(Job const& job, Submission const& submission);
std::vector<EngineTask> slurmTasks(Job const& job);
void cancelSlurm(Job const& job);

/// sbatch for one array of tasks.
std::vector<std::string> arrayWords(Job const& job, int submission, EngineArray const& array);
/// sbatch for the movie after jobs of these names.
std::vector<std::string> movieWords(Job const& job, int submission,
                                    std::vector<std::string> const& after);
/// Lines of `squeue -h -r -o %i|%T|%r`, or of sacct's the same; those of other jobs are left out.
std::vector<EngineTask> tasksIn(Job const& job, std::string_view lines);
/// How tasks are parted into arrays, without names yet; `maxArraySize` is one above the largest
/// index.
std::vector<EngineArray> arraysOf(int tasks, int maxArraySize);

}  // namespace zelk

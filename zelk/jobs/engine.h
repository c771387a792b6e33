// The engines that run a job's tasks: each is a program of others, reached by its own commands or
// by a file that it takes. engines.h has the table.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zelk/jobs/job.h"

namespace zelk {

/// A task that an engine still has, or has lately had.
struct EngineTask {
    int submission = 0, task = 0;  ///< task 0: the movie
    enum class Stage { kWaiting, kRunning, kEnded } stage = Stage::kWaiting;
    std::string word;    ///< the engine's own: "PENDING"
    std::string reason;  ///< why it waits or ended, where the engine says so
};

/// What an engine is asked to do. Each throws UserError in one line that names the program and what
/// it said.
struct Engine {
    EngineKind kind;
    /// Whether it can be reached at all; before anything is rendered or written.
    void (*require)(Job const& job);
    /// Takes the submission's tasks, and the movie after them and after `before`, the engine's
    /// names of what still runs; fills in its own names, and has the record written with each one
    /// as soon as it is known.
    void (*handOver)(Job const& job, Submission& submission, std::vector<std::string> const& before,
                     std::function<void()> const& record);
    /// A line or several of what handOver would do.
    std::string (*plan)(Job const& job, Submission const& submission);
    /// What it has of all submissions.
    std::vector<EngineTask> (*tasks)(Job const& job);
    /// Ends what waits and runs.
    void (*cancel)(Job const& job);
    /// What a user does next; empty where the engine goes on by itself.
    std::string (*next)(Job const& job);
};

}  // namespace zelk

// Jobs are made, go on and are cancelled.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "zelk/jobs/job.h"
#include "zelk/scene/scene.h"
#include "zelk/text/errors.h"

namespace zelk {

struct SubmitRequest {
    Scene scene;  ///< that checkScene passes, with an output
    /// With engine, program, history, threads, retries, movie and what a run keeps; the rest is
    /// settled here.
    Job job;
    SkipExisting skipExisting = SkipExisting::kNo;
    double taskSeconds = 120;               ///< that a task is to take
    std::optional<int> framesPerTask;       ///< instead
    std::optional<double> frameSeconds;     ///< instead of timing frames
    std::optional<std::uint64_t> memoryMb;  ///< instead of measuring it
    std::filesystem::path folder;           ///< of the job; empty: beside the output
    bool dryRun = false;
};

/// What became of it, for the user; `code` is not kDone where frames that were timed failed, which
/// is told already.
struct Submitted {
    ExitCode code = ExitCode::kDone;
    std::string text;
};

/// Freezes the scene, times the first, the middle and the last frame by rendering them, and hands
/// the rest to the engine. Throws a usage error for an output that can't be parted, an output error
/// while an earlier job of the output is at work; an earlier one that is not is replaced.
Submitted submitJob(SubmitRequest const& request);

struct ResumeRequest {
    bool verifies = false;  ///< reads all files again
    std::optional<int> framesPerTask;
    std::optional<std::uint64_t> memoryMb;
    bool dryRun = false;
};

/// Hands over the frames that nobody has and that are not whole.
std::string resumeJob(std::filesystem::path const& folder, ResumeRequest const& request);

/// Ends what waits and runs; what is written stays.
std::string cancelJob(std::filesystem::path const& folder);

}  // namespace zelk

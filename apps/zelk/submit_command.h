// `zelk submit`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/zelk/command.h"
#include "apps/zelk/output_options.h"
#include "apps/zelk/scene_options.h"
#include "zelk/jobs/job.h"

namespace zelk {

/// Hands a render over to an engine, as a job beside its output.
struct SubmitCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    Scene scene() const;
    Job job(Invocation const& how) const;
    std::optional<JobMovie> movie() const;

    SceneOptions m_scene;
    OutputOptions m_output;
    std::optional<std::string> m_file, m_project, m_inFlight, m_skipExisting;
    std::optional<std::string> m_engine, m_job, m_chunk, m_taskTime, m_frameTime, m_threads,
        m_memory, m_retries, m_movie, m_codec, m_quality;
    std::vector<std::string> m_engineOptions;
    bool m_isStrict = false, m_dryRun = false;
};

/// "512", "512M" or "2G" in 2^20 bytes; throws a usage error about `thing`.
std::uint64_t memoryNamed(std::string const& thing, std::string const& text);

/// The same render as one line of `zelk render`: what frames say they were made by is the same,
/// whoever makes them. `words` are those of `zelk submit`; `file` is the one that it takes without
/// an option.
std::string renderHistory(std::vector<char const*> const& words,
                          std::optional<std::string> const& file);

}  // namespace zelk

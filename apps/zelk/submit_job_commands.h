// `zelk submit status | resume | cancel`, and what scripts and engines call: `begin`, `task` and
// `movie`.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/option_adder.h"
#include "zelk/jobs/task.h"

namespace zelk {

/// The job that such a command is about.
class JobFolder {
public:
    void add(OptionAdder const& add);
    std::filesystem::path path() const;  ///< throws a usage error where it was left out

private:
    std::optional<std::string> m_folder;
};

/// How far a job is. The answer is 5 where frames are lost and nobody has them.
struct SubmitStatusCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    JobFolder m_folder;
    bool m_isJson = false, m_verifies = false;
};

struct SubmitResumeCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    JobFolder m_folder;
    std::optional<std::string> m_chunk, m_memory;
    bool m_verifies = false, m_dryRun = false;
};

struct SubmitCancelCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    JobFolder m_folder;
};

/// How scripts and engines start a task.
class TaskOptions {
public:
    void add(OptionAdder const& add);
    TaskCaller caller() const;
    /// Throws a usage error for one that was left out.
    int submission() const;
    std::optional<std::string> const& submissionText() const { return m_submission; }

private:
    std::optional<std::string> m_submission, m_jobId, m_script;
};

struct SubmitBeginCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    JobFolder m_folder;
    TaskOptions m_options;
};

struct SubmitTaskCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    JobFolder m_folder;
    TaskOptions m_options;
    std::optional<std::string> m_task;
};

struct SubmitMovieCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    JobFolder m_folder;
    TaskOptions m_options;
};

}  // namespace zelk

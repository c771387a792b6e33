// `zelk submit status | resume | cancel`, and what engines call: `task` and `movie`.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/option_adder.h"

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

struct SubmitTaskCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    JobFolder m_folder;
    std::optional<std::string> m_submission, m_task;
};

struct SubmitMovieCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    JobFolder m_folder;
};

}  // namespace zelk

// `zelk render`.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/zelk/command.h"
#include "apps/zelk/output_options.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

/// Whether --explain, whose value may be left out, takes a word for one.
bool isExplainWord(std::string const& word);

/// The same of --skip-existing.
bool isSkipWord(std::string const& word);
/// The words that it takes, and what they stand for.
std::vector<std::string_view> skipWords();
SkipExisting skipNamed(std::string const& word);

struct RenderCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    OutputOptions m_output;
    bool m_isShared = false, m_dryRun = false, m_isQuiet = false, m_isStrict = false;
    std::optional<std::string> m_project, m_inFlight, m_progress, m_explain, m_skipExisting, m_log;
};

}  // namespace zelk

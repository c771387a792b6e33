// The check of a project; see project_check_command.h.
#include "apps/zelk/project_check_command.h"

#include "zelk/files/standard_output.h"
#include "zelk/scene/check.h"
#include "zelk/scene/file.h"
#include "zelk/sequence/render_frames.h"

namespace zelk {

CommandInfo const ProjectCheckCommand::kInfo = {
    "project check", "Check whether all frames of a project can be rendered", "FILE [OPTIONS]",
    "Examples:\n"
    "  zelk project check sign.zelk.json\n"};

void ProjectCheckCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_file.add(add);
    m_scene.add(add, {"host", "module"});
}

ExitCode ProjectCheckCommand::run(Invocation const&) {
    std::string const file = m_file.name();
    Scene const scene = m_scene.edited(readScene(file));
    checkScene(scene);
    ExitCode const code = checkFrames(scene);
    if (code == ExitCode::kDone) print(file + ": good\n");
    return code;
}

}  // namespace zelk

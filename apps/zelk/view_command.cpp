// The scene that is meant, and the start of the viewer with it; see view_command.h.
#include "apps/zelk/view_command.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "apps/zelk/environment.h"
#include "zelk/render/frame_stages.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/hand_over.h"
#include "zelk/scene/new_comp.h"
#include "zelk/scene/track_use.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

constexpr char const* kProgram = "zelk-viewer";

/// The viewer takes this process over; returns never.
[[noreturn]] void startViewer(std::string argument) {
    std::error_code fault;
    fs::path const program = fs::read_symlink("/proc/self/exe", fault).parent_path() / kProgram;
    std::string path = program.string(), name = kProgram;
    char* const words[] = {name.data(), argument.empty() ? nullptr : argument.data(), nullptr};
    ::execv(path.c_str(), words);
    if (errno == ENOENT)
        throw UserError(ExitCode::kInput,
                        path + ": the viewer is not installed: its package is zelk-viewer");
    throw UserError(ExitCode::kInput, path + ": cannot be started: " + std::strerror(errno));
}

/// A text that the next program finds under a name, though no file of the user's holds it.
std::string inMemory(std::string const& text) {
    int const file = ::memfd_create("zelk-scene", 0);
    for (std::size_t done = 0; file >= 0 && done < text.size();) {
        auto const count = ::write(file, text.data() + done, text.size() - done);
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
    }
    if (file < 0)
        throw UserError(ExitCode::kRenderFailed,
                        std::string("no memory for the scene: ") + std::strerror(errno));
    return "/proc/self/fd/" + std::to_string(file);
}

bool isProject(std::string const& name) { return fs::path(name).extension() == ".json"; }

/// Nothing was said beside the project.
bool isAsInFile(Scene const& scene, Scene const& own) {
    try {
        return handOverText({scene, {}}) == handOverText({own, {}});
    } catch (UserError const&) {
        return false;  // values that are still text
    }
}

/// Its tracks may be missing, as the viewer shows.
Scene sceneToEdit(std::optional<std::string> const& project) {
    return project ? readSceneToEdit(required(*project, "--project", "a project file")) : Scene{};
}

/// Tracks become keyframes, so that none may be missing here.
Scene settled(Scene scene) {
    for (TrackUse const& use : scene.tracks) requireRead(use);
    if (!scene.hasComp) settleNewComp(scene, scene.size);
    FrameStages stages(scene);
    stages.beginEdit(scene.comp.startFrame);
    return stages.settledScene();
}

}  // namespace

CommandInfo const ViewCommand::kInfo = {
    "view", "Show a scene in the viewer, and edit it", "[FILE] [OPTIONS]",
    "FILE is a project, or a picture, a numbered sequence or a movie as the layer of a new scene.\n"
    "Options are those of `zelk render`. With a project they are changes that are not saved yet.\n"
    "\n"
    "Examples:\n"
    "  zelk view sign.zelk.json\n"
    "  zelk view logo.png --over shot.####.exr --track shot.txt\n"
    "  zelk view in.png --to \"60,40 540,10 30,390 580,350\"\n"};

void ViewCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    add.text("Files", "FILE", m_file, "", "What is opened; nothing for an empty window");
    m_scene.add(add, {"output", "over", "size", "to", "from", "track", "track-from", "view",
                      "quality", "set"});
    m_scene.add(add, {"track-format", "track-size", "corners", "flip-y", "track-first-frame",
                      "shift-frames"});
    m_scene.add(add, {"st-map", "invert", "depth", "downsample"});
    m_output.addThreads(add);
    m_scene.add(add, {"road", "grow", "filter", "taps", "edges", "feather", "choke", "frames"});
    add.text("Time", "--project", m_project, "FILE",
             "A project below the options, where FILE is another layer");
    m_scene.add(add, {"motion-blur", "shutter", "rate", "first-frame", "codec", "quality-level",
                      "sound", "missing"});
    m_scene.add(add, {"opacity", "transfer", "source-opacity", "mode", "matte", "holdout"});
    m_scene.add(add, {"layer-color", "plate-color", "output-color", "work-color", "ocio", "color"});
    m_scene.add(add, {"orientation", "overscan", "channels", "plain", "host", "module"});
}

ExitCode ViewCommand::run(Invocation const& how) {
    int const threads = m_output.run(how).threads;
    if (threads > 0) ::setenv(kThreadsVariable, std::to_string(threads).c_str(), 1);
    bool const namesProject = m_file && isProject(*m_file);
    if (namesProject && m_project)
        throw UserError(ExitCode::kUsage, "--project does not go with FILE, which is a project");
    auto const project = namesProject ? m_file : m_project;
    Scene const own = sceneToEdit(project);
    Scene base = own;
    if (m_file && !namesProject) sceneEdit("layer").apply(base, "FILE", *m_file);
    Scene scene = m_scene.edited(std::move(base));
    if (!scene.module.empty()) ::setenv(kModuleVariable, scene.module.c_str(), 1);
    scene.module.clear();
    if (isAsInFile(scene, own)) startViewer(project.value_or(""));
    if (!scene.layer.isGiven() && !scene.plate) throw missing("FILE", "a picture or a project");
    checkScene(scene);
    if (auto const module = environmentText(kModuleVariable)) scene.module = *module;
    Scene text = settled(std::move(scene));
    text.module.clear();
    startViewer("--handed-over=" +
                inMemory(handOverText({std::move(text), fs::path(project.value_or(""))})));
}

}  // namespace zelk

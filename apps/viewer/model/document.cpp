// See document.h.
#include "apps/viewer/model/document.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "apps/viewer/model/file_stamps.h"
#include "apps/viewer/model/moved_scene.h"
#include "apps/viewer/model/tracks_again.h"
#include "zelk/color/color_config.h"
#include "zelk/files/absolute_path.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/setup.h"
#include "zelk/scene/check.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/color_names.h"
#include "zelk/scene/file.h"
#include "zelk/scene/new_comp.h"
#include "zelk/scene/values.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

/// Built-in names do where all that the scene names are among them.
ColorsAtHand colorsAtHand(Scene scene) {
    ColorsAtHand colors{colorConfigFault(scene)};
    if (colors.fault.empty()) return colors;
    scene.color.isBuiltIn = true;
    try {
        checkColor(scene);
        colors.areBuiltIn = true;
    } catch (UserError const&) {
        // A name of the configuration's own.
    }
    return colors;
}

/// Nothing of what is no file: a pipe's bytes come once.
std::optional<FileSum> sumOfProject(std::filesystem::path const& project) {
    std::error_code none;
    return std::filesystem::is_regular_file(project, none) ? sumOf(project) : std::nullopt;
}

}  // namespace

Document::Document(std::filesystem::path module) : m_module(std::move(module)) {}
Document::~Document() = default;

std::uint64_t Document::nextNumber() {
    static std::atomic<std::uint64_t> number = 0;
    return ++number;
}

// --- Files

void Document::open(std::filesystem::path const& name) {
    auto const project = plainPath(name);
    auto const sum = sumOfProject(project);  // before it is read: a later change is then seen
    Scene scene = readSceneToEdit(project);
    checkSceneToEdit(scene);
    int const first = scene.comp.startFrame;
    adopt(std::move(scene), {project, sum}, first);
}

void Document::start(Scene scene) {
    scene.file = plainPath(scene.file);
    if (!scene.hasComp) settleNewComp(scene, scene.size);
    checkSceneToEdit(scene);
    int const first = scene.comp.startFrame;
    adopt(std::move(scene), {}, first, true);
}

void Document::recover(Scene scene, std::filesystem::path file, std::optional<FileSum> seen) {
    checkSceneToEdit(scene);
    int const first = scene.comp.startFrame;
    file = plainPath(file);
    if (!seen) seen = sumOfProject(file);
    adopt(std::move(scene), {std::move(file), seen, false}, first);
}

/// Everything that can fail comes before anything changes. Listeners never see a recovered scene as
/// saved: what was kept of it would go.
void Document::adopt(Scene scene, Origin origin, int frame, bool settles) {
    if (!m_module.empty()) scene.module = m_module;
    scene.editPrefix.clear();
    scene.editJoin = ' ';  // refusals name the window's controls
    Scene settled;
    openAnew(scene, frame, settles ? &settled : nullptr);
    if (settles) scene = std::move(settled);
    ++m_opened;
    m_now = {std::make_shared<Scene const>(std::move(scene)), nextNumber(), nextNumber()};
    m_savedRevision = origin.isSaved ? m_now.revision : 0;
    m_file = std::move(origin.file);
    m_fileSum = origin.sum;
    m_frame = frame;
    m_steps.clear();
    m_done = 0;
    m_act.reset();
    tell({true, true, true, true});
}

void Document::openStages(Scene const& scene, int frame, Scene* settled) {
    std::string files = openedStamps(scene);
    RunOptions run;
    run.isForEdit = true;
    auto stages = std::make_unique<FrameStages>(scene, run);
    stages->beginEdit(frame);
    auto session = withUserErrors([&] {
        auto const [width, height] = stages->frameSize();
        return std::make_unique<EditSession>(stages->host(), width, height, frame);
    });
    if (settled) *settled = stages->settledScene();
    m_defaults =
        defaultsOf(scene, stages->host().parameters(), stages->layerSize(), stages->frameSize());
    m_colors = colorsAtHand(scene);
    m_files = std::move(files);
    m_session = std::move(session);  // before the host that it works on goes
    m_stages = std::move(stages);
    m_overlayMode.reset();
}

/// Nothing that was read before counts.
void Document::openAnew(Scene const& scene, int frame, Scene* settled) {
    forgetColorFiles();
    openStages(scene, frame, settled);
    ++m_reloads;
}

void Document::readColorsAgain() {
    openAnew(scene(), m_frame);
    tell({true, true, true, true});
}

void Document::save() {
    if (m_file.empty()) throw missing("the project's file", "a name");
    saveTo(m_file, true);
}

void Document::saveAs(std::filesystem::path const& project) { saveTo(project, true); }

void Document::saveTo(std::filesystem::path const& name, bool mayReplace) {
    auto const project = plainPath(name);
    writeScene(scene(), project, mayReplace);
    if (scene().file != project) {
        MovedScenes moved(project);
        m_now.scene = moved.of(m_now.scene);
        if (m_act) m_act->before.scene = moved.of(m_act->before.scene);
        for (Step& step : m_steps)
            for (State* const state : {&step.before, &step.after})
                state->scene = moved.of(state->scene);
    }
    m_file = project;
    m_fileSum = sumOfProject(project);
    m_savedRevision = m_now.revision;
    tell({.state = true});
}

void Document::reload() {
    if (m_act || m_session->isDragging()) return;
    TracksAgain tracks;
    State now = m_now;
    now.scene = tracks.of(now.scene);
    openAnew(*now.scene, m_frame);
    m_now = std::move(now);
    for (Step& step : m_steps) {
        step.before.scene = tracks.of(step.before.scene);
        step.after.scene = tracks.of(step.after.scene);
    }
    tell({true, true, true, true, true});
}

bool Document::isModified() const { return isOpen() && m_now.revision != m_savedRevision; }

/// One that is gone is no change: a save brings it back.
bool Document::hasFileChanged() const {
    auto const now = sumOfProject(m_file);
    return now && now != m_fileSum;
}

// --- The scene

SceneSnapshot Document::snapshot() const {
    // Other files and colours make other pictures of the same scene, and of all that undo leads to.
    std::uint64_t const again = m_reloads << 40;
    return {m_now.scene, m_now.structure + again, m_now.revision + again,
            m_frame,     m_colors.areBuiltIn,     m_files,
            m_reloads};
}

PixelSize Document::layerSize() const { return m_stages->layerSize(); }
PixelSize Document::frameSize() const { return m_stages->frameSize(); }
PixelSize Document::sizeOf(ShownPicture picture) const {
    if (picture == ShownPicture::kLayer) return layerSize();
    if (picture == ShownPicture::kPlate || !scene().isInverted) return frameSize();
    return m_stages->takenSize();
}

PixelSize Document::renderedSize(int reduce, std::optional<PixelSize> to) const {
    return m_stages->previewSize(reduce, to);
}
int Document::firstFrame() const { return scene().comp.startFrame; }
int Document::lastFrame() const { return lastFrameOf(scene().comp); }
int Document::lastFrameOf(Comp const& comp) { return comp.startFrame + comp.durationFrames - 1; }
Host& Document::host() const { return m_stages->host(); }

void Document::setFrame(int frame) {
    int const kept = std::clamp(frame, firstFrame(), lastFrame());
    if (kept == m_frame || m_act || m_session->isDragging()) return;
    withUserErrors([&] { m_session->setFrame(kept); });
    m_frame = kept;
    tell({.values = true, .frame = true});
}

std::vector<std::string> Document::takeWarnings() { return m_stages->warnings().take(); }

// --- Parameters

std::vector<Parameter> Document::parameters() const {
    return parametersAt(host().parameters(), moment());
}

Parameter const& Document::parameter(int index) const {
    return parameterIn(std::as_const(host()).parameters(), index);
}

KeyValue Document::valueOf(int index) const { return m_session->valueOf(index); }

KeyValue Document::defaultOf(int index) const {
    if (auto const from = followedPin(scene(), index)) return keyValueOf(parameter(*from).current);
    return keyValueOf(parameterIn(m_defaults, index).current);
}

bool Document::isEnabled(int index) const {
    return !(parameter(index).current.ui_flags & PF_PUI_DISABLED);
}

KeyTime Document::moment() const {
    return {m_session->frame().time, m_session->frame().timeBase.scale};
}

KeyTime Document::momentOf(double frame) const {
    if (auto const moment = keyTimeOf(host().comp(), frame)) return *moment;
    throw UserError(ExitCode::kUsage, {"frame", "beyond the composition's clock:",
                                       std::to_string(frame), clockText(host().comp())});
}

double Document::frameOf(KeyTime const& moment) const {
    return zelk::frameOf(host().comp(), moment);
}

QuadMap Document::mapHere() const { return m_stages->mapAt(m_frame); }

void Document::onChange(std::function<void(DocumentChange const&)> listener) {
    m_listeners.push_back(std::move(listener));
}

void Document::tell(DocumentChange const& change) const {
    for (auto const& listener : m_listeners) listener(change);
}

}  // namespace zelk

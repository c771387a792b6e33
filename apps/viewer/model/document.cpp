// See document.h.
#include "apps/viewer/model/document.h"
#include "apps/viewer/model/moved_scene.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <utility>

#include "Transform/Common/PopupEntries.h"
#include "apps/viewer/model/scene_values.h"
#include "apps/viewer/model/tracks_again.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/setup.h"
#include "zelk/scene/check.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/color_names.h"
#include "zelk/scene/file.h"
#include "zelk/scene/hand_over.h"
#include "zelk/scene/invert.h"
#include "zelk/scene/new_comp.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/values.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

std::uint64_t nextNumber() {
    static std::atomic<std::uint64_t> number = 0;
    return ++number;
}

/// Runs at the end of a scope, however that comes.
class ScopeEnd {
public:
    explicit ScopeEnd(std::function<void()> act) : m_act(std::move(act)) {}
    ~ScopeEnd() { m_act(); }
    ScopeEnd(ScopeEnd const&) = delete;
    ScopeEnd& operator=(ScopeEnd const&) = delete;

private:
    std::function<void()> m_act;
};

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

/// All that is saved and handed on. A track that was read again is another one.
bool isSame(Scene const& a, Scene const& b) {
    auto const isSameTrack = [](TrackUse const& x, TrackUse const& y) {
        return x.track == y.track;
    };
    if (!std::equal(a.tracks.begin(), a.tracks.end(), b.tracks.begin(), b.tracks.end(),
                    isSameTrack))
        return false;
    try {
        return handOverText({a, {}}) == handOverText({b, {}});
    } catch (UserError const&) {
        return false;  // no text can hold it
    }
}

/// They differ in numbers alone that are dragged, and that nothing that is opened depends on.
bool opensTheSame(Scene const& a, Scene b) {
    if (a.roadTaken() != b.roadTaken()) return false;
    b.featherPx = a.featherPx;
    b.chokePx = a.chokePx;
    b.comp.shutterAngleDeg = a.comp.shutterAngleDeg;
    b.comp.shutterPhaseDeg = a.comp.shutterPhaseDeg;
    return isSame(a, b);
}

int lastFrameOf(Comp const& comp) { return comp.startFrame + comp.durationFrames - 1; }

}  // namespace

Document::Document(std::filesystem::path module) : m_module(std::move(module)) {}
Document::~Document() = default;

// --- Files

void Document::open(std::filesystem::path const& project) {
    auto const sum = sumOfProject(project);  // before it is read: a later change is then seen
    Scene scene = readSceneToEdit(project);
    checkSceneToEdit(scene);
    int const first = scene.comp.startFrame;
    adopt(std::move(scene), {project, sum}, first);
}

void Document::start(Scene scene) {
    if (!scene.hasComp) settleNewComp(scene, scene.size);
    checkSceneToEdit(scene);
    int const first = scene.comp.startFrame;
    adopt(std::move(scene), {}, first, true);
}

void Document::recover(Scene scene, std::filesystem::path file, std::optional<FileSum> seen) {
    checkSceneToEdit(scene);
    int const first = scene.comp.startFrame;
    if (!seen) seen = sumOfProject(file);
    adopt(std::move(scene), {std::move(file), seen, false}, first);
}

/// Everything that can fail comes before anything changes. Listeners never see a recovered scene as
/// saved: what was kept of it would go.
void Document::adopt(Scene scene, Origin origin, int frame, bool settles) {
    if (!m_module.empty()) scene.module = m_module;
    scene.editPrefix.clear();
    scene.editJoin = ' ';  // refusals name the window's controls
    openStages(scene, frame);
    if (settles) scene = m_stages->settledScene();
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

void Document::openStages(Scene const& scene, int frame) {
    RunOptions run;
    run.isForEdit = true;
    auto stages = std::make_unique<FrameStages>(scene, run);
    stages->beginEdit(frame);
    auto session = withUserErrors([&] {
        auto const [width, height] = stages->frameSize();
        return std::make_unique<EditSession>(stages->host(), width, height, frame);
    });
    m_defaults =
        defaultsOf(scene, stages->host().parameters(), stages->layerSize(), stages->frameSize());
    m_colors = colorsAtHand(scene);
    m_session = std::move(session);  // before the host that it works on goes
    m_stages = std::move(stages);
    m_overlayMode.reset();
}

void Document::readColorsAgain() {
    openStages(scene(), m_frame);
    State const before = m_now;
    bool const wasSaved = !isModified();
    m_now.structure = nextNumber();
    m_now.revision = nextNumber();
    if (wasSaved) m_savedRevision = m_now.revision;
    for (Step& step : m_steps)
        for (State* const state : {&step.before, &step.after})
            if (state->revision == before.revision) *state = m_now;
    tell({true, true, true, true});
}

void Document::save() {
    if (m_file.empty()) throw missing("the project's file", "a name");
    saveTo(m_file, true);
}

void Document::saveAs(std::filesystem::path const& project) { saveTo(project, true); }

void Document::saveTo(std::filesystem::path const& project, bool mayReplace) {
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
    openStages(*now.scene, m_frame);
    m_now = std::move(now);
    for (Step& step : m_steps) {
        step.before.scene = tracks.of(step.before.scene);
        step.after.scene = tracks.of(step.after.scene);
    }
    ++m_reloads;
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
    // Other files make other pictures of the same scene, and of all that undo leads to.
    std::uint64_t const again = m_reloads << 40;
    return {m_now.scene, m_now.structure + again, m_now.revision + again, m_frame,
            m_colors.areBuiltIn};
}

PixelSize Document::layerSize() const { return m_stages->layerSize(); }
PixelSize Document::frameSize() const { return m_stages->frameSize(); }
PixelSize Document::sizeOf(ShownPicture picture) const {
    if (picture == ShownPicture::kLayer) return layerSize();
    if (picture == ShownPicture::kPlate || !scene().isInverted) return frameSize();
    if (m_invertedSize.first == m_now.revision) return m_invertedSize.second;
    RunOptions run;
    run.isForEdit = true;
    FrameStages stages(invertedScene(scene()), run);
    stages.beginEdit(m_frame);
    m_invertedSize = {m_now.revision, stages.frameSize()};
    return m_invertedSize.second;
}

PixelSize Document::renderedSize(int reduce) const { return m_stages->previewSize(reduce); }
int Document::firstFrame() const { return scene().comp.startFrame; }
int Document::lastFrame() const { return lastFrameOf(scene().comp); }
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

// --- Acts

/// A step of its own, unless an act is open that it is part of.
void Document::record(std::string name, State const& before) {
    if (m_act) return;
    m_steps.resize(m_done);
    m_steps.push_back({std::move(name), before, m_now});
    ++m_done;
}

bool Document::change(std::string name, std::function<void(Scene&)> const& act) {
    Scene scene = *m_now.scene;
    act(scene);
    if (isSame(scene, *m_now.scene)) return false;
    checkSceneToEdit(scene);
    if (opensTheSame(*m_now.scene, scene)) return takeNumbers(std::move(name), std::move(scene));
    int const frame = std::clamp(m_frame, scene.comp.startFrame, lastFrameOf(scene.comp));
    openStages(scene, frame);
    State const before = m_now;
    m_now = {std::make_shared<Scene const>(std::move(scene)), nextNumber(), nextNumber()};
    m_frame = frame;
    record(std::move(name), before);
    tell({true, true, true, true});
    return true;
}

bool Document::takeNumbers(std::string name, Scene scene) {
    withUserErrors([&] {
        m_stages->changeEdit(scene, m_frame);
        m_session->setFrame(m_frame);
    });
    State const before = m_now;
    m_now.scene = std::make_shared<Scene const>(std::move(scene));
    m_now.revision = nextNumber();
    record(std::move(name), before);
    tell({.values = true, .state = true});
    return true;
}

bool Document::edit(int index, KeyValue const& value) {
    std::string const name = "Set " + std::string(parameter(index).displayName());
    return takeValues(name, [&] { return m_session->edit(index, value); });
}

bool Document::changeValues(std::string name,
                            std::function<void(std::vector<Parameter>&)> const& act) {
    return takeValues(name, [&] { return m_session->change(act); });
}

/// Runs what changes parameters, and makes it the scene's.
bool Document::takeValues(std::string name, std::function<bool()> const& act) {
    std::vector<ParameterState> const before = statesOf(host().parameters());
    if (!withUserErrors(act)) return false;
    std::vector<int> const edits = changedSince(before, host().parameters());
    if (edits.empty()) return false;
    State const former = m_now;
    m_now.scene = std::make_shared<Scene const>(
        sceneWithEdits(scene(), edits, host().parameters(), m_defaults));
    m_now.revision = nextNumber();
    m_stages->warnings().valuesChange();
    record(std::move(name), former);
    tell({.values = true, .state = true});
    return true;
}

/// While the effect has the mouse, the act is its own.
void Document::beginAct(std::string name) {
    if (m_session && m_session->isDragging()) return;
    endAct();
    m_act = OpenAct{std::move(name), m_now, nextNumber()};
}

bool Document::endAct() {
    if (!m_act || m_session->isDragging()) return false;
    OpenAct act = *std::exchange(m_act, std::nullopt);
    if (act.before.revision == m_now.revision) return false;
    record(std::move(act.name), act.before);
    tell({.state = true});
    return true;
}

void Document::cancelAct() {
    if (!m_act) return;
    if (m_session->isDragging()) withUserErrors([&] { m_session->release({}); });
    freeOverlayMode();
    State const before = std::exchange(m_act, std::nullopt)->before;
    if (before.revision == m_now.revision) return;
    show(before);
}

// --- The effect's mouse

bool Document::click(Panel const& panel, MouseEvent const& mouse) {
    if (!hasOverlay() || m_act) return false;
    m_session->panel() = panel;
    holdOverlayMode();
    ScopeEnd const end([this] {
        if (!m_session->isDragging()) freeOverlayMode();
    });
    if (!withUserErrors([&] { return m_session->click(mouse); })) return false;
    bool const isScale = mouse.modifiers & PF_Mod_SHIFT_KEY;
    m_act = OpenAct{isScale ? "Scale pins" : "Move pins", m_now, nextNumber()};
    return true;
}

void Document::drag(MouseEvent const& mouse) {
    takeValues("", [&] { return m_session->drag(mouse); });
}

/// A drag that led back to its start leaves no key behind.
bool Document::release(MouseEvent const& mouse) {
    if (!m_act || !m_session->isDragging()) return false;
    bool moved = false;
    takeValues("", [&] {
        moved = m_session->release(mouse);
        return true;
    });
    freeOverlayMode();
    if (moved) return endAct();
    cancelAct();
    return false;
}

void Document::drawOverlay(Panel const& panel) {
    m_session->panel() = panel;
    bool const isHeld = m_overlayMode.has_value();
    if (!isHeld) holdOverlayMode();
    ScopeEnd const end([&] {
        if (!isHeld) freeOverlayMode();
    });
    withUserErrors([&] { m_session->draw(); });
}

/// For as long as the effect draws, or has the mouse. No act of the user: the scene keeps its own.
void Document::holdOverlayMode() {
    if (!m_overlayPins || m_overlayMode) return;
    PF_ParamDef& mode = parameterIn(host().parameters(), kParamOverlayMode).current;
    m_overlayMode = numberOf(mode);
    setNumber(mode, hostEntry(*m_overlayPins == TrackedPins::kTo ? kShowToPins : kShowFromPins));
}

void Document::freeOverlayMode() {
    if (!m_overlayMode) return;
    setNumber(parameterIn(host().parameters(), kParamOverlayMode).current, *m_overlayMode);
    m_overlayMode.reset();
}

QuadMap Document::mapHere() const { return m_stages->mapAt(m_frame); }

bool Document::hasOverlay() const { return host().registeredCustomUi(); }

// --- Undo

/// Makes a former or a later state the one that is shown.
void Document::show(State const& state) {
    if (state.structure == m_now.structure) {
        m_stages->changeEdit(*state.scene, m_frame);
        setParameters(*state.scene, host(), layerSize(), frameSize());
        withUserErrors([&] { m_session->setFrame(m_frame); });
        m_now = state;
        return tell({.values = true, .state = true});
    }
    Scene const& scene = *state.scene;
    int const frame = std::clamp(m_frame, scene.comp.startFrame, lastFrameOf(scene.comp));
    openStages(scene, frame);
    m_now = state;
    m_frame = frame;
    tell({true, true, true, true});
}

bool Document::step(bool isUndo) {
    if (m_act || (m_session && m_session->isDragging())) return false;
    if (isUndo ? m_done == 0 : m_done == m_steps.size()) return false;
    Step const& step = m_steps[isUndo ? m_done - 1 : m_done];
    show(isUndo ? step.before : step.after);
    m_done = isUndo ? m_done - 1 : m_done + 1;
    tell({.state = true});
    return true;
}

bool Document::undo() { return step(true); }
bool Document::redo() { return step(false); }

std::string_view Document::undoName() const {
    return m_done > 0 ? std::string_view(m_steps[m_done - 1].name) : "";
}

std::string_view Document::redoName() const {
    return m_done < m_steps.size() ? std::string_view(m_steps[m_done].name) : "";
}

void Document::onChange(std::function<void(DocumentChange const&)> listener) {
    m_listeners.push_back(std::move(listener));
}

void Document::tell(DocumentChange const& change) const {
    for (auto const& listener : m_listeners) listener(change);
}

}  // namespace zelk

// See document.h.
#include "apps/viewer/model/document.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <utility>

#include "Transform/Common/PopupEntries.h"
#include "apps/viewer/model/scene_values.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/setup.h"
#include "zelk/scene/check.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/file.h"
#include "zelk/scene/new_comp.h"
#include "zelk/scene/parameter_names.h"
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

int lastFrameOf(Comp const& comp) { return comp.startFrame + comp.durationFrames - 1; }

}  // namespace

Document::Document(std::filesystem::path module) : m_module(std::move(module)) {}
Document::~Document() = default;

// --- Files

void Document::open(std::filesystem::path const& project) {
    Scene scene = readSceneToEdit(project);
    checkScene(scene);
    int const first = scene.comp.startFrame;
    adopt(std::move(scene), project, first);
}

void Document::start(Scene scene) {
    if (!scene.hasComp) settleNewComp(scene, scene.size);
    checkScene(scene);
    int const first = scene.comp.startFrame;
    adopt(std::move(scene), {}, first);
    m_now.scene = std::make_shared<Scene const>(settledScene());
}

void Document::recover(Scene scene, std::filesystem::path file) {
    checkScene(scene);
    int const first = scene.comp.startFrame;
    adopt(std::move(scene), std::move(file), first);
    m_savedRevision = 0;
    tell({.state = true});
}

/// Everything that can fail comes before anything changes.
void Document::adopt(Scene scene, std::filesystem::path file, int frame) {
    if (!m_module.empty()) scene.module = m_module;
    openStages(scene, frame);
    ++m_opened;
    m_now = {std::make_shared<Scene const>(std::move(scene)), nextNumber(), nextNumber()};
    m_savedRevision = m_now.revision;
    m_file = std::move(file);
    m_frame = frame;
    m_steps.clear();
    m_done = 0;
    m_act.reset();
    tell({true, true, true, true});
}

void Document::openStages(Scene const& scene, int frame) {
    auto stages = std::make_unique<FrameStages>(scene);
    stages->beginEdit(frame);
    auto session = withUserErrors([&] {
        auto own = std::make_unique<EditSession>(stages->host(), stages->frameSize().width,
                                                 stages->frameSize().height);
        own->setFrame(frame);
        return own;
    });
    m_defaults =
        defaultsOf(scene, stages->host().parameters(), stages->layerSize(), stages->frameSize());
    m_session = std::move(session);  // before the host that it works on goes
    m_stages = std::move(stages);
    m_overlayMode.reset();
}

void Document::save() {
    if (m_file.empty()) throw missing("the project's file", "a name");
    saveTo(m_file, true);
}

void Document::saveAs(std::filesystem::path const& project) { saveTo(project, true); }

void Document::saveTo(std::filesystem::path const& project, bool mayReplace) {
    writeScene(scene(), project, mayReplace);
    m_file = project;
    m_savedRevision = m_now.revision;
    tell({.state = true});
}

bool Document::isModified() const { return isOpen() && m_now.revision != m_savedRevision; }

// --- The scene

SceneSnapshot Document::snapshot() const {
    return {m_now.scene, m_now.structure, m_now.revision, m_frame};
}

Scene Document::settledScene() const { return m_stages->settledScene(); }
PixelSize Document::layerSize() const { return m_stages->layerSize(); }
PixelSize Document::frameSize() const { return m_stages->frameSize(); }
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
    checkScene(scene);
    int const frame = std::clamp(m_frame, scene.comp.startFrame, lastFrameOf(scene.comp));
    openStages(scene, frame);
    State const before = m_now;
    m_now = {std::make_shared<Scene const>(std::move(scene)), nextNumber(), nextNumber()};
    m_frame = frame;
    record(std::move(name), before);
    tell({true, true, true, true});
    return true;
}

bool Document::edit(int index, KeyValue const& value) {
    std::string const name = "Set " + std::string(parameter(index).displayName());
    return takeValues(name, [&] { return m_session->edit(index, value); });
}

bool Document::changeValues(std::string name,
                            std::function<void(std::vector<Parameter>&)> const& act) {
    return takeValues(name, [&] { return m_session->change(name, act); });
}

/// Runs what changes parameters, and makes it the scene's.
bool Document::takeValues(std::string name, std::function<bool()> const& act) {
    std::vector<ParameterState> const before = statesOf(host().parameters());
    if (!withUserErrors(act) || statesOf(host().parameters()) == before) return false;
    State const former = m_now;
    m_now.scene = std::make_shared<Scene const>(
        sceneWithEdits(scene(), before, host().parameters(), m_defaults));
    m_now.revision = nextNumber();
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

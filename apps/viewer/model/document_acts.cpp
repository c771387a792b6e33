// What makes steps, and the way back; see document.h.
#include "apps/viewer/model/document.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "apps/viewer/model/scene_values.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/setup.h"
#include "zelk/scene/check.h"
#include "zelk/scene/hand_over.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

Scene withoutParameters(Scene scene) {
    scene.parameters.clear();
    return scene;
}

template <class List, class IsSame>
bool areEqual(List const& a, List const& b, IsSame const& isSame) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSame);
}

bool haveSameValue(SceneKey const& a, SceneKey const& b) {
    return a.frame == b.frame && a.value == b.value;
}

bool haveSameShape(SceneKey const& a, SceneKey const& b) {
    return a.toNext == b.toNext && a.incoming == b.incoming && a.outgoing == b.outgoing;
}

bool haveSameValues(SceneParameter const& a, SceneParameter const& b) {
    return a.name == b.name && a.value == b.value && areEqual(a.keys, b.keys, haveSameValue);
}

bool areSame(SceneParameter const& a, SceneParameter const& b) {
    return haveSameValues(a, b) && a.diskId == b.diskId && areEqual(a.keys, b.keys, haveSameShape);
}

bool haveSameText(Scene const& a, Scene const& b) {
    try {
        return handOverText({a, {}}) == handOverText({b, {}});
    } catch (UserError const&) {
        return false;  // no text can hold it
    }
}

/// All that is saved and handed on. A track that was read again is another one. The texts of
/// thousands of keys take long, and are made where nothing else tells.
bool isSame(Scene const& a, Scene const& b) {
    auto const isSameTrack = [](TrackUse const& x, TrackUse const& y) {
        return x.track == y.track;
    };
    if (!areEqual(a.tracks, b.tracks, isSameTrack)) return false;
    if (areEqual(a.parameters, b.parameters, areSame))
        return haveSameText(withoutParameters(a), withoutParameters(b));
    return areEqual(a.parameters, b.parameters, haveSameValues) && haveSameText(a, b);
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

/// A track is what keyframes come from: it goes with the first one that is edited.
Scene withoutValues(Scene const& whole) {
    Scene scene = withoutParameters(whole);
    scene.tracks.clear();
    return scene;
}

}  // namespace

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
    Scene edited = sceneWithEdits(scene(), edits, host().parameters(), m_defaults);
    if (edited.isBest != scene().isBest) m_stages->changeEdit(edited, m_frame);  // other sizes
    State const former = m_now;
    m_now.scene = std::make_shared<Scene const>(std::move(edited));
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
    m_act = OpenAct{std::move(name), m_now, nextNumber(), valuesHere()};
}

/// A step that would lead to what is there already is none.
bool Document::endAct() {
    if (!m_act || m_session->isDragging()) return false;
    if (m_act->before.revision != m_now.revision && isSame(*m_act->before.scene, scene())) {
        cancelAct();
        return false;
    }
    OpenAct act = *std::exchange(m_act, std::nullopt);
    if (act.before.revision == m_now.revision) return false;
    record(std::move(act.name), act.before);
    tell({.state = true});
    return true;
}

bool Document::endValueAct() {
    if (m_act && !m_session->isDragging() && m_act->values == valuesHere() &&
        isSame(withoutValues(*m_act->before.scene), withoutValues(scene()))) {
        cancelAct();
        return false;
    }
    return endAct();
}

/// The effect that has the mouse gets its last event, which may move values that no scene holds.
/// Where it fails the act is over all the same: nobody is left to end it.
void Document::cancelAct() {
    if (!m_act) return;
    bool const hadMouse = m_session->isDragging();
    std::exception_ptr failure;
    try {
        if (hadMouse) withUserErrors([&] { m_session->release({}); });
    } catch (UserError const&) {
        failure = std::current_exception();
    }
    freeOverlayMode();
    State const before = std::exchange(m_act, std::nullopt)->before;
    if (hadMouse || before.revision != m_now.revision) show(before);
    if (failure) std::rethrow_exception(failure);
}

void Document::runAct(std::string name, std::function<void()> const& run) {
    bool const isOwn = !isActing();
    if (isOwn) beginAct(std::move(name));
    try {
        run();
    } catch (...) {
        cancelAct();
        throw;
    }
    if (isOwn) endAct();
}

/// Of all parameters that have one, at the frame.
std::vector<KeyValue> Document::valuesHere() const {
    std::vector<KeyValue> values;
    if (!isOpen()) return values;
    for (ParameterState const& state : statesOf(host().parameters()))
        values.push_back(valueOf(state.index));
    return values;
}

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

}  // namespace zelk

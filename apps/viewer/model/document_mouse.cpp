// The effect's own mouse and overlay; see document.h.
#include "apps/viewer/model/document.h"

#include <utility>

#include "Transform/Common/PopupEntries.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {
namespace {

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

}  // namespace

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

bool Document::hasOverlay() const { return host().registeredCustomUi(); }

}  // namespace zelk

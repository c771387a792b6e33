// The selection and the acts; what there is to hit stands in pin_handles.cpp.
#include "apps/viewer/model/pin_tool.h"

#include <algorithm>
#include <cmath>

#include "Transform/Common/PopupEntries.h"
#include "apps/viewer/model/pin_names.h"
#include "apps/viewer/model/snap.h"
#include "hostkit/changed_values.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {
namespace {

constexpr double kSnapReachPx = 10;  ///< panel pixels
/// Values that the mouse gives are no finer than this, whatever the zoom.
constexpr double kUnitsPerPx = 100;

double rounded(double px) { return std::round(px * kUnitsPerPx) / kUnitsPerPx; }

MouseEvent mouseEventOf(PinMouse const& mouse) {
    MouseEvent event;
    event.x = static_cast<int>(std::floor(mouse.at.x));
    event.y = static_cast<int>(std::floor(mouse.at.y));
    event.modifiers = mouse.isShift ? PF_Mod_SHIFT_KEY : PF_Mod_NONE;
    return event;
}

}  // namespace

// --- Selection

void PinTool::selectAll() {
    m_selection.clear();
    for (PinHandle const& handle : handles()) m_selection.insert(handle.parameter);
}

bool PinTool::selectNext(bool isBack) {
    std::vector<PinHandle> all = handles();
    if (isBack) std::reverse(all.begin(), all.end());
    auto const last = std::find_if(all.rbegin(), all.rend(),
                                   [](PinHandle const& handle) { return handle.isSelected; });
    auto const next = last.base();
    m_selection.clear();
    if (next == all.end()) return false;
    m_selection.insert(last == all.rend() ? all.front().parameter : next->parameter);
    return true;
}

// --- The mouse

bool PinTool::press(PinMouse const& mouse) {
    if (!m_document.isOpen() || m_drag) return false;
    endNudge();
    beginDrag(mouse);
    if (m_drag->hit.kind != PinHit::kQuad) return true;
    limitOverlay();
    if (!m_document.click(panel(), mouseEventOf(mouse))) m_drag->hit.kind = PinHit::kNothing;
    return true;
}

void PinTool::beginDrag(PinMouse const& mouse) {
    Drag drag;
    drag.hit = hitAt(mouse.at);
    drag.press = drag.last = mouse;
    drag.selected = m_selection;
    if (drag.hit.kind == PinHit::kPin) choosePin(drag);
    if (drag.hit.kind == PinHit::kPin) m_selection = drag.selected;
    if (drag.hit.kind == PinHit::kNothing && !mouse.isShift) m_selection.clear();
    std::vector<int> const& hit = drag.hit.parameters;
    if (drag.hit.kind == PinHit::kEdge) m_selection = {hit.begin(), hit.end()};
    if (drag.hit.kind == PinHit::kPin || drag.hit.kind == PinHit::kEdge) {
        drag.grabbed = hit.front();
        for (int const pin : m_selection) drag.from.emplace_back(pin, valueOf(pin));
    }
    m_drag = std::move(drag);
}

/// A pin of several selected ones takes them along; Shift adds one, or takes it out.
void PinTool::choosePin(Drag& drag) const {
    int const pin = drag.hit.parameters.front();
    bool const wasSelected = m_selection.contains(pin);
    if (drag.press.isShift && wasSelected)
        drag.selected.erase(pin);
    else if (drag.press.isShift)
        drag.selected.insert(pin);
    else if (!wasSelected)
        drag.selected = {pin};
}

void PinTool::drag(PinMouse const& mouse) {
    if (!m_drag) return;
    bool const isMoved = m_drag->isActing || !(mouse.at == m_drag->press.at);
    m_drag->last = mouse;
    if (m_drag->hit.kind == PinHit::kQuad) return m_document.drag(mouseEventOf(mouse));
    if (m_drag->hit.kind == PinHit::kNothing) return selectInBox(mouse);
    if (!isMoved || (m_drag->hit.kind != PinHit::kKey && m_drag->from.empty())) return;
    if (!m_drag->isActing) m_document.beginAct(nameOfAct());
    m_drag->isActing = true;
    m_drag->hit.kind == PinHit::kKey ? moveKey(mouse) : movePins(mouse);
}

void PinTool::release(PinMouse const& mouse) {
    if (!m_drag) return;
    m_snapTarget.reset();
    if (m_drag->hit.kind == PinHit::kQuad) {
        m_drag.reset();
        m_document.release(mouseEventOf(mouse));
        return;
    }
    drag(mouse);
    Drag const drag = *std::exchange(m_drag, std::nullopt);
    m_snapTarget.reset();
    if (!drag.isActing) return;
    // A drag that led back is no step, and leaves no key behind.
    isBackAtStart(drag) ? m_document.cancelAct() : static_cast<void>(m_document.endAct());
}

bool PinTool::isBackAtStart(Drag const& drag) const {
    auto const stayed = [&](auto const& pin) {
        bool const isKey = drag.hit.kind == PinHit::kKey;
        return (isKey ? keyOf(pin.first, drag.hit.key) : valueOf(pin.first)) == pin.second;
    };
    return std::all_of(drag.from.begin(), drag.from.end(), stayed);
}

PanelPoint PinTool::keyOf(int parameter, std::size_t key) const {
    KeyValue const value = m_document.parameter(parameter).track().keys().at(key).value;
    return {value[0], value[1]};
}

bool PinTool::cancel() {
    endNudge();
    if (!m_drag) return false;
    Drag const drag = *std::exchange(m_drag, std::nullopt);
    m_snapTarget.reset();
    m_selection = drag.selected;
    m_document.cancelAct();
    return true;
}

std::optional<int> PinTool::draggedPin() const {
    if (!m_drag || !m_drag->isActing || m_drag->hit.kind != PinHit::kPin) return std::nullopt;
    return m_drag->grabbed;
}

std::optional<std::pair<PanelPoint, PanelPoint>> PinTool::box() const {
    if (!m_drag || m_drag->hit.kind != PinHit::kNothing) return std::nullopt;
    PanelPoint const a = m_drag->press.at, b = m_drag->last.at;
    return std::pair(PanelPoint{std::min(a.x, b.x), std::min(a.y, b.y)},
                     PanelPoint{std::max(a.x, b.x), std::max(a.y, b.y)});
}

void PinTool::selectInBox(PinMouse const& mouse) {
    auto const [first, last] = *box();
    m_selection.clear();
    if (mouse.isShift) m_selection = m_drag->selected;
    for (PinHandle const& handle : handles())
        if (handle.at.x >= first.x && handle.at.x <= last.x && handle.at.y >= first.y &&
            handle.at.y <= last.y)
            m_selection.insert(handle.parameter);
}

// --- Movement

/// Of the mouse since the press, picture pixels.
PanelPoint PinTool::movement(PinMouse const& mouse) {
    PanelPoint const press = m_drag->press.at;
    PanelPoint delta = {(mouse.at.x - press.x) / m_map.zoom(),
                        (mouse.at.y - press.y) / m_map.zoom()};
    if (!mouse.isShift || m_drag->press.isShift) return delta;
    (std::abs(delta.x) < std::abs(delta.y) ? delta.x : delta.y) = 0;
    return delta;
}

PanelPoint PinTool::snappedMovement(PanelPoint from, PanelPoint delta) {
    Snapped const to = snapped({from.x + delta.x, from.y + delta.y}, snapTargets(m_map.picture()),
                               kSnapReachPx / m_map.zoom());
    if (to.isOnTarget) m_snapTarget = to.at;
    return {to.at.x - from.x, to.at.y - from.y};
}

void PinTool::movePins(PinMouse const& mouse) {
    m_snapTarget.reset();
    PanelPoint delta = movement(mouse);
    auto const isGrabbed = [&](auto const& pin) { return pin.first == *m_drag->grabbed; };
    auto const grabbed = std::find_if(m_drag->from.begin(), m_drag->from.end(), isGrabbed);
    if (mouse.snaps && grabbed != m_drag->from.end())
        delta = snappedMovement(grabbed->second, delta);
    delta = {rounded(delta.x), rounded(delta.y)};
    std::vector<std::pair<int, PanelPoint>> values = m_drag->from;
    for (auto& [pin, value] : values) value = {value.x + delta.x, value.y + delta.y};
    setPins("", values);
}

void PinTool::moveKey(PinMouse const& mouse) {
    m_snapTarget.reset();
    int const pin = m_drag->hit.parameters.front();
    std::size_t const key = m_drag->hit.key;
    if (m_drag->from.empty()) m_drag->from.emplace_back(pin, keyOf(pin, key));
    PanelPoint const from = m_drag->from.front().second;
    PanelPoint delta = movement(mouse);
    if (mouse.snaps) delta = snappedMovement(from, delta);
    KeyValue const to = {from.x + rounded(delta.x), from.y + rounded(delta.y)};
    m_document.changeValues("", [&](std::vector<Parameter>& parameters) {
        parameterIn(parameters, pin).editTrack().setValue(key, to);
    });
}

void PinTool::setPins(std::string const& name,
                      std::vector<std::pair<int, PanelPoint>> const& values) {
    m_document.changeValues(name, [&](std::vector<Parameter>& parameters) {
        for (auto const& [pin, value] : values)
            if (!(valueOf(pin) == value))
                setValueAt(parameterIn(parameters, pin), m_document.moment(), {value.x, value.y});
    });
}

std::string PinTool::nameOfAct() const {
    PinHit const& hit = m_drag->hit;
    if (hit.kind == PinHit::kKey) return "Move key of " + pinName(hit.parameters.front());
    if (hit.kind == PinHit::kEdge) return "Move " + edgeName(hit.parameters[0], hit.parameters[1]);
    if (m_drag->from.size() == 1) return "Move " + pinName(m_drag->from.front().first);
    return "Move " + std::to_string(m_drag->from.size()) + " pins";
}

// --- Keys

void PinTool::nudge(double dx, double dy) {
    if (m_drag || m_selection.empty()) return;
    if (!m_isNudging)
        m_document.beginAct("Nudge " + (m_selection.size() == 1
                                            ? pinName(*m_selection.begin())
                                            : std::to_string(m_selection.size()) + " pins"));
    m_isNudging = true;
    std::vector<std::pair<int, PanelPoint>> values;
    for (int const pin : m_selection) {
        PanelPoint const value = valueOf(pin);
        values.emplace_back(pin, PanelPoint{value.x + dx, value.y + dy});
    }
    setPins("", values);
}

void PinTool::endNudge() {
    if (std::exchange(m_isNudging, false)) m_document.endAct();
}

void PinTool::toFrameCorners() {
    endNudge();
    if (m_drag) return;
    auto const [width, height] = m_document.frameSize();
    double const right = width, bottom = height;
    int const first = firstPinOf(TrackedPins::kTo);
    setPins("To Pins to Frame Corners", {{first, {0, 0}},
                                         {first + 1, {right, 0}},
                                         {first + 2, {0, bottom}},
                                         {first + 3, {right, bottom}}});
}

void PinTool::showFromPins() {
    endNudge();
    m_document.edit(kParamOverlayMode, {double(hostEntry(kShowBothPins))});
}

bool PinTool::moveTo(int parameter, PanelPoint value) {
    endNudge();
    if (m_drag) return false;
    return m_document.changeValues("Move " + pinName(parameter), [&](std::vector<Parameter>&
                                                                         parameters) {
        if (!(valueOf(parameter) == value))
            setValueAt(parameterIn(parameters, parameter), m_document.moment(), {value.x, value.y});
    });
}

}  // namespace zelk

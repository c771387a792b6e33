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
/// Ways of the mouse are no finer than this, whatever the zoom.
constexpr double kUnitsPerPx = 100;
/// Positions are 16.16 numbers.
constexpr double kEndPx = 32768;
/// Sums lie on a grid above a 16.16 number's unit, 1.5e-5: tenths leave no dust of fractions.
constexpr double kSumsPerPx = 1e4;

double rounded(double px) { return std::round(px * kUnitsPerPx) / kUnitsPerPx; }

double moved(double px, double by) {
    return by == 0 ? px : std::round((px + by) * kSumsPerPx) / kSumsPerPx;
}

PanelPoint moved(PanelPoint at, PanelPoint by) { return {moved(at.x, by.x), moved(at.y, by.y)}; }

MouseEvent mouseEventOf(PinMouse const& mouse) {
    MouseEvent event;
    event.x = static_cast<int>(std::floor(mouse.at.x));
    event.y = static_cast<int>(std::floor(mouse.at.y));
    event.modifiers = mouse.isShift ? PF_Mod_SHIFT_KEY : PF_Mod_NONE;
    return event;
}

}  // namespace

// --- Selection

bool PinTool::isSelected(int pin) const {
    return m_selectionOf == m_document.opened() && m_selection.contains(pin);
}

std::set<int> PinTool::selection() const {
    std::set<int> shown;
    for (PinHandle const& handle : handles())
        if (handle.isSelected) shown.insert(handle.parameter);
    return shown;
}

void PinTool::select(std::set<int> pins) {
    m_selection = std::move(pins);
    m_selectionOf = m_document.opened();
}

void PinTool::selectAll() {
    std::set<int> all;
    for (PinHandle const& handle : handles()) all.insert(handle.parameter);
    select(std::move(all));
}

bool PinTool::selectNext(bool isBack) {
    std::vector<PinHandle> all = handles();
    if (isBack) std::reverse(all.begin(), all.end());
    auto const last = std::find_if(all.rbegin(), all.rend(),
                                   [](PinHandle const& handle) { return handle.isSelected; });
    auto const next = last.base();
    select({});
    if (next == all.end()) return false;
    select({last == all.rend() ? all.front().parameter : next->parameter});
    return true;
}

void PinTool::toggle(std::size_t place) {
    std::vector<PinHandle> const all = handles();
    if (m_drag || place >= all.size()) return;
    std::set<int> pins = selection();
    int const pin = all[place].parameter;
    if (!pins.erase(pin)) pins.insert(pin);
    select(std::move(pins));
}

// --- The mouse

bool PinTool::press(PinMouse const& mouse) {
    if (!m_document.isOpen() || m_drag) return false;
    endNudge();
    beginDrag(mouse);
    if (m_drag->hit.kind == PinHit::kQuad) {
        limitOverlay();
        if (!m_document.click(panel(), mouseEventOf(mouse))) m_drag->hit.kind = PinHit::kNothing;
    } else if (!m_drag->from.empty()) {
        m_document.beginAct(nameOfAct());  // from here on the frame stays
    }
    bool const hasAct = m_drag->hit.kind == PinHit::kQuad || !m_drag->from.empty();
    if (hasAct) m_drag->act = m_document.act();
    return true;
}

void PinTool::beginDrag(PinMouse const& mouse) {
    Drag drag;
    drag.hit = hitAt(mouse.at);
    drag.press = drag.last = mouse;
    drag.selected = selection();
    std::vector<int> const& hit = drag.hit.parameters;
    if (drag.hit.kind == PinHit::kPin) choosePin(drag);
    if (drag.hit.kind == PinHit::kPin) select(drag.selected);
    if (drag.hit.kind == PinHit::kNothing && !mouse.isShift) select({});
    if (drag.hit.kind == PinHit::kEdge) select({hit.begin(), hit.end()});
    if (drag.hit.kind == PinHit::kKey)
        drag.from.emplace_back(hit.front(), keyOf(hit.front(), drag.hit.key));
    if (drag.hit.kind == PinHit::kPin || drag.hit.kind == PinHit::kEdge) {
        drag.grabbed = hit.front();
        for (int const pin : selection()) drag.from.emplace_back(pin, valueOf(pin));
    }
    m_drag = std::move(drag);
}

/// A pin of several selected ones takes them along; Shift adds one, or takes it out.
void PinTool::choosePin(Drag& drag) const {
    int const pin = drag.hit.parameters.front();
    bool const wasSelected = drag.selected.contains(pin);
    if (drag.press.isShift && wasSelected)
        drag.selected.erase(pin);
    else if (drag.press.isShift)
        drag.selected.insert(pin);
    else if (!wasSelected)
        drag.selected = {pin};
}

/// Another act, of a panel or a menu, ends the drag's own: what was moved until then stays.
bool PinTool::hasLostAct() const { return m_drag && m_drag->act != m_document.act(); }

void PinTool::drag(PinMouse const& mouse) {
    if (!m_drag) return;
    m_drag->last = mouse;
    if (m_drag->hit.kind == PinHit::kNothing) return selectInBox(mouse);
    if (hasLostAct()) return m_drag.reset();
    if (m_drag->hit.kind == PinHit::kQuad) return m_document.drag(mouseEventOf(mouse));
    m_drag->isMoved = m_drag->isMoved || !(mouse.at == m_drag->press.at);
    if (!m_drag->isMoved || m_drag->from.empty()) return;
    m_drag->hit.kind == PinHit::kKey ? moveKey(mouse) : movePins(mouse);
}

/// Where the effect fails the drag stays, so that cancel takes it back.
void PinTool::release(PinMouse const& mouse) {
    if (!m_drag) return;
    if (m_drag->hit.kind == PinHit::kQuad && !hasLostAct())
        m_document.release(mouseEventOf(mouse));
    else
        drag(mouse);
    m_snapTarget.reset();
    std::optional<Drag> const drag = std::exchange(m_drag, std::nullopt);
    if (!drag || drag->act == 0 || drag->act != m_document.act()) return;
    // A drag that led back is no step, and leaves no key behind.
    isBackAtStart(*drag) ? m_document.cancelAct() : static_cast<void>(m_document.endAct());
}

void PinTool::drop() {
    if (m_drag) release(PinMouse(m_drag->last));
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
    bool const hasAct = m_drag->act != 0 && !hasLostAct();
    Drag const drag = *std::exchange(m_drag, std::nullopt);
    m_snapTarget.reset();
    select(drag.selected);
    if (hasAct) m_document.cancelAct();
    return true;
}

std::optional<int> PinTool::draggedPin() const {
    if (!m_drag || !m_drag->isMoved || m_drag->hit.kind != PinHit::kPin) return std::nullopt;
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
    std::set<int> chosen;
    if (mouse.isShift) chosen = m_drag->selected;
    for (PinHandle const& handle : handles())
        if (handle.at.x >= first.x && handle.at.x <= last.x && handle.at.y >= first.y &&
            handle.at.y <= last.y)
            chosen.insert(handle.parameter);
    select(std::move(chosen));
}

// --- Movement

/// Corners of the frame and of the layer; an inverted scene has its pins in one of them.
std::vector<PanelPoint> PinTool::targets() const {
    PixelSize const shown = m_map.picture();
    if (m_document.scene().isInverted) return snapTargets(shown, shown);
    bool const isLayer = m_shows == ShownPicture::kLayer;
    return snapTargets(shown, isLayer ? m_document.frameSize() : m_document.layerSize());
}

/// Of the mouse since the press, picture pixels; so that the point that it grabbed, if any, lies
/// on a target where it snaps.
PanelPoint PinTool::movement(PinMouse const& mouse, PanelPoint const* grabbed) {
    m_snapTarget.reset();
    PanelPoint const press = m_drag->press.at;
    PanelPoint by = {rounded((mouse.at.x - press.x) / m_map.zoom()),
                     rounded((mouse.at.y - press.y) / m_map.zoom())};
    SnapWay way = SnapWay::kAnywhere;
    if (mouse.isShift && !m_drag->press.isShift) {
        bool const isAcross = std::abs(by.x) >= std::abs(by.y);
        (isAcross ? by.y : by.x) = 0;
        way = isAcross ? SnapWay::kAcross : SnapWay::kUpAndDown;
    }
    if (!mouse.snaps || !grabbed) return by;
    Snapped const to = snapped({grabbed->x + by.x, grabbed->y + by.y}, targets(),
                               kSnapReachPx / m_map.zoom(), way);
    if (to.isOnTarget) m_snapTarget = to.at;
    return {to.at.x - grabbed->x, to.at.y - grabbed->y};
}

void PinTool::movePins(PinMouse const& mouse) {
    auto const isGrabbed = [&](auto const& pin) { return pin.first == *m_drag->grabbed; };
    auto const grabbed = std::find_if(m_drag->from.begin(), m_drag->from.end(), isGrabbed);
    PanelPoint const by =
        movement(mouse, grabbed == m_drag->from.end() ? nullptr : &grabbed->second);
    std::vector<std::pair<int, PanelPoint>> values = m_drag->from;
    for (auto& [pin, value] : values) value = moved(value, by);
    setPins("", values);
}

void PinTool::moveKey(PinMouse const& mouse) {
    auto const& held = m_drag->from.front();
    PanelPoint const to = moved(held.second, movement(mouse, &held.second));
    m_document.changeValues("", [&](std::vector<Parameter>& parameters) {
        parameterIn(parameters, held.first).editTrack().setValue(m_drag->hit.key, {to.x, to.y});
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
    std::vector<std::pair<int, PanelPoint>> values;
    for (int const pin : selection()) values.emplace_back(pin, moved(valueOf(pin), {dx, dy}));
    nudgeTo("Nudge", values);
}

/// p' = p + (factor - 1) (p - middle)
void PinTool::scale(double factor) {
    std::set<int> const pins = selection();
    if (pins.size() < 2) return;
    PanelPoint middle;
    for (int const pin : pins) {
        middle.x += valueOf(pin).x / double(pins.size());
        middle.y += valueOf(pin).y / double(pins.size());
    }
    std::vector<std::pair<int, PanelPoint>> values;
    for (int const pin : pins) {
        PanelPoint const at = valueOf(pin);
        PanelPoint const to =
            moved(at, {(factor - 1) * (at.x - middle.x), (factor - 1) * (at.y - middle.y)});
        if (std::max(std::abs(to.x), std::abs(to.y)) >= kEndPx) return;
        values.emplace_back(pin, to);
    }
    nudgeTo("Scale", values);
}

void PinTool::nudgeTo(char const* verb, std::vector<std::pair<int, PanelPoint>> const& values) {
    if (m_drag || values.empty()) return;
    std::string const what = values.size() == 1 ? pinName(values.front().first)
                                                : std::to_string(values.size()) + " pins";
    std::string const name = verb + (" " + what);
    if (m_nudge == 0 || m_nudge != m_document.act() || m_nudgeName != name) {
        m_document.beginAct(name);
        m_nudge = m_document.act();
        m_nudgeName = name;
    }
    setPins("", values);
}

void PinTool::endNudge() {
    if (std::uint64_t const act = std::exchange(m_nudge, 0); act != 0 && act == m_document.act())
        m_document.endValueAct();
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

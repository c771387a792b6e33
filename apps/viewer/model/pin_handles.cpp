// What pins, edges and keys there are, and what the mouse meets; see pin_tool.h.
#include <algorithm>
#include <cmath>

#include "Transform/Common/PopupEntries.h"
#include "apps/viewer/model/pin_names.h"
#include "apps/viewer/model/pin_tool.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {
namespace {

constexpr TrackedPins kQuads[] = {TrackedPins::kTo, TrackedPins::kFrom};

double distance(PanelPoint a, PanelPoint b) { return std::hypot(a.x - b.x, a.y - b.y); }

double distanceToSegment(PanelPoint p, PanelPoint a, PanelPoint b) {
    double const x = b.x - a.x, y = b.y - a.y, length2 = x * x + y * y;
    double const t = length2 > 0 ? ((p.x - a.x) * x + (p.y - a.y) * y) / length2 : 0;
    double const kept = std::clamp(t, 0.0, 1.0);
    return distance(p, {a.x + kept * x, a.y + kept * y});
}

/// Inside by the rule of odd crossings; `quad` goes around.
bool isInside(PanelPoint p, std::vector<PanelPoint> const& quad) {
    bool inside = false;
    for (std::size_t i = 0, j = quad.size() - 1; i < quad.size(); j = i++)
        if ((quad[i].y > p.y) != (quad[j].y > p.y) &&
            p.x < (quad[j].x - quad[i].x) * (p.y - quad[i].y) / (quad[j].y - quad[i].y) + quad[i].x)
            inside = !inside;
    return inside;
}

}  // namespace

PanelPoint PinTool::valueOf(int parameter) const {
    KeyValue const value = m_document.valueOf(parameter);
    return {value[0], value[1]};
}

bool PinTool::shows(TrackedPins pins) const {
    int const mode = entryOfHost(static_cast<int>(m_document.valueOf(kParamOverlayMode)[0]));
    return mode != (pins == TrackedPins::kTo ? kShowFromPins : kShowToPins) && liesHere(pins);
}

/// In the picture that is shown.
bool PinTool::liesHere(TrackedPins pins) const {
    using enum ShownPicture;
    Scene const& scene = m_document.scene();
    if (scene.isInverted)
        return pins == TrackedPins::kTo && m_shows == (scene.plate ? kPlate : kLayer);
    if (m_document.layerSize() == m_document.frameSize()) return true;
    return (pins == TrackedPins::kFrom) == (m_shows == kLayer);
}

bool PinTool::hidesFromPins() const {
    return m_document.isOpen() && liesHere(TrackedPins::kFrom) && !shows(TrackedPins::kFrom);
}

std::vector<PinHandle> PinTool::handles() const {
    std::vector<PinHandle> result;
    if (!m_document.isOpen()) return result;
    for (TrackedPins const quad : kQuads) {
        if (!shows(quad)) continue;
        int const first = firstPinOf(quad);
        for (int pin = first; pin < first + 4; ++pin) {
            PanelPoint const value = valueOf(pin);
            result.push_back({pin, value, m_map.toPanel(value), isSelected(pin)});
        }
    }
    return result;
}

std::optional<PinHandle> PinTool::handleOf(int parameter) const {
    for (PinHandle const& handle : handles())
        if (handle.parameter == parameter) return handle;
    return std::nullopt;
}

std::vector<MotionPath> const& PinTool::motionPaths() const {
    std::set<int> shown;
    if (m_hasPaths)
        for (PinHandle const& handle : handles())
            if (handle.isSelected) shown.insert(handle.parameter);
    std::pair const wanted(m_document.isOpen() ? m_document.snapshot().revision : 0, shown);
    if (wanted == m_pathsOf) return m_paths;
    m_paths.clear();
    for (int const pin : shown)
        if (MotionPath path = motionPathOf(m_document, pin); !path.keys.empty())
            m_paths.push_back(std::move(path));
    m_pathsOf = wanted;
    return m_paths;
}

/// Of handles that lie on each other a selected one, else the one drawn last.
PinHit PinTool::hitAt(PanelPoint panel) const {
    PinHit hit;
    std::vector<PinHandle> const all = handles();
    double nearest = m_reachPx;
    bool isSelected = false;
    for (PinHandle const& handle : all) {
        double const away = distance(handle.at, panel);
        if (away > nearest || (away == nearest && isSelected && !handle.isSelected)) continue;
        nearest = away;
        isSelected = handle.isSelected;
        hit = {PinHit::kPin, {handle.parameter}};
    }
    if (hit.kind != PinHit::kNothing) return hit;
    for (MotionPath const& path : motionPaths())
        for (MotionPath::Key const& key : path.keys)
            if (distance(m_map.toPanel(key.at), panel) <= m_reachPx)
                return {PinHit::kKey, {path.parameter}, key.index};
    if (auto const edge = hitEdge(panel)) return *edge;
    if (hitsQuad(panel)) hit.kind = PinHit::kQuad;
    return hit;
}

std::optional<PinHit> PinTool::hitEdge(PanelPoint panel) const {
    for (TrackedPins const quad : kQuads) {
        if (!shows(quad)) continue;
        int const first = firstPinOf(quad);
        for (auto const& [a, b] : kQuadEdges)
            if (distanceToSegment(panel, m_map.toPanel(valueOf(first + a)),
                                  m_map.toPanel(valueOf(first + b))) <= m_reachPx / 2)
                return PinHit{PinHit::kEdge, {first + a, first + b}};
    }
    return std::nullopt;
}

/// For the mouse's shape; which quad a click takes is the effect's to say.
bool PinTool::hitsQuad(PanelPoint panel) const {
    for (TrackedPins const quad : kQuads) {
        if (!shows(quad)) continue;
        int const first = firstPinOf(quad);
        std::vector<PanelPoint> around;
        for (int const corner : {0, 1, 3, 2})
            around.push_back(m_map.toPanel(valueOf(first + corner)));
        if (isInside(panel, around)) return true;
    }
    return false;
}

Panel PinTool::panel() const {
    Panel panel;
    panel.shows = m_shows == ShownPicture::kLayer ? PF_Window_LAYER : PF_Window_COMP;
    panel.zoom = m_map.zoom();
    panel.pan = m_map.pan();
    return panel;
}

/// Overlay Mode is about one panel for both quads.
void PinTool::limitOverlay() const {
    bool const hasTo = shows(TrackedPins::kTo), hasFrom = shows(TrackedPins::kFrom);
    m_document.limitOverlay(hasTo == hasFrom ? std::nullopt : std::optional(kQuads[hasTo ? 0 : 1]));
}

void PinTool::drawOverlay() const {
    if (!m_document.isOpen() || !m_document.hasOverlay()) return;
    if (!shows(TrackedPins::kTo) && !shows(TrackedPins::kFrom)) return;
    limitOverlay();
    m_document.drawOverlay(panel());
}

}  // namespace zelk

// Mouse and keys of the canvas; see composition_canvas.h.
//
//     left      pins, edges, quads, boxes; the wipe's line
//     middle,   pan; with the right button as well
//     wheel     zoom at the cursor
//     Ctrl      snaps while it is held, or not where snapping is on
#include <QKeyEvent>
#include <QMouseEvent>
#include <algorithm>
#include <cmath>

#include "apps/viewer/composition_canvas.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

constexpr double kWipeReachPx = 5;
constexpr double kNudgePx = 1, kLargeNudgePx = 10, kSmallNudgePx = 0.1;
constexpr double kScalePercent = 1, kLargeScalePercent = 10, kSmallScalePercent = 0.1;
/// Of the panel, for an arrow key that meets no pin.
constexpr double kPanPart = 1.0 / 8;

struct Way {
    double x = 0, y = 0;
};

std::optional<Way> wayOf(int key) {
    switch (key) {
        case Qt::Key_Left:
            return Way{-1, 0};
        case Qt::Key_Right:
            return Way{1, 0};
        case Qt::Key_Up:
            return Way{0, -1};
        case Qt::Key_Down:
            return Way{0, 1};
        default:
            return std::nullopt;
    }
}

double stepOf(Qt::KeyboardModifiers keys) {
    if (keys & Qt::ShiftModifier) return kLargeNudgePx;
    return keys & Qt::AltModifier ? kSmallNudgePx : kNudgePx;
}

/// With Ctrl up and down scale, with Shift more; right and left scale a little.
std::optional<double> factorOf(QKeyEvent const& event) {
    auto const way = wayOf(event.key());
    bool const isShift = event.modifiers() & Qt::ShiftModifier;
    bool const isAlt = event.modifiers() & Qt::AltModifier;
    if (!way || !(event.modifiers() & Qt::ControlModifier) || isAlt) return std::nullopt;
    if (way->x != 0 && isShift) return std::nullopt;
    double const percent = way->x != 0 ? kSmallScalePercent
                           : isShift   ? kLargeScalePercent
                                       : kScalePercent;
    double const larger = 1 + percent / 100;
    return way->x > 0 || way->y < 0 ? larger : 1 / larger;
}

/// The pin that a digit means, from 0.
std::optional<std::size_t> pinOf(QKeyEvent const& event) {
    bool const isPlain = !(event.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier));
    if (!isPlain || event.key() < Qt::Key_1 || event.key() > Qt::Key_8) return std::nullopt;
    return static_cast<std::size_t>(event.key() - Qt::Key_1);
}

bool isEnter(int key) { return key == Qt::Key_Return || key == Qt::Key_Enter; }

}  // namespace

PanelPoint CompositionCanvas::panelPoint(QPointF const& widget) const {
    return {widget.x() * density(), widget.y() * density()};
}

PinMouse CompositionCanvas::pinMouse(QMouseEvent const& event) const {
    PinMouse mouse;
    mouse.at = panelPoint(event.position());
    mouse.isShift = event.modifiers() & Qt::ShiftModifier;
    mouse.snaps = m_look.snaps != bool(event.modifiers() & Qt::ControlModifier);
    return mouse;
}

double CompositionCanvas::wipeFrac() const {
    double const width = m_map.picture().width, edge = kWipeReachPx * density();
    double const first = std::max(0.0, m_map.toPicture({edge, 0}).x / width);
    double const last = std::min(1.0, m_map.toPicture({m_map.panel().width - edge, 0}).x / width);
    return first <= last ? std::clamp(m_look.wipeFrac, first, last) : m_look.wipeFrac;
}

double CompositionCanvas::wipeX() const {
    return std::round(m_map.toPanel({wipeFrac() * m_map.picture().width, 0}).x);
}

void CompositionCanvas::act(std::function<void()> const& run) {
    try {
        run();
    } catch (UserError const& error) {
        m_hand = Hand::kNone;
        m_pins.cancel();
        if (onFailure) onFailure(error.what());
    }
    describePins();
    updateSoon();
}

// --- Mouse

/// A dialog that came meanwhile has taken the release.
bool CompositionCanvas::isDropped(QMouseEvent const& event) const {
    return m_hand != Hand::kNone && !(event.buttons() & m_button);
}

void CompositionCanvas::drop() {
    if (std::exchange(m_hand, Hand::kNone) == Hand::kPins) act([&] { m_pins.drop(); });
}

void CompositionCanvas::mousePressEvent(QMouseEvent* event) {
    if (isDropped(*event) || event->button() == m_button) drop();
    if (m_hand != Hand::kNone) return;
    m_button = event->button();
    m_lastMouse = panelPoint(event->position());
    if (event->button() != Qt::LeftButton) {
        m_hand = Hand::kPan;
        setCursor(Qt::ClosedHandCursor);
        return;
    }
    bool const isPin = m_look.hasOverlay && m_pins.hitAt(m_lastMouse).kind == PinHit::kPin;
    if (isWiped() && !isPin && std::abs(m_lastMouse.x - wipeX()) <= kWipeReachPx * density()) {
        m_hand = Hand::kWipe;
        return;
    }
    if (!m_look.hasOverlay) return;
    m_hand = Hand::kPins;
    bool const takesPins = m_pins.hitAt(m_lastMouse).kind != PinHit::kNothing;
    act([&] { m_pins.press(pinMouse(*event)); });
    if (takesPins && onPinsTaken) onPinsTaken();
    if (onView) onView();
}

void CompositionCanvas::mouseMoveEvent(QMouseEvent* event) {
    if (isDropped(*event)) drop();
    PanelPoint const at = panelPoint(event->position());
    PanelPoint const last = std::exchange(m_lastMouse, at);
    m_isHovered = true;
    switch (m_hand) {
        case Hand::kPins:
            act([&] { m_pins.drag(pinMouse(*event)); });
            break;
        case Hand::kPan:
            changeView([&](ViewMap& map) { map.panBy(at.x - last.x, at.y - last.y); });
            break;
        case Hand::kWipe: {
            CanvasLook look = m_look;
            look.wipeFrac = std::clamp(m_map.toPicture(at).x / m_map.picture().width, 0.0, 1.0);
            setLook(look);
            break;
        }
        case Hand::kNone:
            updateCursor(at);
    }
    if (m_hand == Hand::kNone) askNext();
    tellReadout();
}

void CompositionCanvas::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != m_button) return;  // another one meanwhile
    Hand const hand = std::exchange(m_hand, Hand::kNone);
    if (hand == Hand::kPins) act([&] { m_pins.release(pinMouse(*event)); });
    updateCursor(panelPoint(event->position()));
    if (onView) onView();
}

void CompositionCanvas::mouseDoubleClickEvent(QMouseEvent* event) {
    PinHit const hit = m_look.hasOverlay ? m_pins.hitAt(panelPoint(event->position())) : PinHit();
    if (event->button() == Qt::LeftButton && hit.kind == PinHit::kPin)
        return openField(hit.parameters.front());
    mousePressEvent(event);
}

void CompositionCanvas::wheelEvent(QWheelEvent* event) {
    double const notches = event->angleDelta().y() / 120.0;
    if (notches == 0) return;
    PanelPoint const at = panelPoint(event->position());
    changeView([&](ViewMap& map) { map.zoomAt(at, map.wheelZoom(notches)); });
}

void CompositionCanvas::leaveEvent(QEvent*) {
    m_isHovered = false;
    tellReadout();
}

void CompositionCanvas::updateCursor(PanelPoint at) {
    if (!m_document.isOpen()) return unsetCursor();
    if (isWiped() && std::abs(at.x - wipeX()) <= kWipeReachPx * density())
        return setCursor(Qt::SplitHCursor);
    switch (m_look.hasOverlay ? m_pins.hitAt(at).kind : PinHit::kNothing) {
        case PinHit::kPin:
        case PinHit::kKey:
            return setCursor(Qt::PointingHandCursor);
        case PinHit::kEdge:
        case PinHit::kQuad:
            return setCursor(Qt::SizeAllCursor);
        case PinHit::kNothing:
            return setCursor(Qt::CrossCursor);
    }
}

// --- Keys

bool CompositionCanvas::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        int const key = static_cast<QKeyEvent*>(event)->key();
        bool const isPlain = !(static_cast<QKeyEvent*>(event)->modifiers() & Qt::ControlModifier);
        if (isPlain && (wayOf(key) || isEnter(key) || key == Qt::Key_Escape)) event->accept();
    }
    return QWidget::event(event);
}

void CompositionCanvas::keyPressEvent(QKeyEvent* event) {
    bool const isPlain = !(event->modifiers() & Qt::ControlModifier);
    if (isPlain && m_document.isOpen() && pressArrow(*event)) return;
    if (m_look.hasOverlay && pressPinKey(*event)) return;
    bool const isPinChosen = m_look.hasOverlay && !m_pins.selection().empty();
    if (isEnter(event->key()) && isPinChosen) return typePosition();
    if (event->key() != Qt::Key_Escape) return QWidget::keyPressEvent(event);
    act([&] {
        if (!m_pins.cancel()) m_pins.select({});
    });
    m_hand = Hand::kNone;
    if (onView) onView();
}

bool CompositionCanvas::pressArrow(QKeyEvent const& event) {
    auto const way = wayOf(event.key());
    if (!way) return false;
    if (m_pins.selection().empty() || !m_look.hasOverlay) {
        changeView([&](ViewMap& map) {
            map.panBy(-way->x * map.panel().width * kPanPart,
                      -way->y * map.panel().height * kPanPart);
        });
        return true;
    }
    double const step = stepOf(event.modifiers());
    act([&] { m_pins.nudge(way->x * step, way->y * step); });
    return true;
}

bool CompositionCanvas::pressPinKey(QKeyEvent const& event) {
    if (auto const factor = factorOf(event)) {
        act([&] { m_pins.scale(*factor); });
        return true;
    }
    auto const pin = pinOf(event);
    if (!pin) return false;
    if (!event.isAutoRepeat()) m_pins.toggle(*pin);
    viewChanged();
    return true;
}

/// A key that is held is one step.
void CompositionCanvas::keyReleaseEvent(QKeyEvent* event) {
    if (!event->isAutoRepeat()) m_pins.endNudge();
    QWidget::keyReleaseEvent(event);
}

void CompositionCanvas::focusOutEvent(QFocusEvent* event) {
    m_pins.endNudge();
    QWidget::focusOutEvent(event);
}

/// Tab goes through the pins, and then on to the next widget.
bool CompositionCanvas::focusNextPrevChild(bool isNext) {
    if (!m_look.hasOverlay || !m_pins.selectNext(!isNext)) {
        update();
        return QWidget::focusNextPrevChild(isNext);
    }
    if (auto const pin = m_pins.handleOf(*m_pins.selection().begin())) m_map.reveal(pin->value);
    viewChanged();
    return true;
}

void CompositionCanvas::nudge(double dx, double dy) {
    act([&] {
        m_pins.nudge(dx, dy);
        m_pins.endNudge();
    });
}

void CompositionCanvas::scalePins(bool isUp) {
    double const larger = 1 + kScalePercent / 100;
    act([&] {
        m_pins.scale(isUp ? larger : 1 / larger);
        m_pins.endNudge();
    });
}

void CompositionCanvas::selectAllPins() {
    m_pins.selectAll();
    viewChanged();
}

}  // namespace zelk

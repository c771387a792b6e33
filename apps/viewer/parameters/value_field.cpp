// See value_field.h.
#include "apps/viewer/parameters/value_field.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <QWheelEvent>
#include <cmath>

namespace zelk {
namespace {

constexpr double kDragStartPx = 3;
constexpr double kNotch = 120;  // of a wheel, in eighths of a degree
constexpr QColor kRefusedColor(255, 90, 80, 64);

double factorOf(Qt::KeyboardModifiers keys) {
    if (keys & Qt::ShiftModifier) return 10;
    return keys & (Qt::AltModifier | Qt::ControlModifier) ? 0.1 : 1;
}

bool isArrow(QKeyEvent const& event) {
    return event.key() == Qt::Key_Up || event.key() == Qt::Key_Down;
}

bool isEnter(QKeyEvent const& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

/// Starts typing with itself as the first letter.
bool startsValue(QKeyEvent const& event) {
    bool const isPlain = !(event.modifiers() & (Qt::ControlModifier | Qt::AltModifier));
    QString const text = event.text();
    return isPlain && !text.isEmpty() && QString("0123456789-+*/(.#").contains(text[0]);
}

}  // namespace

ValueField::ValueField(FieldActs acts, bool isWhole, QWidget* parent)
    : QLineEdit(parent), m_acts(std::move(acts)), m_isWhole(isWhole) {
    setReadOnly(true);
    setFocusPolicy(Qt::StrongFocus);
    setFrame(false);
    setTextMargins(3, 0, 3, 0);
    setAttribute(Qt::WA_Hover);
    dress();
}

/// A value that can be dragged has a link's colour; one that is typed a field's.
void ValueField::dress() {
    QPalette own = parentWidget()->palette();
    if (!isTyping()) {
        QColor const link = own.color(QPalette::Link);
        if (m_acts.step) own.setColor(QPalette::Active, QPalette::Text, link);
        if (m_acts.step) own.setColor(QPalette::Inactive, QPalette::Text, link);
    }
    setPalette(own);
    setToolTip(m_refusal);  // empty: the row's
    setAccessibleDescription(m_refusal);
    setCursor(isTyping()    ? Qt::IBeamCursor
              : m_acts.step ? Qt::SizeHorCursor
                            : Qt::PointingHandCursor);
}

void ValueField::paintEvent(QPaintEvent* event) {
    QLineEdit::paintEvent(event);
    if (!isEnabled() || !(hasFocus() || underMouse() || isRefused())) return;
    QPainter painter(this);
    if (isRefused()) painter.fillRect(rect(), kRefusedColor);
    painter.setPen(palette().color(isRefused()  ? QPalette::BrightText
                                   : hasFocus() ? QPalette::Highlight
                                                : QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void ValueField::showText(QString const& text) {
    m_shown = text;
    if (isTyping() || this->text() == text) return;
    setText(text);
    setCursorPosition(0);
}

void ValueField::startTyping(QString const& text, bool selects) {
    m_typedFrom = m_acts.typedText();
    setReadOnly(false);
    dress();
    setText(selects ? m_typedFrom : text);
    if (selects) selectAll();
}

/// A text that nobody changed sets nothing, however few digits it shows.
void ValueField::stopTyping(bool sets) {
    QString const typed = text();
    bool const wasRefused = isRefused();
    dropTyped();
    QString const refusal = sets && typed != m_typedFrom ? m_acts.type(typed) : QString();
    if (!refusal.isEmpty()) return refuse(typed, refusal);
    if (wasRefused && (!sets || typed == m_typedFrom)) m_acts.giveUp();
    dropTyped();
}

void ValueField::dropTyped() {
    m_refused.clear();
    m_refusal.clear();
    setReadOnly(true);
    dress();
    setText(m_shown);
    setCursorPosition(0);
}

void ValueField::refuse(QString const& typed, QString const& sentence) {
    m_refused = typed;
    m_refusal = sentence;
    setReadOnly(false);
    dress();
    setText(typed);
    tell();
}

void ValueField::tell() {
    if (isRefused() && hasFocus())
        QToolTip::showText(mapToGlobal(rect().bottomLeft()), m_refusal, this);
}

void ValueField::addSteps(double steps) {
    m_rest += steps;
    double const due = m_isWhole ? std::trunc(m_rest + std::copysign(1e-9, m_rest)) : m_rest;
    if (due == 0) return;
    m_rest -= due;
    if (!m_acts.step(due) && m_hold != Hold::kNone) m_hold = Hold::kCancelled;
}

void ValueField::endHold(bool keeps) {
    Hold const hold = std::exchange(m_hold, Hold::kNone);
    m_rest = 0;
    if (hold != Hold::kScrubbing && hold != Hold::kKey) return;
    keeps ? m_acts.end() : m_acts.cancel();
}

/// Its keys are its own before they are any menu's; of a resting field all others are the menus',
/// undo above all.
bool ValueField::event(QEvent* event) {
    if (event->type() != QEvent::ShortcutOverride) return QLineEdit::event(event);
    bool const isOwn = isOwnKey(static_cast<QKeyEvent const&>(*event));
    if (!isOwn && isTyping()) return QLineEdit::event(event);
    event->setAccepted(isOwn);
    return true;
}

bool ValueField::isOwnKey(QKeyEvent const& event) const {
    if (event.key() == Qt::Key_Escape) return isTyping() || m_hold != Hold::kNone;
    bool const isPlain = !(event.modifiers() & (Qt::ControlModifier | Qt::AltModifier));
    bool const isFunction = event.key() >= Qt::Key_F1 && event.key() <= Qt::Key_F35;
    if (isTyping()) return isEnter(event) || (isPlain && !isFunction);
    if (isArrow(event)) return bool(m_acts.step);
    return isEnter(event) || event.key() == Qt::Key_F2 || startsValue(event);
}

void ValueField::mousePressEvent(QMouseEvent* event) {
    if (isTyping()) return QLineEdit::mousePressEvent(event);
    if (event->button() != Qt::LeftButton) return event->ignore();
    m_hold = Hold::kPressed;
    m_pressX = m_lastX = event->globalPosition().x();
}

void ValueField::mouseMoveEvent(QMouseEvent* event) {
    if (isTyping()) return QLineEdit::mouseMoveEvent(event);
    bool const isHeld = m_hold == Hold::kPressed || m_hold == Hold::kScrubbing;
    if (isHeld && !(event->buttons() & Qt::LeftButton)) endHold(true);  // a dialog took the release
    double const x = event->globalPosition().x();
    if (m_hold == Hold::kPressed && m_acts.step && std::abs(x - m_pressX) > kDragStartPx) {
        m_hold = Hold::kScrubbing;
        m_lastX = m_pressX;
        m_acts.begin();
    }
    if (m_hold == Hold::kScrubbing) addSteps((x - m_lastX) * factorOf(event->modifiers()));
    m_lastX = x;
}

void ValueField::mouseReleaseEvent(QMouseEvent* event) {
    if (isTyping()) return QLineEdit::mouseReleaseEvent(event);
    if (m_hold == Hold::kPressed) startTyping({}, true);
    endHold(true);
}

void ValueField::mouseDoubleClickEvent(QMouseEvent* event) {
    isTyping() ? QLineEdit::mouseDoubleClickEvent(event) : mousePressEvent(event);
}

void ValueField::wheelEvent(QWheelEvent* event) {
    if (!hasFocus() || !m_acts.step) return event->ignore();
    takeTyped();                               // it steps from there
    if (isTyping()) return event->ignore();    // refused
    QPoint const angle = event->angleDelta();  // Alt turns it on its side
    addSteps((angle.y() ? angle.y() : angle.x()) / kNotch * factorOf(event->modifiers()));
    event->accept();
}

void ValueField::keyPressEvent(QKeyEvent* event) {
    isTyping() ? typingKey(event) : restingKey(event);
}

void ValueField::typingKey(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) return stopTyping(false);
    if (isEnter(*event)) return stopTyping(true);
    QLineEdit::keyPressEvent(event);
}

/// A key that is held is one act.
void ValueField::restingKey(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && m_hold != Hold::kNone) {
        endHold(false);
        m_hold = Hold::kCancelled;
        return;
    }
    if (isArrow(*event) && m_acts.step) {
        if (m_hold == Hold::kNone) {
            m_hold = Hold::kKey;
            m_acts.begin();
        }
        if (m_hold == Hold::kKey)
            addSteps(factorOf(event->modifiers()) * (event->key() == Qt::Key_Up ? 1 : -1));
        return;
    }
    if (isEnter(*event) || event->key() == Qt::Key_F2) return startTyping({}, true);
    if (startsValue(*event)) return startTyping(event->text(), false);
    event->ignore();
}

void ValueField::keyReleaseEvent(QKeyEvent* event) {
    if (isArrow(*event) && !event->isAutoRepeat() && m_hold != Hold::kScrubbing) endHold(true);
    QLineEdit::keyReleaseEvent(event);
}

void ValueField::focusInEvent(QFocusEvent* event) {
    QLineEdit::focusInEvent(event);
    tell();
}

void ValueField::focusOutEvent(QFocusEvent* event) {
    if (event->reason() != Qt::PopupFocusReason) takeTyped();
    endHold(true);
    QLineEdit::focusOutEvent(event);
}

/// A resting field has its row's menu.
void ValueField::contextMenuEvent(QContextMenuEvent* event) {
    isTyping() ? QLineEdit::contextMenuEvent(event) : event->ignore();
}

}  // namespace zelk

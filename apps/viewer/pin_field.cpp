// See pin_field.h.
#include "apps/viewer/pin_field.h"

#include <QKeyEvent>
#include <QRegularExpression>
#include <QToolTip>
#include <cmath>

namespace zelk {

std::optional<PanelPoint> positionOf(QString const& text) {
    QString line = text;
    line.replace("px", " ");
    QStringList const words = line.split(QRegularExpression("[,;\\s]+"), Qt::SkipEmptyParts);
    if (words.size() != 2) return std::nullopt;
    bool isX = false, isY = false;
    PanelPoint const point = {words[0].toDouble(&isX), words[1].toDouble(&isY)};
    bool const isSound = isX && isY && std::abs(point.x) < 32768 && std::abs(point.y) < 32768;
    return isSound ? std::optional(point) : std::nullopt;
}

PinField::PinField(QString const& name, PanelPoint value, QWidget* parent) : QLineEdit(parent) {
    setText(QString("%1, %2").arg(value.x, 0, 'g', 9).arg(value.y, 0, 'g', 9));
    m_typedFrom = text();
    setAccessibleName("Position of " + name);
    setToolTip("Position of " + name + ", x, y in pixels");
    setFixedWidth(150);
    selectAll();
}

void PinField::takeTyped() {
    auto const value = positionOf(text());
    if (!value || text() == m_typedFrom) return;
    m_typedFrom = text();
    if (onValue) onValue(*value);
}

void PinField::accept() {
    if (positionOf(text())) {
        takeTyped();
        if (onEnd) onEnd();
        return;
    }
    QToolTip::showText(mapToGlobal(rect().bottomLeft()),
                       "Expected two numbers from -32768 to 32768, such as \"120, 45.5\"", this);
    selectAll();
}

void PinField::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return accept();
    if (event->key() != Qt::Key_Escape) return QLineEdit::keyPressEvent(event);
    setText(m_typedFrom);
    if (onEnd) onEnd();
}

void PinField::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    if (event->reason() == Qt::PopupFocusReason) return;
    takeTyped();
    if (onEnd) onEnd();
}

}  // namespace zelk

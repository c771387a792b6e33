// See frame_field.h.
#include "apps/viewer/frame_field.h"

#include <QFocusEvent>
#include <QTimer>
#include <QToolTip>

namespace zelk {

FrameField::FrameField(QWidget* parent) : QSpinBox(parent) {
    setButtonSymbols(NoButtons);
    setKeyboardTracking(false);
}

QValidator::State FrameField::validate(QString& text, int& place) const {
    QValidator::State const state = QSpinBox::validate(text, place);
    bool isNumber = false;
    text.toInt(&isNumber);
    return state == QValidator::Invalid && isNumber ? QValidator::Intermediate : state;
}

bool FrameField::refuses() {
    if (hasAcceptableInput()) return false;
    QToolTip::showText(mapToGlobal(rect().bottomLeft()),
                       QString("Expected a frame from %1 to %2").arg(minimum()).arg(maximum()),
                       this);
    return true;
}

void FrameField::focusInEvent(QFocusEvent* event) {
    QSpinBox::focusInEvent(event);
    // The click that brings the focus sets the cursor after this.
    if (event->reason() == Qt::MouseFocusReason) QTimer::singleShot(0, this, &QSpinBox::selectAll);
}

}  // namespace zelk

// See popup.h.
#include "apps/viewer/parameters/popup.h"

#include <QStylePainter>
#include <QWheelEvent>

#include "apps/viewer/parameters/own_keys.h"

namespace zelk {

Popup::Popup(QWidget* parent) : QComboBox(parent) {
    keepKeys(*this, {Qt::Key_Space, Qt::Key_Up, Qt::Key_Down, Qt::Key_Home, Qt::Key_End,
                     Qt::Key_PageUp, Qt::Key_PageDown});
}

void Popup::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    int const width =
        style()
            ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this)
            .width();
    QString const& text = currentIndex() < 0 ? placeholderText() : option.currentText;
    option.currentText = fontMetrics().elidedText(text, Qt::ElideRight, width - 2);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

void Popup::wheelEvent(QWheelEvent* event) {
    hasFocus() ? QComboBox::wheelEvent(event) : event->ignore();
}

}  // namespace zelk

// See pin_field.h.
#include "apps/viewer/pin_field.h"

#include <QKeyEvent>
#include <QToolTip>
#include <cmath>

#include "apps/viewer/model/typed_number.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {
namespace {

constexpr QColor kRefusedBase(84, 40, 40);
constexpr char const* kExpected =
    "Expected two numbers from -32768 to 32768, such as \"120, 45.5\"";

std::string textOf(double value) { return QString::number(value, 'g', 9).toStdString(); }

std::optional<double> numberOf(std::string const& text, double now) {
    auto const number = parseNumber(plainNumber("Position", text, textOf(now)));
    return number && std::abs(*number) < 32768 ? number : std::nullopt;
}

}  // namespace

std::optional<PanelPoint> positionOf(QString const& text, PanelPoint now) {
    QString line = text;
    line.replace("px", " ");
    auto const pair = pairIn(line.toStdString());
    if (!pair) return std::nullopt;
    try {
        auto const x = numberOf((*pair)[0], now.x), y = numberOf((*pair)[1], now.y);
        return x && y ? std::optional(PanelPoint{*x, *y}) : std::nullopt;
    } catch (UserError const&) {  // a comma that could be of thousands
        return std::nullopt;
    }
}

PinField::PinField(QString const& name, PanelPoint value, QWidget* parent)
    : QLineEdit(parent), m_value(value) {
    setText(QString("%1, %2").arg(value.x, 0, 'g', 9).arg(value.y, 0, 'g', 9));
    m_typedFrom = text();
    setAccessibleName("Position of " + name);
    setToolTip("Position of " + name + ", x, y in pixels");
    setFixedWidth(fontMetrics().horizontalAdvance("-32768.0000, -32768.0000") + 16);
    connect(this, &QLineEdit::textEdited, this, [this] { mark(false); });
    selectAll();
}

void PinField::takeTyped() {
    auto const value = positionOf(text(), m_value);
    if (!value || text() == m_typedFrom) return;
    m_typedFrom = text();
    m_value = *value;
    if (onValue) onValue(*value);
}

void PinField::accept() {
    if (!positionOf(text(), m_value)) return mark(true);
    takeTyped();
    if (onEnd) onEnd();
}

void PinField::mark(bool isRefused) {
    QPalette own = parentWidget()->palette();
    if (isRefused) own.setColor(QPalette::Base, kRefusedBase);
    setPalette(own);
    setAccessibleDescription(isRefused ? kExpected : "");
    QPoint const below = mapToGlobal(rect().bottomLeft());
    isRefused ? QToolTip::showText(below, kExpected, this) : QToolTip::hideText();
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
    if (!positionOf(text(), m_value)) return mark(true);
    takeTyped();
    if (onEnd) onEnd();
}

}  // namespace zelk

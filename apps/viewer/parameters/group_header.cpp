// See group_header.h.
#include "apps/viewer/parameters/group_header.h"

#include <QKeyEvent>
#include <QPainter>

#include "apps/viewer/parameters/own_keys.h"

namespace zelk {
namespace {

constexpr int kLevelPx = 12, kHeaderPx = 24;

}  // namespace

GroupHeader::GroupHeader(PanelControl& control, std::function<void(bool)> fold, QWidget* parent)
    : QAbstractButton(parent), m_control(control), m_fold(std::move(fold)) {
    setObjectName(QString::fromStdString(control.row().name));
    setText(QString::fromStdString(control.row().label));
    setAccessibleName(text() + " group");
    keepKeys(*this, {Qt::Key_Space, Qt::Key_Left, Qt::Key_Right});
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, [this](bool isOpen) { m_fold(!isOpen); });
}

QSize GroupHeader::sizeHint() const { return {100, kHeaderPx}; }

/// An arrow down over an open group, to the right before a folded one.
void GroupHeader::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    int const level = m_control.row().level;
    if (level == 0) painter.fillRect(rect(), palette().color(QPalette::AlternateBase));
    if (hasFocus() || underMouse()) painter.fillRect(rect(), palette().color(QPalette::Button));
    painter.translate(12 + level * kLevelPx, kHeaderPx / 2);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::PlaceholderText));
    painter.drawPolygon(isChecked() ? QPolygonF{{-4, -2}, {4, -2}, {0, 3}}
                                    : QPolygonF{{-2, -4}, {3, 0}, {-2, 4}});
    painter.setPen(
        palette().color(m_isGreyed ? QPalette::Disabled : QPalette::Active, QPalette::WindowText));
    QFont font = this->font();
    font.setBold(level == 0);
    painter.setFont(font);
    painter.drawText(QRect(10, -kHeaderPx / 2, width(), kHeaderPx), Qt::AlignVCenter, text());
}

/// A greyed group still folds: only its look tells.
void GroupHeader::refresh() {
    ControlState const state = m_control.state();
    QString const tip = QString::fromStdString(tooltipOf(m_control.row(), state));
    if (toolTip() != tip) setToolTip(tip);
    if (m_isGreyed == state.isEnabled) update();
    m_isGreyed = !state.isEnabled;
}

void GroupHeader::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Left && isChecked()) return m_fold(true);
    if (event->key() == Qt::Key_Right && !isChecked()) return m_fold(false);
    QAbstractButton::keyPressEvent(event);
}

}  // namespace zelk

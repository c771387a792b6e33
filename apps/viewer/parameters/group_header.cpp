// See group_header.h.
#include "apps/viewer/parameters/group_header.h"

#include <QKeyEvent>

namespace zelk {
namespace {

constexpr int kIndentPx = 12;

}  // namespace

GroupHeader::GroupHeader(PanelControl& control, std::function<void(bool)> fold, QWidget* parent)
    : QToolButton(parent), m_control(control), m_fold(std::move(fold)) {
    ControlRow const& row = control.row();
    setObjectName(QString::fromStdString(row.name));
    setText(QString::fromStdString(row.label));
    setAccessibleName(text() + " group");
    setCheckable(true);
    setAutoRaise(true);
    setFocusPolicy(Qt::StrongFocus);
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    showGreyed(false);
    setProperty("isTop", row.level == 0);  // the style sheet asks for it
    connect(this, &QToolButton::clicked, this, [this](bool isOpen) { m_fold(!isOpen); });
}

void GroupHeader::showFolded(bool isFolded) {
    setChecked(!isFolded);
    setArrowType(isFolded ? Qt::RightArrow : Qt::DownArrow);
}

/// A greyed group still folds: only its look tells.
void GroupHeader::refresh() {
    ControlState const state = m_control.state();
    QString const tip = QString::fromStdString(tooltipOf(m_control.row(), state));
    if (toolTip() != tip) setToolTip(tip);
    if (m_isGreyed == state.isEnabled) showGreyed(!state.isEnabled);
}

void GroupHeader::showGreyed(bool isGreyed) {
    m_isGreyed = isGreyed;
    int const indentPx = 6 + m_control.row().level * kIndentPx;
    setStyleSheet(QString("padding-left: %1px; %2")
                      .arg(indentPx)
                      .arg(isGreyed ? "color: palette(mid);" : ""));
}

void GroupHeader::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Left && isChecked()) return m_fold(true);
    if (event->key() == Qt::Key_Right && !isChecked()) return m_fold(false);
    QToolButton::keyPressEvent(event);
}

}  // namespace zelk

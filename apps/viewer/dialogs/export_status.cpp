// See export_status.h.
#include "apps/viewer/dialogs/export_status.h"

#include <QHBoxLayout>
#include <QToolButton>

#include "apps/viewer/dialogs/export_dialog.h"
#include "apps/viewer/parameters/own_keys.h"

namespace zelk {

ExportStatus::ExportStatus(ExportDialog& dialog, QWidget* parent)
    : QWidget(parent), m_dialog(dialog) {
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    m_text = makeButton("", "Show the export and its settings");
    m_end = makeButton("\u00d7", "");
    connect(m_text, &QToolButton::clicked, this, [this] { m_dialog.bring(); });
    connect(m_end, &QToolButton::clicked, this, &ExportStatus::end);
    connect(&dialog, &ExportDialog::changed, this, &ExportStatus::showNow);
    showNow();
}

QToolButton* ExportStatus::makeButton(QString const& name, QString const& help) {
    auto* const button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setText(name);
    button->setToolTip(help);
    button->setMaximumHeight(button->fontMetrics().height());  // no taller than its neighbours
    keepKeys(*button, {Qt::Key_Space});
    layout()->addWidget(button);
    return button;
}

QString ExportStatus::text() const { return isHidden() ? QString() : m_text->text(); }

/// What came of it stays until it is looked at.
void ExportStatus::showNow() {
    bool const runs = m_dialog.isRunning();
    m_isFollowed = !m_dialog.isVisible() && (runs || m_isFollowed);
    QString const text = "Export: " + QString::fromStdString(m_dialog.state().text());
    m_text->setText(text);
    m_text->setAccessibleName(text);
    m_end->setToolTip(runs ? "Stop the export; the files written so far stay and are whole"
                           : "Close this notice");
    m_end->setAccessibleName(runs ? "Cancel Export" : "Close");
    setVisible(m_isFollowed);
}

void ExportStatus::end() {
    if (m_dialog.isRunning()) return m_dialog.cancel();
    m_isFollowed = false;
    showNow();
}

}  // namespace zelk

// See recovery_dialog.h.
#include "apps/viewer/dialogs/recovery_dialog.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "apps/viewer/model/autosave.h"
#include "apps/viewer/window_services.h"

namespace zelk {

RecoveryDialog::RecoveryDialog(std::vector<std::filesystem::path> const& abandoned, QWidget* parent)
    : QDialog(parent), m_list(new QTreeWidget(this)) {
    setWindowTitle("Scenes to Recover");
    m_list->setHeaderLabels({"Scene", "Last Change"});
    m_list->setRootIsDecorated(false);
    m_list->setAccessibleName("Scenes to recover");
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    for (auto const& file : abandoned) {
        QString const name = QString::fromStdString(nameOfAutosaved(file));
        QString const when =
            QFileInfo(textOf(file)).lastModified().toString("d MMM yyyy, hh:mm:ss");
        auto* const row = new QTreeWidgetItem(m_list, {name, when});
        row->setData(0, Qt::UserRole, textOf(file));
        row->setToolTip(0, plainToolTip(name));
    }
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    m_recover = buttons->addButton("Recover", QDialogButtonBox::AcceptRole);
    m_recover->setToolTip("Open the scene with these changes");
    m_recover->setDefault(true);
    m_discard = buttons->addButton("Discard\u2026", QDialogButtonBox::DestructiveRole);
    m_discard->setToolTip("Remove these changes for good");
    connect(m_recover, &QPushButton::clicked, this, [this] {
        QString const file = selected();
        accept();
        emit recovered(file);
    });
    connect(m_discard, &QPushButton::clicked, this, &RecoveryDialog::discard);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &RecoveryDialog::showButtons);
    auto* const rows = new QVBoxLayout(this);
    rows->addWidget(m_list);
    rows->addWidget(buttons);
    resize(760, 360);
    m_list->setCurrentItem(m_list->topLevelItem(0));
    showButtons();
}

QString RecoveryDialog::selected() const {
    QTreeWidgetItem const* const row = m_list->currentItem();
    return row ? row->data(0, Qt::UserRole).toString() : QString();
}

/// Who hears of it asks.
void RecoveryDialog::discard() {
    QString const file = selected();
    emit discarded(file);
    if (std::filesystem::exists(pathOf(file))) return;
    delete m_list->currentItem();
    if (m_list->topLevelItemCount() == 0) close();
}

void RecoveryDialog::showButtons() {
    m_recover->setEnabled(m_list->currentItem() != nullptr);
    m_discard->setEnabled(m_list->currentItem() != nullptr);
}

}  // namespace zelk

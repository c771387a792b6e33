// See shortcuts_dialog.h.
#include "apps/viewer/dialogs/shortcuts_dialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "zelk/render/library_versions.h"

namespace zelk {

namespace {

QTreeWidgetItem* groupOf(QTreeWidget& list, QString const& menu) {
    for (int i = 0; i < list.topLevelItemCount(); ++i)
        if (list.topLevelItem(i)->text(0) == menu) return list.topLevelItem(i);
    auto* const group = new QTreeWidgetItem(&list, {menu});
    QFont font = group->font(0);
    font.setBold(true);
    group->setFont(0, font);
    group->setFlags(Qt::ItemIsEnabled);
    return group;
}

/// A group is seen where one of its acts is.
void filter(QTreeWidget& list, QString const& word) {
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        QTreeWidgetItem* const group = list.topLevelItem(i);
        bool isAny = false;
        for (int j = 0; j < group->childCount(); ++j) {
            QTreeWidgetItem* const item = group->child(j);
            bool isFound = false;
            for (int column = 0; column < 3; ++column)
                isFound = isFound || item->text(column).contains(word, Qt::CaseInsensitive);
            item->setHidden(!isFound);
            isAny = isAny || isFound;
        }
        group->setHidden(!isAny);
    }
}

}  // namespace

ShortcutsDialog::ShortcutsDialog(ViewerCommands const& commands, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle("Keyboard Shortcuts");
    resize(900, 680);
    auto* const word = new QLineEdit(this);
    word->setPlaceholderText("Find");
    word->setAccessibleName("Find");
    auto* const list = new QTreeWidget(this);
    list->setHeaderLabels({"Act", "Keys", "What it does"});
    list->setAccessibleName("Acts and their keys");
    list->setRootIsDecorated(false);
    list->setAlternatingRowColors(true);
    for (ViewerCommand const& command : commands)
        if (!command.name.isEmpty()) {
            QTreeWidgetItem* const group =
                groupOf(*list, QString(command.menu).replace("/", " \u203a "));
            auto* const item = new QTreeWidgetItem(
                group,
                {command.name, command.keys.toString(QKeySequence::NativeText), command.help});
            item->setToolTip(2, command.help);
        }
    list->expandAll();
    list->header()->resizeSection(0, 240);
    list->header()->resizeSection(1, 130);
    connect(word, &QLineEdit::textChanged, list,
            [list](QString const& text) { filter(*list, text); });
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const rows = new QVBoxLayout(this);
    rows->addWidget(word);
    rows->addWidget(list);
    rows->addWidget(buttons);
}

void showAbout(QWidget* parent) {
    QString text = QString("<h3>Zelk %1</h3><p>Pins the corners of a picture.</p><p>Qt %2")
                       .arg(ZELK_VERSION, qVersion());
    for (NamedVersion const& each : libraryVersions())
        text += QString("<br>%1 %2")
                    .arg(QString::fromStdString(each.name).toHtmlEscaped(),
                         QString::fromStdString(each.version).toHtmlEscaped());
    QMessageBox::about(parent, "About Zelk", text + "</p>");
}

}  // namespace zelk

// See shortcuts_dialog.h.
#include "apps/viewer/dialogs/shortcuts_dialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QScreen>
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

QString keysOf(ViewerCommand const& command) {
    QStringList keys = {command.keys.toString(QKeySequence::NativeText)};
    for (QKeySequence const& other : command.otherKeys)
        keys << other.toString(QKeySequence::NativeText);
    return keys.join(", ");
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

struct Gesture {
    char const *place, *act, *how, *what;
};
/// What no menu has: the mouse, and keys of the panel that has the focus.
constexpr Gesture kGestures[] = {
    {"Frame, mouse", "Pan", "Middle or right drag", "Moves the picture in the panel"},
    {"Frame, mouse", "Zoom", "Wheel", "At the cursor; it stops at 100 %"},
    {"Frame, mouse", "Move", "Drag", "A pin, an edge, or the quad from its inside"},
    {"Frame, mouse", "Scale", "Shift+Drag", "The quad about the place of the press"},
    {"Frame, mouse", "Select", "Drag over nothing", "All pins in a box; Shift adds to them"},
    {"Frame, mouse", "Snap", "Ctrl+Drag", "While it is held, or not where Snap is on"},
    {"Frame, mouse", "Move Key", "Drag", "A square of a motion path, at its own frame"},
    {"Frame, mouse", "Set Position", "Double click", "On a pin: x and y as numbers"},
    {"Frame, keys", "Next Pin", "Tab, Shift+Tab", "And on to the next panel"},
    {"Frame, keys", "Select", "1 to 8", "Adds a pin or takes it out; they count as Tab goes"},
    {"Frame, keys", "Set Position", "Return", "Of the selected pin, as numbers"},
    {"Frame, keys", "Nudge", "Arrows", "By 1 pixel, Shift 10, Alt 1/10; without a pin: pan"},
    {"Frame, keys", "Scale", "Ctrl+Up, Ctrl+Down", "About their middle by 1 %, with Shift 10 %"},
    {"Frame, keys", "Scale a Little", "Ctrl+Right, Ctrl+Left", "About their middle by 0.1 %"},
    {"Frame, keys", "Deselect", "Esc", "Or takes the drag back that is under way"},
    {"Parameter", "Drag", "Drag", "A step a pixel; Shift ten, Alt or Ctrl a tenth"},
    {"Parameter", "Type", "Return, F2, a digit", "Return sets it, Esc leaves it as it was"},
    {"Parameter", "Calculate", "1920/2, +=5, 1,5", "Arithmetic and changes of what is there"},
    {"Parameter", "Step", "Up, Down, wheel", "With Shift ten, with Alt or Ctrl a tenth"},
    {"Parameter", "Reset", "Double click", "On the name: its default"},
    {"Timeline", "Current Row", "Up, Down", "The row that keys are added to"},
    {"Timeline", "Select Key", "Left, Right", "The next one of the row; Shift adds it"},
    {"Timeline", "Move Keys", "Drag", "By whole frames; Ctrl leaves the old ones"},
    {"Timeline", "Zoom", "Ctrl+Wheel", "At the cursor; with Shift it goes along"},
    {"Timeline", "Pan", "Middle drag", "Along the frames"},
};

}  // namespace

ShortcutsDialog::ShortcutsDialog(ViewerCommands const& commands, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle("Keyboard Shortcuts");
    resize(QSize(960, 680).boundedTo(screen()->availableSize() * 0.9));
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
            auto* const item =
                new QTreeWidgetItem(group, {command.name, keysOf(command), command.help});
            item->setToolTip(2, command.help);
        }
    for (Gesture const& each : kGestures) {
        auto* const item =
            new QTreeWidgetItem(groupOf(*list, each.place), {each.act, each.how, each.what});
        item->setToolTip(2, each.what);
    }
    list->expandAll();
    list->resizeColumnToContents(0);
    list->resizeColumnToContents(1);
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

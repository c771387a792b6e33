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
    {"Frame, mouse", "Zoom", "Wheel", "Zooms at the cursor, with a stop at 100 %"},
    {"Frame, mouse", "Move", "Drag", "Moves a pin, an edge, or the quad from its inside"},
    {"Frame, mouse", "Scale", "Shift+Drag", "Scales the quad about the point of the click"},
    {"Frame, mouse", "Select", "Drag over nothing", "Selects the pins in a box; Shift adds them"},
    {"Frame, mouse", "Snap", "Ctrl+Drag",
     "Snaps while Ctrl is held; where Snap is on, Ctrl suspends it"},
    {"Frame, mouse", "Move Key", "Drag", "Moves a keyframe of a motion path at its own frame"},
    {"Frame, mouse", "Set Position", "Double click", "Opens a pin's x and y as numbers"},
    {"Frame, keys", "Next Pin", "Tab, Shift+Tab",
     "Selects the next pin; after the last, goes to the next panel"},
    {"Frame, keys", "Select", "1 to 8",
     "Adds a pin to the selection or removes it, numbered in Tab's order"},
    {"Frame, keys", "Set Position", "Return", "Opens the selected pin's x and y as numbers"},
    {"Frame, keys", "Nudge", "Arrows",
     "Moves the selected pins by 1 pixel, Shift 10, Alt 1/10; without a pin it pans"},
    {"Frame, keys", "Scale", "Ctrl+Up, Ctrl+Down",
     "Scales the selected pins about their middle by 1 %, with Shift 10 %"},
    {"Frame, keys", "Scale a Little", "Ctrl+Right, Ctrl+Left",
     "Scales the selected pins about their middle by 0.1 %"},
    {"Frame, keys", "Deselect", "Esc", "Clears the selection, or cancels the drag under way"},
    {"Parameter", "Drag", "Drag",
     "Changes the value by a step for each pixel; Shift by ten, Alt or Ctrl by a tenth"},
    {"Parameter", "Type", "Return, F2, a digit", "Return sets the value, Esc leaves it as it was"},
    {"Parameter", "Calculate", "1920/2, +=5, 1,5",
     "Takes arithmetic, and changes of the value that is there"},
    {"Parameter", "Step", "Up, Down, wheel",
     "Changes the value by a step; Shift by ten, Alt or Ctrl by a tenth"},
    {"Parameter", "Reset", "Double click", "On the name: resets the value to its default"},
    {"Timeline", "Current Row", "Up, Down", "Chooses the row that keyframes are added to"},
    {"Timeline", "Select Key", "Left, Right",
     "Selects the next keyframe of the row; Shift adds it"},
    {"Timeline", "Move Keys", "Drag", "Moves keyframes by whole frames; Ctrl copies them"},
    {"Timeline", "Zoom", "Ctrl+Wheel",
     "Zooms at the cursor; Shift+Wheel scrolls the view sideways"},
    {"Timeline", "Pan", "Middle drag", "Scrolls the view sideways"},
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
    list->setHeaderLabels({"Command", "Keys", "What it does"});
    list->setAccessibleName("Commands and their shortcuts");
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

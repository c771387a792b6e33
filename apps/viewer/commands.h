// What a user can do from a menu or by a key. The window makes its menus, the list of shortcuts
// and the tests' way to every act of these records; each panel gives its own.
#pragma once

#include <QKeySequence>
#include <QList>
#include <QString>
#include <functional>
#include <vector>

namespace zelk {

struct ViewerCommand {
    QString menu;       ///< "View"; "View/Channels" for one within another
    QString name;       ///< "Fit to Window"; empty for a line between others
    QKeySequence keys;  ///< empty for none
    QString help;       ///< one sentence, for the status line and the list of shortcuts
    std::function<void()> run;
    std::function<bool()> isEnabled = {};  ///< none: always
    std::function<bool()> isChecked = {};  ///< none: can't be
    std::function<QString()> label = {};   ///< what the menu shows now: "Undo Set Opacity"
    QList<QKeySequence> otherKeys = {};    ///< that do the same
};
using ViewerCommands = std::vector<ViewerCommand>;

}  // namespace zelk

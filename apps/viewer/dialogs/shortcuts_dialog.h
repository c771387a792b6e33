// The list of all acts with their keys (F1), and what the program is made of (About).
#pragma once

#include <QDialog>

#include "apps/viewer/commands.h"

namespace zelk {

/// By menu, in the records' order; a field above finds what holds a word.
class ShortcutsDialog : public QDialog {
public:
    ShortcutsDialog(ViewerCommands const& commands, QWidget* parent);
};

void showAbout(QWidget* parent);

}  // namespace zelk

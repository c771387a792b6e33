// Keys that a control takes for itself before a menu's shortcut: Space checks a box, and does not
// play.
#pragma once

#include <QList>
#include <QWidget>

namespace zelk {

/// Without any modifier. The widget's lifetime is the filter's.
void keepKeys(QWidget& widget, QList<int> keys);

}  // namespace zelk

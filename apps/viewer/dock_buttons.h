// The two buttons in a dock's title: what can be clicked there can be seen.
#pragma once

class QDockWidget;

namespace zelk {

void showDockButtons(QDockWidget& dock);

}  // namespace zelk

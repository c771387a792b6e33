// The viewer's looks: dark and even, so that nothing beside the picture has colour or light.
#pragma once

#include <QPalette>

class QApplication;

namespace zelk {

QPalette themePalette();
/// Style, palette and style sheet of all windows.
void applyTheme(QApplication& application);

}  // namespace zelk

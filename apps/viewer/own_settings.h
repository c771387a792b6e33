// What a user's windows keep between two runs (~/.config/Zelk/zelk-viewer.conf).
#pragma once

#include <QSettings>

namespace zelk {

inline QSettings ownSettings() { return QSettings("Zelk", "zelk-viewer"); }

}  // namespace zelk

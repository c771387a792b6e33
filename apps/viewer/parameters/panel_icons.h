// The small signs of the parameter panel, drawn at the screen's resolution in the palette's
// colours.
#pragma once

#include <QColor>
#include <QIcon>

namespace zelk {

enum class PanelSign { kStopwatch, kRunningStopwatch, kKey, kNoKey, kPrevious, kNext };

QIcon panelIcon(PanelSign sign, QColor const& color);
/// A colour to choose another one from.
QIcon colorIcon(QColor const& color);

}  // namespace zelk

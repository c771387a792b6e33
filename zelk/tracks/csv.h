// Tables as spreadsheets keep them: cells between commas, semicolons or, below names of columns,
// tabs, with a decimal point or comma. A cell in quotes may hold what parts the others. A first row
// without numbers names the columns, in any order and with others among them: frame, and for each
// corner ul_x, ul_y or the like; or frame, corner, x, y. Without it the columns are those of
// rows.h. `#` starts a comment line.
#pragma once

#include <string>

#include "zelk/tracks/text.h"

namespace zelk {

bool isCsv(TrackText const& text);
/// Whether its first row was meant for one, which readCsv then refuses with its reason.
bool resemblesCsv(TrackText const& text);
Track readCsv(TrackText const& text);
/// A row for each frame; a corner that has no sample there has empty cells.
std::string writeCsv(Track const& track);

}  // namespace zelk

// A contact sheet: rows of pictures, each over a checkerboard with its label, and beside it pieces
// of it enlarged 8 times, pixel by pixel.
//
//   label        EDGE X8      INSIDE X8    label ...
//   +---------+  +---------+  +---------+
//   | picture |  | piece   |  | piece   |
//   +---------+  +---------+  +---------+
#pragma once

#include <string>
#include <vector>

namespace zelk {

/// A place in a picture that is shown enlarged; x, y is its middle, pixels.
struct Closeup {
    std::string label;
    int x = 0, y = 0;
};

struct SheetPicture {
    std::string label;
    std::string file;
    std::vector<Closeup> closeups;
};

using SheetRow = std::vector<SheetPicture>;

/// "LABEL:FILE[:LABEL@X,Y]...[;LABEL:FILE...]". Throws std::runtime_error for anything else.
SheetRow parseRow(std::string const& text);

/// Writes the sheet as an 8-bit RGB file. Throws std::exception for a picture that cannot be
/// read and for a sheet that cannot be written.
void writeSheet(std::string const& file, std::vector<SheetRow> const& rows);

}  // namespace zelk

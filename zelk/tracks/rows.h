// Rows of a table, whatever stands between their cells, as samples. Columns are
//
//   frame corner x y          a row for each sample; corner before frame as well
//   frame x y x y x y x y     a row for each frame: upper left, upper right, lower left, lower
//   right
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "zelk/tracks/text.h"

namespace zelk {

/// Where the cells of a row stand; -1 for none.
struct RowLayout {
    int frame = -1;
    int corner = -1, x = -1, y = -1;  ///< of a row for each sample
    int xy[4][2] = {{-1, -1}, {-1, -1}, {-1, -1}, {-1, -1}};
    std::size_t cells = 0;  ///< that a row has at least
};

inline constexpr RowLayout kFrameFirst = {0, 1, 2, 3, {}, 4};
inline constexpr RowLayout kCornerFirst = {1, 0, 2, 3, {}, 4};
inline constexpr RowLayout kWideRow = {0, -1, -1, -1, {{1, 2}, {3, 4}, {5, 6}, {7, 8}}, 9};

/// A number with a decimal point, or, where a comma does not part cells, a decimal comma.
std::optional<double> cellNumber(std::string_view cell, bool takesComma);

/// Adds the samples of one row. A pair of empty cells is no sample. Refuses what is no number.
void addRow(TrackText const& text, int line, std::span<std::string_view const> cells,
            RowLayout const& layout, bool takesComma, Track& track);

}  // namespace zelk

// One row at a time; see rows.h.
#include "zelk/tracks/rows.h"

#include <fmt/format.h>

#include "zelk/text/numbers.h"

namespace zelk {

namespace {

/// One row and how its cells are read.
struct Row {
    TrackText const& text;
    int line;
    std::span<std::string_view const> cells;
    bool takesComma;

    std::string_view cell(int column) const {
        return trimmed(cells[static_cast<std::size_t>(column)]);
    }

    double number(int column) const {
        auto const value = cellNumber(cell(column), takesComma);
        if (!value)
            text.refuse(line, fmt::format("column {} is not a number:", column + 1), cell(column),
                        "a finite decimal number");
        return *value;
    }

    void add(int corner, double frame, int x, int y, Track& track) const {
        addSample(text, track, corner, {frame, number(x), number(y), line});
    }
};

}  // namespace

std::optional<double> cellNumber(std::string_view cell, bool takesComma) {
    auto const comma = cell.find(',');
    if (comma == std::string_view::npos || !takesComma) return parseNumber(cell);
    std::string withPoint(cell);
    withPoint[comma] = '.';
    return parseNumber(withPoint);
}

void addRow(TrackText const& text, int line, std::span<std::string_view const> cells,
            RowLayout const& layout, bool takesComma, Track& track) {
    if (cells.size() < layout.cells)
        text.refuse(line, "too few columns:", fmt::format("{}", cells.size()),
                    fmt::format("at least {}", layout.cells));
    Row const row{text, line, cells, takesComma};
    double const frame = row.number(layout.frame);
    if (layout.corner >= 0) {
        auto const corner = cornerNamed(row.cell(layout.corner));
        if (!corner)
            text.refuse(line, "not a corner:", row.cell(layout.corner),
                        "ul, ur, ll, lr or 1 to 4 in this order");
        return row.add(*corner, frame, layout.x, layout.y, track);
    }
    for (int corner = 0; corner < 4; ++corner) {
        auto const [x, y] = layout.xy[corner];
        if (x < 0 || (row.cell(x).empty() && row.cell(y).empty())) continue;
        row.add(corner, frame, x, y, track);
    }
}

}  // namespace zelk

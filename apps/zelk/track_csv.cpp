// Names of columns and rows of cells; see track_csv.h.
#include "apps/zelk/track_csv.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/zelk/numbers.h"
#include "apps/zelk/track_rows.h"

namespace zelk {

namespace {

constexpr char const* kColumnsExpected =
    "columns frame, ul_x, ul_y, ur_x, ur_y, ll_x, ll_y, lr_x, lr_y or frame, corner, x, y";

char separatorOf(std::string_view line) {
    return line.find(';') != std::string_view::npos ? ';' : ',';
}

/// Cells without blanks and quotes around them, up to kMostWords. A separator in quotes is not
/// looked for.
std::vector<std::string_view> cellsOf(std::string_view line, char separator) {
    std::vector<std::string_view> cells;
    for (;;) {
        auto const end = std::min(line.find(separator), line.size());
        std::string_view cell = trimmed(line.substr(0, end));
        if (cell.size() >= 2 && cell.front() == '"' && cell.back() == '"')
            cell = trimmed(cell.substr(1, cell.size() - 2));
        cells.push_back(cell);
        if (end == line.size() || cells.size() == kMostWords) return cells;
        line.remove_prefix(end + 1);
    }
}

/// Whether all cells are names, and so a table's first row.
bool isHeader(std::vector<std::string_view> const& cells, bool takesComma) {
    return std::none_of(cells.begin(), cells.end(), [&](std::string_view cell) {
        return cellNumber(cell, takesComma).has_value();
    });
}

/// Puts a named column into its place of the layout.
void placeColumn(std::string_view cell, int column, RowLayout& layout) {
    std::string const name = lowered(cell);
    if (name == "frame") layout.frame = column;
    if (name == "corner") layout.corner = column;
    if (name == "x") layout.x = column;
    if (name == "y") layout.y = column;
    if (name.size() < 3 || (name.back() != 'x' && name.back() != 'y')) return;
    auto const corner = cornerNamed(std::string_view(name).substr(0, name.size() - 1));
    if (corner) layout.xy[*corner][name.back() - 'x'] = column;
}

RowLayout layoutOf(TrackText const& text, int line, std::vector<std::string_view> const& names) {
    RowLayout layout;
    for (std::size_t i = 0; i < names.size(); ++i)
        placeColumn(names[i], static_cast<int>(i), layout);
    bool const isLong = layout.corner >= 0 && layout.x >= 0 && layout.y >= 0;
    if (!isLong) layout.corner = -1;
    int pairs = 0;
    for (auto& [x, y] : layout.xy) {
        if ((x < 0) != (y < 0)) pairs = -4;
        pairs += x >= 0;
    }
    if (layout.frame < 0 || (!isLong && pairs <= 0))
        text.refuse(line, "columns are missing in", fmt::format("{}", fmt::join(names, ",")),
                    kColumnsExpected);
    int last = std::max({layout.frame, layout.corner, layout.x, layout.y});
    for (auto const& [x, y] : layout.xy) last = std::max({last, x, y});
    layout.cells = static_cast<std::size_t>(last) + 1;
    return layout;
}

RowLayout layoutOfData(TrackText const& text, int line,
                       std::vector<std::string_view> const& cells) {
    if (cells.size() == kWideRow.cells) return kWideRow;
    if (cells.size() == 4) return cornerNamed(cells[1]) ? kFrameFirst : kCornerFirst;
    text.refuse(line, "no names of columns, and", fmt::format("{} of them", cells.size()),
                kColumnsExpected);
}

bool isBlank(std::string_view line) { return trimmed(line).empty(); }

}  // namespace

bool isCsv(TrackText const& text) {
    for (TextLines lines(text.bytes); lines.next();) {
        std::string_view const line = lines.line();
        if (isBlank(line) || line[0] == '#') continue;
        auto const cells = cellsOf(line, separatorOf(line));
        if (cells.size() < 4) return false;
        if (!isHeader(cells, separatorOf(line))) return true;
        return std::any_of(cells.begin(), cells.end(),
                           [](std::string_view cell) { return lowered(cell) == "frame"; });
    }
    return false;
}

Track readCsv(TrackText const& text) {
    Track track;
    std::optional<RowLayout> layout;
    char separator = ',';
    for (TextLines lines(text.bytes); lines.next();) {
        std::string_view const line = lines.line();
        if (isBlank(line)) continue;
        if (line[0] == '#') {
            readComment(text, lines.number(), line.substr(1), track);
            continue;
        }
        if (!layout) separator = separatorOf(line);
        auto const cells = cellsOf(line, separator);
        bool const isNames = !layout && isHeader(cells, separator == ';');
        if (!layout)
            layout = isNames ? layoutOf(text, lines.number(), cells)
                             : layoutOfData(text, lines.number(), cells);
        if (!isNames) addRow(text, lines.number(), cells, *layout, separator == ';', track);
    }
    return track;
}

std::string writeCsv(Track const& track) {
    std::string text = commentsOf(track) + "frame";
    for (std::string_view const name : kCornerNames) text += fmt::format(",{0}_x,{0}_y", name);
    text += "\n";
    eachRow(track, [&text](TrackRow const& row) {
        text += numberText(row.frame);
        for (auto const& point : row.corners)
            text += point ? fmt::format(",{},{}", numberText(point->x), numberText(point->y))
                          : std::string(",,");
        text += "\n";
    });
    return text;
}

}  // namespace zelk

// Names of columns and rows of cells; see csv.h.
#include "zelk/tracks/csv.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/text/numbers.h"
#include "zelk/tracks/rows.h"

namespace zelk {

namespace {

constexpr char const* kColumnsExpected =
    "columns frame, ul_x, ul_y, ur_x, ur_y, ll_x, ll_y, lr_x, lr_y or frame, corner, x, y";

/// Tabs part cells where nothing else does, as in what a spreadsheet copies.
char separatorOf(std::string_view line) {
    for (char const separator : {';', ',', '\t'})
        if (line.find(separator) != std::string_view::npos) return separator;
    return ',';
}

/// Of the text after a cell's first quote, the length to the last, which is no doubled one.
std::size_t quotedLength(std::string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '"') continue;
        if (!text.substr(at + 1).starts_with('"')) return at;
        ++at;
    }
    return text.size();
}

/// Takes the first cell off a line, up to the separator. One in quotes parts nothing.
std::string_view takeCell(std::string_view& line, char separator) {
    auto const start = std::min(line.find_first_not_of(' '), line.size());
    bool const isQuoted = line.substr(start).starts_with('"');
    std::size_t const quoted = isQuoted ? quotedLength(line.substr(start + 1)) : 0;
    std::size_t const after = isQuoted ? std::min(start + quoted + 2, line.size()) : 0;
    auto const end = std::min(line.find(separator, after), line.size());
    bool const isPlain = !isQuoted || !trimmed(line.substr(after, end - after)).empty();
    std::string_view const cell = isPlain ? line.substr(0, end) : line.substr(start + 1, quoted);
    line.remove_prefix(end);
    return trimmed(cell);
}

/// Cells without blanks and quotes around them, up to kMostWords.
std::vector<std::string_view> cellsOf(std::string_view line, char separator) {
    std::vector<std::string_view> cells;
    for (;;) {
        cells.push_back(takeCell(line, separator));
        if (line.empty() || cells.size() == kMostWords) return cells;
        line.remove_prefix(1);
    }
}

bool isNumberCell(std::string_view cell) { return cellNumber(cell, true).has_value(); }

/// Whether all cells are names, and so a table's first row.
bool isHeader(std::vector<std::string_view> const& cells) {
    return std::none_of(cells.begin(), cells.end(), isNumberCell);
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

/// Nothing where columns are missing.
std::optional<RowLayout> layoutOfNames(std::vector<std::string_view> const& names) {
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
    if (layout.frame < 0 || (!isLong && pairs <= 0)) return std::nullopt;
    int last = std::max({layout.frame, layout.corner, layout.x, layout.y});
    for (auto const& [x, y] : layout.xy) last = std::max({last, x, y});
    layout.cells = static_cast<std::size_t>(last) + 1;
    return layout;
}

std::optional<RowLayout> layoutOfData(std::vector<std::string_view> const& cells) {
    if (cells.size() == kWideRow.cells) return kWideRow;
    if (cells.size() == kFrameFirst.cells)
        return cornerNamed(cells[1]) ? kFrameFirst : kCornerFirst;
    return std::nullopt;
}

RowLayout layoutOf(TrackText const& text, int line, std::vector<std::string_view> const& cells) {
    bool const hasNames = isHeader(cells);
    auto const layout = hasNames ? layoutOfNames(cells) : layoutOfData(cells);
    if (layout) return *layout;
    if (hasNames)
        text.refuse(line, "columns are missing in", fmt::format("{}", fmt::join(cells, ",")),
                    kColumnsExpected);
    text.refuse(line, "no names of columns, and", fmt::format("{} of them", cells.size()),
                kColumnsExpected);
}

/// "1,920" between commas may be a number with its thousands marked or one with a decimal comma.
void refuseUnclear(TrackText const& text, int line, std::vector<std::string_view> const& cells) {
    for (std::string_view const cell : cells)
        if (cell.find(',') != std::string_view::npos && cell.find(',') + 4 == cell.size() &&
            isNumberCell(cell))
            text.refuse(line, "a comma for thousands or decimals in", cell, "a decimal point");
}

bool isBlank(std::string_view line) { return trimmed(line).empty(); }

/// Empty for a text without one.
std::string_view firstRow(TrackText const& text) {
    for (TextLines lines(text.bytes); lines.next();)
        if (!isBlank(lines.line()) && lines.line()[0] != '#') return lines.line();
    return {};
}

bool isNumberOrCorner(std::string_view cell) { return isNumberCell(cell) || cornerNamed(cell); }

}  // namespace

bool isCsv(TrackText const& text) {
    std::string_view const row = firstRow(text);
    auto const cells = cellsOf(row, separatorOf(row));
    if (cells.size() < 3) return false;
    if (isHeader(cells)) return layoutOfNames(cells).has_value();
    bool const isFull = std::all_of(cells.begin(), cells.end(), [](std::string_view cell) {
        return cell.empty() || isNumberOrCorner(cell);
    });
    return isFull && layoutOfData(cells) && separatorOf(row) != '\t';
}

bool resemblesCsv(TrackText const& text) {
    std::string_view const row = firstRow(text);
    auto const cells = cellsOf(row, separatorOf(row));
    if (text.file.ends_with(".csv") && cells.size() > 1) return true;
    if (cells.size() < 3 || separatorOf(row) == '\t') return false;
    auto const isKnown = [](std::string_view cell) {
        return isNumberOrCorner(cell) || lowered(cell) == "frame" || lowered(cell) == "time" ||
               (cell.size() > 2 && cornerNamed(cell.substr(0, cell.size() - 1)));
    };
    auto const known = std::count_if(cells.begin(), cells.end(), isKnown);
    return 2 * static_cast<std::size_t>(known) >= cells.size();
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
        bool const isNames = !layout && isHeader(cells);
        if (!layout) layout = layoutOf(text, lines.number(), cells);
        if (isNames) continue;
        if (separator == ',') refuseUnclear(text, lines.number(), cells);
        addRow(text, lines.number(), cells, *layout, true, track);
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

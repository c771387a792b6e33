// Rows of words; see track_columns.h.
#include "apps/zelk/track_columns.h"

#include <fmt/format.h>

#include "apps/zelk/numbers.h"
#include "apps/zelk/track_rows.h"

namespace zelk {

namespace {

/// Calls row(line, words) for each line with words before a `#`, and comment(line, text) for what
/// follows one, until row answers false.
template <class OnRow, class OnComment>
bool eachRow(std::string_view bytes, OnRow const& row, OnComment const& comment) {
    for (TextLines lines(bytes); lines.next();) {
        std::string_view const line = lines.line();
        auto const mark = line.find('#');
        if (mark != std::string_view::npos) comment(lines.number(), line.substr(mark + 1));
        auto const words = wordsOf(line.substr(0, mark));
        if (!words.empty() && !row(lines.number(), words)) return false;
    }
    return true;
}

bool isLayout(TrackText const& text, RowLayout const& layout) {
    bool hasRow = false;
    auto const fits = [&](int, std::vector<std::string_view> const& words) {
        hasRow = true;
        if (words.size() != 4) return false;
        return cornerNamed(words[static_cast<std::size_t>(layout.corner)]) &&
               parseNumber(words[static_cast<std::size_t>(layout.frame)]) &&
               parseNumber(words[2]) && parseNumber(words[3]);
    };
    return eachRow(text.bytes, fits, [](int, std::string_view) {}) && hasRow;
}

bool isWide(TrackText const& text) {
    bool isIt = false;
    auto const first = [&](int, std::vector<std::string_view> const& words) {
        isIt = words.size() == kWideRow.cells;
        for (std::string_view const word : words) isIt = isIt && parseNumber(word);
        return false;
    };
    eachRow(text.bytes, first, [](int, std::string_view) {});
    return isIt;
}

Track readLayout(TrackText const& text, RowLayout const& layout) {
    Track track;
    eachRow(
        text.bytes,
        [&](int line, std::vector<std::string_view> const& words) {
            addRow(text, line, words, words.size() == kWideRow.cells ? kWideRow : layout, true,
                   track);
            return true;
        },
        [&](int line, std::string_view comment) { readComment(text, line, comment, track); });
    return track;
}

std::string writeLayout(Track const& track, bool isCornerFirst) {
    std::string text =
        commentsOf(track) + (isCornerFirst ? "# corner frame x y\n" : "# frame corner x y\n");
    for (std::size_t i = 0; i < 4; ++i)
        for (TrackSample const& sample : track.corners[i].samples) {
            std::string const frame = numberText(sample.frame), corner(kCornerNames[i]);
            text += fmt::format("{} {} {} {}\n", isCornerFirst ? corner : frame,
                                isCornerFirst ? frame : corner, numberText(sample.x),
                                numberText(sample.y));
        }
    return text;
}

}  // namespace

bool isColumns(TrackText const& text) { return isLayout(text, kFrameFirst) || isWide(text); }
bool isCornerColumns(TrackText const& text) { return isLayout(text, kCornerFirst); }
Track readColumns(TrackText const& text) { return readLayout(text, kFrameFirst); }
Track readCornerColumns(TrackText const& text) { return readLayout(text, kCornerFirst); }
std::string writeColumns(Track const& track) { return writeLayout(track, false); }
std::string writeCornerColumns(Track const& track) { return writeLayout(track, true); }

}  // namespace zelk

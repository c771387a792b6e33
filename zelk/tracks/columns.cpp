// Rows of words; see columns.h.
#include "zelk/tracks/columns.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/tracks/rows.h"

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

/// A number, with a decimal comma as well; a comma at its end parts cells of a table.
bool isNumber(std::string_view word) {
    return !word.ends_with(',') && cellNumber(word, true).has_value();
}

/// How many of the four cells of a row are what they should be.
int fits(std::vector<std::string_view> const& words, RowLayout const& layout) {
    if (words.size() < layout.cells) return 0;
    auto const word = [&](int column) { return words[static_cast<std::size_t>(column)]; };
    return cornerNamed(word(layout.corner)).has_value() + isNumber(word(layout.frame)) +
           isNumber(word(layout.x)) + isNumber(word(layout.y));
}

bool isLayout(TrackText const& text, RowLayout const& layout) {
    bool hasRow = false;
    auto const fitsWhole = [&](int, std::vector<std::string_view> const& words) {
        hasRow = true;
        return words.size() == layout.cells && fits(words, layout) == 4;
    };
    return eachRow(text.bytes, fitsWhole, [](int, std::string_view) {}) && hasRow;
}

bool isWide(TrackText const& text) {
    bool isIt = false;
    auto const first = [&](int, std::vector<std::string_view> const& words) {
        isIt = words.size() == kWideRow.cells && std::all_of(words.begin(), words.end(), isNumber);
        return false;
    };
    eachRow(text.bytes, first, [](int, std::string_view) {});
    return isIt;
}

/// How much the first rows look like it, cells that fit; a row with less than three is not looked
/// at.
int likeness(TrackText const& text, RowLayout const& layout) {
    constexpr int kLookedAt = 8;
    int rows = 0, likeness = 0;
    auto const look = [&](int, std::vector<std::string_view> const& words) {
        int const own = fits(words, layout);
        likeness += own >= 3 ? own : 0;
        return ++rows < kLookedAt;
    };
    eachRow(text.bytes, look, [](int, std::string_view) {});
    return likeness;
}

Track readLayout(TrackText const& text, RowLayout const& layout) {
    Track track;
    std::optional<RowLayout> own;  // of the first row, and so of all
    eachRow(
        text.bytes,
        [&](int line, std::vector<std::string_view> const& words) {
            if (!own) own = words.size() == kWideRow.cells ? kWideRow : layout;
            if (words.size() > own->cells)
                text.refuse(line, "too many columns:", fmt::format("{}", words.size()),
                            "frame, corner, x and y, or frame and x and y of four corners");
            addRow(text, line, words, *own, true, track);
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
bool resemblesColumns(TrackText const& text) {
    return likeness(text, kFrameFirst) > 0 &&
           likeness(text, kFrameFirst) >= likeness(text, kCornerFirst);
}
bool resemblesCornerColumns(TrackText const& text) { return likeness(text, kCornerFirst) > 0; }
Track readColumns(TrackText const& text) { return readLayout(text, kFrameFirst); }
Track readCornerColumns(TrackText const& text) { return readLayout(text, kCornerFirst); }
std::string writeColumns(Track const& track) { return writeLayout(track, false); }
std::string writeCornerColumns(Track const& track) { return writeLayout(track, true); }

}  // namespace zelk

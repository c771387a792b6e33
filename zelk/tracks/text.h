// The text of a tracking file as its readers see it: lines of any length and end, words, and
// refusals that name the file and the line.
//
// Readers are linear in the text and keep nothing but samples, so memory stays within a small
// multiple of the file.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/pictures/pixel_size.h"
#include "zelk/tracks/track.h"

namespace zelk {

/// The command that has all options about a track, up to their names.
inline constexpr std::string_view kConvertCommand = "zelk track convert --";

struct TrackText {
    std::string file;
    std::string_view bytes;
    std::optional<PixelSize> size;                    ///< of the frame, where the user gave it
    std::string_view optionPrefix = kConvertCommand;  ///< as in ReadTrackOptions

    /// Throws an input error; `line` 0 for the whole file.
    [[noreturn]] void refuse(int line, std::string const& wrong, std::string_view value,
                             std::string const& expected) const;
};

/// Whether it is a frame's width or height that the host holds.
bool isSide(std::optional<int> pixels);
std::string sideExpected();

/// Of a file: an hour of frames, four times. It bounds the memory that a file can take.
inline constexpr std::size_t kMostSamples = 400'000;

/// Refuses one beyond kMostSamples.
void addSample(TrackText const& text, Track& track, int corner, TrackSample const& sample);
[[noreturn]] void refuseSample(TrackText const& text, int line);

/// Keeps the first notes of a reader: a file of faults would have as many as lines.
void addNote(Track& track, int line, std::string text, std::string fix = "");

/// Lines of a text, whatever ends them: LF, CR LF or CR.
class TextLines {
public:
    explicit TextLines(std::string_view text) : m_rest(text) {}
    /// False after the last line.
    bool next();
    std::string_view line() const { return m_line; }
    int number() const { return m_number; }

private:
    std::string_view m_rest, m_line;
    int m_number = 0;
};

/// Words or cells of a line that are looked at; what follows is passed over.
inline constexpr std::size_t kMostWords = 64;

/// Pieces between blanks and tabs, up to kMostWords.
std::vector<std::string_view> wordsOf(std::string_view line);

/// "ul", "Upper Left", "top-left" or "1": a corner's index, upper left, upper right, lower left,
/// lower right; nothing for anything else.
std::optional<int> cornerNamed(std::string_view word);

/// Size and rate of a comment: "size 1920x1080", "rate 24".
void readComment(TrackText const& text, int line, std::string_view comment, Track& track);
/// The same two as comment lines, each with a line end; empty for a track without.
std::string commentsOf(Track const& track);

/// As `zelk` writes numbers: the fewest digits that read back as the same double.
std::string numberText(double value);

}  // namespace zelk

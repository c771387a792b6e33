// The import's pieces and sections; see mocha.h.
#include "zelk/tracks/mocha.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tracking/TrackingLine.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/keyframe_sections.h"

namespace zelk {

namespace {

/// The import reads lines in pieces of so many characters, and looks at each as at a line.
constexpr std::size_t kPieceBytes = 255;

constexpr char const* kHeadingExpected =
    "a section for each corner, headed Upper Left, Lower Left, Upper Right or Lower Right";

/// The import's pieces: up to a line feed or the limit; what follows a zero byte is not looked at.
class Pieces {
public:
    explicit Pieces(std::string_view text) : m_rest(text) {}

    bool next() {
        if (m_rest.empty()) return false;
        m_number += m_endsLine;
        auto const end = m_rest.substr(0, kPieceBytes).find('\n');
        bool const ends = end != std::string_view::npos;
        auto const count = std::min(ends ? end + 1 : kPieceBytes, m_rest.size());
        m_piece.assign(m_rest.substr(0, count));
        m_piece.resize(std::strlen(m_piece.c_str()));
        while (!m_piece.empty() && std::strchr("\r\n", m_piece.back())) m_piece.pop_back();
        m_rest.remove_prefix(count);
        m_isPart = !m_endsLine || (!ends && !m_rest.empty());
        m_endsLine = ends;
        return true;
    }

    std::string const& piece() const { return m_piece; }
    int number() const { return m_number; }
    /// Whether it is not a whole line.
    bool isPart() const { return m_isPart; }

private:
    std::string_view m_rest;
    std::string m_piece;
    int m_number = 0;
    bool m_endsLine = true, m_isPart = false;
};

/// A single float as the decimal number that a person would write for it: 435.71, not
/// 435.7099914550781. The import reads the same float from either.
double plainNumber(float value) { return parseNumber(fmt::format("{}", value)).value_or(value); }

class MochaReader {
public:
    explicit MochaReader(TrackText const& text) : m_text(text) {}

    Track read() {
        bool const hasLines = m_text.bytes.find('\n') != std::string_view::npos;
        if (!hasLines && m_text.bytes.find('\r') != std::string_view::npos)
            m_text.refuse(1, "lines end with carriage returns alone:", "\\r", "line feeds");
        for (Pieces pieces(m_text.bytes); pieces.next();) {
            if (pieces.isPart()) noteLong(pieces.number());
            take(pieces.piece(), pieces.number());
        }
        if (m_open < 0) m_text.refuse(0, "no section of a corner", "", kHeadingExpected);
        for (int corner = 0; corner < 4; ++corner) checkSection(corner);
        return std::move(m_track);
    }

private:
    void take(std::string const& piece, int number) {
        TrackingLine const line = readTrackingLine(piece.c_str());
        switch (line.kind) {
            case TrackingLineKind::kSourceWidth:
                return takeSize(line, piece, number, m_track.width);
            case TrackingLineKind::kSourceHeight:
                return takeSize(line, piece, number, m_track.height);
            case TrackingLineKind::kCorner:
                return openCorner(importedCorner(line), piece, number);
            case TrackingLineKind::kSample:
                return takeSample(line, piece, number);
            case TrackingLineKind::kOther:
                return takeOther(piece, number);
        }
    }

    void takeSize(TrackingLine const& line, std::string const& piece, int number, int& size) {
        if (!line.hasSize || !isSide(line.size))
            m_text.refuse(number, "the frame's size can't be", trimmed(piece), sideExpected());
        if (m_open >= 0 && size != line.size)
            note(number, "a size after samples: the import takes it for those that follow alone");
        size = line.size;
    }

    void openCorner(int corner, std::string const& piece, int number) {
        CornerTrack& section = m_track.corners[static_cast<std::size_t>(corner)];
        if (section.line == 0) section.line = number;
        m_open = corner;
        m_strange = 0;
        auto const byHost = cornerOfHeading(piece);
        if (!byHost || *byHost == corner || !headingHasWords(piece)) return;
        auto const meant = static_cast<std::size_t>(*byHost);
        addNote(m_track, number,
                fmt::format("the heading's words say {}, the import takes it for {}",
                            kCornerWords[meant], kCornerWords[static_cast<std::size_t>(corner)]),
                kMeantByWords);
        if (m_track.corners[meant].meantLine == 0) m_track.corners[meant].meantLine = number;
    }

    void takeSample(TrackingLine const& line, std::string const& piece, int number) {
        if (m_open < 0) return noteEarly(number);
        if (!std::isfinite(line.frame) || !std::isfinite(line.x) || !std::isfinite(line.y))
            m_text.refuse(number, "not a finite number in", trimmed(piece), "frame, x and y");
        if (m_strange > 0)
            note(m_strange, fmt::format("a heading that the import does not know: samples after it "
                                        "count for {}",
                                        kCornerWords[static_cast<std::size_t>(m_open)]));
        m_strange = 0;
        addSample(m_text, m_track, m_open,
                  {plainNumber(line.frame), plainNumber(line.x), plainNumber(line.y), number});
    }

    void takeOther(std::string const& piece, int number) {
        readHeaderValue(piece, m_track);
        if (m_open < 0) return;
        auto const start = piece.find_first_not_of(" \t\r\n");
        if (start == std::string::npos) return;
        bool const isNumber = std::strchr("+-.0123456789", piece[start]) != nullptr;
        if (isNumber) m_text.refuse(number, "not three numbers:", trimmed(piece), "frame, x and y");
        if (start == 0) m_strange = number;
    }

    void checkSection(int corner) {
        CornerTrack const& section = m_track.corners[static_cast<std::size_t>(corner)];
        std::string const word(kCornerWords[static_cast<std::size_t>(corner)]);
        if (section.line > 0 && section.samples.empty())
            m_text.refuse(section.line, "a section without samples:", word,
                          "lines of frame, x and y after it");
    }

    void note(int line, std::string text) { addNote(m_track, line, std::move(text)); }

    /// Keys of other properties that were copied along, mostly.
    void noteEarly(int line) {
        if (!m_hasEarly)
            note(line, "samples before any corner's section: the import passes over them");
        m_hasEarly = true;
    }

    void noteLong(int line) {
        if (m_longLine == 0)
            note(line, fmt::format("longer than {} characters: the import takes it for several "
                                   "lines",
                                   kPieceBytes));
        m_longLine = line;
    }

    TrackText const& m_text;
    Track m_track;
    int m_open = -1;    ///< the corner whose section it is
    int m_strange = 0;  ///< line of a heading that no keyword is in, until a sample follows
    int m_longLine = 0;
    bool m_hasEarly = false;
};

}  // namespace

bool isMocha(TrackText const& text) {
    for (Pieces pieces(text.bytes); pieces.next();) {
        bool const isTable = pieces.piece().find_first_of(",;{") != std::string::npos;
        if (!isTable && readTrackingLine(pieces.piece().c_str()).kind == TrackingLineKind::kCorner)
            return true;
    }
    return false;
}

bool resemblesMocha(TrackText const& text) {
    for (std::string_view const word : {"Keyframe Data", "Source Width", "Source Height"})
        if (text.bytes.find(word) != std::string_view::npos) return true;
    return false;
}

Track readMocha(TrackText const& text) { return MochaReader(text).read(); }

std::string writeMocha(Track const& track) {
    // Numbers, which the import and the host read alike.
    return keyframeText(
        track,
        {"ADBE Corner Pin #1\tADBE Corner Pin-0001", "ADBE Corner Pin #1\tADBE Corner Pin-0002",
         "ADBE Corner Pin #1\tADBE Corner Pin-0003", "ADBE Corner Pin #1\tADBE Corner Pin-0004"});
}

}  // namespace zelk

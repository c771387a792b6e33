// Headings and sections; see keyframe_text.h.
#include "zelk/tracks/keyframe_text.h"

#include "tracking/TrackingLine.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/keyframe_sections.h"

namespace zelk {

namespace {

class KeyframeReader {
public:
    explicit KeyframeReader(TrackText const& text) : m_text(text) {}

    Track read() {
        for (TextLines lines(m_text.bytes); lines.next();) take(lines.line(), lines.number());
        for (CornerTrack const& corner : m_track.corners)
            if (corner.line > 0 && corner.samples.empty())
                m_text.refuse(
                    corner.line, "a section without samples:",
                    kCornerWords[static_cast<std::size_t>(&corner - m_track.corners.data())],
                    "lines of frame, x and y after it");
        return std::move(m_track);
    }

private:
    void take(std::string_view line, int number) {
        if (takeHead(line, number) || line.empty()) return;
        auto const corner = cornerOfHeading(line);
        bool const isHeading = corner || (line[0] != ' ' && line[0] != '\t' && !isSample(line));
        if (isHeading) m_open = corner.value_or(-1);
        if (corner) {
            CornerTrack& section = m_track.corners[static_cast<std::size_t>(*corner)];
            if (section.line == 0) section.line = number;
        }
        if (!isHeading && m_open >= 0) takeSample(line, number);
    }

    /// Size, rate and pixel aspect.
    bool takeHead(std::string_view line, int number) {
        readHeaderValue(line, m_track);
        for (auto const& [keyword, size] :
             {std::pair{"Source Width", &m_track.width}, {"Source Height", &m_track.height}}) {
            if (line.find(keyword) == std::string_view::npos) continue;
            auto const value = valueAfter(line, keyword);
            auto const whole = value ? parseWhole(numberText(*value)) : std::nullopt;
            if (!isSide(whole))
                m_text.refuse(number, "the frame's size can't be", trimmed(line), sideExpected());
            *size = *whole;
            return true;
        }
        return false;
    }

    static bool isSample(std::string_view line) {
        auto const words = wordsOf(line);
        return !words.empty() && parseNumber(words[0]).has_value();
    }

    void takeSample(std::string_view line, int number) {
        if (!isSample(line)) return;  // the columns' names
        auto const words = wordsOf(line);
        std::optional<double> values[3];
        for (std::size_t i = 0; i < 3 && i < words.size(); ++i) values[i] = parseNumber(words[i]);
        if (!values[1] || !values[2])
            m_text.refuse(number, "not three numbers:", trimmed(line), "frame, x and y");
        addSample(m_text, m_track, m_open, {*values[0], *values[1], *values[2], number});
    }

    TrackText const& m_text;
    Track m_track;
    int m_open = -1;
};

}  // namespace

bool isKeyframeText(TrackText const& text) {
    for (TextLines lines(text.bytes); lines.next();) {
        auto const byHost = cornerOfHeading(lines.line());
        if (!byHost) continue;
        TrackingLine const heading = readTrackingLine(std::string(lines.line()).c_str());
        bool const isHeading = heading.kind == TrackingLineKind::kCorner;
        if (isHeading && importedCorner(heading) != *byHost) return true;
    }
    return false;
}

Track readKeyframeText(TrackText const& text) { return KeyframeReader(text).read(); }

std::string writeKeyframeText(Track const& track) {
    return keyframeText(track, {"Corner Pin #1\tUpper Left #2", "Corner Pin #1\tUpper Right #3",
                                "Corner Pin #1\tLower Left #4", "Corner Pin #1\tLower Right #5"});
}

}  // namespace zelk

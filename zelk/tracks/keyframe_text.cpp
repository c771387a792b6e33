// Headings and sections; see keyframe_text.h.
#include "zelk/tracks/keyframe_text.h"

#include <fmt/format.h>

#include "tracking/TrackingLine.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/mocha.h"

namespace zelk {

namespace {

constexpr std::string_view kWords[4] = {"Upper Left", "Upper Right", "Lower Left", "Lower Right"};
constexpr std::string_view kNumber = "ADBE Corner Pin-000";

std::optional<int> cornerByWords(std::string_view line) {
    for (int corner = 0; corner < 4; ++corner)
        if (line.find(kWords[corner]) != std::string_view::npos) return corner;
    return std::nullopt;
}

std::optional<int> cornerByNumber(std::string_view line) {
    auto const at = line.find(kNumber);
    if (at == std::string_view::npos || at + kNumber.size() >= line.size()) return std::nullopt;
    int const number = line[at + kNumber.size()] - '1';
    return number >= 0 && number < 4 ? std::optional(number) : std::nullopt;
}

/// The number after a keyword of the file's head.
std::optional<double> valueAfter(std::string_view line, std::string_view keyword) {
    auto const at = line.find(keyword);
    if (at == std::string_view::npos) return std::nullopt;
    auto const words = wordsOf(line.substr(at + keyword.size()));
    if (words.empty()) return std::nullopt;
    std::string_view word = words[0];
    word = word.substr(0, word.find_first_of("\r\n"));
    auto const value = parseNumber(word);
    return value && *value > 0 ? value : std::nullopt;
}

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
                m_text.refuse(number, "the frame's size can't be", trimmed(line), kSideExpected);
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

std::optional<int> cornerOfHeading(std::string_view line) {
    auto const byWords = cornerByWords(line);
    return byWords ? byWords : cornerByNumber(line);
}

bool headingHasWords(std::string_view line) { return cornerByWords(line).has_value(); }

void readHeaderValue(std::string_view line, Track& track) {
    if (auto const rate = valueAfter(line, "Units Per Second")) track.rate = *rate;
    if (auto const aspect = valueAfter(line, "Source Pixel Aspect Ratio"))
        track.pixelAspect = *aspect;
}

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

std::string keyframeText(Track const& track, std::array<std::string_view, 4> const& headings) {
    std::string text = fmt::format(
        "Adobe After Effects 8.0 Keyframe Data\n\n\tUnits Per Second\t{}\n\tSource Width\t{}\n"
        "\tSource Height\t{}\n\tSource Pixel Aspect Ratio\t{}\n\tComp Pixel Aspect Ratio\t{}\n",
        numberText(track.rate.value_or(kUntoldRate)), track.width, track.height,
        numberText(track.pixelAspect), numberText(track.pixelAspect));
    for (std::size_t i = 0; i < 4; ++i) {
        if (track.corners[i].samples.empty()) continue;
        text += fmt::format("\nEffects\t{}\n\tFrame\tX pixels\tY pixels\n", headings[i]);
        for (TrackSample const& sample : track.corners[i].samples)
            text += fmt::format("\t{}\t{}\t{}\n", numberText(sample.frame), numberText(sample.x),
                                numberText(sample.y));
    }
    return text + "\nEnd of Keyframe Data\n";
}

std::string writeKeyframeText(Track const& track) {
    return keyframeText(track, {"Corner Pin #1\tUpper Left #2", "Corner Pin #1\tUpper Right #3",
                                "Corner Pin #1\tLower Left #4", "Corner Pin #1\tLower Right #5"});
}

}  // namespace zelk

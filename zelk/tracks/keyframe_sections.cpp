// Headings, the head's values, and the text of sections; see keyframe_sections.h.
#include "zelk/tracks/keyframe_sections.h"

#include <fmt/format.h>

#include "zelk/text/numbers.h"

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

}  // namespace

std::optional<int> cornerOfHeading(std::string_view line) {
    auto const byWords = cornerByWords(line);
    return byWords ? byWords : cornerByNumber(line);
}

bool headingHasWords(std::string_view line) { return cornerByWords(line).has_value(); }

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

void readHeaderValue(std::string_view line, Track& track) {
    if (auto const rate = valueAfter(line, "Units Per Second")) track.rate = *rate;
    if (auto const aspect = valueAfter(line, "Source Pixel Aspect Ratio"))
        track.pixelAspect = *aspect;
}

int importedCorner(TrackingLine const& heading) {
    // The second section goes to the upper right pin, whatever words it has.
    constexpr int kCorners[] = {kUpperLeft, kUpperRight, kLowerLeft, kLowerRight};
    return kCorners[heading.corner];
}

std::string keyframeText(Track const& track, std::array<std::string_view, 4> const& headings) {
    std::string text = fmt::format(
        "Adobe After Effects 8.0 Keyframe Data\n\n\tUnits Per Second\t{}\n\tSource Width\t{}\n"
        "\tSource Height\t{}\n\tSource Pixel Aspect Ratio\t{}\n\tComp Pixel Aspect Ratio\t{}\n",
        numberText(track.rate.value_or(kDefaultRate)), track.width, track.height,
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

}  // namespace zelk

// Lines, words and corners; see text.h.
#include "zelk/tracks/text.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/corners.h"

namespace zelk {

void TrackText::refuse(int line, std::string const& wrong, std::string_view value,
                       std::string const& expected) const {
    std::string const place = line > 0 ? fmt::format("line {}: ", line) : "";
    throw UserError(ExitCode::kInput, {file, place + wrong, shortened(value), expected});
}

bool isSide(std::optional<int> pixels) { return pixels && *pixels > 0 && *pixels <= kLargestPx; }

std::string sideExpected() {
    return fmt::format("a whole number of pixels from 1 to {}", kLargestPx);
}

void addSample(TrackText const& text, Track& track, int corner, TrackSample const& sample) {
    std::size_t count = 0;
    for (CornerTrack const& one : track.corners) count += one.samples.size();
    if (count == kMostSamples) refuseSample(text, sample.line);
    track.corners[static_cast<std::size_t>(corner)].samples.push_back(sample);
}

void refuseSample(TrackText const& text, int line) {
    text.refuse(line, "more samples than", fmt::format("{}", kMostSamples), "a shorter track");
}

void addNote(Track& track, int line, std::string text, std::string fix) {
    constexpr std::size_t kMostNotes = 20;
    if (track.notes.size() < kMostNotes)
        track.notes.push_back({line, std::move(text), std::move(fix)});
}

bool TextLines::next() {
    if (m_rest.empty()) return false;
    auto const end = std::min(m_rest.find_first_of("\r\n"), m_rest.size());
    m_line = m_rest.substr(0, end);
    bool const isPair = m_rest.substr(end).starts_with("\r\n");
    m_rest.remove_prefix(std::min(end + (isPair ? 2 : 1), m_rest.size()));
    ++m_number;
    return true;
}

std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    for (;;) {
        auto const start = std::min(line.find_first_not_of(" \t"), line.size());
        line.remove_prefix(start);
        if (line.empty() || words.size() == kMostWords) return words;
        auto const end = std::min(line.find_first_of(" \t"), line.size());
        words.push_back(line.substr(0, end));
        line.remove_prefix(end);
    }
}

std::optional<int> cornerNamed(std::string_view word) {
    constexpr std::string_view kNames[4][5] = {{"ul", "upperleft", "tl", "topleft", "1"},
                                               {"ur", "upperright", "tr", "topright", "2"},
                                               {"ll", "lowerleft", "bl", "bottomleft", "3"},
                                               {"lr", "lowerright", "br", "bottomright", "4"}};
    constexpr std::size_t kLongest = 16;
    if (word.size() > kLongest) return std::nullopt;
    std::string name = lowered(word);
    std::erase_if(name, [](char c) { return c == ' ' || c == '-' || c == '_'; });
    for (int corner = 0; corner < 4; ++corner)
        for (std::string_view const known : kNames[corner])
            if (name == known) return corner;
    return std::nullopt;
}

namespace {

PixelSize sizeFrom(TrackText const& text, int line, std::string_view words) {
    auto const x = std::min(words.find('x'), words.size());
    auto const width = parseWhole(words.substr(0, x));
    auto const height = parseWhole(words.substr(std::min(x + 1, words.size())));
    if (isSide(width) && isSide(height)) return {*width, *height};
    text.refuse(line, "not a size:", words,
                fmt::format("WxH such as 1920x1080, up to {} each", kLargestPx));
}

}  // namespace

void readComment(TrackText const& text, int line, std::string_view comment, Track& track) {
    auto const words = wordsOf(comment);
    if (words.size() != 2) return;
    if (words[0] == "size") {
        PixelSize const size = sizeFrom(text, line, words[1]);
        track.width = size.width;
        track.height = size.height;
    }
    auto const number = parseNumber(words[1]);
    if (words[0] == "rate" && number && *number > 0) track.rate = *number;
}

std::string commentsOf(Track const& track) {
    std::string text;
    if (track.hasSize()) text += fmt::format("# size {}x{}\n", track.width, track.height);
    if (track.rate) text += fmt::format("# rate {}\n", numberText(*track.rate));
    return text;
}

std::string numberText(double value) { return fmt::format("{}", value); }

}  // namespace zelk

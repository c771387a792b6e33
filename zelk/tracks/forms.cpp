// The table of forms and the choice among them; see forms.h.
#include "zelk/tracks/forms.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/columns.h"
#include "zelk/tracks/csv.h"
#include "zelk/tracks/keyframe_text.h"
#include "zelk/tracks/mocha.h"
#include "zelk/tracks/node_text.h"

namespace zelk {

namespace {

constexpr TrackFormat kFormats[] = {
    {"mocha", ".txt", true, true, isMocha, resemblesMocha, readMocha, writeMocha},
    {"keyframes", "", true, true, isKeyframeText, nullptr, readKeyframeText, writeKeyframeText},
    {"nodes", ".nk", true, false, isNodeText, resemblesNodeText, readNodeText, writeNodeText},
    {"csv", ".csv", false, false, isCsv, resemblesCsv, readCsv, writeCsv},
    {"columns", "", false, false, isColumns, resemblesColumns, readColumns, writeColumns},
    {"corner-columns", "", false, false, isCornerColumns, resemblesCornerColumns, readCornerColumns,
     writeCornerColumns},
};

/// Text in two bytes a character, as some editors save what they call plain.
void refuseWideText(TrackText const& text) {
    bool const isWide = text.bytes.starts_with("\xff\xfe") || text.bytes.starts_with("\xfe\xff");
    if (isWide) text.refuse(1, "the text is", "UTF-16", "plain text or UTF-8");
}

/// Of a text that no form fits.
TrackFormat const& likeliest(TrackText const& text) {
    for (TrackFormat const& format : kFormats)
        if (format.resembles && format.resembles(text)) return format;
    text.refuse(
        0, "no tracking data found", "",
        fmt::format("sections of corners, a pin node or a table of numbers; or name the form "
                    "by `{}format`: {}",
                    text.optionPrefix, trackFormatNames()));
}

/// Without the mark that some editors set before UTF-8.
TrackText withoutMark(TrackText text) {
    if (text.bytes.starts_with("\xef\xbb\xbf")) text.bytes.remove_prefix(3);
    return text;
}

TrackFormat const& choose(TrackText const& text, bool asks) {
    auto const formats = formatsOf(text);
    if (formats.empty()) return likeliest(text);
    bool const isImport = formats[0] == &kFormats[0];
    if (formats.size() > 1 && (asks || !isImport)) {
        std::vector<std::string_view> names;
        for (TrackFormat const* format : formats) names.push_back(format->name);
        text.refuse(0, "fits several forms:", listOf(names),
                    fmt::format("one of them, by `{}format`", text.optionPrefix));
    }
    return *formats[0];
}

void checkSamples(TrackText const& text, Track const& track) {
    bool isEmpty = true;
    for (CornerTrack const& corner : track.corners) isEmpty = isEmpty && corner.samples.empty();
    if (isEmpty)
        text.refuse(0, "no positions of corners in the form", std::string(track.format),
                    "frames with x and y");
}

}  // namespace

std::span<TrackFormat const> trackFormats() { return kFormats; }

std::vector<std::string_view> trackFormatWords() {
    std::vector<std::string_view> names;
    for (TrackFormat const& format : kFormats) names.push_back(format.name);
    return names;
}

std::string trackFormatNames() { return listOf(trackFormatWords()); }

TrackFormat const& trackFormatNamed(std::string const& option, std::string const& name) {
    for (TrackFormat const& format : kFormats)
        if (format.name == lowered(name)) return format;
    throw UserError(ExitCode::kUsage, {option, "unknown choice", name, trackFormatNames()});
}

std::vector<TrackFormat const*> formatsOf(TrackText const& asGiven) {
    TrackText const text = withoutMark(asGiven);
    std::vector<TrackFormat const*> formats;
    for (TrackFormat const& format : kFormats)
        if (format.recognises(text)) formats.push_back(&format);
    return formats;
}

Track trackFromText(TrackText const& asGiven, ReadTrackOptions const& options) {
    TrackText text = withoutMark(asGiven);
    text.size = options.size;
    text.optionPrefix = options.optionPrefix;
    refuseWideText(text);
    TrackFormat const& format =
        options.format ? trackFormatNamed("--format", *options.format) : choose(text, options.asks);
    Track track = format.read(text);
    track.format = format.name;
    if (options.size) {
        track.width = options.size->width;
        track.height = options.size->height;
    }
    checkSamples(text, track);
    return track;
}

Track readTrack(std::filesystem::path const& file, ReadTrackOptions const& options) {
    std::string const bytes = readTextFile(file, "a tracking", kLargestTrackFile);
    return trackFromText({file.string(), bytes, options.size}, options);
}

}  // namespace zelk

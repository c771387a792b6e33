// Reading and changes of a track; see track_options.h.
#include "apps/zelk/track_options.h"

#include <fmt/format.h>

#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/corner_order.h"
#include "zelk/tracks/forms.h"

namespace zelk {

namespace {

double firstFrameOf(Track const& track) { return summaryOf(track).firstFrame; }

/// "0.9091" or "10/11".
double parseAspect(std::string const& text) {
    constexpr double kLeast = 0.1, kMost = 10;
    auto const slash = text.find('/');
    auto const over = parseNumber(text.substr(0, slash));
    auto const under =
        slash == std::string::npos ? std::optional(1.0) : parseNumber(text.substr(slash + 1));
    double const aspect = over && under ? *over / *under : 0;
    if (aspect >= kLeast && aspect <= kMost) return aspect;
    throw UserError(ExitCode::kUsage, {"--pixel-aspect", "not a pixel aspect:", text,
                                       "a number from 0.1 to 10 such as 1.2 or 10/11"});
}

/// A number stays as it is written: 23.976 is not made 24000/1001.
double rateOf(std::string const& text) {
    TimeBase const rate = parseRate("--rate", text);
    return parseNumber(text).value_or(double(rate.scale) / rate.step);
}

std::optional<double> framesOf(char const* option, std::optional<std::string> const& text) {
    if (!text) return std::nullopt;
    return numberInRange(option, *text, -kLargestFrame, kLargestFrame);
}

}  // namespace

void requireSize(Track const& track, std::string const& option, std::string const& value) {
    if (track.hasSize()) return;
    throw UserError(
        ExitCode::kUsage,
        fmt::format("{} needs the frame's size, which {} lacks: give --size WxH", option, value));
}

TrackSummary summaryOf(Track const& track) {
    TrackSummary summary;
    eachRow(track, [&](TrackRow const& row) {
        if (summary.frames++ == 0) summary.firstFrame = row.frame;
        summary.lastFrame = row.frame;
        if (!row.isWhole()) return;
        ++summary.whole;
        if (!summary.firstQuad) summary.firstQuad = row;
        summary.lastQuad = row;
    });
    return summary;
}

void TrackOptions::add(OptionAdder const& add) {
    add.text("Files", "--format", m_format, "FORM",
             "How the file is read (by its text): " + trackFormatNames(), trackFormatWords());
    add.text("Track", "--size", m_size, "WxH", "Of the frame (the file's own)");
    add.text("Track", "--rate", m_rate, "FPS", "Frames a second (the file's own)");
    add.text("Track", "--corners", m_corners, "A,B,C,D",
             "The file's corners that become ul, ur, ll, lr (ul,ur,ll,lr)");
    add.flag("Track", "--flip-y", m_flipY, "The file counts y from below");
    add.text("Track", "--pixel-aspect", m_pixelAspect, "A",
             "The file's pixels are A wide; make them square");
    add.text("Track", "--first-frame", m_firstFrame, "N", "Number frames from N on");
    add.text("Track", "--shift-frames", m_shiftFrames, "N", "Add N to each frame (0)");
}

Track TrackOptions::trackOf(std::string const& file, bool asks) const {
    ReadTrackOptions read;
    read.format = m_format;
    if (m_format) trackFormatNamed("--format", *m_format);
    if (m_size) read.size = parseSize("--size", *m_size);
    read.asks = asks;
    read.optionPrefix = "--";
    auto const corners =
        m_corners ? std::optional(parseCornerOrder("--corners", *m_corners)) : std::nullopt;
    double const aspect = m_pixelAspect ? parseAspect(*m_pixelAspect) : 1;
    auto const firstFrame = framesOf("--first-frame", m_firstFrame);
    double const shift = framesOf("--shift-frames", m_shiftFrames).value_or(0);
    double const rate = m_rate ? rateOf(*m_rate) : 0;

    Track track = readTrack(file, read);
    if (corners) reorderCorners(track, *corners);
    if (m_flipY) {
        requireSize(track, "--flip-y", file);
        flipY(track);
    }
    if (m_pixelAspect) makePixelsSquare(track, aspect);
    if (firstFrame) shiftFrames(track, *firstFrame - firstFrameOf(track));
    if (shift != 0) shiftFrames(track, shift);
    if (m_rate) track.rate = rate;
    return track;
}

}  // namespace zelk

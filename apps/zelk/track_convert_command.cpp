// A track in another form; see track_convert_command.h.
#include "apps/zelk/track_convert_command.h"

#include <fmt/format.h>

#include <filesystem>

#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/check.h"
#include "zelk/tracks/forms.h"
#include "zelk/tracks/text.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// The form that is named, or that the output's extension stands for.
TrackFormat const* formToWrite(std::string const& output, std::optional<std::string> const& as) {
    if (as) return &trackFormatNamed("--as", *as);
    std::string const ending = lowered(std::filesystem::path(output).extension().string());
    for (TrackFormat const& format : trackFormats())
        if (!ending.empty() && format.ending == ending) return &format;
    throw UserError(ExitCode::kUsage, {output, "no form goes with the extension", ending,
                                       "--as with " + trackFormatNames()});
}

void requireCorners(std::string const& file, Track const& track) {
    for (std::size_t i = 0; i < 4; ++i)
        if (track.corners[i].samples.empty())
            throw UserError(
                ExitCode::kInput,
                {file, "no samples of", std::string(kCornerWords[i]),
                 track.corners[i].meantLine > 0
                     ? std::string("all four corners; headings count by their words with ") +
                           kMeantByWords
                     : "all four corners"});
}

/// Throws an output error, and a usage error without a size that the form needs.
void writeTrack(Track const& track, TrackFormat const& format, fs::path const& file,
                bool mayReplace) {
    if (format.writesSize) requireSize(track, file.string(), std::string(format.name));
    requireNew(file, mayReplace);
    checkPlace(file, false);
    writeTextFile(file, format.write(track), mayReplace);
}

std::string convertedText(std::string const& out, TrackFormat const& as, Track const& track) {
    TrackSummary const summary = summaryOf(track);
    std::string text =
        oneLine(fmt::format("{}: {}, {} frames, {} to {}", out, as.name, summary.frames,
                            numberText(summary.firstFrame), numberText(summary.lastFrame))) +
        "\n";
    TrackTarget target;
    target.writesRate = as.writesRate;
    for (TrackIssue const& issue : checkTrack(track, target))
        text += "  warning: " + issueText(issue) + "\n";
    return text;
}

}  // namespace

CommandInfo const TrackConvertCommand::kInfo = {
    "track convert", "Write tracking data in another form", "IN OUT [OPTIONS]",
    "Corners are upper left (ul), upper right (ur), lower left (ll), lower right (lr).\n"
    "\n"
    "Examples:\n"
    "  zelk track convert shot.nk shot.txt --first-frame 0\n"
    "  zelk track convert points.txt shot.csv --format columns --flip-y --size 1920x1080\n"};

void TrackConvertCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    add.text("Files", "IN", m_in, "", "The tracking data to read");
    add.text("Files", "OUT", m_out, "", "The file to write");
    add.text("Files", "--as", m_as, "FORM", "What is written (by the extension .txt, .nk or .csv)",
             trackFormatWords());
    add.flag("Files", "--force", m_force, "Replace a file");
    m_track.add(add);
}

ExitCode TrackConvertCommand::run(Invocation const&) {
    std::string const in = required(m_in.value_or(""), "IN", "a tracking file");
    std::string const out = required(m_out.value_or(""), "OUT", "the file to write");
    TrackFormat const& as = *formToWrite(out, m_as);
    Track const track = m_track.trackOf(in, true);
    requireCorners(in, track);
    writeTrack(track, as, out, m_force);
    print(convertedText(out, as, track));
    return ExitCode::kDone;
}

}  // namespace zelk

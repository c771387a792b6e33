// What a track holds, as text, JSON, picture or another file; see track_commands.h.
#include "apps/zelk/track_commands.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "apps/zelk/track_plot.h"
#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/files/text_file.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/reader.h"
#include "zelk/pictures/writer.h"
#include "zelk/scene/scene_edits.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/check.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

using Ordered = nlohmann::ordered_json;

void requireSize(Track const& track, std::string const& option, std::string const& value) {
    if (track.hasSize()) return;
    throw UserError(ExitCode::kUsage, {option, "needs the frame's size, which no file tells, for",
                                       value, "--size WxH"});
}

/// What is told of a track besides its faults.
struct Summary {
    std::size_t frames = 0, whole = 0;
    double firstFrame = 0, lastFrame = 0;
    std::optional<TrackRow> firstQuad, lastQuad;
};

Summary summaryOf(Track const& track) {
    Summary summary;
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

double firstFrameOf(Track const& track) { return summaryOf(track).firstFrame; }

std::string quadText(TrackRow const& row) {
    std::string text = fmt::format("frame {}:", numberText(row.frame));
    for (Point const& point : row.quad())
        text += fmt::format(" {},{}", numberText(point.x), numberText(point.y));
    return text;
}

std::string line(std::string_view name, std::string const& text) {
    return fmt::format("  {:<12}  {}\n", name, text);
}

std::string cornerText(CornerTrack const& corner) {
    if (corner.samples.empty()) return "no samples";
    auto const count = corner.samples.size();
    std::string const heading = corner.line > 0 ? fmt::format(", line {}", corner.line) : "";
    return fmt::format("{} sample{}{}", count, count == 1 ? "" : "s", heading);
}

std::string asText(std::string const& file, Track const& track,
                   std::vector<TrackIssue> const& issues) {
    Summary const summary = summaryOf(track);
    std::string text = fmt::format("{}: {}", file, track.format);
    if (track.hasSize()) text += fmt::format(", {}x{}", track.width, track.height);
    if (track.rate) text += fmt::format(", {} frames a second", numberText(*track.rate));
    text = oneLine(text) + "\n";
    text += line("frames", fmt::format("{} to {}, {} of them", numberText(summary.firstFrame),
                                       numberText(summary.lastFrame), summary.frames));
    for (std::size_t i = 0; i < 4; ++i) text += line(kCornerWords[i], cornerText(track.corners[i]));
    if (summary.firstQuad) text += line("first quad", quadText(*summary.firstQuad));
    if (summary.lastQuad) text += line("last quad", quadText(*summary.lastQuad));
    for (TrackIssue const& issue : issues) text += "  warning: " + issueText(issue) + "\n";
    return text;
}

Ordered quadJson(std::optional<TrackRow> const& row) {
    if (!row) return nullptr;
    Ordered corners = Ordered::object();
    for (std::size_t i = 0; i < 4; ++i)
        corners[std::string(kCornerWords[i])] = {row->corners[i]->x, row->corners[i]->y};
    return {{"frame", row->frame}, {"corners", corners}};
}

std::string asJson(std::string const& file, Track const& track,
                   std::vector<TrackIssue> const& issues) {
    Summary const summary = summaryOf(track);
    Ordered json = {{"file", file}, {"format", track.format}};
    json["size"] = track.hasSize() ? Ordered{track.width, track.height} : Ordered(nullptr);
    json["rate"] = track.rate ? Ordered(*track.rate) : Ordered(nullptr);
    json["pixelAspect"] = track.pixelAspect;
    json["frames"] = {{"first", summary.firstFrame},
                      {"last", summary.lastFrame},
                      {"count", summary.frames},
                      {"withFourCorners", summary.whole}};
    json["corners"] = Ordered::object();
    for (std::size_t i = 0; i < 4; ++i)
        json["corners"][std::string(kCornerWords[i])] = {
            {"samples", track.corners[i].samples.size()}, {"line", track.corners[i].line}};
    json["firstQuad"] = quadJson(summary.firstQuad);
    json["lastQuad"] = quadJson(summary.lastQuad);
    json["issues"] = Ordered::array();
    for (TrackIssue const& issue : issues)
        json["issues"].push_back({{"kind", faultName(issue.fault)},
                                  {"line", issue.line},
                                  {"text", issue.text},
                                  {"mend", issue.mend}});
    // File names and headings may hold any bytes.
    return jsonText(Ordered::parse(json.dump(-1, ' ', false, Ordered::error_handler_t::replace)));
}

/// A plot of a track, perhaps over a picture.
struct PlotRequest {
    std::string file;
    std::optional<std::string> over;
    bool noClobber = false;
};

void writePlot(PlotRequest const& request, Track const& track) {
    checkTarget(request.file, request.noClobber);
    auto const under = request.over ? identityOf(*request.over) : std::nullopt;
    if (under && under == identityOf(request.file))
        throw UserError(
            ExitCode::kUsage,
            {"--plot", "would replace the picture below it:", request.file, "another name"});
    std::optional<World> picture;
    if (request.over) {
        PictureReader reader = openPicture(*request.over);
        picture.emplace(readStraightWorld(reader));
    }
    WriteRequest ask;
    ask.opaque = true;
    ask.noClobber = request.noClobber;
    writePicture(plotTrack(track, picture ? &*picture : nullptr).toWorld(), request.file, ask);
}

/// "ul,ll,ur,lr": each corner once.
std::array<int, 4> parseCornerOrder(std::string const& text) {
    std::vector<int> order;
    std::string_view rest = text;
    while (order.size() < 4) {
        auto const comma = std::min(rest.find(','), rest.size());
        auto const corner = cornerNamed(rest.substr(0, comma));
        if (!corner || std::find(order.begin(), order.end(), *corner) != order.end()) break;
        order.push_back(*corner);
        rest.remove_prefix(std::min(comma + 1, rest.size()));
    }
    if (order.size() == 4 && rest.empty()) return {order[0], order[1], order[2], order[3]};
    throw UserError(ExitCode::kUsage, {"--corners", "not an order of corners:", text,
                                       "ul, ur, ll and lr, each once"});
}

/// "0.9091" or "10/11".
double parseAspect(std::string const& text) {
    constexpr double kLeast = 0.1, kMost = 10;
    auto const slash = text.find('/');
    auto const over = parseNumber(text.substr(0, slash));
    auto const under =
        slash == std::string::npos ? std::optional(1.0) : parseNumber(text.substr(slash + 1));
    double const aspect = over && under ? *over / *under : 0;
    if (aspect >= kLeast && aspect <= kMost) return aspect;
    throw UserError(ExitCode::kUsage, {"--pixel-aspect", "not a pixel's width in heights:", text,
                                       "a number from 0.1 to 10 such as 1.2 or 10/11"});
}

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
    std::error_code fault;
    if (!mayReplace && fs::exists(fs::symlink_status(file, fault)))
        throw UserError(ExitCode::kOutput, {file.string(), "there is one already:", file.string(),
                                            "a new name, or --force"});
    checkPlace(file, false);
    writeTextFile(file, format.write(track), mayReplace);
}

std::string convertedText(std::string const& out, TrackFormat const& as, Track const& track) {
    Summary const summary = summaryOf(track);
    std::string text =
        oneLine(fmt::format("{}: {}, {} frames, {} to {}", out, as.name, summary.frames,
                            numberText(summary.firstFrame), numberText(summary.lastFrame))) +
        "\n";
    TrackTarget target;
    target.tellsRate = as.writesRate;
    for (TrackIssue const& issue : checkTrack(track, target))
        text += "  warning: " + issueText(issue) + "\n";
    return text;
}

std::optional<double> framesOf(char const* option, std::optional<std::string> const& text) {
    constexpr double kMostFrames = 10'000'000;
    if (!text) return std::nullopt;
    return numberInRange(option, *text, -kMostFrames, kMostFrames);
}

}  // namespace

void TrackOptions::add(OptionAdder const& add) {
    add.text("Files", "--format", m_format, "FORM",
             "How the file is read (as its text tells): " + trackFormatNames());
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
    auto const corners = m_corners ? std::optional(parseCornerOrder(*m_corners)) : std::nullopt;
    double const aspect = m_pixelAspect ? parseAspect(*m_pixelAspect) : 1;
    auto const firstFrame = framesOf("--first-frame", m_firstFrame);
    double const shift = framesOf("--shift-frames", m_shiftFrames).value_or(0);
    double const rate = m_rate ? numberInRange("--rate", *m_rate, 1e-3, 1e6) : 0;

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

CommandInfo const TrackCommand::kInfo = {
    "track", "Tell, draw or convert tracking data", "FILE [OPTIONS]",
    "Corners are upper left (ul), upper right (ur), lower left (ll), lower right (lr).\n"
    "\n"
    "Examples:\n"
    "  zelk track shot.txt --plot paths.png --over shot.0001.png\n"};

void TrackCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    add.text("Files", "FILE", m_file, "", "The tracking data");
    m_track.add(add);
    add.flag("Output", "--json", m_json, "As a JSON object");
    add.text("Output", "--plot", m_plot, "FILE", "Draw the corners' paths into a picture");
    add.text("Output", "--over", m_over, "PICTURE", "Draw them over this picture");
    add.flag("Output", "--no-clobber", m_noClobber, "Refuse to replace an existing picture");
}

ExitCode TrackCommand::run(Invocation const&) {
    std::string const file = required(m_file.value_or(""), "FILE", "a tracking file");
    if (m_over && !m_plot)
        throw UserError(ExitCode::kUsage,
                        {"--over", "there is no plot to be laid under", *m_over, "--plot FILE"});
    if (m_over) pictureName("--over", *m_over);
    Track const track = m_track.trackOf(file, false);
    if (m_plot) writePlot({*m_plot, m_over, m_noClobber}, track);
    auto const issues = checkTrack(track);
    print(m_json ? asJson(file, track, issues) : asText(file, track, issues));
    return ExitCode::kDone;
}

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
    add.text("Files", "--as", m_as, "FORM", "What is written (by the extension .txt, .nk or .csv)");
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

// What a track holds, as text, JSON, picture or another file; see track_command.h.
#include "apps/zelk/track_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "apps/zelk/track_plot.h"
#include "zelk/files/output_place.h"
#include "zelk/files/text_file.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/reader.h"
#include "zelk/pictures/writer.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"

namespace zelk {

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

void writePlot(TrackRequest const& request, Track const& track) {
    checkTarget(*request.plot, request.noClobber);
    auto const under = request.over ? identityOf(*request.over) : std::nullopt;
    if (under && under == identityOf(*request.plot))
        throw UserError(ExitCode::kUsage, {"--plot", "would replace the picture below it:",
                                           request.plot->string(), "another name"});
    std::optional<World> picture;
    if (request.over) {
        PictureReader reader = openPicture(*request.over);
        picture.emplace(readStraightWorld(reader));
    }
    WriteRequest ask;
    ask.opaque = true;
    ask.noClobber = request.noClobber;
    writePicture(plotTrack(track, picture ? &*picture : nullptr).toWorld(), *request.plot, ask);
}

std::string convert(TrackRequest const& request, Track const& track) {
    std::string const out = request.output->string();
    for (std::size_t i = 0; i < 4; ++i)
        if (track.corners[i].samples.empty())
            throw UserError(
                ExitCode::kInput,
                {request.file.string(), "no samples of", std::string(kCornerWords[i]),
                 track.corners[i].meantLine > 0
                     ? std::string("all four corners; headings count by their words with ") +
                           kMeantByWords
                     : "all four corners"});
    writeTrack(track, *request.as, *request.output, request.force);
    Summary const summary = summaryOf(track);
    std::string text =
        oneLine(fmt::format("{}: {}, {} frames, {} to {}", out, request.as->name, summary.frames,
                            numberText(summary.firstFrame), numberText(summary.lastFrame))) +
        "\n";
    TrackTarget target;
    target.tellsRate = request.as->writesRate;
    for (TrackIssue const& issue : checkTrack(track, target))
        text += "  warning: " + issueText(issue) + "\n";
    return text;
}

}  // namespace

Track trackOf(TrackRequest const& request) {
    Track track = readTrack(request.file, request.read);
    TrackChange const& change = request.change;
    if (change.corners) reorderCorners(track, *change.corners);
    if (change.flipY) {
        requireSize(track, "--flip-y", request.file.string());
        flipY(track);
    }
    if (change.pixelAspect) makePixelsSquare(track, *change.pixelAspect);
    if (change.firstFrame) shiftFrames(track, *change.firstFrame - firstFrameOf(track));
    if (change.shiftFrames != 0) shiftFrames(track, change.shiftFrames);
    if (change.rate) track.rate = *change.rate;
    return track;
}

std::string runTrack(TrackRequest const& request) {
    Track const track = trackOf(request);
    if (request.output) return convert(request, track);
    if (request.plot) writePlot(request, track);
    auto const issues = checkTrack(track);
    std::string const file = request.file.string();
    return request.json ? asJson(file, track, issues) : asText(file, track, issues);
}

void writeTrack(Track const& track, TrackFormat const& format, std::filesystem::path const& file,
                bool mayReplace) {
    if (format.writesSize) requireSize(track, file.string(), std::string(format.name));
    std::error_code fault;
    if (!mayReplace && std::filesystem::exists(std::filesystem::symlink_status(file, fault)))
        throw UserError(ExitCode::kOutput, {file.string(), "there is one already:", file.string(),
                                            "a new name, or --force"});
    checkPlace(file, false);
    writeTextFile(file, format.write(track), mayReplace);
}

}  // namespace zelk

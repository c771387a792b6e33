// What a track holds, as text, JSON or a picture; see track_command.h.
#include "apps/zelk/track_command.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "apps/drawing/screen_picture.h"
#include "apps/drawing/track_plot.h"
#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/writer.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/check.h"
#include "zelk/tracks/text.h"

namespace zelk {

namespace {

using Ordered = nlohmann::ordered_json;

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
    TrackSummary const summary = summaryOf(track);
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
    TrackSummary const summary = summaryOf(track);
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
                                  {"fix", issue.fix}});
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
    if (request.over) picture.emplace(screenPicture(*request.over));
    WriteRequest ask;
    ask.opaque = true;
    ask.noClobber = request.noClobber;
    writePicture(plotTrack(track, picture ? &*picture : nullptr).toWorld(), request.file, ask);
}

}  // namespace

CommandInfo const TrackCommand::kInfo = {
    "track", "Show, draw or convert tracking data", "FILE [OPTIONS]",
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
    if (m_over) pictureName("--over", *m_over);
    if (m_over && !m_plot) throw UserError(ExitCode::kUsage, "--over needs --plot FILE");
    Track const track = m_track.trackOf(file, false);
    if (m_plot) writePlot({*m_plot, m_over, m_noClobber}, track);
    auto const issues = checkTrack(track);
    print(m_json ? asJson(file, track, issues) : asText(file, track, issues));
    return ExitCode::kDone;
}

}  // namespace zelk

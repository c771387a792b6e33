// The commands beside rendering: projects, panels and tracks; see cli_checks.h.
#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "apps/zelk/cli_checks.h"
#include "apps/zelk/cli_values.h"
#include "apps/zelk/drag_command.h"
#include "apps/zelk/overlay_command.h"
#include "apps/zelk/project_command.h"
#include "apps/zelk/track_command.h"
#include "zelk/tracks/forms.h"

namespace zelk {

namespace {

constexpr Choice<PF_WindowType> kPanels[] = {{"comp", PF_Window_COMP}, {"layer", PF_Window_LAYER}};

/// "0.5", "2" or "200%".
double checkedZoom(std::string const& text) {
    constexpr double kLeast = 0.01, kMost = 64;
    bool const isPercent = text.ends_with('%');
    auto const number = parseNumber(text.substr(0, text.size() - (isPercent ? 1 : 0)));
    double const zoom = number.value_or(0) / (isPercent ? 100 : 1);
    if (zoom >= kLeast && zoom <= kMost) return zoom;
    throw UserError(ExitCode::kUsage, {"--zoom", number ? "out of range:" : "not a number:", text,
                                       "a factor from 0.01 to 64, or as much in percent"});
}

/// What a panel option says, into a request that has them all.
template <class Request>
void addPanel(TypedOptions const& typed, Request& request) {
    constexpr int kMostFrames = 10'000'000;
    if (typed.frame)
        request.frame = wholeInRange("--frame", *typed.frame, -kMostFrames, kMostFrames);
    if (typed.zoom) request.zoom = checkedZoom(*typed.zoom);
    request.panel = pickIfGiven(kPanels, "--panel", typed.panel).value_or(request.panel);
}

}  // namespace

OverlayRequest checkedOverlay(TypedOptions const& typed, std::string const& history) {
    constexpr int kMostMargin = 4096;
    OverlayRequest request;
    request.render = checkedRender(typed);
    request.render.history = history;
    addPanel(typed, request);
    if (typed.margin) request.marginPx = wholeInRange("--margin", *typed.margin, 0, kMostMargin);
    return request;
}

DragRequest checkedDrag(TypedOptions const& typed) {
    DragRequest request;
    request.project = required(typed.file, "FILE", "a project file");
    request.output = typed.output.value_or(request.project.string());
    request.mayReplace = !typed.output || typed.force;
    request.module = checkedModule(typed);
    request.from = parsePoint("--from", required(typed.click, "--from", "a point x,y"));
    for (std::string const& point : typed.drags) request.to.push_back(parsePoint("--to", point));
    if (request.to.empty())
        throw UserError(ExitCode::kUsage, {"--to", "not given,", "", "a point x,y"});
    request.shift = typed.shift;
    request.dryRun = typed.dryRun;
    addPanel(typed, request);
    return request;
}

namespace {

/// "ul,ll,ur,lr": each corner once.
std::array<int, 4> checkedCorners(std::string const& text) {
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
double checkedAspect(std::string const& text) {
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

TrackChange checkedChange(TypedOptions const& typed) {
    constexpr double kMostFrames = 10'000'000;
    TrackChange change;
    auto const frames = [](char const* option, std::optional<std::string> const& text) {
        return text ? std::optional(checkedNumber(option, *text, -kMostFrames, kMostFrames))
                    : std::nullopt;
    };
    if (typed.corners) change.corners = checkedCorners(*typed.corners);
    change.flipY = typed.flipY;
    if (typed.pixelAspect) change.pixelAspect = checkedAspect(*typed.pixelAspect);
    change.firstFrame = frames("--first-frame", typed.firstFrame);
    change.shiftFrames = frames("--shift-frames", typed.shiftFrames).value_or(0);
    if (typed.rate) change.rate = checkedNumber("--rate", *typed.rate, 1e-3, 1e6);
    return change;
}

}  // namespace

TrackRequest checkedTrack(TypedOptions const& typed) {
    std::vector<std::string> words = typed.words;
    bool const isConvert = !words.empty() && words[0] == "convert";
    if (isConvert) words.erase(words.begin());
    std::size_t const files = isConvert ? 2 : 1;
    if (words.size() < files || words[files - 1].empty())
        throw UserError(ExitCode::kUsage,
                        {isConvert && !words.empty() ? "OUT" : "FILE", "not given,", "",
                         isConvert ? "convert IN OUT" : "a tracking file"});
    if (words.size() > files)
        throw UserError(ExitCode::kUsage,
                        {"track", "argument too many:", words[files], "FILE, or convert IN OUT"});
    TrackRequest request;
    request.file = words[0];
    request.read.format = typed.format;
    if (typed.format) trackFormatNamed("--format", *typed.format);
    if (typed.frameSize) request.read.size = checkedSize(*typed.frameSize);
    request.read.asks = isConvert;
    request.change = checkedChange(typed);
    if (isConvert) {
        refuseOption(typed.json, "--json", "track convert", "zelk track FILE");
        refuseOption(typed.plot.has_value(), "--plot", "track convert", "zelk track FILE");
        refuseOption(typed.noClobber, "--no-clobber", "track convert",
                     "no --force, which a file that is there needs");
        request.output = words[1];
        request.as = formToWrite(words[1], typed.as);
    } else {
        refuseOption(typed.as.has_value(), "--as", "track", "zelk track convert IN OUT");
        refuseOption(typed.force, "--force", "track", "zelk track convert IN OUT");
    }
    request.force = typed.force;
    request.json = typed.json;
    request.noClobber = typed.noClobber;
    if (typed.plot) request.plot = *typed.plot;
    if (typed.plate) request.over = pictureFile(typed.plate, "--over");
    if (request.over && !request.plot)
        throw UserError(ExitCode::kUsage, {"--over", "there is no plot to be laid under",
                                           request.over->string(), "--plot FILE"});
    return request;
}

void checkProjectCommand(TypedOptions const& typed, std::optional<std::string> const& verb,
                         CommandLine& line) {
    enum Verb { kNew, kShow, kCheck, kImportTrack };
    constexpr Choice<Verb> kVerbs[] = {
        {"new", kNew}, {"show", kShow}, {"check", kCheck}, {"import-track", kImportTrack}};
    constexpr Choice<TrackedPins> kPins[] = {{"to", TrackedPins::kTo},
                                             {"from", TrackedPins::kFrom}};
    Verb const what = pick<Verb>(kVerbs, "project", verb.value_or(""));
    std::string const file = required(typed.file, "FILE", "a project file");
    if (what != kNew) {
        struct Option {
            char const* name;
            bool isGiven;
        };
        Option const onlyNew[] = {{"--layer", typed.layer.has_value()},
                                  {"--plate", typed.plate.has_value()},
                                  {"--output", typed.output.has_value()},
                                  {"--frames", typed.frames.has_value()},
                                  {"--rate", typed.rate.has_value()},
                                  {"--size", typed.frameSize.has_value()},
                                  {"--force", typed.force}};
        for (Option const& option : onlyNew)
            refuseOption(option.isGiven, option.name, verb->c_str(), "zelk project new");
    }
    refuseOption(typed.json && what != kShow, "--json", verb->c_str(), "zelk project show");
    refuseOption(typed.pins && what != kImportTrack, "--pins", verb->c_str(),
                 "zelk project import-track");
    if (what == kImportTrack) {
        auto const pins = pickIfGiven(kPins, "--pins", typed.pins).value_or(TrackedPins::kTo);
        line.importTrack = ProjectTrack{file, required(typed.trackTo, "TRACK", "a tracking file"),
                                        pins, checkedModule(typed)};
        return;
    }
    if (typed.trackTo)
        throw UserError(ExitCode::kUsage, {"project", "argument too many:", *typed.trackTo,
                                           "what `zelk project --help` lists"});
    if (what != kCheck) {
        refuseOption(typed.host.has_value(), "--host", verb->c_str(), "zelk project check");
        refuseOption(typed.module.has_value(), "--module", verb->c_str(), "zelk project check");
    }
    if (what == kShow) {
        line.project = ProjectRequest{file, typed.json};
        return;
    }
    if (what == kCheck) {
        TypedOptions render;
        render.project = file;
        render.host = typed.host;
        render.module = typed.module;
        line.projectCheck = ProjectCheck{file, checkedRender(render, false)};
        return;
    }
    NewProject ask;
    ask.file = file;
    ask.layer = required(typed.layer, "--layer", "a picture file or pattern");
    ask.plate = typed.plate;
    ask.output = typed.output;
    ask.frames = typed.frames;
    if (typed.rate) ask.rate = checkedRate(*typed.rate);
    if (typed.frameSize) ask.size = checkedSize(*typed.frameSize);
    ask.force = typed.force;
    line.newProject = std::make_shared<NewProject const>(ask);
}

}  // namespace zelk

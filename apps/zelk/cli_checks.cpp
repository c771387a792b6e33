// Typed values into requests; see cli_checks.h.
#include "apps/zelk/cli_checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "apps/zelk/drag_command.h"
#include "apps/zelk/errors.h"
#include "apps/zelk/numbers.h"
#include "apps/zelk/over_modes.h"
#include "apps/zelk/overlay_command.h"
#include "apps/zelk/parameter_names.h"
#include "apps/zelk/project_command.h"
#include "apps/zelk/project_file.h"
#include "apps/zelk/sequence_names.h"
#include "apps/zelk/track_command.h"
#include "apps/zelk/track_import.h"

namespace zelk {

namespace {

constexpr Choice<int> kQualities[] = {{"low", 1}, {"medium", 2}, {"high", 3}, {"super", 4}};
constexpr Choice<int> kViews[] = {{"original", 1}, {"from", 2}, {"to", 3}, {"both", 4}};
constexpr Choice<Road> kRoads[] = {{"module", Road::kModule}, {"memory", Road::kMemory}};
constexpr Choice<Explain> kExplains[] = {{"text", Explain::kText}, {"json", Explain::kJson}};
constexpr Choice<ProgressMode> kProgressModes[] = {{"auto", ProgressMode::kAuto},
                                                   {"bar", ProgressMode::kBar},
                                                   {"plain", ProgressMode::kPlain},
                                                   {"json", ProgressMode::kJson},
                                                   {"none", ProgressMode::kNone}};
constexpr Choice<MissingInput> kMissings[] = {{"stop", MissingInput::kStop},
                                              {"hold", MissingInput::kHold},
                                              {"skip", MissingInput::kSkip},
                                              {"black", MissingInput::kBlack}};
constexpr Choice<Depth> kDepths[] = {
    {"8", Depth::k8}, {"16", Depth::k16}, {"float", Depth::kFloat}};

template <class T>
T pick(std::span<Choice<T> const> choices, char const* option, std::string const& word) {
    std::string all;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (choices[i].word == lowered(word)) return choices[i].value;
        all += i == 0 ? "" : i + 1 == choices.size() ? " or " : ", ";
        all += choices[i].word;
    }
    throw UserError(ExitCode::kUsage, {option, "unknown choice", word, all});
}

template <class T, std::size_t N>
std::optional<T> pickIfGiven(Choice<T> const (&choices)[N], char const* option,
                             std::optional<std::string> const& word) {
    if (!word) return std::nullopt;
    return pick<T>(choices, option, *word);
}

HostIdentity hostNamed(std::string const& word) {
    std::vector<Choice<HostIdentity>> choices;
    std::vector<std::string> words;
    for (NamedHost const& host : kKnownHosts) {
        if (lowered(host.name) == lowered(word)) return host.identity;
        choices.push_back({host.name, host.identity});
    }
    return pick<HostIdentity>(choices, "--host", word);
}

std::string required(std::optional<std::string> const& value, char const* thing,
                     char const* expected) {
    if (value && !value->empty()) return *value;
    throw UserError(ExitCode::kUsage, {thing, "not given,", value.value_or(""), expected});
}

Setting checkedSetting(std::string const& text) {
    auto const equals = text.find('=');
    if (equals == std::string::npos) {
        throw UserError(ExitCode::kUsage, {"--set", "no value in", text, "NAME=VALUE"});
    }
    std::string const name(trimmed(std::string_view(text).substr(0, equals)));
    auto const index = parameterIndex(name);
    if (!index) {
        throw UserError(ExitCode::kUsage, {"--set", "unknown parameter", name,
                                           "a name that `zelk params` lists, such as the near \"" +
                                               std::string(nearestParameterName(name)) + "\""});
    }
    return {*index, "--set " + std::string(kParameterNames[static_cast<std::size_t>(*index)]),
            text.substr(equals + 1)};
}

/// A file to read. A picture is read in pieces, so it can't come through a pipe.
std::string pictureFile(std::optional<std::string> const& name, char const* thing) {
    std::string const file = required(name, thing, "a picture file");
    if (file == "-")
        throw UserError(ExitCode::kInput,
                        {thing, "standard input can't be read as a picture,", file, "a file"});
    return file;
}

PixelSize checkedSize(std::string const& text) {
    auto const x = text.find_first_of("xX");
    if (x == std::string::npos)
        throw UserError(ExitCode::kUsage, {"--size", "not a size", text, "WxH such as 1920x1080"});
    return {wholeInRange("--size", text.substr(0, x), 1, kLargestPx),
            wholeInRange("--size", text.substr(x + 1), 1, kLargestPx)};
}

/// What the effect does only in the layer's own frame, by the smart render protocol.
void checkFrameOptions(TypedOptions const& typed, RenderRequest const& request) {
    bool const hasFrame = request.plate || request.frameSize;
    if (typed.grow)
        throw UserError(ExitCode::kUsage,
                        {"--grow",
                         hasFrame ? "the frame's size is given by --over or --size, not by"
                                  : "only the effect in a host grows its frame, not the memory "
                                    "road:",
                         *typed.grow, "a render of the layer alone"});
    if (typed.transfer && hasFrame)
        throw UserError(ExitCode::kUsage,
                        {"--transfer", "lays the pinned layer over itself in its own frame:",
                         *typed.transfer, "--mode with --over"});
    if (request.isPlain)
        throw UserError(ExitCode::kUsage, {"--plain", "there is no host command on the",
                                           "memory road", "--road module"});
}

/// Options that are one parameter each.
void addParameterOptions(TypedOptions const& typed, RenderRequest& request) {
    auto const add = [&request](char const* option, int index,
                                std::optional<std::string> const& value) {
        if (value) request.settings.push_back({index, option, *value});
    };
    add("--transfer", kTransferMode, typed.transfer);
    add("--source-opacity", kSourceOpacity, typed.sourceOpacity);
    add("--opacity", kCornerPinOpacity, typed.opacity);
    add("--grow", kGrowBounds, typed.grow);
}

/// Which road a render takes, and that its options fit together.
void checkRoad(TypedOptions const& typed, RenderRequest& request) {
    bool const hasFrame = request.plate || request.frameSize;
    request.road = hasFrame ? Road::kMemory : Road::kModule;
    if (typed.road) request.road = pick<Road>(kRoads, "--road", *typed.road);
    if (request.plate && request.frameSize)
        throw UserError(ExitCode::kUsage, {"--size", "the frame has the plate's size already, not",
                                           *typed.frameSize, "--over or --size alone"});
    if (hasFrame && request.road == Road::kModule)
        throw UserError(ExitCode::kUsage, {"--road", "the effect renders a layer in its own frame:",
                                           *typed.road, "memory with --over or --size"});
    if (request.road == Road::kModule) return;
    checkFrameOptions(typed, request);
    if (request.downsample != 1)
        throw UserError(ExitCode::kUsage,
                        {"--downsample", "only a host renders smaller, not the", "memory road",
                         "1 with --over, --size or --road memory"});
    if (typed.host)
        throw UserError(ExitCode::kUsage, {"--host", "there is no host on the memory road,",
                                           *typed.host, "--road module"});
}

double checkedNumber(char const* option, std::string_view text, double least, double most) {
    auto const value = parseNumber(text);
    if (value && *value >= least && *value <= most) return *value;
    throw UserError(ExitCode::kUsage,
                    {option, value ? "out of range:" : "not a number:", std::string(text),
                     fmt::format("a number from {} to {}", least, most)});
}

/// ANGLE or ANGLE,PHASE, degrees.
Shutter checkedShutter(std::string const& text) {
    Shutter shutter{0, Comp{}.shutterPhaseDeg};
    auto const comma = text.find(',');
    shutter.angleDeg = checkedNumber("--shutter", text.substr(0, comma), 0, 720);
    if (comma != std::string::npos)
        shutter.phaseDeg = checkedNumber("--shutter", text.substr(comma + 1), -360, 360);
    return shutter;
}

TimeBase checkedRate(std::string const& text) {
    if (auto const rate = rateFromText(text)) return *rate;
    throw UserError(ExitCode::kUsage, {"--rate", "not a frame rate:", text, kRateExpected});
}

/// What a project says where the command line is silent.
TypedOptions withProject(TypedOptions typed, Project const& project) {
    auto const fill = [](std::optional<std::string>& option, auto const& value) {
        if (!option && value) option = *value;
    };
    auto const path = [&project](std::string const& written) {
        return std::optional(project.resolved(written));
    };
    fill(typed.layer, path(project.layer));
    if (project.plate && !typed.frameSize) fill(typed.plate, path(*project.plate));
    if (project.output) fill(typed.output, path(*project.output));
    fill(typed.frames, project.frames);
    if (typed.plate) fill(typed.mode, project.render.mode);
    for (Choice<Depth> const& choice : kDepths)
        if (project.render.depth == choice.value && !typed.depth) typed.depth = choice.word;
    if (project.render.size && !typed.plate && !typed.frameSize)
        typed.frameSize =
            fmt::format("{}x{}", project.render.size->width, project.render.size->height);
    if (project.render.downsample && !typed.downsample)
        typed.downsample = std::to_string(*project.render.downsample);
    return typed;
}

/// Tracking files, read and checked before anything else is done.
void addTracks(TypedOptions const& typed, RenderRequest& request) {
    struct Source {
        std::optional<std::string> const &track, &corners;
        char const *option, *other;
        TrackedPins pins;
    };
    Source const sources[] = {
        {typed.trackTo, typed.to, "--track", "--to", TrackedPins::kTo},
        {typed.trackFrom, typed.from, "--track-from", "--from", TrackedPins::kFrom}};
    for (Source const& source : sources) {
        if (!source.track) continue;
        std::string const file = required(source.track, source.option, "a tracking file");
        if (source.corners)
            throw UserError(ExitCode::kUsage,
                            {source.option, "the same pins are given by", source.other,
                             std::string(source.option) + " or " + source.other + " alone"});
        request.tracks.push_back(readTrackUse(file, source.pins));
    }
}

void addTimeOptions(TypedOptions const& typed, RenderRequest& request) {
    constexpr int kMostInFlight = 64;
    constexpr double kMostSamples = 256;
    request.frames = typed.frames;
    if (request.frames) parseFrameRange("--frames", *request.frames);
    request.motionBlur = typed.motionBlur.has_value();
    if (typed.motionBlur && *typed.motionBlur != "on")
        request.samples = checkedNumber("--motion-blur", *typed.motionBlur, 1, kMostSamples);
    if (typed.shutter) request.shutter = checkedShutter(*typed.shutter);
    if (typed.rate) request.rate = checkedRate(*typed.rate);
    if (typed.inFlight)
        request.inFlight = wholeInRange("--in-flight", *typed.inFlight, 1, kMostInFlight);
    if (typed.progress)
        request.progress = pick<ProgressMode>(kProgressModes, "--progress", *typed.progress);
    if (typed.missing) request.missing = pick<MissingInput>(kMissings, "--missing", *typed.missing);
    request.skipExisting = typed.skipExisting;
    request.dryRun = typed.dryRun;
}

}  // namespace

ModuleRequest checkedModule(TypedOptions const& typed) {
    ModuleRequest request;
    request.module = typed.module ? required(typed.module, "--module", "the effect's module")
                                  : defaultModule().string();
    if (typed.host) request.host = hostNamed(*typed.host);
    return request;
}

RenderRequest checkedRender(TypedOptions const& asTyped) {
    constexpr int kMostThreads = 1024;
    RenderRequest request;
    std::optional<Project> project;
    if (asTyped.project)
        project = readProject(required(asTyped.project, "--project", "a project file"));
    TypedOptions const typed = project ? withProject(asTyped, *project) : asTyped;
    addTimeOptions(typed, request);
    if (project && typed.frames) fitToFrames(*project, *typed.frames);
    if (project) request.project = std::make_shared<Project const>(*std::move(project));
    if (typed.plate) request.plate = pictureFile(typed.plate, "--over");
    if (typed.frameSize) request.frameSize = checkedSize(*typed.frameSize);
    request.noClobber = typed.noClobber;
    request.keepMetadata = !typed.noMetadata;
    request.layer = pictureFile(typed.layer, "LAYER");
    request.output = required(typed.output, "--output", "-o with the name of a picture file");
    if (typed.from) request.from = parseCorners("--from", *typed.from);
    if (typed.to) request.to = parseCorners("--to", *typed.to);
    addTracks(typed, request);
    request.quality = pickIfGiven(kQualities, "--quality", typed.quality);
    request.view = pickIfGiven(kViews, "--view", typed.view);
    request.isPlain = typed.plain;
    if (request.isPlain && typed.grow)
        throw UserError(ExitCode::kUsage, {"--grow",
                                           "the plain render command keeps the layer's "
                                           "size and can't grow by",
                                           *typed.grow, "no --plain"});
    if (typed.mode && !request.plate)
        throw UserError(ExitCode::kUsage, {"--mode", "there is no plate to be laid over with",
                                           *typed.mode, "--over PLATE"});
    request.overMode = pickIfGiven(kOverModes, "--mode", typed.mode).value_or(request.overMode);
    addParameterOptions(typed, request);
    for (std::string const& text : typed.settings) {
        request.settings.push_back(checkedSetting(text));
    }
    request.depth = pickIfGiven(kDepths, "--depth", typed.depth);
    if (typed.downsample) {
        request.downsample = wholeInRange("--downsample", *typed.downsample, 1, kLargestPx);
    }
    if (typed.threads) {
        request.threads = wholeInRange("--threads", *typed.threads, 0, kMostThreads);
    }
    if (typed.explain) request.explain = pick<Explain>(kExplains, "--explain", *typed.explain);
    request.module = checkedModule(typed);
    checkRoad(typed, request);
    return request;
}

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

void refuseOption(bool isGiven, char const* option, char const* command, char const* expected) {
    if (isGiven) throw UserError(ExitCode::kUsage, {option, "does not go with", command, expected});
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
    if (what != kNew) {
        line.project = ProjectRequest{what == kCheck, file, checkedModule(typed), typed.json};
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

std::filesystem::path defaultModule() {
    std::error_code fault;
    auto const executable = std::filesystem::canonical("/proc/self/exe", fault);
    return executable.parent_path().parent_path() / "lib" / "ZelkCornerPin.so";
}

}  // namespace zelk

// What was typed for a render into its request; see cli_checks.h.
#include "apps/zelk/cli_checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "apps/zelk/cli_values.h"
#include "zelk/files/frame_names.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/scene_file.h"
#include "zelk/tracks/import.h"

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

HostIdentity hostNamed(std::string const& word) {
    std::vector<Choice<HostIdentity>> choices;
    std::vector<std::string> words;
    for (NamedHost const& host : kKnownHosts) {
        if (lowered(host.name) == lowered(word)) return host.identity;
        choices.push_back({host.name, host.identity});
    }
    return pick<HostIdentity>(choices, "--host", word);
}

Setting checkedSetting(std::string const& text) {
    requireAssignment(text);
    auto const equals = text.find('=');
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

/// ANGLE or ANGLE,PHASE, degrees.
Shutter checkedShutter(std::string const& text) {
    Shutter shutter{0, Comp{}.shutterPhaseDeg};
    auto const comma = text.find(',');
    shutter.angleDeg = checkedNumber("--shutter", text.substr(0, comma), 0, 720);
    if (comma != std::string::npos)
        shutter.phaseDeg = checkedNumber("--shutter", text.substr(comma + 1), -360, 360);
    return shutter;
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
    if (typed.dryRun && typed.explain)
        throw UserError(ExitCode::kUsage, {"--explain",
                                           "tells what a render did, and nothing is rendered "
                                           "with",
                                           "--dry-run", "one of the two"});
}

}  // namespace

void requireAssignment(std::string const& setting) {
    if (setting.find('=') == std::string::npos)
        throw UserError(ExitCode::kUsage, {"--set", "no value in", setting, "NAME=VALUE"});
}

ModuleRequest checkedModule(TypedOptions const& typed) {
    ModuleRequest request;
    request.module = typed.module ? required(typed.module, "--module", "the effect's module")
                                  : defaultModule().string();
    if (typed.host) request.host = hostNamed(*typed.host);
    return request;
}

RenderRequest checkedRender(TypedOptions const& asTyped, bool needsOutput) {
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
    if (typed.output || needsOutput)
        request.output = required(typed.output, "--output", "-o with the name of a picture file");
    request.inPlace = typed.inPlace;
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

std::filesystem::path defaultModule() {
    std::error_code fault;
    auto const executable = std::filesystem::canonical("/proc/self/exe", fault);
    return executable.parent_path().parent_path() / "lib" / "ZelkCornerPin.so";
}

}  // namespace zelk

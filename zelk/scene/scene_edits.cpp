// The edits, one function each; see scene_edits.h.
#include "zelk/scene/scene_edits.h"

#include <fmt/format.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <utility>

#include "zelk/files/frame_names.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/over_modes.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/scene_file.h"
#include "zelk/text/choices.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

using Text = std::string const;

constexpr Choice<int> kQualities[] = {{"low", 1}, {"medium", 2}, {"high", 3}, {"super", 4}};
constexpr Choice<int> kViews[] = {
    {"original", kViewOriginal}, {"from", kViewFrom}, {"to", kViewTo}, {"both", kViewBoth}};
constexpr Choice<Road> kRoads[] = {{"module", Road::kModule}, {"memory", Road::kMemory}};
constexpr Choice<MissingInput> kMissings[] = {{"stop", MissingInput::kStop},
                                              {"hold", MissingInput::kHold},
                                              {"skip", MissingInput::kSkip},
                                              {"black", MissingInput::kBlack}};
constexpr Choice<Depth> kDepths[] = {
    {"8", Depth::k8}, {"16", Depth::k16}, {"float", Depth::kFloat}};

/// Of a layer's or a frame's own options, the one that is set last counts unless both are options.
void setFrame(Scene& scene, std::optional<SceneInput> plate, Text& thing) {
    scene.plate = std::move(plate);
    scene.options[SceneField::kPlate] = thing;
    if (!scene.isSetBy(SceneField::kSize)) scene.size.reset();
}

void editLayer(Scene& scene, Text& thing, Text& text) {
    scene.layer = SceneInput{{pictureName(thing, text)}};
    scene.options[SceneField::kLayer] = thing;
}

void editOutput(Scene& scene, Text& thing, Text& text) {
    scene.output = ScenePath{required(text, thing, "-o with the name of a picture file")};
    scene.options[SceneField::kOutput] = thing;
}

void editFrames(Scene& scene, Text& thing, Text& text) {
    parseFrameRange(thing, text);
    scene.frames = text;
    fitToFrames(scene);
}

void editPlate(Scene& scene, Text& thing, Text& text) {
    setFrame(scene, SceneInput{{pictureName(thing, text)}}, thing);
}

void editSize(Scene& scene, Text& thing, Text& text) {
    scene.size = parseSize(thing, text);
    scene.options[SceneField::kSize] = thing;
    if (!scene.isSetBy(SceneField::kPlate)) scene.plate.reset();
}

void editToPins(Scene& scene, Text& thing, Text& text) {
    setPins(scene, TrackedPins::kTo, parseCorners(thing, text), thing);
}

void editFromPins(Scene& scene, Text& thing, Text& text) {
    setPins(scene, TrackedPins::kFrom, parseCorners(thing, text), thing);
}

void addTrack(Scene& scene, TrackedPins pins, Text& thing, Text& text) {
    scene.tracks.push_back(readTrackUse(required(text, thing, "a tracking file"), pins));
    scene.options[pins == TrackedPins::kTo ? SceneField::kTrackTo : SceneField::kTrackFrom] = thing;
}

void editTrackTo(Scene& scene, Text& thing, Text& text) {
    addTrack(scene, TrackedPins::kTo, thing, text);
}

void editTrackFrom(Scene& scene, Text& thing, Text& text) {
    addTrack(scene, TrackedPins::kFrom, thing, text);
}

void editQuality(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, kQuality, double(pick(kQualities, thing, text)), thing);
}

void editView(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, kViewMode, double(pick(kViews, thing, text)), thing);
}

void editTransfer(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, kTransferMode, TypedText{text}, thing);
    scene.options[SceneField::kTransfer] = thing;
}

void editSourceOpacity(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, kSourceOpacity, TypedText{text}, thing);
}

void editOpacity(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, kCornerPinOpacity, TypedText{text}, thing);
}

void editGrow(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, kGrowBounds, TypedText{text}, thing);
    scene.options[SceneField::kGrow] = thing;
}

/// "NAME=VALUE", any parameter.
void editSetting(Scene& scene, Text& thing, Text& text) {
    auto const equals = text.find('=');
    if (equals == std::string::npos)
        throw UserError(ExitCode::kUsage, {thing, "no value in", text, "NAME=VALUE"});
    std::string const name(trimmed(std::string_view(text).substr(0, equals)));
    auto const index = parameterIndex(name);
    if (!index)
        throw UserError(ExitCode::kUsage,
                        {thing, "unknown parameter", name,
                         fmt::format("a name that `zelk params` lists, such as the near \"{}\"",
                                     nearestParameterName(name))});
    setParameter(scene, *index, TypedText{text.substr(equals + 1)},
                 fmt::format("{} {}", thing, nameOfParameter(*index)));
}

/// "on", or the number of samples.
void editMotionBlur(Scene& scene, Text& thing, Text& text) {
    constexpr double kMostSamples = 256;
    if (text != "on")
        setParameter(scene, kSamples, numberInRange(thing, text, 1, kMostSamples), thing);
    scene.isMotionBlurOn = true;
}

/// "ANGLE" or "ANGLE,PHASE", degrees.
void editShutter(Scene& scene, Text& thing, Text& text) {
    auto const comma = text.find(',');
    double const angle = numberInRange(thing, text.substr(0, comma), 0, 720);
    scene.comp.shutterPhaseDeg = comma == std::string::npos
                                     ? Comp{}.shutterPhaseDeg
                                     : numberInRange(thing, text.substr(comma + 1), -360, 360);
    scene.comp.shutterAngleDeg = angle;
}

void editRate(Scene& scene, Text& thing, Text& text) {
    scene.comp.timeBase = parseRate(thing, text);
}

void editMode(Scene& scene, Text& thing, Text& text) {
    scene.overMode = pick(kOverModes, thing, text);
    scene.options[SceneField::kMode] = thing;
}

void editMissing(Scene& scene, Text& thing, Text& text) {
    scene.missing = pick(kMissings, thing, text);
}

void editDepth(Scene& scene, Text& thing, Text& text) { scene.depth = pick(kDepths, thing, text); }

void editDownsample(Scene& scene, Text& thing, Text& text) {
    scene.downsample = wholeInRange(thing, text, 1, kLargestPx);
    scene.options[SceneField::kDownsample] = thing;
}

void editRoad(Scene& scene, Text& thing, Text& text) {
    scene.road = pick(kRoads, thing, text);
    scene.options[SceneField::kRoad] = thing;
}

void editPlain(Scene& scene, Text& thing, Text& text) {
    constexpr Choice<bool> kSwitch[] = {{"on", true}, {"off", false}};
    scene.isPlain = pick(kSwitch, thing, text);
    scene.options[SceneField::kPlain] = thing;
}

void editHost(Scene& scene, Text& thing, Text& text) {
    scene.host = hostNamed(thing, text);
    scene.options[SceneField::kHost] = thing;
}

void editModule(Scene& scene, Text& thing, Text& text) {
    scene.module = required(text, thing, "the effect's module");
}

constexpr SceneEdit kEdits[] = {
    {"layer", editLayer},
    {"output", editOutput},
    {"over", editPlate},
    {"size", editSize},
    {"frames", editFrames},
    {"from", editFromPins},
    {"to", editToPins},
    {"track", editTrackTo},
    {"track-from", editTrackFrom},
    {"quality", editQuality},
    {"view", editView},
    {"transfer", editTransfer},
    {"source-opacity", editSourceOpacity},
    {"opacity", editOpacity},
    {"grow", editGrow},
    {"set", editSetting},
    {"motion-blur", editMotionBlur},
    {"shutter", editShutter},
    {"rate", editRate},
    {"mode", editMode},
    {"missing", editMissing},
    {"depth", editDepth},
    {"downsample", editDownsample},
    {"road", editRoad},
    {"plain", editPlain},
    {"host", editHost},
    {"module", editModule},
};

}  // namespace

std::span<SceneEdit const> sceneEdits() { return kEdits; }

SceneEdit const& sceneEdit(std::string_view name) {
    for (SceneEdit const& edit : kEdits)
        if (edit.name == name) return edit;
    throw std::out_of_range("no edit of a scene: " + std::string(name));
}

void setParameter(Scene& scene, int index, SceneValue value, std::string const& thing) {
    scene.parameters.push_back({index, {}, std::move(value), {}, thing});
}

void setLayer(Scene& scene, PictureBuffer layer) {
    scene.layer = SceneInput{{}, std::make_shared<PictureBuffer const>(std::move(layer))};
}

void setPlate(Scene& scene, PictureBuffer plate) {
    std::string const name = plate.name;
    setFrame(scene, SceneInput{{}, std::make_shared<PictureBuffer const>(std::move(plate))}, name);
}

void setPins(Scene& scene, TrackedPins pins, Corners const& corners, std::string const& thing) {
    bool const isTo = pins == TrackedPins::kTo;
    for (int i = 0; i < 4; ++i)
        setParameter(scene, (isTo ? kToPins : kFromPins) + i, corners[static_cast<std::size_t>(i)],
                     thing);
    scene.options[isTo ? SceneField::kToPins : SceneField::kFromPins] = thing;
}

std::string pictureName(std::string const& thing, std::string const& text) {
    std::string const name = required(text, thing, "a picture file");
    if (name != "-") return name;
    throw UserError(ExitCode::kInput,
                    {thing, "standard input can't be read as a picture,", name, "a file"});
}

TimeBase parseRate(std::string const& thing, std::string const& text) {
    if (auto const rate = rateFromText(text)) return *rate;
    throw UserError(ExitCode::kUsage, {thing, "not a frame rate:", text, kRateExpected});
}

std::string_view depthWord(Depth depth) {
    for (Choice<Depth> const& choice : kDepths)
        if (choice.value == depth) return choice.word;
    return {};
}

HostIdentity hostNamed(std::string const& thing, std::string const& word) {
    std::vector<Choice<HostIdentity>> choices;
    for (NamedHost const& host : kKnownHosts) {
        if (lowered(host.name) == lowered(word)) return host.identity;
        choices.push_back({host.name, host.identity});
    }
    return pick<HostIdentity>(choices, thing, word);
}

PixelSize parseSize(std::string const& thing, std::string const& text) {
    auto const x = text.find_first_of("xX");
    if (x == std::string::npos || text.find_first_not_of("0123456789xX") != std::string::npos)
        throw UserError(ExitCode::kUsage, {thing, "not a size", text, "WxH such as 1920x1080"});
    return {wholeInRange(thing, text.substr(0, x), 1, kLargestPx),
            wholeInRange(thing, text.substr(x + 1), 1, kLargestPx)};
}

}  // namespace zelk

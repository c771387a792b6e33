// The edits, one function each; see edits.h.
#include "zelk/scene/edits.h"

#include <fmt/format.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <utility>

#include "Transform/Common/PopupEntries.h"
#include "zelk/files/frame_names.h"
#include "zelk/inputs/input_files.h"
#include "zelk/scene/file_form.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/track_use.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/corners.h"

namespace zelk {

namespace {

using Text = std::string const;

constexpr Choice<QualityEntry> kQualities[] = {{"low", kQualityLow},
                                               {"medium", kQualityMedium},
                                               {"high", kQualityHigh},
                                               {"super", kQualitySuperSample}};
constexpr Choice<ViewModeEntry> kViews[] = {{"original", kViewOriginal},
                                            {"from", kViewFromPins},
                                            {"to", kViewToPins},
                                            {"both", kViewBothPins}};
/// Setting plate or size removes the other if the file set it; if both are edits, checkScene
/// refuses.
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
    scene.output = ScenePath{required(text, thing, "a picture file to write")};
    scene.options[SceneField::kOutput] = thing;
}

void editFrames(Scene& scene, Text& thing, Text& text) {
    parseFrameRange(thing, text);
    scene.frames = text;
    scene.options[SceneField::kFrames] = thing;
    fitToFrames(scene);
}

void editPlate(Scene& scene, Text& thing, Text& text) {
    setFrame(scene, SceneInput{{pictureName(thing, text)}}, thing);
}

void editSize(Scene& scene, Text& thing, Text& text) {
    scene.size = parseSize(thing, text);
    scene.options[SceneField::kSize] = thing;
    if (scene.isSetBy(SceneField::kPlate)) return;
    scene.plate.reset();
    if (!scene.isSetBy(SceneField::kMode)) scene.overMode.reset();  // it was the plate's
}

void editToPins(Scene& scene, Text& thing, Text& text) {
    setPins(scene, TrackedPins::kTo, parseCorners(thing, text), thing);
}

void editFromPins(Scene& scene, Text& thing, Text& text) {
    setPins(scene, TrackedPins::kFrom, parseCorners(thing, text), thing);
}

void addTrack(Scene& scene, TrackedPins pins, Text& thing, Text& text) {
    TrackUse use = readTrackUse(required(text, thing, "a tracking file"), pins);
    std::erase_if(scene.tracks, [pins](TrackUse const& former) { return former.pins == pins; });
    scene.tracks.push_back(std::move(use));
    scene.options[pins == TrackedPins::kTo ? SceneField::kTrackTo : SceneField::kTrackFrom] = thing;
}

void editTrackTo(Scene& scene, Text& thing, Text& text) {
    addTrack(scene, TrackedPins::kTo, thing, text);
}

void editTrackFrom(Scene& scene, Text& thing, Text& text) {
    addTrack(scene, TrackedPins::kFrom, thing, text);
}

void editQuality(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, nameOfParameter(kParamQuality),
                 double(hostEntry(pick(kQualities, thing, text))), thing);
}

void editView(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, nameOfParameter(kParamViewMode),
                 double(hostEntry(pick(kViews, thing, text))), thing);
}

void editTransfer(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, nameOfParameter(kParamTransferMode), TypedText{text}, thing);
}

void editSourceOpacity(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, nameOfParameter(kParamSourceOpacity), TypedText{text}, thing);
}

void editOpacity(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, nameOfParameter(kParamCornerPinOpacity), TypedText{text}, thing);
}

void editGrow(Scene& scene, Text& thing, Text& text) {
    setParameter(scene, nameOfParameter(kParamGrowBounds), TypedText{text}, thing);
}

/// "NAME=VALUE", any parameter.
void editSetting(Scene& scene, Text& thing, Text& text) {
    auto const equals = text.find('=');
    if (equals == std::string::npos)
        throw UserError(ExitCode::kUsage, {thing, "no value in", text, "NAME=VALUE"});
    std::string const name(trimmed(std::string_view(text).substr(0, equals)));
    auto const own = nameOfParameter(requiredParameter(thing, name));
    setParameter(scene, own, TypedText{text.substr(equals + 1)}, fmt::format("{} {}", thing, own));
}

/// "on", "off", or the number of samples.
void editMotionBlur(Scene& scene, Text& thing, Text& text) {
    std::string const word = lowered(text);
    if (word == "off") {
        scene.comp.motionBlur = false;
        return scene.motionBlur.reset();
    }
    MotionBlurSwitch on;
    if (word != "on") on.samples = parseNumber(word);
    if (word != "on" && !on.samples)
        throw UserError(ExitCode::kUsage,
                        {thing, "unknown choice", text, "on, off or the number of samples"});
    scene.motionBlur = on;
}

/// "ANGLE" or "ANGLE,PHASE", degrees.
void editShutter(Scene& scene, Text& thing, Text& text) {
    auto const comma = text.find(',');
    double const angle = numberInRange(thing, text.substr(0, comma), 0, kMostShutterAngleDeg);
    scene.comp.shutterPhaseDeg = comma == std::string::npos
                                     ? Comp{}.shutterPhaseDeg
                                     : numberInRange(thing, text.substr(comma + 1),
                                                     -kMostShutterPhaseDeg, kMostShutterPhaseDeg);
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
    scene.missing = pick(kMissingWords, thing, text);
}

void editDepth(Scene& scene, Text& thing, Text& text) {
    scene.depth = pick(kDepthWords, thing, text);
}

void editDownsample(Scene& scene, Text& thing, Text& text) {
    scene.downsample = wholeInRange(thing, text, 1, kLargestPx);
    scene.options[SceneField::kDownsample] = thing;
}

void editRoad(Scene& scene, Text& thing, Text& text) {
    scene.road = pick(kRoadWords, thing, text);
    scene.options[SceneField::kRoad] = thing;
}

void editPlain(Scene& scene, Text& thing, Text& text) {
    constexpr Choice<bool> kSwitch[] = {{"on", true}, {"off", false}};
    scene.isPlain = pick(kSwitch, thing, text);
    scene.options[SceneField::kPlain] = thing;
}

void editHost(Scene& scene, Text& thing, Text& text) {
    scene.host = pick(kHostWords, thing, text);
    scene.options[SceneField::kHost] = thing;
}

void editModule(Scene& scene, Text& thing, Text& text) {
    scene.module = required(text, thing, "the effect's module");
}

/// "FILE" or "FILE:CHANNEL"; a name that is there with its colon is a file's.
SceneMatte parseMatte(Text& thing, Text& text) {
    std::string name = pictureName(thing, text), channel;
    auto const colon = name.rfind(':');
    bool const isInName = colon != std::string::npos && name.find('/', colon) == std::string::npos;
    if (isInName && !namesFiles(name)) {
        channel = name.substr(colon + 1);
        name = name.substr(0, colon);
        if (name.empty() || channel.empty())
            throw UserError(ExitCode::kUsage,
                            {thing, "not a matte:", text, "FILE or FILE:CHANNEL"});
    }
    return {{{name}}, channel};
}

void editMatte(Scene& scene, Text& thing, Text& text) {
    scene.matte = parseMatte(thing, text);
    scene.options[SceneField::kMatte] = thing;
}

void editHoldout(Scene& scene, Text& thing, Text& text) {
    scene.holdout = parseMatte(thing, text);
    scene.options[SceneField::kHoldout] = thing;
}

void editOrientation(Scene& scene, Text& thing, Text& text) {
    scene.keepsOrientation = pick(kOrientationWords, thing, text);
    scene.options[SceneField::kOrientation] = thing;
}

void editOverscan(Scene& scene, Text& thing, Text& text) {
    scene.dropsOverscan = pick(kOverscanWords, thing, text);
    scene.options[SceneField::kOverscan] = thing;
}

void editChannels(Scene& scene, Text& thing, Text& text) {
    scene.channels = wordOf(kChannelWords, pick(kChannelWords, thing, text));
    scene.options[SceneField::kChannels] = thing;
}

constexpr SceneEdit kEdits[] = {
    {"layer", "LAYER", "The picture to pin", editLayer},
    {"output", "OUTPUT", "The picture to write; its extension chooses the format", editOutput},
    {"over", "PLATE", "Lay the pinned layer over this picture; To Pins are then in its pixels",
     editPlate},
    {"size", "WxH", "Lay it into a transparent frame of this size; To Pins are then in its pixels",
     editSize},
    {"frames", "RANGE", "Frames of a sequence, such as 1001-1100 or 1-10,20-30x2", editFrames},
    {"from", "\"X,Y X,Y X,Y X,Y\"", "From Pins, what is taken from it", editFromPins},
    {"to", "\"X,Y X,Y X,Y X,Y\"", "To Pins, where the picture goes", editToPins},
    {"track", "FILE", "Tracking data for the To Pins, by the effect's import", editTrackTo},
    {"track-from", "FILE", "The same for the From Pins", editTrackFrom},
    {"quality", "QUALITY", "low, medium, high or super (high)", editQuality},
    {"view", "VIEW", "original, from, to or both (both)", editView},
    {"transfer", "MODE", "Lay the pinned layer over the layer itself by a Transfer Mode (none)",
     editTransfer},
    {"source-opacity", "PERCENT", "Of the layer under it, with a Transfer Mode (100)",
     editSourceOpacity},
    {"opacity", "PERCENT", "Of the pinned layer (100)", editOpacity},
    {"grow", "N", "Make the frame larger by N pixels on each side (0)", editGrow},
    {"set", "NAME=VALUE", "Any parameter of `zelk params`, repeatable", editSetting},
    {"motion-blur", "[SAMPLES]", "Switch the composition's motion blur on", editMotionBlur},
    {"shutter", "ANGLE[,PHASE]", "Degrees of a frame (180,-90)", editShutter},
    {"rate", "FPS", "Frames a second (24)", editRate},
    {"mode", "MODE", "Lay the pinned layer over the plate by a mode (normal)", editMode},
    {"missing", "MODE", "Input frames that are not there: stop, hold, skip or black (stop)",
     editMissing},
    {"depth", "DEPTH", "8, 16 or float (the layer's own)", editDepth},
    {"downsample", "N", "Render at 1/N of the size, as a host does for a preview (1)",
     editDownsample},
    {"road", "ROAD",
     "module: the effect in a host; memory: its pipeline in float, always with --over or --size "
     "(module)",
     editRoad},
    {"plain", "on|off", "Render by the plain command, not the smart protocol", editPlain},
    {"host", "ID",
     "The host to be: FXTC (After Effects), PrMr (Premiere Pro), KeyG (Final Cut Pro) or MOTN "
     "(Motion) (FXTC)",
     editHost},
    {"matte", "FILE[:CHANNEL]", "Multiply the layer's alpha by it; it moves with the layer",
     editMatte},
    {"holdout", "FILE[:CHANNEL]", "What stands before the pinned layer, in the frame's pixels",
     editHoldout},
    {"orientation", "auto|raw", "Turn pictures as their files say, or leave them (auto)",
     editOrientation},
    {"overscan", "keep|drop", "Of the plate, in an OpenEXR output (keep)", editOverscan},
    {"channels", "a|rgb|rgba", "Of the output (as layer and plate have them)", editChannels},
    {"module", "PATH", "The effect's module (the one beside the program)", editModule},
};

}  // namespace

std::span<SceneEdit const> sceneEdits() { return kEdits; }

SceneEdit const& sceneEdit(std::string_view name) {
    for (SceneEdit const& edit : kEdits)
        if (edit.name == name) return edit;
    throw std::out_of_range("no edit of a scene: " + std::string(name));
}

bool isMotionBlurText(std::string const& word) {
    return lowered(word) == "on" || lowered(word) == "off" || parseNumber(word);
}

void setParameter(Scene& scene, std::string_view name, SceneValue value, std::string const& thing) {
    if (thing.empty()) throw missing("the name of a parameter's edit", "a text");
    auto const own = nameOfParameter(requiredParameter(thing, name));
    std::erase_if(scene.parameters, [&](SceneParameter const& former) {
        return former.name == own && former.option == thing;
    });
    scene.parameters.push_back({std::string(own), {}, std::move(value), {}, thing});
}

void setLayer(Scene& scene, PictureBuffer layer) {
    requireSound(layer);
    scene.layer = SceneInput{{}, std::make_shared<PictureBuffer const>(std::move(layer))};
}

void setPlate(Scene& scene, PictureBuffer plate) {
    requireSound(plate);
    std::string const name = plate.name;
    setFrame(scene, SceneInput{{}, std::make_shared<PictureBuffer const>(std::move(plate))}, name);
}

void setMatte(Scene& scene, PictureBuffer matte, std::string channel) {
    requireSound(matte);
    scene.matte = {{{}, std::make_shared<PictureBuffer const>(std::move(matte))},
                   std::move(channel)};
}

void setHoldout(Scene& scene, PictureBuffer holdout, std::string channel) {
    requireSound(holdout);
    scene.holdout = {{{}, std::make_shared<PictureBuffer const>(std::move(holdout))},
                     std::move(channel)};
}

void setPins(Scene& scene, TrackedPins pins, Corners const& corners, std::string const& thing) {
    bool const isTo = pins == TrackedPins::kTo;
    for (int i = 0; i < 4; ++i)
        setParameter(scene, nameOfParameter((isTo ? kToPins : kFromPins) + i),
                     corners[static_cast<std::size_t>(i)], thing);
    scene.options[isTo ? SceneField::kToPins : SceneField::kFromPins] = thing;
}

}  // namespace zelk

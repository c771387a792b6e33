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
#include "zelk/movies/codecs.h"
#include "zelk/scene/file_form.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/track_use.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/corner_order.h"
#include "zelk/tracks/corners.h"
#include "zelk/tracks/forms.h"

namespace zelk {

namespace {

using Text = std::string const;

constexpr auto kBestQuality = static_cast<QualityEntry>(-1);
constexpr Choice<QualityEntry> kQualities[] = {{"low", kQualityLow},
                                               {"medium", kQualityMedium},
                                               {"high", kQualityHigh},
                                               {"super", kQualitySuperSample},
                                               {"best", kBestQuality}};
constexpr Choice<ViewModeEntry> kViews[] = {{"original", kViewOriginal},
                                            {"from", kViewFromPins},
                                            {"to", kViewToPins},
                                            {"both", kViewBothPins}};
constexpr Choice<bool> kSwitch[] = {{"on", true}, {"off", false}};

/// The words of a table of choices.
template <auto const& kChoices>
std::vector<std::string_view> wordsIn() {
    return wordListOf(kChoices);
}

/// Those of the effect's menu: the modes that go over a plate, and none.
std::vector<std::string_view> transferWords() {
    std::vector<std::string_view> words = wordsIn<kOverModes>();
    words.insert(words.begin(), "none");
    return words;
}

std::vector<std::string_view> blurWords() { return {"on", "off"}; }

std::vector<std::string_view> codecWords() {
    std::vector<std::string_view> names;
    for (MovieCodec const& codec : movieCodecs()) names.push_back(codec.name);
    return names;
}

/// Setting plate or size removes the other if the file set it; if both are edits, checkScene
/// refuses. What is taken out of a plate has a size of its own.
void setFrame(Scene& scene, std::optional<SceneInput> plate, Text& thing) {
    scene.plate = std::move(plate);
    scene.options[SceneField::kPlate] = thing;
    if (!scene.isSetBy(SceneField::kSize) && !scene.isInverted) scene.size.reset();
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
    if (scene.isSetBy(SceneField::kPlate) || scene.isInverted) return;
    scene.plate.reset();
    if (!scene.isSetBy(SceneField::kMode)) scene.overMode.reset();  // it was the plate's
    if (!scene.isSetBy(SceneField::kPlateColor)) scene.color.plate.reset();
}

void editToPins(Scene& scene, Text& thing, Text& text) {
    setPins(scene, TrackedPins::kTo, parseCorners(thing, text), thing);
}

void editFromPins(Scene& scene, Text& thing, Text& text) {
    setPins(scene, TrackedPins::kFrom, parseCorners(thing, text), thing);
}

void addTrack(Scene& scene, TrackedPins pins, Text& thing, Text& text) {
    TrackUse use = readTrackUse({required(text, thing, "a tracking file")}, pins,
                                scene.trackReading, scene.editPrefix);
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

void editTrackFormat(Scene& scene, Text& thing, Text& text) {
    std::string const format(trackFormatNamed(thing, text).name);
    changeReading(scene, [&](TrackReading& reading) { reading.format = format; });
}

void editTrackSize(Scene& scene, Text& thing, Text& text) {
    PixelSize const size = parseSize(thing, text);
    changeReading(scene, [&](TrackReading& reading) { reading.size = size; });
}

void editCorners(Scene& scene, Text& thing, Text& text) {
    parseCornerOrder(thing, text);
    changeReading(scene, [&](TrackReading& reading) { reading.order = text; });
}

void editFlipY(Scene& scene, Text& thing, Text& text) {
    bool const flips = pick(kSwitch, thing, text);
    changeReading(scene, [&](TrackReading& reading) { reading.flipsY = flips; });
}

void editTrackFirstFrame(Scene& scene, Text& thing, Text& text) {
    int const frame = wholeInRange(thing, text, -kLargestFrame, kLargestFrame);
    changeReading(scene, [&](TrackReading& reading) { reading.firstFrame = frame; });
}

void editShiftFrames(Scene& scene, Text& thing, Text& text) {
    int const shift = wholeInRange(thing, text, -kLargestFrame, kLargestFrame);
    changeReading(scene, [&](TrackReading& reading) { reading.shiftFrames = shift; });
}

/// "best" is none of the effect's, whose own Quality then stays High.
void editQuality(Scene& scene, Text& thing, Text& text) {
    scene.isBest = pick(kQualities, thing, text) == kBestQuality;
    QualityEntry const entry = scene.isBest ? kQualityHigh : pick(kQualities, thing, text);
    setParameter(scene, nameOfParameter(kParamQuality), double(hostEntry(entry)), thing);
    scene.options[SceneField::kBest] = thing;
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
    scene.options[SceneField::kRate] = thing;
}

void editFirstFrame(Scene& scene, Text& thing, Text& text) {
    scene.movieStart = wholeInRange(thing, text, -kLargestFrame, kLargestFrame);
    scene.options[SceneField::kMovieStart] = thing;
}

void editCodec(Scene& scene, Text& thing, Text& text) {
    MovieCodec const* const codec = codecNamed(lowered(text));
    if (!codec)
        throw UserError(ExitCode::kUsage, {thing, "unknown choice", text, listOf(codecWords())});
    scene.codec = codec->name;
    scene.options[SceneField::kCodec] = thing;
}

void editCodecQuality(Scene& scene, Text& thing, Text& text) {
    scene.codecQuality = numberInRange(thing, text, 0, kMostCodecQuality);
    scene.options[SceneField::kCodecQuality] = thing;
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

void editFilter(Scene& scene, Text& thing, Text& text) {
    scene.filter = wordOf(kFilterWords, pick(kFilterWords, thing, text));
    scene.options[SceneField::kFilter] = thing;
}

void editTaps(Scene& scene, Text& thing, Text& text) {
    scene.taps = pick(kTapWords, thing, text);
    scene.options[SceneField::kTaps] = thing;
}

void editEdges(Scene& scene, Text& thing, Text& text) {
    scene.edges = pick(kEdgeWords, thing, text);
    scene.options[SceneField::kEdges] = thing;
}

void editFeather(Scene& scene, Text& thing, Text& text) {
    scene.featherPx = numberInRange(thing, text, 0, kMostOutlinePx);
    scene.options[SceneField::kFeather] = thing;
}

void editChoke(Scene& scene, Text& thing, Text& text) {
    scene.chokePx = numberInRange(thing, text, 0, kMostOutlinePx);
    scene.options[SceneField::kChoke] = thing;
}

void editInvert(Scene& scene, Text& thing, Text& text) {
    scene.isInverted = pick(kSwitch, thing, text);
    scene.options[SceneField::kInvert] = thing;
}

void editStMap(Scene& scene, Text& thing, Text& text) {
    scene.stMap = SceneInput{{pictureName(thing, text)}};
    scene.options[SceneField::kStMap] = thing;
}

void editPlain(Scene& scene, Text& thing, Text& text) {
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

void setSpace(Scene& scene, SceneField field, std::optional<std::string>& space, Text& thing,
              Text& text) {
    space = required(text, thing, "the name of a colour space");
    scene.options[field] = thing;
}

void editLayerColor(Scene& scene, Text& thing, Text& text) {
    setSpace(scene, SceneField::kLayerColor, scene.color.layer, thing, text);
}

void editPlateColor(Scene& scene, Text& thing, Text& text) {
    setSpace(scene, SceneField::kPlateColor, scene.color.plate, thing, text);
}

void editOutputColor(Scene& scene, Text& thing, Text& text) {
    setSpace(scene, SceneField::kOutputColor, scene.color.output, thing, text);
}

void editWorkColor(Scene& scene, Text& thing, Text& text) {
    setSpace(scene, SceneField::kWorkColor, scene.color.work, thing, text);
}

void editColorConfig(Scene& scene, Text& thing, Text& text) {
    scene.color.config = ScenePath{required(text, thing, "an OpenColorIO configuration")};
    scene.options[SceneField::kColorConfig] = thing;
}

void editColor(Scene& scene, Text& thing, Text& text) {
    scene.color.isRaw = pick(kColorWords, thing, text);
    scene.options[SceneField::kColor] = thing;
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

void editSound(Scene& scene, Text& thing, Text& text) {
    scene.sound = SceneInput{ScenePath{required(text, thing, "a movie with sound")}};
    scene.options[SceneField::kSound] = thing;
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
    {"invert", "on|off",
     "Take what lies in the To quad out of PLATE, else LAYER, to fill the frame", editInvert,
     wordsIn<kSwitch>},
    {"output", "OUTPUT", "The picture to write; its extension chooses the format", editOutput},
    {"over", "PLATE", "Lay the pinned layer over this picture; To Pins are then in its pixels",
     editPlate},
    {"size", "WxH", "Lay it into a transparent frame of this size; To Pins are then in its pixels",
     editSize},
    {"st-map", "FILE",
     "Lens distortion: where each pixel of the frame looks in the frame that the pins stand in",
     editStMap},
    {"frames", "RANGE", "Frames of a sequence, such as 1001-1100 or 1-10,20-30x2", editFrames},
    {"from", "\"X,Y X,Y X,Y X,Y\"", "From Pins, what is taken from it", editFromPins},
    {"to", "\"X,Y X,Y X,Y X,Y\"", "To Pins, where the picture goes", editToPins},
    {"track-format", "FORM",
     "How tracking files are read (by their text), as `zelk track` names it", editTrackFormat,
     trackFormatWords},
    {"track-size", "WxH",
     "Of the pictures that were tracked (the file's own); pins are scaled to those rendered",
     editTrackSize},
    {"corners", "A,B,C,D", "A tracking file's corners that become ul, ur, ll, lr (ul,ur,ll,lr)",
     editCorners},
    {"flip-y", "on|off", "Tracking files count y from below", editFlipY, wordsIn<kSwitch>},
    {"track-first-frame", "N", "Number a tracking file's frames from N on", editTrackFirstFrame},
    {"shift-frames", "N", "Add N to each frame of a tracking file (0)", editShiftFrames},
    {"track", "FILE", "Tracking data for the To Pins, by the effect's import", editTrackTo},
    {"track-from", "FILE", "The same for the From Pins", editTrackFrom},
    {"quality", "QUALITY", "low, medium, high, super or best (high)", editQuality,
     wordsIn<kQualities>},
    {"view", "VIEW", "original, from, to or both (both)", editView, wordsIn<kViews>},
    {"transfer", "MODE", "Lay the pinned layer over the layer itself by a Transfer Mode (none)",
     editTransfer, transferWords},
    {"source-opacity", "PERCENT", "Of the layer under it, with a Transfer Mode (100)",
     editSourceOpacity},
    {"opacity", "PERCENT", "Of the pinned layer (100)", editOpacity},
    {"grow", "N", "Make the frame larger by N pixels on each side (0)", editGrow},
    {"set", "NAME=VALUE", "Any parameter of `zelk params`, repeatable", editSetting},
    {"motion-blur", "[SAMPLES]", "Switch the composition's motion blur on", editMotionBlur,
     blurWords},
    {"shutter", "ANGLE[,PHASE]", "Degrees of a frame (180,-90)", editShutter},
    {"rate", "FPS", "Frames a second (a movie's own, else 24); no picture moves in time", editRate},
    {"first-frame", "N", "Frame number of a movie's first picture (0)", editFirstFrame},
    {"codec", "CODEC",
     "Of a movie: prores4444, prores422, dnxhr, h264, h265, ffv1 or png (by its "
     "extension)",
     editCodec, codecWords},
    {"quality-level", "Q", "Of a lossy codec, in its own range (a high one)", editCodecQuality},
    {"sound", "MOVIE", "Take the sound of this movie, at the same frames (the plate's or layer's)",
     editSound},
    {"mode", "MODE", "Lay the pinned layer over the plate by a mode (normal)", editMode,
     wordsIn<kOverModes>},
    {"missing", "MODE", "Input frames that are not there: stop, hold, skip or black (stop)",
     editMissing, wordsIn<kMissingWords>},
    {"depth", "DEPTH", "8, 16 or float (the layer's own)", editDepth, wordsIn<kDepthWords>},
    {"downsample", "N", "Render at 1/N of the size, as a host does for a preview (1)",
     editDownsample},
    {"road", "ROAD",
     "module: the effect in a host; memory: its pipeline in float, always with --over, --size or "
     "what it alone can do: best, a filter, exact edges, a feather, a choke, --st-map, --invert "
     "(module)",
     editRoad, wordsIn<kRoadWords>},
    {"filter", "NAME", "A kernel of `zelk filters` instead of the quality's", editFilter,
     wordsIn<kFilterWords>},
    {"taps", "N", "Taps of the filter, 4, 6, 8 or 10: more make it wider (4)", editTaps,
     wordsIn<kTapWords>},
    {"edges", "EDGES", "grid, the effect's own, or exact (exact with --over or --size, else grid)",
     editEdges, wordsIn<kEdgeWords>},
    {"feather", "PX", "Soften the outline over N pixels, half on each side (0)", editFeather},
    {"choke", "PX", "Move the outline inward by N pixels (0)", editChoke},
    {"plain", "on|off", "Render by the plain command, not the smart protocol", editPlain,
     wordsIn<kSwitch>},
    {"host", "ID",
     "The host to be: FXTC (After Effects), PrMr (Premiere Pro), KeyG (Final Cut Pro) or MOTN "
     "(Motion) (FXTC)",
     editHost, wordsIn<kHostWords>},
    {"matte", "FILE[:CHANNEL]", "Multiply the layer's alpha by it; it moves with the layer",
     editMatte},
    {"holdout", "FILE[:CHANNEL]", "What stands before the pinned layer, in the frame's pixels",
     editHoldout},
    {"orientation", "auto|raw", "Turn pictures as their files say, or leave them (auto)",
     editOrientation, wordsIn<kOrientationWords>},
    {"overscan", "keep|drop", "Of the plate, in an OpenEXR output (keep)", editOverscan,
     wordsIn<kOverscanWords>},
    {"channels", "a|rgb|rgba", "Of the output (as layer and plate have them)", editChannels,
     wordsIn<kChannelWords>},
    {"module", "PATH", "The effect's module (the one beside the program)", editModule},
    {"layer-color", "SPACE", "The layer's colour space (what its file declares or means)",
     editLayerColor},
    {"plate-color", "SPACE", "The plate's (what its file declares or means)", editPlateColor},
    {"output-color", "SPACE", "The output's (the plate's, where its format holds it)",
     editOutputColor},
    {"work-color", "SPACE",
     "Where pixels are filtered and composited; linear for light (the plate's)", editWorkColor},
    {"ocio", "FILE", "An OpenColorIO configuration, whose names and file rules count ($OCIO)",
     editColorConfig},
    {"color", "raw|managed", "raw: stored values everywhere, nothing is converted (managed)",
     editColor, wordsIn<kColorWords>},
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

// Values, forms and warnings of a render; see setup.h.
#include "zelk/render/setup.h"

#include <fmt/format.h>
#include <omp.h>

#include <algorithm>

#include "Transform/Common/PopupEntries.h"
#include "zelk/render/track_import.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/values.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// A value that an option gives holds at all times.
void dropKeys(Parameter& parameter) {
    if (!parameter.track().empty()) parameter.editTrack().clear();
}

void setNumberOf(Parameter& parameter, double value) {
    setNumber(parameter.current, value);
    dropKeys(parameter);
}

/// The pins from `first` on at the corners of a picture, at all times.
void pinWholePicture(std::vector<Parameter>& parameters, int first, PixelSize size) {
    double const w = size.width, h = size.height;
    Corners const corners = {{{0, 0}, {w, 0}, {0, h}, {w, h}}};
    for (int i = 0; i < 4; ++i) {
        Point const& corner = corners[static_cast<std::size_t>(i)];
        Parameter& pin = parameterIn(parameters, first + i);
        setPoint(pin.current, corner.x, corner.y);
        dropKeys(pin);
    }
}

/// To Pins that nothing sets have their From Pins' values.
void copyOpenPins(Scene const& scene, std::vector<Parameter>& parameters) {
    for (int index = kToPins; index < kToPins + 4; ++index) {
        std::optional<int> const from = followedPin(scene, index);
        if (!from || isSetIn(scene, index)) continue;
        setKeyValue(parameterIn(parameters, index).current,
                    keyValueOf(parameterIn(parameters, *from).current));
    }
}

/// The composition's shutter where the popup offers it, else the same numbers as controls.
void switchMotionBlurOn(Scene const& scene, std::vector<Parameter>& parameters) {
    Parameter& popup = parameterIn(parameters, kParamMotionBlur);
    bool const hasComp = popup.choices.size() > kMotionBlurComp;
    setNumberOf(popup, hostEntry(hasComp ? kMotionBlurComp : kMotionBlurOn));
    if (auto const& samples = scene.motionBlur->samples) {
        Parameter& parameter = parameterIn(parameters, kParamSamples);
        setFromText(parameter, spelled(scene, "motion-blur"), fmt::format("{}", *samples));
        dropKeys(parameter);
    }
    if (hasComp) return;
    setNumberOf(parameterIn(parameters, kParamShutterAngle), scene.comp.shutterAngleDeg);
    setNumberOf(parameterIn(parameters, kParamShutterPhase), scene.comp.shutterPhaseDeg);
}

/// Rank of a file's samples, for the deeper of two.
int depthRank(PictureTraits const& traits) {
    return traits.depth == Depth::k8 ? 0 : traits.depth == Depth::k16 ? 1 : traits.isHalf ? 2 : 3;
}

}  // namespace

void setOptionValues(Scene const& scene, std::vector<Parameter>& parameters) {
    // First, so that a parameter's own option wins.
    if (scene.motionBlur) switchMotionBlurOn(scene, parameters);
    setValues(scene, ValuesFrom::kOptions, parameters);
    copyOpenPins(scene, parameters);
}

void setParameters(Scene const& scene, Host& host, PixelSize layer, PixelSize frame) {
    host.resetParameters(frame.width, frame.height);
    if (scene.roadTaken() == Road::kMemory) pinWholePicture(host.parameters(), kFromPins, layer);
    if (scene.fillsFrame) pinWholePicture(host.parameters(), kToPins, frame);
    setValues(scene, ValuesFrom::kFile, host.parameters());
    for (TrackUse const& use : scene.tracks)
        if (use.track)
            importTrack(host, scene, use, frame, use.pins == TrackedPins::kTo ? frame : layer);
    setOptionValues(scene, host.parameters());
}

std::vector<Parameter> defaultsOf(Scene const& scene, std::vector<Parameter> parameters,
                                  PixelSize layer, PixelSize frame) {
    for (Parameter& parameter : parameters) {
        if (!parameter.hasValue()) continue;
        dropKeys(parameter);
        resetToDefault(parameter.current = parameter.registered, frame.width, frame.height);
    }
    if (scene.roadTaken() == Road::kMemory) pinWholePicture(parameters, kFromPins, layer);
    return parameters;
}

std::vector<Parameter> parametersAt(std::vector<Parameter> const& parameters, KeyTime const& time) {
    std::vector<Parameter> result = parameters;
    for (Parameter& parameter : result)
        if (parameter.hasValue()) parameter.current = parameter.at(time);
    return result;
}

Comp compOf(Scene const& scene, int firstFrame, int lastFrame) {
    Comp comp = scene.comp;
    if (!scene.hasComp) {
        comp.startFrame = firstFrame;
        comp.durationFrames = lastFrame - firstFrame + 1;
    }
    comp.motionBlur = comp.motionBlur || scene.motionBlur.has_value();
    return comp;
}

OutputChannels channelsOf(Scene const& scene) {
    if (!scene.channels) return OutputChannels::kAsInputs;
    return pick(kChannelWords, nameOf(scene, SceneField::kChannels), *scene.channels);
}

WriteRequest writeRequestOf(RunOptions const& run) {
    WriteRequest ask;
    ask.keepMetadata = run.keepMetadata;
    ask.noClobber = run.noClobber;
    ask.isStrict = run.isStrict;
    ask.pngLevel = run.pngLevel;
    ask.history = run.history;
    return ask;
}

WriteRequest outputOf(Scene const& scene, RunOptions const& run, PictureTraits const& layer,
                      PictureTraits const* plate) {
    WriteRequest ask = writeRequestOf(run);
    ask.form = AlphaForm::kAssociated;
    ask.traits = plate ? *plate : layer;
    if (scene.frameSize()) ask.traits.originX = ask.traits.originY = 0;
    PictureTraits const& deeper = plate && depthRank(*plate) > depthRank(layer) ? *plate : layer;
    ask.traits.isHalf = deeper.isHalf && !scene.depth;
    ask.depth = scene.depth.value_or(deeper.depth);
    ask.opaque = plate && !plate->hasAlpha;
    ask.channels = channelsOf(scene);
    return ask;
}

WriteRequest ownFrameOutput(Scene const& scene, RunOptions const& run, PictureTraits const& layer,
                            PixelSize margin) {
    WriteRequest ask = writeRequestOf(run);
    ask.depth = scene.depth.value_or(layer.depth);
    ask.traits = layer;
    ask.traits.isHalf = layer.isHalf && !scene.depth;
    ask.margins = {margin.width, margin.height, margin.width, margin.height};
    ask.channels = channelsOf(scene);
    return ask;
}

void checkRoad(Scene const& scene, std::vector<Parameter> const& parameters) {
    bool const grows = currentNumber(parameters, kParamGrowBounds) != 0;
    if (grows && scene.isPlain)
        throw refusalOf(scene, kParamGrowBounds,
                        fmt::format("needs the smart render protocol: leave {} out",
                                    nameOf(scene, SceneField::kPlain)));
    if (grows && scene.roadTaken() == Road::kMemory)
        throw refusalOf(scene, kParamGrowBounds,
                        noMemoryRoad(scene, isOfFile(scene, kParamGrowBounds)));
    auto const view =
        entryOfHost(static_cast<std::int32_t>(currentNumber(parameters, kParamViewMode)));
    if (scene.stMap && (view == kViewOriginal || view == kViewFromPins))
        throw refusalOf(scene, kParamViewMode,
                        fmt::format("draws no frame, so none goes through {}: choose {} or {}",
                                    nameOf(scene, SceneField::kStMap), spelledWord(scene, "to"),
                                    spelledWord(scene, "both")));
    Parameter const& transfer = parameterIn(parameters, kParamTransferMode);
    auto const entry = entryOfHost(static_cast<std::int32_t>(numberOf(transfer.current)));
    bool const isOn =
        entry > kTransferNone && entry < static_cast<std::int32_t>(transfer.choices.size());
    if (isOn && scene.hasFrame())
        throw refusalOf(scene, kParamTransferMode,
                        ownFrameOnly(scene, isOfFile(scene, kParamTransferMode)));
}

void useThreads(int count) {
    if (count == 0) return;
    omp_set_num_threads(count);
    OIIO::attribute("threads", count);
    OIIO::attribute("exr_threads", count);
}

int engineThreads(Scene const& scene) {
    bool const isPremiere = scene.hostApp() == HostApp::kPremierePro;
    return isPremiere && scene.roadTaken() == Road::kModule ? 1 : omp_get_max_threads();
}

}  // namespace zelk

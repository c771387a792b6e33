// Values, forms and warnings of a render; see setup.h.
#include "zelk/render/setup.h"

#include <fmt/format.h>
#include <omp.h>

#include <algorithm>
#include <cstring>

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/scene_file.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/import.h"

namespace zelk {

namespace {

Parameter& at(std::vector<Parameter>& parameters, int index) {
    return parameters[static_cast<std::size_t>(index)];
}

/// A value that an option gives holds at all times.
void dropKeys(Parameter& parameter) {
    if (!parameter.track().empty()) parameter.editTrack().clear();
}

void setNumberOf(Parameter& parameter, double value) {
    setNumber(parameter.current, value);
    dropKeys(parameter);
}

void setPins(std::vector<Parameter>& parameters, int index, Corners const& corners) {
    for (Point const& corner : corners) {
        Parameter& parameter = at(parameters, index++);
        setPoint(parameter.current, corner.x, corner.y);
        dropKeys(parameter);
    }
}

/// From Pins at the corners of a picture.
Corners wholePicture(PixelSize size) {
    double const w = size.width, h = size.height;
    return {{{0, 0}, {w, 0}, {0, h}, {w, h}}};
}

/// To Pins that neither option nor project sets follow the From Pins.
void copyOpenPins(RenderRequest const& request, std::vector<Parameter>& parameters) {
    bool const isTracked =
        std::any_of(request.tracks.begin(), request.tracks.end(),
                    [](auto const& use) { return use.pins == TrackedPins::kTo; });
    if (request.to || isTracked) return;
    auto const sets = [](auto const& list, int index) {
        return std::any_of(list.begin(), list.end(),
                           [index](auto const& entry) { return entry.index == index; });
    };
    for (int corner = 0; corner < 4; ++corner) {
        int const index = kToPins + corner;
        bool const isSet = sets(request.settings, index) ||
                           (request.project && sets(request.project->parameters, index));
        PF_PointDef const& from = at(parameters, kFromPins + corner).current.u.td;
        PF_PointDef& to = at(parameters, kToPins + corner).current.u.td;
        if (isSet) continue;
        to.x_value = from.x_value;
        to.y_value = from.y_value;
    }
}

/// The composition's shutter where the popup offers it, else the same numbers as controls.
void switchMotionBlurOn(RenderRequest const& request, std::vector<Parameter>& parameters) {
    Parameter& popup = at(parameters, kMotionBlur);
    constexpr int kOn = 2, kCompSettings = 3;
    bool const hasComp = popup.choices.size() >= kCompSettings;
    setNumberOf(popup, hasComp ? kCompSettings : kOn);
    if (request.samples) setNumberOf(at(parameters, kSamples), *request.samples);
    if (hasComp) return;
    Comp const comp = compOf(request, 0, 0);
    setNumberOf(at(parameters, kShutterAngle), comp.shutterAngleDeg);
    setNumberOf(at(parameters, kShutterPhase), comp.shutterPhaseDeg);
}

/// Rank of a file's samples, for the deeper of two.
int depthRank(PictureTraits const& traits) {
    return traits.depth == Depth::k8 ? 0 : traits.depth == Depth::k16 ? 1 : traits.isHalf ? 2 : 3;
}

/// What a file may declare of its colours, and how a warning calls it.
struct ColorDeclaration {
    char const *attribute, *name;
};
constexpr ColorDeclaration kColorDeclarations[] = {{"oiio:ColorSpace", "colour space"},
                                                   {"ICCProfile", "a colour profile"},
                                                   {"chromaticities", "chromaticities"}};

/// Strings are kept once each, so that one address is one text.
bool isSame(OIIO::ParamValue const& a, OIIO::ParamValue const& b) {
    return a.type() == b.type() && std::memcmp(a.data(), b.data(), a.type().size()) == 0;
}

}  // namespace

void applyRequest(RenderRequest const& request, std::vector<Parameter>& parameters) {
    if (request.from) setPins(parameters, kFromPins, *request.from);
    if (request.to) setPins(parameters, kToPins, *request.to);
    if (request.quality) setNumberOf(at(parameters, kQuality), *request.quality);
    if (request.view) setNumberOf(at(parameters, kViewMode), *request.view);
    for (Setting const& setting : request.settings) {
        setFromText(at(parameters, setting.index), setting.thing, setting.value);
        dropKeys(at(parameters, setting.index));
    }
    if (request.motionBlur) switchMotionBlurOn(request, parameters);
    copyOpenPins(request, parameters);
}

void setParameters(RenderRequest const& request, Host& host, PixelSize layer, PixelSize frame) {
    host.resetParameters(frame.width, frame.height);
    if (request.road == Road::kMemory) setPins(host.parameters(), kFromPins, wholePicture(layer));
    if (request.project) {
        Project project = *request.project;  // keys lie at frames, whatever the rate
        project.comp.timeBase = request.rate.value_or(project.comp.timeBase);
        applyProject(project, host.parameters());
    }
    for (TrackUse const& use : request.tracks) importTrack(host, use, frame);
    applyRequest(request, host.parameters());
}

std::vector<Parameter> parametersAt(std::vector<Parameter> const& parameters, KeyTime const& time) {
    std::vector<Parameter> result = parameters;
    for (Parameter& parameter : result)
        if (parameter.hasValue()) parameter.current = parameter.at(time);
    return result;
}

Comp compOf(RenderRequest const& request, int firstFrame, int lastFrame) {
    Comp comp;
    if (request.project) {
        comp = request.project->comp;
    } else {
        comp.startFrame = firstFrame;
        comp.durationFrames = lastFrame - firstFrame + 1;
    }
    if (request.rate) comp.timeBase = *request.rate;
    comp.motionBlur = comp.motionBlur || request.motionBlur;
    if (request.shutter) {
        comp.shutterAngleDeg = request.shutter->angleDeg;
        comp.shutterPhaseDeg = request.shutter->phaseDeg;
    }
    return comp;
}

namespace {

/// How any output of the request is written.
WriteRequest writeRequestOf(RenderRequest const& request) {
    WriteRequest ask;
    ask.keepMetadata = request.keepMetadata;
    ask.noClobber = request.noClobber;
    ask.history = request.history;
    return ask;
}

}  // namespace

WriteRequest outputOf(RenderRequest const& request, PictureTraits const& layer,
                      PictureTraits const* plate) {
    WriteRequest ask = writeRequestOf(request);
    ask.form = AlphaForm::kAssociated;
    ask.traits = plate ? *plate : layer;
    if (request.frameSize) ask.traits.originX = ask.traits.originY = 0;
    PictureTraits const& deeper = plate && depthRank(*plate) > depthRank(layer) ? *plate : layer;
    ask.traits.isHalf = deeper.isHalf && !request.depth;
    ask.depth = request.depth.value_or(deeper.depth);
    ask.opaque = plate && !plate->hasAlpha;
    return ask;
}

WriteRequest ownFrameOutput(RenderRequest const& request, PictureTraits const& layer,
                            PixelSize margin) {
    WriteRequest ask = writeRequestOf(request);
    ask.depth = request.depth.value_or(layer.depth);
    ask.traits = layer;
    ask.traits.isHalf = layer.isHalf && !request.depth;
    ask.marginX = margin.width;
    ask.marginY = margin.height;
    return ask;
}

void checkTransfer(std::vector<Parameter> const& parameters) {
    Parameter const& transfer = parameters[kTransferMode];
    auto const entry = static_cast<std::size_t>(numberOf(transfer.current));
    if (entry > 1 && entry <= transfer.choices.size())
        throw UserError(ExitCode::kUsage, {"--set transfer-mode",
                                           "lays the pinned layer over itself in its own frame:",
                                           transfer.choices[entry - 1], "--mode with --over"});
}

void addColorWarning(RenderRequest const& request, PictureTraits const& layer,
                     PictureTraits const& plate, std::vector<std::string>& warnings) {
    OIIO::ParamValueList const &ofLayer = layer.metadata, &ofPlate = plate.metadata;
    for (ColorDeclaration const& declaration : kColorDeclarations) {
        auto const a = ofLayer.find(declaration.attribute), b = ofPlate.find(declaration.attribute);
        if (a == ofLayer.end() || b == ofPlate.end() || isSame(*a, *b)) continue;
        auto const value = [](OIIO::ParamValue const& given) {
            return given.type() == OIIO::TypeString ? fmt::format(" \"{}\"", given.get_string())
                                                    : std::string();
        };
        warnings.push_back(
            fmt::format("{}: declares {}{} and {} another{}; values are composited as stored",
                        request.layer.string(), declaration.name, value(*a),
                        request.plate->string(), value(*b)));
        return;
    }
}

void useThreads(int count) {
    if (count == 0) return;
    omp_set_num_threads(count);
    OIIO::attribute("threads", count);
    OIIO::attribute("exr_threads", count);
}

int engineThreads(RenderRequest const& request) {
    bool const isPremiere =
        request.road == Road::kModule && request.module.host.applId == kAppPremierePro;
    return isPremiere ? 1 : omp_get_max_threads();
}

}  // namespace zelk

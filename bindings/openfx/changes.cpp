// A user's changes: greyed controls, the import of a track, From Pins at the layer's corners.
#include <cmath>
#include <filesystem>
#include <vector>

#include "bindings/openfx/instance.h"
#include "bindings/openfx/plane.h"
#include "tracking/LoadMochaFile.h"
#include "tracking/MochaLoader.h"

namespace zelk::bindings {

namespace {

struct PinQuad {
    int pins[4];  ///< upper left, upper right, lower left, lower right
};
constexpr PinQuad kTo = {
    {kParamToUpperLeft, kParamToUpperRight, kParamToLowerLeft, kParamToLowerRight}};
constexpr PinQuad kFrom = {
    {kParamFromUpperLeft, kParamFromUpperRight, kParamFromLowerLeft, kParamFromLowerRight}};

/// A tracked pin at a frame of the file; fractions of the file's resolution, y down.
struct Sample {
    int pin;
    double frame, x, y;
};

/// What the effect's reader finds in a file.
class TrackSamples final : public MochaLoader {
public:
    int startLoadProperty(int paramIndex, int) override {
        m_pin = paramIndex;
        return 0;
    }
    int setValue(double x, double y, double frame) override {
        samples.push_back({m_pin, frame, x, y});
        return 0;
    }
    int finishLoadProperty() override { return 0; }
    void setResolution(int, int) override { hasResolution = true; }

    std::vector<Sample> samples;
    bool hasResolution = false;

private:
    int m_pin = 0;
};

bool isSound(Sample const& sample) {
    return std::isfinite(sample.frame) && std::isfinite(sample.x) && std::isfinite(sample.y);
}

/// Pins of a file that tells no resolution are pixels of the rectangle itself.
void usePixels(std::vector<Sample>& samples, OfxRectD const& rectangle) {
    for (Sample& sample : samples) {
        sample.x *= kUntoldTrackWidth / (rectangle.x2 - rectangle.x1);
        sample.y *= kUntoldTrackHeight / (rectangle.y2 - rectangle.y1);
    }
}

/// Why the file is none that can be imported; empty when it is.
std::string objection(std::string const& path, int code, TrackSamples const& track,
                      PinQuad const& target) {
    if (path.empty()) return "Track File is empty: choose a planar tracker's text file first";
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) return path + ": a folder, expected a file";
    if (code) return path + ": the file can't be read";
    constexpr char const* kCorners[] = {"upper left", "upper right", "lower left", "lower right"};
    for (int i = 0; i < 4; ++i) {
        bool hasPin = false;
        for (Sample const& sample : track.samples) hasPin |= sample.pin == target.pins[i];
        if (!hasPin)
            return path + ": no positions of the " + kCorners[i] +
                   " corner, expected a planar tracker's text file with four";
    }
    for (Sample const& sample : track.samples)
        if (!isSound(sample)) return path + ": a position or a frame that is no number";
    return {};
}

int integerOf(ParameterSet const& parameters, char const* name) {
    int value = 0;
    require(suites().parameter->paramGetValue(parameters.named(name), &value));
    return value;
}

std::string textOf(ParameterSet const& parameters, char const* name) {
    char* value = nullptr;
    require(suites().parameter->paramGetValue(parameters.named(name), &value));
    return value ? value : "";
}

void replaceKeys(ParameterSet const& parameters, PinQuad const& target,
                 std::vector<Sample> const& samples, OfxRectD const& rectangle, int offset) {
    OfxParameterSuiteV1 const& suite = *suites().parameter;
    for (int const pin : target.pins) require(suite.paramDeleteAllKeys(parameters[pin]));
    for (Sample const& sample : samples) {
        OfxPointD const at = placeWithin(rectangle, sample.x, sample.y);
        require(
            suite.paramSetValueAtTime(parameters[sample.pin], sample.frame + offset, at.x, at.y));
    }
}

void fitFromPins(Instance const& instance, double time) {
    OfxRectD const layer = instance.layerAt(time);
    if (isEmpty(layer))
        return tellUser(instance.handle, kOfxMessageError,
                        "Source isn't connected: there is no layer to fit the From Pins to");
    EditStep const step(instance.parameters, "Fit From Pins To Layer");
    for (int i = 0; i < 4; ++i) {
        OfxParamHandle const pin = instance.parameters[kFrom.pins[i]];
        OfxPointD const at = placeWithin(layer, i % 2, i / 2);
        require(suites().parameter->paramDeleteAllKeys(pin));
        require(suites().parameter->paramSetValue(pin, at.x, at.y));
    }
}

/// The popups that the effect's rules for greyed controls ask.
bool decidesGreyed(std::string const& name) {
    return name == "overlay-mode" || name == "quality" || name == "motion-blur" ||
           name == "transfer-mode";
}

}  // namespace

void importTrack(Instance& instance, bool isTo, double time) {
    ParameterSet const& parameters = instance.parameters;
    std::string const path = textOf(parameters, kTrackFileName);
    PinQuad target = isTo ? kTo : kFrom;
    int diskIds[4] = {};
    TrackSamples track;
    int const code = LoadMochaFile(nullptr, target.pins, diskIds, path.c_str(), &track);
    std::string const why = objection(path, code, track, target);
    if (!why.empty()) return tellUser(instance.handle, kOfxMessageError, why);

    OfxRectD const rectangle = isTo ? instance.frameAt(time) : instance.layerAt(time);
    if (isEmpty(rectangle))
        return tellUser(instance.handle, kOfxMessageError,
                        path + ": the pins' picture isn't connected, so its size is unknown");
    if (!track.hasResolution) usePixels(track.samples, rectangle);
    EditStep const step(parameters, isTo ? "Load To Pins" : "Load From Pins");
    replaceKeys(parameters, target, track.samples, rectangle,
                integerOf(parameters, kTrackOffsetName));
}

OfxStatus instanceChanged(Instance& instance, Properties const& in) {
    if (in.text(kOfxPropChangeReason) != kOfxChangeUserEdited) return kOfxStatReplyDefault;
    instance.clearError();
    std::string const name = in.text(kOfxPropName);
    double const time = in.numberOr(kOfxPropTime, 0);
    if (decidesGreyed(name))
        instance.updateGreyed(time);
    else if (name == kLoadToPinsName || name == kLoadFromPinsName)
        importTrack(instance, name == kLoadToPinsName, time);
    else if (name == kFitFromPinsName)
        fitFromPins(instance, time);
    else
        return kOfxStatReplyDefault;
    return kOfxStatOK;
}

}  // namespace zelk::bindings

// The two readers of RenderArguments: from an After Effects parameter array, and from any host.
#include "params/RenderArguments.h"

#include <cstdint>

#include "Transform/Common/PopupEntries.h"
#include "host/PluginHost_AE_Impl.h"
#include "params/ParamIndex.h"
#include "params/ParameterDef.h"

namespace {

/// The corner pins of one quad: eight numbers from four points at `firstIndex`.
void readPins(QVS::ParameterDef const& parameters, PluginHost_API* host, int firstIndex,
              double (&pins)[8]) {
    for (int corner = 0; corner < 4; ++corner) {
        pins[2 * corner] = parameters.GetPoint(firstIndex + corner).x / host->getOutputWidth();
        pins[2 * corner + 1] = parameters.GetPoint(firstIndex + corner).y / host->getOutputHeight();
    }
}

void readOffsets(QVS::ParameterDef const& parameters, int firstIndex, double (&offsets)[8]) {
    for (int i = 0; i < 8; ++i) offsets[i] = parameters.GetFloatValue(firstIndex + i, true);
}

void readColor(QVS::ParameterDef const& parameters, int index, double (&color)[3]) {
    const A_u_long word = parameters.GetPFColor(index);
    for (int channel = 0; channel < 3; ++channel)
        color[channel] = ((word >> (8 * (channel + 1))) & 255u) / 255.0;
}

}  // namespace

int ParamsRetrieveValues(PluginHost_API* host, RenderArguments* arguments) {
    PluginHost_AE_Impl* ae = host->getAEHost();
    if (!ae) return 0;
    const QVS::ParameterDef parameters(ae->in_data, ae->params);
    auto const entry = [&](int index) { return entryOfHost(parameters.GetMenuValue(index)); };
    auto const number = [&](int index) { return parameters.GetFloatValue(index, true); };

    RenderArguments& a = *arguments;
    a.mochaImport = entry(kParamMochaImport);
    a.viewMode = entry(kParamViewMode);
    a.overlayMode = entry(kParamOverlayMode);
    a.cropToPins = parameters.GetBoolValue(kParamCropToPins);
    readPins(parameters, host, kParamToUpperLeft, a.toPins);
    readOffsets(parameters, kParamToUpperLeftOffsetX, a.toOffsets);
    readColor(parameters, kParamToWireframeColor, a.toColor);
    readPins(parameters, host, kParamFromUpperLeft, a.fromPins);
    readOffsets(parameters, kParamFromUpperLeftOffsetX, a.fromOffsets);
    readColor(parameters, kParamFromWireframeColor, a.fromColor);
    a.translateX = number(kParamTranslateX);
    a.translateY = number(kParamTranslateY);
    a.scaleX = number(kParamScaleX);
    a.scaleY = number(kParamScaleY);
    a.rotate = ae->params ? parameters.GetAngleValue(kParamRotate) : 0.0;
    a.quality = entry(kParamQuality);
    a.superSampleSoftness = parameters.GetFloatValue(kParamSuperSampleSoftness, false);
    a.superSampleEdge = parameters.GetFloatValue(kParamSuperSampleEdge, false);
    a.growBounds = parameters.GetIntValue(kParamGrowBounds);
    a.wireframe = entry(kParamWireframe);
    a.shutterAngle = number(kParamShutterAngle);
    a.shutterPhase = number(kParamShutterPhase);
    a.samples = number(kParamSamples);
    a.sourceOpacity = number(kParamSourceOpacity);
    a.cornerPinOpacity = number(kParamCornerPinOpacity);
    a.transferMode = entry(kParamTransferMode);
    return 1;
}

namespace {

/// Reads values at one time until the host answers a code other than 0; after that it reads
/// nothing more.
class TimedReader {
public:
    explicit TimedReader(PluginHost_API* host)
        : m_host(host),
          m_time{host->getCurrentTime(), host->getTimeStep(), host->getTimeScale()},
          m_hasFloatSliders(!host->isApplication(kAppFinalCutPro)) {}

    int error() const { return m_err; }

    void entry(int index, std::int32_t& value) {
        unsigned fromZero = 0;
        if (ok() && take(m_host->GetUIntValue(index, kWord, m_time, fromZero)))
            value = static_cast<std::int32_t>(fromZero);
    }
    void integer(int index, std::int32_t& value) {
        int number = 0;
        if (ok() && take(m_host->GetIntValue(index, kWord, m_time, number))) value = number;
    }
    void flag(int index, std::uint8_t& value) {
        bool isSet = false;
        if (ok() && take(m_host->GetBoolValue(index, kWord, m_time, isSet))) value = isSet;
    }
    void number(int index, double& value) {
        if (ok()) take(m_host->GetFloatValue(index, kWord, m_time, value));
    }
    void floatSlider(int index, double& value) {
        if (ok())
            take(m_host->GetFloatValue(index, m_hasFloatSliders ? kDouble : kWord, m_time, value));
    }
    void angle(int index, double& degrees) {
        if (ok()) take(m_host->GetAngleValue(index, kWord, m_time, degrees));
    }
    void color(int index, double (&rgb)[3]) {
        if (ok()) take(m_host->GetColorValue(index, kWord, m_time, rgb[0], rgb[1], rgb[2]));
    }
    void pins(int firstIndex, double (&values)[8]) {
        for (int corner = 0; ok() && corner < 4; ++corner)
            take(m_host->GetPoint2DValue(firstIndex + corner, kWord, m_time, values[2 * corner],
                                         values[2 * corner + 1]));
    }
    void numbers(int firstIndex, double (&values)[8]) {
        for (int i = 0; i < 8; ++i) number(firstIndex + i, values[i]);
    }

private:
    static constexpr int kWord = 0;     ///< stored as a 32-bit word
    static constexpr int kDouble = -1;  ///< stored as a double

    bool ok() const { return m_err == 0; }
    bool take(int err) {
        m_err = err;
        return ok();
    }

    PluginHost_API* m_host;
    PluginHost_API::TimeObject m_time;
    bool m_hasFloatSliders;
    int m_err = 0;
};

}  // namespace

int ParamsRetrieveValuesFromHost(PluginHost_API* host, RenderArguments* arguments) {
    TimedReader reader(host);
    RenderArguments& a = *arguments;
    reader.entry(kParamMochaImport, a.mochaImport);
    reader.entry(kParamViewMode, a.viewMode);
    reader.entry(kParamOverlayMode, a.overlayMode);
    reader.flag(kParamCropToPins, a.cropToPins);
    reader.pins(kParamToUpperLeft, a.toPins);
    reader.numbers(kParamToUpperLeftOffsetX, a.toOffsets);
    reader.color(kParamToWireframeColor, a.toColor);
    reader.pins(kParamFromUpperLeft, a.fromPins);
    reader.numbers(kParamFromUpperLeftOffsetX, a.fromOffsets);
    reader.color(kParamFromWireframeColor, a.fromColor);
    reader.number(kParamTranslateX, a.translateX);
    reader.number(kParamTranslateY, a.translateY);
    reader.number(kParamScaleX, a.scaleX);
    reader.number(kParamScaleY, a.scaleY);
    reader.angle(kParamRotate, a.rotate);
    reader.entry(kParamQuality, a.quality);
    reader.floatSlider(kParamSuperSampleSoftness, a.superSampleSoftness);
    reader.floatSlider(kParamSuperSampleEdge, a.superSampleEdge);
    reader.integer(kParamGrowBounds, a.growBounds);
    reader.entry(kParamWireframe, a.wireframe);
    reader.number(kParamShutterAngle, a.shutterAngle);
    reader.number(kParamShutterPhase, a.shutterPhase);
    reader.number(kParamSamples, a.samples);
    reader.number(kParamSourceOpacity, a.sourceOpacity);
    reader.number(kParamCornerPinOpacity, a.cornerPinOpacity);
    reader.entry(kParamTransferMode, a.transferMode);
    return reader.error();
}

int MotionBlurFromHost(PluginHost_API* host, std::int32_t* choice) {
    TimedReader reader(host);
    reader.entry(kParamMotionBlur, *choice);
    return reader.error();
}

// Clips, regions, and the questions about them.
#include "bindings/openfx/instance.h"

#include <climits>

#include "Transform/Common/PopupEntries.h"
#include "bindings/common/effect_controls.h"
#include "bindings/openfx/plane.h"

namespace zelk::bindings {

namespace {

OfxImageClipHandle clipOf(OfxImageEffectHandle effect, char const* name) {
    OfxImageClipHandle clip = nullptr;
    require(suites().effect->clipGetHandle(effect, name, &clip, nullptr));
    return clip;
}

Properties propertiesOfClip(OfxImageClipHandle clip) {
    OfxPropertySetHandle set = nullptr;
    require(suites().effect->clipGetPropertySet(clip, &set));
    return Properties(set);
}

/// Infinite sides have the largest integers.
bool isInfinite(OfxRectD const& r) {
    return r.x1 <= INT_MIN || r.y1 <= INT_MIN || r.x2 >= INT_MAX || r.y2 >= INT_MAX;
}

/// What the view shows lies in the frame, not in the layer.
bool placesInFrame(Instance const& instance, double time) {
    int const view = instance.parameters.entryAt(kParamViewMode, time);
    return view != kViewOriginal && view != kViewFromPins;
}

bool hasRegions() {
    return hostProperties().integerOr(kOfxImageEffectPropSupportsMultiResolution, 1) != 0;
}

std::string clipProperty(char const* prefix, char const* clip) {
    return std::string(prefix) + clip;
}

}  // namespace

Instance::Instance(OfxImageEffectHandle effect)
    : handle(effect),
      properties(propertiesOf(effect)),
      parameters(effect),
      isGeneral(properties.text(kOfxImageEffectPropContext) == kOfxImageEffectContextGeneral),
      source(clipOf(effect, kOfxImageEffectSimpleSourceClipName)),
      output(clipOf(effect, kOfxImageEffectOutputClipName)),
      plate(isGeneral ? clipOf(effect, kPlateClipName) : nullptr) {}

Instance* Instance::ofOrNull(void const* handle) {
    auto* const effect = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    return static_cast<Instance*>(propertiesOf(effect).pointerOrNull(kOfxPropInstanceData));
}

Instance& Instance::of(void const* handle) {
    if (Instance* const instance = ofOrNull(handle)) return *instance;
    throw OfxFailure{kOfxStatErrBadHandle};
}

bool Instance::isConnected(OfxImageClipHandle clip) {
    return propertiesOfClip(clip).integerOr(kOfxImageClipPropConnected, 0) != 0;
}

OfxRectD Instance::clipRegion(OfxImageClipHandle clip, double time) const {
    OfxRectD region{};
    OfxStatus const status = suites().effect->clipGetRegionOfDefinition(clip, time, &region);
    if (status == kOfxStatErrMemory) throw OfxFailure{status};
    if (status != kOfxStatOK || isEmpty(region)) return {};
    return isInfinite(region) ? project() : region;
}

OfxRectD Instance::project() const {
    double const x = properties.numberOr(kOfxImageEffectPropProjectOffset, 0, 0);
    double const y = properties.numberOr(kOfxImageEffectPropProjectOffset, 0, 1);
    return {x, y, x + properties.numberOr(kOfxImageEffectPropProjectSize, 0, 0),
            y + properties.numberOr(kOfxImageEffectPropProjectSize, 0, 1)};
}

OfxRectD Instance::layerAt(double time) const {
    return isConnected(source) ? clipRegion(source, time) : OfxRectD{};
}

OfxRectD Instance::frameAt(double time) const {
    OfxRectD const frame = isPlateConnected() ? clipRegion(plate, time) : project();
    return isEmpty(frame) ? layerAt(time) : frame;
}

OfxRectD Instance::imageAt(double time) const {
    OfxRectD const layer = layerAt(time);
    if (!placesInFrame(*this, time)) return layer;
    OfxRectD const frame = frameAt(time);
    if (!hasRegions()) return frame;
    OfxRectD const filled = isPlateConnected() ? frame : united(frame, layer);
    return grown(filled, parameters.at(kParamGrowBounds, time).x);
}

OfxRectD Instance::regionAt(double time) const {
    OfxRectD const image = imageAt(time);
    return isPlateConnected() ? united(image, frameAt(time)) : image;
}

void Instance::updateGreyed(double time) const {
    EffectControls controls;
    for (int index = 1; index < kParamCount; ++index)
        if (parameterRows()[static_cast<std::size_t>(index)].kind == ParameterKind::kChoice)
            controls[index].u.pd.value = hostEntry(parameters.entryAt(index, time));
    for (int index = 1; index < kParamCount; ++index) controls[index].ui_flags = 0;
    controls.updateGreyed();
    for (int index = 1; index < kParamCount; ++index)
        parameters.enable(index, !(controls[index].ui_flags & PF_PUI_DISABLED));
}

void Instance::keepError(std::string const& line) {
    m_hasError = true;
    keepMessage(handle, line);
}

void Instance::clearError() {
    if (m_hasError.exchange(false)) clearMessage(handle);
}

OfxStatus getRegionOfDefinition(Instance const& instance, Properties const& in,
                                Properties const& out) {
    if (!hasRegions()) return kOfxStatReplyDefault;
    OfxRectD const region = instance.regionAt(in.number(kOfxPropTime));
    if (isEmpty(region)) return kOfxStatReplyDefault;
    out.set(kOfxImageEffectPropRegionOfDefinition, region);
    return kOfxStatOK;
}

/// Any pixel of the frame may come from any of the layer's.
OfxStatus getRegionsOfInterest(Instance const& instance, Properties const& in,
                               Properties const& out) {
    double const time = in.number(kOfxPropTime);
    OfxRectD const layer = instance.layerAt(time);
    if (!isEmpty(layer))
        out.set(
            clipProperty(kOfxImageClipPropRoIPrefix, kOfxImageEffectSimpleSourceClipName).c_str(),
            layer);
    if (instance.isPlateConnected()) {
        auto const asked = in.numbers<4>(kOfxImageEffectPropRegionOfInterest);
        out.set(clipProperty(kOfxImageClipPropRoIPrefix, kPlateClipName).c_str(),
                OfxRectD{asked[0], asked[1], asked[2], asked[3]});
    }
    return kOfxStatOK;
}

/// Motion blur moves the pins, not the pictures: each clip is needed at the frame's own time.
OfxStatus getFramesNeeded(Instance const& instance, Properties const& in, Properties const& out) {
    double const time = in.number(kOfxPropTime);
    for (char const* clip : {kOfxImageEffectSimpleSourceClipName, kPlateClipName}) {
        if (clip == kPlateClipName && !instance.isGeneral) continue;
        std::string const name = clipProperty(kOfxImageClipPropFrameRangePrefix, clip);
        out.set(name.c_str(), time, 0);
        out.set(name.c_str(), time, 1);
    }
    return kOfxStatOK;
}

/// The plate's frames where there is one: the layer may be a still.
OfxStatus getTimeDomain(Instance const& instance, Properties const& out) {
    if (!instance.isPlateConnected()) return kOfxStatReplyDefault;
    auto const range = propertiesOfClip(instance.plate).numbers<2>(kOfxImageEffectPropFrameRange);
    out.set(kOfxImageEffectPropFrameRange, range[0], 0);
    out.set(kOfxImageEffectPropFrameRange, range[1], 1);
    return kOfxStatOK;
}

/// Around a pinned picture there is nothing, so the output of an opaque one has an alpha.
OfxStatus getClipPreferences(Instance const& instance, Properties const& out) {
    Properties const source = propertiesOfClip(instance.source);
    if (source.textOr(kOfxImageEffectPropPreMultiplication, "") != kOfxImageOpaque ||
        source.textOr(kOfxImageEffectPropComponents, "") != kOfxImageComponentRGBA)
        return kOfxStatReplyDefault;
    out.set(kOfxImageEffectPropPreMultiplication, kOfxImagePreMultiplied);
    return kOfxStatOK;
}

/// View Original shows the layer as it is.
OfxStatus isIdentity(Instance const& instance, Properties const& in, Properties const& out) {
    double const time = in.number(kOfxPropTime);
    if (instance.isPlateConnected() ||
        instance.parameters.entryAt(kParamViewMode, time) != kViewOriginal)
        return kOfxStatReplyDefault;
    out.set(kOfxPropName, kOfxImageEffectSimpleSourceClipName);
    out.set(kOfxPropTime, time);
    return kOfxStatOK;
}

}  // namespace zelk::bindings

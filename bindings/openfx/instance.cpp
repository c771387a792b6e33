// Clips, regions, and the questions about them.
#include "bindings/openfx/instance.h"

#include <algorithm>
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

/// Infinite sides have the largest integers; they end where `limit` does.
OfxRectD finite(OfxRectD const& r, OfxRectD const& limit) {
    return {r.x1 <= INT_MIN ? limit.x1 : r.x1, r.y1 <= INT_MIN ? limit.y1 : r.y1,
            r.x2 >= INT_MAX ? limit.x2 : r.x2, r.y2 >= INT_MAX ? limit.y2 : r.y2};
}

/// What the view shows lies in the frame, not in the layer.
bool placesInFrame(Instance const& instance, double time) {
    int const view = instance.parameters.entryAt(kParamViewMode, time);
    return view != kViewOriginal && view != kViewFromPins;
}

/// Four channels of which the last means nothing.
bool isOpaque(Properties const& clip) {
    return clip.textOr(kOfxImageEffectPropPreMultiplication, "") == kOfxImageOpaque &&
           clip.textOr(kOfxImageEffectPropComponents, "") == kOfxImageComponentRGBA;
}

std::string clipProperty(char const* prefix, char const* clip) {
    return std::string(prefix) + clip;
}

}  // namespace

bool hostHasRegions() {
    return hostProperties().integerOr(kOfxImageEffectPropSupportsMultiResolution, 1) != 0;
}

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
    return finite(region, project());
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

/// A tracked pin far outside, or a source without end, doesn't make an image that no memory holds.
OfxRectD Instance::imageAt(double time) const {
    OfxRectD const layer = layerAt(time);
    if (!placesInFrame(*this, time)) return layer;
    OfxRectD const frame = frameAt(time);
    if (!hostHasRegions()) return frame;
    OfxRectD filled = frame;
    if (!isPlateConnected()) {
        OfxRectD const limit = grown(frame, frame.x2 - frame.x1, frame.y2 - frame.y1);
        OfxRectD const wanted = shared(united(layer, pinsAt(time)), limit);
        filled = united(frame, wanted);
    }
    double const by = parameters.at(kParamGrowBounds, time).x;
    return grown(filled, by, by);
}

/// Around the To Pins at the moments of the frame's shutter.
OfxRectD Instance::pinsAt(double time) const {
    double const step = 1 / 360.0;
    bool const isBlurred = parameters.entryAt(kParamMotionBlur, time) == kMotionBlurOn;
    double const start = isBlurred ? parameters.at(kParamShutterPhase, time).x * step : 0;
    double const open = isBlurred ? parameters.at(kParamShutterAngle, time).x * step : 0;
    int const moments =
        open != 0 ? std::clamp(truncatedToInt32(parameters.at(kParamSamples, time).x), 1, 64) : 1;
    OfxRectD const frame = frameAt(time);
    OfxRectD box{};
    for (int i = 0; i < moments; ++i) {
        double const moment = time + start + open * i / moments;
        for (int pin = 0; pin < 4; ++pin) {
            auto const at = parameters.at(kParamToUpperLeft + pin, moment);
            int const offset = kParamToUpperLeftOffsetX + 2 * pin;
            double const x = at.x + parameters.at(offset, moment).x * (frame.x2 - frame.x1) / 100;
            double const y =
                at.y + parameters.at(offset + 1, moment).x * (frame.y2 - frame.y1) / 100;
            box = i + pin == 0 ? OfxRectD{x, y, x, y}
                               : OfxRectD{std::min(box.x1, x), std::min(box.y1, y),
                                          std::max(box.x2, x), std::max(box.y2, y)};
        }
    }
    return box;
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
    if (!hostHasRegions()) return kOfxStatReplyDefault;
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
    if (isEmpty(layer) && !instance.isPlateConnected()) return kOfxStatReplyDefault;
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

/// Of layer and plate together: either may be a still.
OfxStatus getTimeDomain(Instance const& instance, Properties const& out) {
    if (!instance.isPlateConnected()) return kOfxStatReplyDefault;
    auto range = propertiesOfClip(instance.plate).numbers<2>(kOfxImageEffectPropFrameRange);
    if (instance.isSourceConnected()) {
        auto const layers =
            propertiesOfClip(instance.source).numbers<2>(kOfxImageEffectPropFrameRange);
        range = {std::min(range[0], layers[0]), std::max(range[1], layers[1])};
    }
    out.set(kOfxImageEffectPropFrameRange, range[0], 0);
    out.set(kOfxImageEffectPropFrameRange, range[1], 1);
    return kOfxStatOK;
}

/// Around a pinned picture there is nothing, so the output has an alpha even where no input has.
OfxStatus getClipPreferences(Instance const& instance, Properties const& out) {
    Properties const source = propertiesOfClip(instance.source);
    std::string const channels = source.textOr(kOfxImageEffectPropComponents, "");
    bool const lacksChannel = channels == kOfxImageComponentRGB && instance.isGeneral;
    if (lacksChannel)
        out.set(
            clipProperty(kOfxImageClipPropComponentsPrefix, kOfxImageEffectOutputClipName).c_str(),
            kOfxImageComponentRGBA);
    if (!lacksChannel && !isOpaque(source)) return kOfxStatReplyDefault;
    out.set(kOfxImageEffectPropPreMultiplication, kOfxImagePreMultiplied);
    return kOfxStatOK;
}

/// View Original shows the layer as it is, where its alpha means the same to the output.
OfxStatus isIdentity(Instance const& instance, Properties const& in, Properties const& out) {
    double const time = in.number(kOfxPropTime);
    if (instance.isPlateConnected() ||
        instance.parameters.entryAt(kParamViewMode, time) != kViewOriginal)
        return kOfxStatReplyDefault;
    auto const stateOf = [](OfxImageClipHandle clip) {
        return propertiesOfClip(clip).textOr(kOfxImageEffectPropPreMultiplication, "");
    };
    if (isOpaque(propertiesOfClip(instance.source)) ||
        stateOf(instance.source) != stateOf(instance.output))
        return kOfxStatReplyDefault;
    out.set(kOfxPropName, kOfxImageEffectSimpleSourceClipName);
    out.set(kOfxPropTime, time);
    return kOfxStatOK;
}

}  // namespace zelk::bindings

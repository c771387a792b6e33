// The binary's exports, and the main entry's way from an action's name to its function.
#include <algorithm>
#include <memory>
#include <string_view>

#include "Transform/Common/PixelMemory.h"
#include "bindings/openfx/guarded.h"
#include "bindings/openfx/instance.h"
#include "bindings/openfx/overlay.h"

namespace zelk::bindings {

namespace {

constexpr char kIdentifier[] = "net.zelk.CornerPin";

void describe(OfxImageEffectHandle descriptor) {
    Properties const p = propertiesOf(descriptor);
    p.set(kOfxPropLabel, "Zelk Corner Pin");
    p.offer(kOfxPropShortLabel, "Corner Pin");
    p.offer(kOfxPropLongLabel, "Zelk Corner Pin");
    p.offer(kOfxPropVersionLabel, ZELK_VERSION);
    p.offer(kOfxPropPluginDescription,
            "Pins four points of a layer to four points of the frame, in perspective, with "
            "filtered pixels, smooth edges, motion blur and transfer modes.");
    p.set(kOfxImageEffectPluginPropGrouping, "Transform");
    p.set(kOfxImageEffectPropSupportedContexts, kOfxImageEffectContextGeneral, 0);
    p.set(kOfxImageEffectPropSupportedContexts, kOfxImageEffectContextFilter, 1);
    int depth = 0;
    for (char const* word : {kOfxBitDepthFloat, kOfxBitDepthShort, kOfxBitDepthByte})
        p.set(kOfxImageEffectPropSupportedPixelDepths, word, depth++);
    // Older hosts have no word for it.
    p.offer(kOfxImageEffectPropSupportedPixelDepths, kOfxBitDepthHalf, depth);
    p.set(kOfxImageEffectPluginPropSingleInstance, 0);
    p.set(kOfxImageEffectPluginRenderThreadSafety, kOfxImageEffectRenderFullySafe);
    p.set(kOfxImageEffectPluginPropHostFrameThreading, 0);
    p.set(kOfxImageEffectPropSupportsMultiResolution, 1);
    // A window costs as much as the whole frame: hosts had better ask for that.
    p.set(kOfxImageEffectPropSupportsTiles, 0);
    p.set(kOfxImageEffectPropTemporalClipAccess, 0);
    p.set(kOfxImageEffectPropSupportsMultipleClipDepths, 0);
    p.set(kOfxImageEffectPropSupportsMultipleClipPARs, 0);
    // A render sees one field of its source.
    p.set(kOfxImageEffectPluginPropFieldRenderTwiceAlways, 1);
    if (!hostProperties().integerOr(kOfxImageEffectPropSupportsOverlays, 0) || !suites().interact)
        return;
    bool const usesDrawSuite =
        suites().draw && p.offer(kOfxImageEffectPluginPropOverlayInteractV2,
                                 reinterpret_cast<void*>(overlayByDrawSuite));
    if (!usesDrawSuite)
        p.offer(kOfxImageEffectPluginPropOverlayInteractV1,
                reinterpret_cast<void*>(overlayByOpenGl));
}

void defineClip(OfxImageEffectHandle descriptor, char const* name, bool isOptional) {
    OfxPropertySetHandle set = nullptr;
    require(suites().effect->clipDefine(descriptor, name, &set));
    Properties const clip(set);
    clip.set(kOfxImageEffectPropSupportedComponents, kOfxImageComponentRGBA, 0);
    clip.set(kOfxImageEffectPropSupportedComponents, kOfxImageComponentAlpha, 1);
    clip.offer(kOfxImageEffectPropSupportedComponents, kOfxImageComponentRGB, 2);
    clip.set(kOfxImageEffectPropSupportsTiles, 0);
    if (isOptional) clip.set(kOfxImageClipPropOptional, 1);
}

void describeInContext(OfxImageEffectHandle descriptor, Properties const& in) {
    defineClip(descriptor, kOfxImageEffectSimpleSourceClipName, false);
    if (in.text(kOfxImageEffectPropContext) == kOfxImageEffectContextGeneral)
        defineClip(descriptor, kPlateClipName, true);
    defineClip(descriptor, kOfxImageEffectOutputClipName, false);
    defineParameters(descriptor);
}

void createInstance(OfxImageEffectHandle effect) {
    auto instance = std::make_unique<Instance>(effect);
    instance->parameters.placeDefaultPins(instance->project());
    instance->properties.set(kOfxPropInstanceData, static_cast<void*>(instance.get()));
    Instance const& made = *instance.release();
    // A host that can't show it now is told with the next change.
    guarded([&made] {
        made.updateGreyed(0);
        return kOfxStatOK;
    });
}

void destroyInstance(void const* handle) {
    Instance* const instance = Instance::ofOrNull(handle);
    if (!instance) return;
    instance->properties.offer(kOfxPropInstanceData, static_cast<void*>(nullptr));
    delete instance;
}

/// Questions and renders of an instance.
OfxStatus actOnInstance(std::string_view action, Instance& instance, Properties const& in,
                        Properties const& out) {
    if (action == kOfxImageEffectActionRender) return render(instance, in);
    if (action == kOfxActionInstanceChanged) return instanceChanged(instance, in);
    if (action == kOfxImageEffectActionBeginSequenceRender)
        return instance.clearError(), kOfxStatOK;
    if (action == kOfxImageEffectActionGetRegionOfDefinition)
        return getRegionOfDefinition(instance, in, out);
    if (action == kOfxImageEffectActionGetRegionsOfInterest)
        return getRegionsOfInterest(instance, in, out);
    if (action == kOfxImageEffectActionGetFramesNeeded) return getFramesNeeded(instance, in, out);
    if (action == kOfxImageEffectActionGetTimeDomain) return getTimeDomain(instance, out);
    if (action == kOfxImageEffectActionGetClipPreferences) return getClipPreferences(instance, out);
    return isIdentity(instance, in, out);
}

constexpr std::string_view kInstanceActions[] = {kOfxImageEffectActionRender,
                                                 kOfxImageEffectActionBeginSequenceRender,
                                                 kOfxActionInstanceChanged,
                                                 kOfxImageEffectActionGetRegionOfDefinition,
                                                 kOfxImageEffectActionGetRegionsOfInterest,
                                                 kOfxImageEffectActionGetFramesNeeded,
                                                 kOfxImageEffectActionGetTimeDomain,
                                                 kOfxImageEffectActionGetClipPreferences,
                                                 kOfxImageEffectActionIsIdentity};

OfxStatus act(std::string_view action, void const* handle, Properties const& in,
              Properties const& out) {
    auto* const effect = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    if (action == kOfxActionLoad) return fetchSuites(), kOfxStatOK;
    if (!suites().property) return kOfxStatReplyDefault;  // before the load, or after the unload
    if (action == kOfxActionUnload) {
        PixelMemory::releaseKept();
        return forgetSuites(), kOfxStatOK;
    }
    if (action == kOfxActionPurgeCaches) return PixelMemory::releaseKept(), kOfxStatOK;
    if (action == kOfxActionDescribe) return describe(effect), kOfxStatOK;
    if (action == kOfxImageEffectActionDescribeInContext)
        return describeInContext(effect, in), kOfxStatOK;
    if (action == kOfxActionCreateInstance) return createInstance(effect), kOfxStatOK;
    if (action == kOfxActionDestroyInstance) return destroyInstance(handle), kOfxStatOK;
    if (std::ranges::find(kInstanceActions, action) == std::end(kInstanceActions))
        return kOfxStatReplyDefault;
    return actOnInstance(action, Instance::of(handle), in, out);
}

OfxStatus mainEntry(char const* action, void const* handle, OfxPropertySetHandle inArgs,
                    OfxPropertySetHandle outArgs) {
    return answerOf(action, guarded([&] {
                        return act(action, handle, Properties(inArgs), Properties(outArgs));
                    }));
}

}  // namespace

}  // namespace zelk::bindings

#define ZELK_EXPORT extern "C" __attribute__((visibility("default")))

ZELK_EXPORT OfxStatus OfxSetHost(OfxHost const* host) {
    zelk::bindings::setHost(const_cast<OfxHost*>(host));
    return kOfxStatOK;
}

ZELK_EXPORT int OfxGetNumberOfPlugins() { return 1; }

ZELK_EXPORT OfxPlugin* OfxGetPlugin(int nth) {
    // The major number is raised when an old setup no longer gives the same picture.
    static OfxPlugin plugin = {
        kOfxImageEffectPluginApi, 1, zelk::bindings::kIdentifier, 1, 0, zelk::bindings::setHost,
        zelk::bindings::mainEntry};
    return nth == 0 ? &plugin : nullptr;
}

// See shown_shutter.h.
#include "apps/viewer/model/shown_shutter.h"

#include "Transform/Common/PopupEntries.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {

namespace {

int entryOf(Document const& document) {
    return entryOfHost(static_cast<int>(document.valueOf(kParamMotionBlur)[0]));
}

}  // namespace

std::optional<ShownShutter> shownShutter(Document const& document) {
    Comp const& comp = document.scene().comp;
    ShownShutter shutter;
    switch (entryOf(document)) {
        case kMotionBlurOn:
            shutter = {document.valueOf(kParamShutterAngle)[0],
                       document.valueOf(kParamShutterPhase)[0]};
            break;
        case kMotionBlurComp:
            if (comp.motionBlur) shutter = {comp.shutterAngleDeg, comp.shutterPhaseDeg};
            break;
        default:
            break;
    }
    if (shutter.angleDeg <= 0) return std::nullopt;
    return shutter;
}

std::string whyNoCompShutter(Document const& document) {
    int const entry = entryOf(document);
    if (entry == kMotionBlurComp) return {};
    bool const hasComp = document.parameter(kParamMotionBlur).choices.size() > kMotionBlurComp;
    if (!hasComp)
        return "Without effect: in this host the effect's own Motion Blur counts. Set that to On.";
    if (entry == kMotionBlurOn)
        return "Without effect while the effect's Motion Blur is On, by its own Shutter Angle. Set "
               "that to Comp Settings.";
    return "Without effect while the effect's Motion Blur is Off. Set that to Comp Settings.";
}

}  // namespace zelk

// Controls and buffers of the memory road; see memory_road.h.
#include "zelk/render/memory_road.h"

#include <algorithm>
#include <cmath>

#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/RowBands.h"
#include "Transform/Common/Transform_Core_Render/PlateRows.h"
#include "effect/Render.h"
#include "host/PluginHost_Memory_Impl.h"
#include "hostkit/fixed_point.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/render/module_road.h"
#include "zelk/scene/effect_result.h"
#include "zelk/scene/kernel_choice.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/words.h"

namespace zelk {

namespace {

PluginHost_API::RasterInfo describe(World& world) {
    PluginHost_API::RasterInfo info{};
    info.data = world.row(0);
    info.format = kFormatARGB32;
    info.width = world.width();
    info.height = world.height();
    info.rowBytes = world.rowBytes();
    info.pixelBytes = pixelBytes(Depth::kFloat);
    info.pixelAspect = info.rangeScale = 1.0f;
    return info;
}

bool isToOffset(int index) { return index >= kToOffsets && index < kToOffsets + 8; }

/// A control's value at a moment. Points become fractions: From Pins of the layer, others of the
/// image around the frame, as do the hundredths of the frame that offsets are. Popups count from 0.
PluginHost_Memory_Impl::Value valueOf(PF_ParamDef const& def, int index, ImageSizes const& sizes) {
    PluginHost_Memory_Impl::Value value;
    bool const isFrom = index >= kFromPins && index < kFromPins + 4;
    PixelMargins const around = isFrom ? PixelMargins{} : sizes.overscan;
    PixelSize const image = (isFrom ? sizes.layer : sizes.frame) + around;
    switch (def.param_type) {
        case PF_Param_POINT:
            value.x = (fixedToReal(def.u.td.x_value) + around.left) / image.width;
            value.y = (fixedToReal(def.u.td.y_value) + around.top) / image.height;
            break;
        case PF_Param_COLOR:
            value.x = def.u.cd.value.red / 255.0;
            value.y = def.u.cd.value.green / 255.0;
            value.z = def.u.cd.value.blue / 255.0;
            break;
        case PF_Param_POPUP:
            value.x = numberOf(def) - 1;
            break;
        default:
            value.x = numberOf(def);
            if (isToOffset(index) && !around.isNone())
                value.x *= (index - kToOffsets) % 2 == 0
                               ? double(sizes.frame.width) / image.width
                               : double(sizes.frame.height) / image.height;
            break;
    }
    return value;
}

/// The parameters stay where they are while the host asks for them.
void setControls(PluginHost_Memory_Impl& host, std::vector<Parameter> const& parameters,
                 ImageSizes const& sizes) {
    for (Parameter const& parameter : parameters) {
        if (!parameter.hasValue()) continue;
        host.setAnimated(parameter.index, [&parameter, sizes](auto const& time) {
            KeyTime const moment = {time.time, static_cast<A_u_long>(time.timeScale)};
            return valueOf(parameter.at(moment), parameter.index, sizes);
        });
    }
}

/// "Comp Settings" means the composition's shutter, which a frame without motion blur has not.
void setShutter(PluginHost_Memory_Impl& host, std::vector<Parameter> const& parameters,
                Shutter const& shutter) {
    if (currentNumber(parameters, kParamMotionBlur) != hostEntry(kMotionBlurComp)) return;
    bool const isOn = shutter.angleDeg != 0 || shutter.phaseDeg != 0;
    host.setPopup(kParamMotionBlur, isOn ? kMotionBlurOn : kMotionBlurOff);
    if (!isOn) return;
    host.setFloat(kParamShutterAngle, shutter.angleDeg);
    host.setFloat(kParamShutterPhase, shutter.phaseDeg);
}

/// Lobes of a kernel leave alpha beyond 0 and 1 beside an edge in the layer, where the plate would
/// come through lighter or darker than it is. Colour stays, as light may be brighter than white.
void limitAlpha(World& frame) {
    forEachRow(frame.height(), frame.rowBytes(), [&](int y) {
        float* pixel = frame.rowAs<float>(y);
        for (int x = 0; x < frame.width(); ++x, pixel += 4)
            pixel[0] = std::clamp(pixel[0], 0.0f, 1.0f);
    });
}

void layRow(World& frame, int y, float const* plate, int mode) {
    layOverPlate(frame.rowAs<float>(y), plate, frame.width(), mode);
}

}  // namespace

World readAssociatedWorld(PictureReader& picture) {
    World world({picture.width(), picture.height(), Depth::kFloat});
    picture.readAssociated([&world](int y, float const* rgba) { putRow(world, y, rgba); });
    return world;
}

void renderInMemory(std::vector<Parameter> const& parameters, World& layer, World& frame,
                    ImageSizes const& full, FrameRequest const& moment,
                    std::string const& layerName, ResampleOptions const& resample,
                    std::function<bool()> const& isStopped) {
    PluginHost_Memory_Impl host(describe(layer), describe(frame), MemoryHostFamily::kFXPLUG);
    ResampleOptions own = resample;
    if (!full.overscan.isNone())
        own.frameAspect =
            static_cast<float>(full.frame.width) / static_cast<float>(full.frame.height);
    host.setResampleOptions(&own);
    host.setLendsInput(true);
    host.setStop(isStopped);
    PixelSize const whole = full.frame + full.overscan;
    host.setScale(double(frame.width()) / whole.width, double(frame.height()) / whole.height);
    setControls(host, parameters, full);
    setShutter(host, parameters, moment.shutter);
    host.setTime({moment.time, moment.timeBase.step, static_cast<int>(moment.timeBase.scale)},
                 moment.totalTime);
    CommandResult result;
    result.code = Render(&host);
    checkResult(result, layerName);
    if (resample.kernel.filter >= 0) limitAlpha(frame);
}

void layOver(World& frame, PictureReader& plate, ColorTransform const* toWork, int mode) {
    World row({frame.width(), 1, Depth::kFloat});
    plate.readAssociated([&](int y, float const* rgba) {
        putRow(row, 0, rgba);
        if (toWork) toWork->apply(row, AlphaForm::kAssociated);
        layRow(frame, y, row.rowAs<float>(0), mode);
    });
}

void layOver(World& frame, World const& plate, int mode, int left, int top) {
    forEachRow(frame.height(), std::int64_t{2} * frame.rowBytes(),
               [&](int y) { layRow(frame, y, plate.rowAs<float>(top + y) + 4 * left, mode); });
}

}  // namespace zelk

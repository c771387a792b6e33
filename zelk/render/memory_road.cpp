// Controls and buffers of the memory road; see memory_road.h.
#include "zelk/render/memory_road.h"

#include <algorithm>
#include <array>

#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "effect/Render.h"
#include "host/PluginHost_Memory_Impl.h"
#include "hostkit/fixed_point.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/render/module_road.h"
#include "zelk/scene/effect_result.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"

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

/// A control's value at a moment. Points become fractions: From Pins of the layer, others of the
/// frame. Popups count from 0.
PluginHost_Memory_Impl::Value valueOf(PF_ParamDef const& def, int index, ImageSizes const& sizes) {
    PluginHost_Memory_Impl::Value value;
    bool const isFrom = index >= kFromPins && index < kFromPins + 4;
    PixelSize const image = isFrom ? sizes.layer : sizes.frame;
    switch (def.param_type) {
        case PF_Param_POINT:
            value.x = fixedToReal(def.u.td.x_value) / image.width;
            value.y = fixedToReal(def.u.td.y_value) / image.height;
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

void layNormally(World& frame, int y, float const* rgba) {
    ChannelOrder const order = channelOrder(frame.spec());
    int const place[4] = {order.red, order.green, order.blue, order.alpha};
    float* pixel = frame.rowAs<float>(y);
    for (int x = 0; x < frame.width(); ++x, pixel += 4, rgba += 4) {
        float const rest = 1.0f - pixel[order.alpha];
        // Nothing of a hidden plate counts, not even infinity times 0.
        if (rest == 0) continue;
        for (int c = 0; c < 4; ++c) pixel[place[c]] += rgba[c] * rest;
    }
}

/// A pixel of the modes' arithmetic: alpha first, straight colour.
using StraightPixel = std::array<float, 4>;

/// Colour without alpha stays as it is, both ways.
StraightPixel straight(float alpha, float red, float green, float blue) {
    float const divisor = alpha == 0 ? 1 : alpha;
    return {alpha, red / divisor, green / divisor, blue / divisor};
}

void layByMode(World& frame, int y, float const* rgba, BlendRow<PIXEL_ARGB32> blend) {
    float* pixel = frame.rowAs<float>(y);  // a float world keeps alpha first too
    for (int x = 0; x < frame.width(); ++x, pixel += 4, rgba += 4) {
        StraightPixel result = {rgba[3], rgba[0], rgba[1], rgba[2]};
        if (pixel[0] != 0) {
            StraightPixel const front = straight(pixel[0], pixel[1], pixel[2], pixel[3]);
            StraightPixel const back = straight(rgba[3], rgba[0], rgba[1], rgba[2]);
            blend(front.data(), back.data(), result.data(), 1, {});
            float const factor = result[0] == 0 ? 1 : result[0];
            for (std::size_t c = 1; c < 4; ++c) result[c] *= factor;
        }
        std::copy(result.begin(), result.end(), pixel);
    }
}

}  // namespace

World readAssociatedWorld(PictureReader& picture) {
    World world({picture.width(), picture.height(), Depth::kFloat});
    picture.readAssociated([&world](int y, float const* rgba) { putRow(world, y, rgba); });
    return world;
}

void renderInMemory(std::vector<Parameter> const& parameters, World& layer, World& frame,
                    ImageSizes const& full, FrameRequest const& moment,
                    std::string const& layerName) {
    PluginHost_Memory_Impl host(describe(layer), describe(frame), MemoryHostFamily::kFXPLUG);
    setControls(host, parameters, full);
    setShutter(host, parameters, moment.shutter);
    host.setTime({moment.time, moment.timeBase.step, static_cast<int>(moment.timeBase.scale)},
                 moment.totalTime);
    CommandResult result;
    result.code = Render(&host);
    checkResult(result, layerName);
}

namespace {

void layRow(World& frame, int y, float const* rgba, int mode) {
    if (mode == PF_Xfer_IN_FRONT)
        layNormally(frame, y, rgba);
    else
        layByMode(frame, y, rgba, blendRowOfMode<PIXEL_ARGB32>(mode));
}

}  // namespace

void layOver(World& frame, PictureReader& plate, int mode) {
    plate.readAssociated(
        [&frame, mode](int y, float const* rgba) { layRow(frame, y, rgba, mode); });
}

void layOver(World& frame, World const& plate, int mode) {
    std::vector<float> rgba(static_cast<std::size_t>(frame.width()) * 4);
    for (int y = 0; y < frame.height(); ++y) {
        getRow(plate, y, rgba.data());
        layRow(frame, y, rgba.data(), mode);
    }
}

}  // namespace zelk

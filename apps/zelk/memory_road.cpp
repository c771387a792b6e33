// Controls and buffers of the memory road; see memory_road.h.
#include "apps/zelk/memory_road.h"

#include <algorithm>
#include <array>

#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "apps/zelk/parameter_names.h"
#include "apps/zelk/parameter_values.h"
#include "apps/zelk/world_rows.h"
#include "effect/Render.h"
#include "host/PluginHost_Memory_Impl.h"

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

/// Points become fractions: From Pins of the layer, all others of the frame.
void setPoint(PluginHost_Memory_Impl& host, Parameter const& parameter, World const& layer,
              World const& frame) {
    bool const isFrom = parameter.index >= kFromPins && parameter.index < kFromPins + 4;
    World const& image = isFrom ? layer : frame;
    PF_PointDef const& point = parameter.current.u.td;
    host.setPoint(parameter.index, fromFixed(point.x_value) / image.width(),
                  fromFixed(point.y_value) / image.height());
}

/// "Comp Settings" means a composition's shutter, and that of a still picture is off.
unsigned motionBlurEntry(unsigned entry) {
    constexpr unsigned kCompSettings = 2;
    return entry == kCompSettings ? 0 : entry;
}

void setControls(PluginHost_Memory_Impl& host, std::vector<Parameter> const& parameters,
                 World const& layer, World const& frame) {
    for (Parameter const& parameter : parameters) {
        if (!parameter.hasValue()) continue;
        PF_ParamDef const& def = parameter.current;
        switch (parameter.type()) {
            case PF_Param_POINT:
                setPoint(host, parameter, layer, frame);
                break;
            case PF_Param_COLOR:
                host.setColor(parameter.index, def.u.cd.value.red / 255.0,
                              def.u.cd.value.green / 255.0, def.u.cd.value.blue / 255.0);
                break;
            case PF_Param_POPUP: {
                unsigned const entry = static_cast<unsigned>(numberOf(def)) - 1;
                host.setPopup(parameter.index,
                              parameter.index == kMotionBlur ? motionBlurEntry(entry) : entry);
                break;
            }
            default:
                host.setFloat(parameter.index, numberOf(def));
                break;
        }
    }
}

void layNormally(World& frame, int y, float const* rgba) {
    ChannelOrder const order = channelOrder(frame.spec());
    int const place[4] = {order.red, order.green, order.blue, order.alpha};
    float* pixel = frame.rowAs<float>(y);
    for (int x = 0; x < frame.width(); ++x, pixel += 4, rgba += 4) {
        float const rest = 1.0f - pixel[order.alpha];
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

PF_Err renderInMemory(std::vector<Parameter> const& parameters, World& layer, World& frame) {
    PluginHost_Memory_Impl host(describe(layer), describe(frame), MemoryHostFamily::kFXPLUG);
    setControls(host, parameters, layer, frame);
    return Render(&host);
}

void layOver(World& frame, PictureReader& plate, int mode) {
    plate.readAssociated([&frame, mode](int y, float const* rgba) {
        if (mode == PF_Xfer_IN_FRONT)
            layNormally(frame, y, rgba);
        else
            layByMode(frame, y, rgba, blendRowOfMode<PIXEL_ARGB32>(mode));
    });
}

}  // namespace zelk

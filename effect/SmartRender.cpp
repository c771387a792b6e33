// The two commands of the smart render protocol; see the header.
#include "effect/SmartRender.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "Transform/Common/OwnedRaster.h"
#include "Transform/Common/SaturatingCast.h"
#include "effect/CheckedOutParams.h"
#include "effect/HostRender.h"
#include "effect/PassRecords.h"
#include "host/PluginHost_AE_Impl.h"
#include "host/PluginRaster_AE_Impl.h"
#include "params/FixedPoint.h"

namespace {

constexpr A_long kInputLayer = kParamInputLayer;  ///< the layer's check-out identifier, too

/// Sizes in pixels at the command's resolution, truncated.
struct ScaledSizes {
    int marginX, marginY;  ///< Grow Bounds
    int layerWidth, layerHeight;
};

ScaledSizes scaledSizes(PF_InData const& in_data, CheckedOutParams& params) {
    double const dsx = QVS::ratio(in_data.downsample_x), dsy = QVS::ratio(in_data.downsample_y);
    const A_long grow = params[kParamGrowBounds].u.sd.value;
    return {truncatedToInt32(dsx * grow), truncatedToInt32(dsy * grow),
            truncatedToInt32(in_data.width * dsx), truncatedToInt32(in_data.height * dsy)};
}

/// Far beyond any layer: what the host wants of the output says nothing of what the pins need.
PF_LRect wholeLayer(PF_LRect const& asked) {
    constexpr A_long kFar = 10000;
    if (asked.right <= asked.left || asked.bottom <= asked.top) return {-kFar, -kFar, kFar, kFar};
    return {std::min(asked.left, -kFar), std::min(asked.top, -kFar), std::max(asked.right, kFar),
            std::max(asked.bottom, kFar)};
}

/// Null for no image.
PF_EffectWorld* worldOf(OwnedRaster const& raster) {
    return raster.get() ? raster->getAERaster()->world : nullptr;
}

void throwOnError(PF_Err err) {
    if (err) throw static_cast<int>(err);
}

/// The input's place within the output's frame; rectangles of the host have 16 bits.
QV_Rect inputPlace(PF_EffectWorld const& input, PF_EffectWorld const& output) {
    auto const offset = [](A_long inner, A_long outer) {
        return static_cast<A_short>(std::int64_t{inner} - outer);
    };
    const A_short left = offset(input.origin_x, output.origin_x);
    const A_short top = offset(input.origin_y, output.origin_y);
    return {top, left, static_cast<A_short>(top + input.height),
            static_cast<A_short>(left + input.width)};
}

/// Images of the output's size for a frame that the layer doesn't fill: `expanded` holds the layer
/// in its place and becomes the host object's input, `target` its output.
class GrownImages {
public:
    explicit GrownImages(PluginHost_AE_Impl& host) : m_target(&host), m_expanded(&host) {}

    void enter(PluginHost_AE_Impl& host, PF_EffectWorld* input, PF_EffectWorld* output) {
        PluginRaster_AE_Impl from(input, &host), to(output, &host);
        auto const type = to.getPixelType();
        throwOnError(host.queryError());
        for (OwnedRaster* image : {&m_expanded, &m_target}) {
            throwOnError(
                image->allocate(output->width, output->height, type, PluginRaster_API::kCleared));
            worldOf(*image)->origin_x = worldOf(*image)->origin_y = 0;
        }
        QV_Rect source = {0, 0, static_cast<A_short>(input->height),
                          static_cast<A_short>(input->width)};
        QV_Rect place = inputPlace(*input, *output);
        throwOnError(host.copy(&from, m_expanded.get(), &source, &place));
        host.params[kParamInputLayer]->u.ld = *worldOf(m_expanded);
        host.setOutputRaster(m_target.get());
    }

    /// Brings the result to the host's own output; nothing where the frame was not grown.
    PF_Err leave(PF_InData* in_data, PF_EffectWorld* output) {
        if (!worldOf(m_target)) return PF_Err_NONE;
        const PF_Err filled = in_data->utils->fill(in_data->effect_ref, nullptr, nullptr, output);
        const PF_Err copied =
            in_data->utils->copy(in_data->effect_ref, worldOf(m_target), output, nullptr, nullptr);
        return filled ? filled : copied;
    }

private:
    OwnedRaster m_target, m_expanded;  // go back in reverse order, the expanded layer first
};

RenderSettings marginSettings(PF_EffectWorld const& output, ScaledSizes const& sizes) {
    RenderSettings settings = wholeImageSettings(output.width, output.height);
    settings.frameShiftX = sizes.marginX;
    settings.frameShiftY = sizes.marginY;
    return settings;
}

PF_EffectWorld* checkOutOutput(PF_InData* in_data, PF_SmartRenderExtra* extra) {
    constexpr PF_Err kNoOutput = 1;
    PF_EffectWorld* output = nullptr;
    throwOnError(extra->cb->checkout_output(in_data->effect_ref, &output));
    if (!output) throw static_cast<int>(kNoOutput);
    return output;
}

/// Throws the code of an image that can't be had or copied; that of a render is the result.
PF_Err renderLayer(PF_InData* in_data, PF_OutData* out_data, CheckedOutParams& params,
                   PF_EffectWorld* input, PF_SmartRenderExtra* extra) {
    params[kParamInputLayer].u.ld = *input;
    PF_EffectWorld* output = checkOutOutput(in_data, extra);
    PluginHost_AE_Impl host(in_data, out_data, params.array(), output);
    const ScaledSizes sizes = scaledSizes(*in_data, params);
    host.setOutputSize(sizes.layerWidth, sizes.layerHeight);

    GrownImages grown(host);
    if (input->width != output->width || input->height != output->height)
        grown.enter(host, input, output);
    RenderSettings settings = marginSettings(*output, sizes);
    host.setUserData(&settings);
    const PF_Err rendered = renderOnHost(host);
    const PF_Err brought = grown.leave(in_data, output);
    return rendered ? rendered : brought;
}

/// The output of a layer without pixels.
void clearOutput(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                 PF_SmartRenderExtra* extra) {
    PF_EffectWorld* output = nullptr;
    extra->cb->checkout_output(in_data->effect_ref, &output);
    if (!output) return;
    PluginHost_AE_Impl host(in_data, out_data, params, output);
    host.setUserData(extra);
    host.fillOutput();
}

}  // namespace

PF_Err SmartPreRender(PF_InData* in_data, PF_OutData*, PF_ParamDef**, PF_LayerDef*,
                      PF_PreRenderExtra* extra) {
    CheckedOutParams params(in_data);
    if (params.error()) return params.error();

    PF_RenderRequest request = extra->input->output_request;
    request.field = PF_Field_FRAME;
    request.channel_mask |= PF_ChannelMask_ARGB;
    request.preserve_rgb_of_zero_alpha = 1;
    request.rect = wholeLayer(request.rect);
    PF_CheckoutResult unread{};
    const PF_Err err = extra->cb->checkout_layer(in_data->effect_ref, kInputLayer, kInputLayer,
                                                 &request, in_data->current_time,
                                                 in_data->time_step, in_data->time_scale, &unread);

    const ScaledSizes sizes = scaledSizes(*in_data, params);
    PF_PreRenderOutput& answer = *extra->output;
    answer.result_rect = {truncatedToInt32(-1.0 * sizes.marginX),
                          truncatedToInt32(-1.0 * sizes.marginY),
                          truncatedToInt32(1.0 * sizes.marginX + sizes.layerWidth),
                          truncatedToInt32(1.0 * sizes.marginY + sizes.layerHeight)};
    answer.max_result_rect = answer.result_rect;
    answer.solid = 0;
    answer.flags |= PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS;
    return err;
}

PF_Err SmartRender(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** callParams, PF_LayerDef*,
                   PF_SmartRenderExtra* extra) {
    CheckedOutParams params(in_data);
    if (params.error()) return params.error();
    try {
        PF_EffectWorld* input = nullptr;
        throwOnError(extra->cb->checkout_layer_pixels(in_data->effect_ref, kInputLayer, &input));
        if (input) return renderLayer(in_data, out_data, params, input, extra);
        params.giveBack();
        clearOutput(in_data, out_data, callParams, extra);
        return PF_Err_NONE;
    } catch (int err) {
        std::puts("Error");
        return err;
    }
}

// Whole images beyond the plain wrappers: laying one over another with a host transfer mode,
// private copies of a layer at another time, interleaving fields.
//
// Times are the host's integer units. Every image that is taken from the host here goes back on
// every path, in the reverse order.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "Transform/Common/OwnedRaster.h"
#include "Transform/Common/SaturatingCast.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"
#include "host/ChannelOrder.h"
#include "host/PluginHost_AE_Impl.h"
#include "host/PluginRaster_AE_Impl.h"
#include "params/ParamIndex.h"

using RasterInfo = PluginHost_API::RasterInfo;

namespace {

constexpr PF_Err kNoPixels = 1;

/// A host whose query fails describes an image without pixels.
bool isDescribed(RasterInfo const& info) {
    return info.data || info.width == 0 || info.height == 0;
}

/// Moves every channel of `image`'s pixels from its place in `from` to its place in `to`.
void reorderChannels(RasterInfo const& image, ChannelPositions const& from,
                     ChannelPositions const& to) {
    int const channelBytes = image.pixelBytes / 4;
    std::array<unsigned char, 16> old;
    for (int y = 0; y < image.height; ++y) {
        unsigned char* pixel = pixelRow<unsigned char>(image, y);
        for (int x = 0; x < image.width; ++x, pixel += image.pixelBytes) {
            std::memcpy(old.data(), pixel, static_cast<std::size_t>(image.pixelBytes));
            for (std::size_t c = 0; c < 4; ++c)
                std::memcpy(pixel + to[c] * channelBytes, old.data() + from[c] * channelBytes,
                            static_cast<std::size_t>(channelBytes));
        }
    }
}

/// Applies `fade` to the alpha of every pixel.
template <class Channel, class Fade>
void fadeAlpha(RasterInfo const& image, Fade const& fade) {
    int const alpha = channelPositionsOf(image.format)[3];
    for (int y = 0; y < image.height; ++y) {
        auto* channel = pixelRow<Channel>(image, y) + alpha;
        for (int x = 0; x < image.width; ++x, channel += 4) *channel = fade(*channel);
    }
}

/// `scale` counts 256ths, `opacity` is the fraction that float pixels take.
void fadeImage(RasterInfo const& image, int scale, double opacity) {
    if (image.format == kFormatARGB32)
        fadeAlpha<float>(image, [=](float a) { return static_cast<float>(a * opacity); });
    else if (image.format == kFormatARGB15)
        fadeAlpha<A_u_short>(image,
                             [=](A_u_short a) { return static_cast<A_u_short>((a * scale) >> 8); });
    else
        fadeAlpha<A_u_char>(image,
                            [=](A_u_char a) { return static_cast<A_u_char>((a * scale) >> 8); });
}

/// A host time limited to the layer and truncated; limited first, so that any time is safe.
int withinLayer(double time, A_long totalTime) {
    double const latest = std::max<A_long>(totalTime, 0);
    return time > 0.0 ? static_cast<int>(std::min(time, latest)) : 0;
}

PF_CompositeMode compositeMode(int mode, double opacity, bool isDeep) {
    PF_CompositeMode result{};
    result.xfer = static_cast<PF_Xfer_Mode>(mode);
    result.opacity = static_cast<A_u_char>(255.0 * limitedOpacity(opacity));
    if (isDeep) result.opacitySu = static_cast<A_u_short>(((result.opacity << 15) + 128) / 255);
    return result;
}

}  // namespace

int PluginHost_AE_Impl::copy(RasterInfo const* from, RasterInfo* to) {
    auto const rowLength =
        static_cast<std::size_t>(std::min(from->width, to->width)) * to->pixelBytes;
    int const rows = std::min(from->height, to->height);
    for (int y = 0; y < rows; ++y)
        std::memcpy(pixelRow<unsigned char>(*to, y), pixelRow<unsigned char>(*from, y), rowLength);
    return 0;
}

int PluginHost_AE_Impl::blend(int mode, double opacity, double fromOpacity, PluginRaster_API* from,
                              PluginRaster_API* to) {
    PF_EffectWorld* fromWorld = from->getAERaster()->world;
    PF_EffectWorld* toWorld = to->getAERaster()->world;
    bool const isDeep = (fromWorld->world_flags & PF_WorldFlag_DEEP) != 0;
    const PF_CompositeMode composite = compositeMode(mode, opacity, isDeep);
    double const fade = limitedOpacity(fromOpacity);
    int const scale = static_cast<int>(255.0 * fade);

    OwnedRaster foreground(this);
    int err = foreground.allocate(to->getWidth(), to->getHeight(), to->getPixelType());
    if (err) return err;
    PF_EffectWorld foregroundWorld = *foreground->getAERaster()->world;

    PF_ProgPtr effect = in_data->effect_ref;
    err = in_data->utils->copy(effect, toWorld, &foregroundWorld, nullptr, nullptr);
    if (!err) err = in_data->utils->copy(effect, fromWorld, toWorld, nullptr, nullptr);
    if (!err && scale < 255) {
        RasterInfo info{};
        getRasterInfo(to, &info);
        err = m_queryError ? m_queryError : isDescribed(info) ? PF_Err_NONE : kNoPixels;
        if (!err) fadeImage(info, scale, fade);
    }
    if (!err && !in_data->utils->transfer_rect) err = PF_Err_INVALID_CALLBACK;
    if (!err) {
        const PF_Rect whole = {0, 0, static_cast<A_short>(toWorld->height),
                               static_cast<A_short>(toWorld->width)};
        err = in_data->utils->transfer_rect(effect, in_data->quality, 1, in_data->field, &whole,
                                            &foregroundWorld, &composite, nullptr, 0, 0, toWorld);
    }
    return err;
}

PluginRaster_API* PluginHost_AE_Impl::lockTemporalRaster(double frame, bool, bool swapFields) {
    if (in_data->field == PF_Field_FRAME) {
        double const now = getCurrentTime();
        double const step = getLocalTimeStep();
        // A layer without a frame length has one frame, the present one.
        double const time = step != 0.0 ? now + step * (frame - now / step) : now;
        return lockTemporalRasterImpl(withinLayer(time, in_data->total_time));
    }
    double const firstTime = std::trunc(frame) * in_data->time_step * 2;
    auto const lock = [&](double time) {
        return lockTemporalRasterImpl(withinLayer(time, in_data->total_time));
    };
    OwnedRaster first(this, lock(firstTime));
    OwnedRaster second(this, lock(firstTime + in_data->time_step));
    if (!first.get() || !second.get()) return nullptr;
    if (swapFields)
        mergeFrames(this, first.get(), second.get(), first.get());
    else
        mergeFrames(this, second.get(), first.get(), first.get());
    return first.release();
}

int PluginHost_AE_Impl::unlockTemporalRaster(PluginRaster_API* raster) {
    const OwnedRaster goes(this, raster);
    return 0;
}

PluginRaster_API* PluginHost_AE_Impl::lockTemporalRasterImpl(int time) {
    return copyLayerAt(kParamInputLayer, time, false);
}

PluginRaster_API* PluginHost_AE_Impl::checkoutLayer(int index, int time) {
    return checkoutLayer(index, static_cast<double>(in_data->current_time), time);
}

PluginRaster_API* PluginHost_AE_Impl::checkoutLayer(int index, double time, int) {
    return copyLayerAt(index, withinLayer(time, in_data->total_time), true);
}

int PluginHost_AE_Impl::checkinLayer(PluginRaster_API* raster) {
    return unlockTemporalRaster(raster);
}

/// A copy, in the host's own layout for a new image, of a layer parameter at a time that is first
/// limited to the layer's length; null when the host refuses, or when the layer has no pixels and
/// `refuseEmpty` is set.
PluginRaster_API* PluginHost_AE_Impl::copyLayerAt(int index, int time, bool refuseEmpty) {
    PF_ParamDef def{};
    const PF_Err err = in_data->inter.checkout_param(
        in_data->effect_ref, index, std::max(0, std::min(time, in_data->total_time)),
        in_data->time_step, in_data->time_scale, &def);
    OwnedRaster result(this);
    bool const isEmpty = def.u.ld.width == 0 || def.u.ld.height == 0;
    if (!err && !(refuseEmpty && isEmpty)) {
        PluginRaster_AE_Impl layer(&def.u.ld, this);
        result.allocate(layer.getWidth(), layer.getHeight(), layer.getPixelType());
        if (result.get()) {
            result->getAERaster()->checkedOutIndex = index;
            RasterInfo from{}, to{};
            getRasterInfo(&layer, &from);
            getRasterInfo(result.get(), &to);
            if (isDescribed(from) && isDescribed(to)) {
                copy(&from, &to);
                if (from.format != to.format)
                    reorderChannels(to, channelPositionsOf(from.format),
                                    channelPositionsOf(to.format));
            } else {
                result.giveBack();
            }
        }
    }
    in_data->inter.checkin_param(in_data->effect_ref, &def);
    return result.release();
}

int mergeFrames(PluginHost_API* host, PluginRaster_API* odd, PluginRaster_API* even,
                PluginRaster_API* destination) {
    RasterInfo oddInfo{}, evenInfo{}, info{};
    host->getRasterInfo(odd, &oddInfo);
    host->getRasterInfo(even, &evenInfo);
    host->getRasterInfo(destination, &info);
    if (!isDescribed(oddInfo) || !isDescribed(evenInfo) || !isDescribed(info)) return 1;
    int const rows = std::min({oddInfo.height, evenInfo.height, info.height});
    auto const rowLength =
        static_cast<std::size_t>(std::min({oddInfo.width, evenInfo.width, info.width})) *
        info.pixelBytes;
    for (int y = 0; y < rows; ++y)
        std::memmove(pixelRow<unsigned char>(info, y),
                     pixelRow<unsigned char>(y % 2 ? oddInfo : evenInfo, y), rowLength);
    return 1;
}

int bgra_to_argb(PluginHost_AE_Impl* host, PluginRaster_API* raster) {
    RasterInfo info{};
    host->getRasterInfo(raster, &info);
    if (!isDescribed(info)) return kNoPixels;
    reorderChannels(info, {0, 1, 2, 3}, {3, 2, 1, 0});
    return 0;
}

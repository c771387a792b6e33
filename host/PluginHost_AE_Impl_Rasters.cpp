// Images of the host: making and freeing them, and telling how their pixels are laid out.
//
// Pixel formats are compared as four characters in memory order. 16-bit worlds have their white at
// 32768 (depth class 15 bits). A world of allocRaster is a record of ours around pixels of the
// host's, which go back by the same road that they came.
#include <memory>

#include "host/PluginHost_AE_Impl.h"
#include "host/PluginRaster_AE_Impl.h"

using PixelType = PluginRaster_API::PixelType;

namespace {

/// Depth classes that the `utils` callbacks can make and free.
bool isCallbackDepth(PixelType type) {
    return type == PluginRaster_API::kPixelType8 || type == PluginRaster_API::kPixelType15;
}

struct Layout {
    QV_RasterFormat format;
    A_long pixelBytes;
};

Layout layoutOf(PF_PixelFormat format) {
    switch (format) {
        case PF_PixelFormat_ARGB64:
            return {kFormatARGB15, 8};
        case PF_PixelFormat_BGRA32:
            return {kFormatBGRA8, 4};
        case PF_PixelFormat_ARGB128:
            return {kFormatARGB32, 16};
        default:
            return {kFormatARGB8, 4};
    }
}

}  // namespace

PixelType PluginRaster_AE_Impl::getPixelType() {
    switch (host->formatOfWorld(world)) {
        case PF_PixelFormat_ARGB128:
            return kPixelTypeFloat;
        case PF_PixelFormat_ARGB64:
            return kPixelType15;
        default:
            return kPixelType8;
    }
}

void PluginRaster_AE_Impl::setHost(PluginHost_API* newHost) { host = newHost->getAEHost(); }

PF_PixelFormat PluginHost_AE_Impl::formatOfWorld(PF_EffectWorld const* world) {
    PF_PixelFormat format = 0;
    PF_Err err = PF_Err_NONE;
    if (tellsPixelFormats())
        err = worldSuite->PF_GetPixelFormat(world, &format);
    else if (isModern() && isApplication(kAppPremierePro))
        err = PF_Err_BAD_CALLBACK_PARAM;  // its channel order is told by the missing suite alone
    else if (world->world_flags & PF_WorldFlag_DEEP)
        format = PF_PixelFormat_ARGB64;
    if (!m_queryError) m_queryError = err;
    return format;
}

void PluginHost_AE_Impl::describeWorld(PF_EffectWorld* world, bool isLayer, RasterInfo* info) {
    PF_Pixel8* pixels8 = static_cast<PF_Pixel8*>(world->data);
    PF_Pixel16* pixels16 = static_cast<PF_Pixel16*>(world->data);
    if (!isApplication(kAppPremierePro)) {
        // A refused query leaves what the record itself says. So does one without an answer, which
        // a host gives for another depth than the world has: what it tells of its own images may be
        // wrong, and they are taken to have the output's format. Of the output it has to be right.
        PF_Pixel8* told8 = nullptr;
        PF_Pixel16* told16 = nullptr;
        bool const isOutput = world == output;
        if (!in_data->utils->get_pixel_data8(world, nullptr, &told8) && (told8 || isOutput))
            pixels8 = told8;
        if (!in_data->utils->get_pixel_data16(world, nullptr, &told16) && (told16 || isOutput))
            pixels16 = told16;
    }
    const Layout layout = layoutOf(formatOfWorld(world));
    *info = {};
    info->format = layout.format;
    info->pixelBytes = layout.pixelBytes;
    info->rangeScale = 1.0f;
    switch (layout.format) {
        case kFormatARGB15:
            info->data = pixels16;
            info->rangeScale = isLayer ? 2.0f : 0.5f;
            break;
        case kFormatARGB32:
            info->data = world->data;
            break;
        default:
            info->data = pixels8;
            break;
    }
    info->width = world->width;
    info->height = world->height;
    info->rowBytes = world->rowbytes;
    info->pixelAspect = static_cast<float>(geAspectRatio(nullptr));
}

void PluginHost_AE_Impl::getInputRasterInfo(int index, RasterInfo* info) {
    describeWorld(&params[index]->u.ld, true, info);
}

void PluginHost_AE_Impl::getOutputRasterInfo(RasterInfo* info) {
    describeWorld(output, true, info);
}

void PluginHost_AE_Impl::getRasterInfo(PluginRaster_API* raster, RasterInfo* info) {
    if (RasterInfo const* own = raster->getRasterInfoBase())
        *info = *own;
    else
        describeWorld(raster->getAERaster()->world, false, info);
}

PluginRaster_API* PluginHost_AE_Impl::getInputRaster(int index) {
    return new PluginRaster_AE_Impl(&params[index]->u.ld, this);
}

PluginRaster_API* PluginHost_AE_Impl::getOutputRaster() {
    return new PluginRaster_AE_Impl(output, this);
}

PluginRaster_API* PluginHost_AE_Impl::allocRaster(int width, int height, PixelType type, int& error,
                                                  int flags) {
    error = PF_Err_NONE;
    bool const bySuite = isModern() && !isCallbackDepth(type);
    if (bySuite && type != PluginRaster_API::kPixelTypeFloat) return nullptr;
    const A_long deep = type == PluginRaster_API::kPixelType15 ? PF_NewWorldFlag_DEEP_PIXELS : 0;

    // Our own memory comes first, so that no image of the host's is lost for want of it.
    auto world = std::make_unique<PF_EffectWorld>();
    auto raster = std::make_unique<PluginRaster_AE_Impl>(world.get(), this);
    if (!bySuite)
        error = in_data->utils->new_world(in_data->effect_ref, width, height, flags | deep,
                                          world.get());
    else if (worldSuite)
        error = worldSuite->PF_NewWorld(in_data->effect_ref, width, height, 0,
                                        PF_PixelFormat_ARGB128, world.get());
    else
        error = PF_Err_BAD_CALLBACK_PARAM;
    if (error) return nullptr;
    world.release();
    raster->madeBySuite = bySuite;
    error = fill(raster.get());
    if (error) {  // full of what was there before
        deallocRaster(raster.get());
        return nullptr;
    }
    return raster.release();
}

PluginRaster_API* PluginHost_AE_Impl::allocRaster(RasterInfo* info) {
    if (convertToPixelType(info->format) != PluginRaster_API::kPixelType8) return nullptr;
    auto world = std::make_unique<PF_EffectWorld>();
    auto raster = std::make_unique<PluginRaster_AE_Impl>(world.get(), this);
    const PF_Err err = in_data->utils->new_world(in_data->effect_ref, info->width, info->height,
                                                 PF_NewWorldFlag_NONE, world.get());
    if (info->data) deallocMemory(info->data);
    delete info;
    if (err) return nullptr;
    world.release();
    return raster.release();
}

int PluginHost_AE_Impl::deallocRaster(PluginRaster_API* raster) {
    PluginRaster_AE_Impl* aeRaster = raster ? raster->getAERaster() : nullptr;
    if (!aeRaster || !aeRaster->world) return 0;
    // By the road that it came. Its format is not asked for again: a refusal would put the frame in
    // doubt, which may be finished by now.
    const PF_Err err = aeRaster->madeBySuite
                           ? worldSuite->PF_DisposeWorld(in_data->effect_ref, aeRaster->world)
                           : in_data->utils->dispose_world(in_data->effect_ref, aeRaster->world);
    delete aeRaster->world;
    aeRaster->world = nullptr;
    return err;
}

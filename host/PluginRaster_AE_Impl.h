// PluginRaster_AE_Impl: one image of a host of the After Effects family.
//
// It points at a PF_EffectWorld; it never owns the host object. The world is the host's own for
// input and output rasters, and the raster's for rasters of allocRaster until deallocRaster.
#pragma once

#include "host/PluginRaster_API.h"
#include "platform/effect_api/effect_types.h"

class PluginHost_AE_Impl;

class PluginRaster_AE_Impl : public PluginRaster_API {
public:
    PluginRaster_AE_Impl(PF_EffectWorld* effectWorld, PluginHost_AE_Impl* aeHost)
        : world(effectWorld), host(aeHost) {}

    int getWidth() override { return world->width; }
    int getHeight() override { return world->height; }
    /// On a modern host by the world's pixel format, else by the world's deep flag.
    PixelType getPixelType() override;
    int getRowBytes() override { return world->rowbytes; }

    PluginRaster_AE_Impl* getAERaster() override { return this; }
    void* getAVX1Raster() override { return nullptr; }
    void* getAVX2Raster() override { return nullptr; }
    void* getFXPLUGRaster() override { return nullptr; }
    void* getSPARKRaster() override { return nullptr; }

    void setHost(PluginHost_API* newHost) override;

    int getExtentTop() override { return world->extent_hint.top; }
    int getExtentLeft() override { return world->extent_hint.left; }
    int getExtentBottom() override { return world->extent_hint.bottom; }
    int getExtentRight() override { return world->extent_hint.right; }

    PF_EffectWorld* world;
    PluginHost_AE_Impl* host;
    A_long checkedOutIndex = 0;  ///< the layer parameter that a checkoutLayer raster came from
    A_long madeBySuite = 0;      ///< the world goes back by the world suite
};

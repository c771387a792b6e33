// OwnedRaster: an image of the host's, given back when it goes.
//
// Ownership: the pixels go through deallocRaster before the object is deleted. The host must
// outlive it.
#pragma once

#include <utility>

#include "host/PluginHost_API.h"

class OwnedRaster {
public:
    explicit OwnedRaster(PluginHost_API* host, PluginRaster_API* raster = nullptr)
        : m_host(host), m_raster(raster) {}
    ~OwnedRaster() { giveBack(); }
    OwnedRaster(OwnedRaster const&) = delete;
    OwnedRaster& operator=(OwnedRaster const&) = delete;

    /// Makes an image; called once. The result is 0, the host's code, or 1 when there was neither
    /// an image nor a code. An image that came along with a code is given back like any other.
    int allocate(int width, int height, PluginRaster_API::PixelType type, int flags = 0) {
        constexpr int kNoRasterAndNoCode = 1;
        int error = 0;
        m_raster = m_host->allocRaster(width, height, type, error, flags);
        if (error) return error;
        return m_raster ? 0 : kNoRasterAndNoCode;
    }

    /// Of another origin than allocRaster; called once, instead of allocate.
    void adopt(PluginRaster_API* raster) { m_raster = raster; }

    /// Null where there is no image.
    PluginRaster_API* get() const { return m_raster; }
    PluginRaster_API* operator->() const { return m_raster; }
    /// The image is the caller's from here on.
    PluginRaster_API* release() { return std::exchange(m_raster, nullptr); }

    void giveBack() {
        PluginRaster_API* const raster = release();
        if (!raster) return;
        m_host->deallocRaster(raster);
        delete raster;
    }

private:
    PluginHost_API* m_host;
    PluginRaster_API* m_raster;
};

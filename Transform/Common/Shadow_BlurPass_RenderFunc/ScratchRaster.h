// ScratchRaster: an image of the host's for the length of one step, given back when it goes.
#pragma once

#include "host/PluginHost_API.h"

class ScratchRaster {
public:
    explicit ScratchRaster(PluginHost_API* host) : m_host(host) {}
    /// Frees the pixels and the object, also those that came along with a failure.
    ~ScratchRaster();
    ScratchRaster(ScratchRaster const&) = delete;
    ScratchRaster& operator=(ScratchRaster const&) = delete;

    /// Makes an image of the given size and of `model`'s depth; called once. The result is 0, the
    /// host's code, or 1 when there was neither an image nor a code. The pixels are not cleared.
    int allocate(PluginHost_API::RasterInfo const& model, int width, int height);
    PluginHost_API::RasterInfo& info() { return m_info; }

private:
    PluginHost_API* m_host;
    PluginRaster_API* m_raster = nullptr;
    PluginHost_API::RasterInfo m_info{};
};

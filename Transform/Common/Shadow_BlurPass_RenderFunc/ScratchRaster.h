// ScratchRaster: an image of the host's for the length of one step, given back when it goes.
#pragma once

#include "Transform/Common/OwnedRaster.h"

class ScratchRaster {
public:
    explicit ScratchRaster(PluginHost_API* host) : m_host(host), m_raster(host) {}

    /// Makes an image of the given size and of `model`'s depth; called once. The result is 0, the
    /// host's code, or 1 when there were neither pixels nor a code. The pixels are not cleared.
    int allocate(PluginHost_API::RasterInfo const& model, int width, int height);
    PluginHost_API::RasterInfo& info() { return m_info; }

private:
    PluginHost_API* m_host;
    OwnedRaster m_raster;
    PluginHost_API::RasterInfo m_info{};
};

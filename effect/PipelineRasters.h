// PipelineRasters: the images of one pipeline call, given back on every path in one order.
//
// Ownership: the working images own their pixels and go through deallocRaster before they are
// deleted; of the output only the wrapper is ours.
#pragma once

#include "host/PluginHost_API.h"

class PipelineRasters {
public:
    explicit PipelineRasters(PluginHost_API* host) : m_host(host) {}
    /// Gives back `sample`, `interim`, `edged`, the output's wrapper and `work`, in this order.
    ~PipelineRasters();
    PipelineRasters(PipelineRasters const&) = delete;
    PipelineRasters& operator=(PipelineRasters const&) = delete;

    /// Puts a new image of `model`'s size and depth into `slot`. The result is 0, the host's code,
    /// or 1 when there was neither image nor code. A slot filled along with a code is given back
    /// like any other.
    int allocate(PluginRaster_API*& slot, PluginRaster_API* model,
                 PluginRaster_API::PixelType type);

    PluginRaster_API* work = nullptr;     ///< private copy of the input, source of every pass
    PluginRaster_API* out = nullptr;      ///< wrapper over the host's output
    PluginRaster_API* interim = nullptr;  ///< between the passes of a two-pass render
    PluginRaster_API* sample = nullptr;   ///< one temporal sample before it is merged
    PluginRaster_API* edged = nullptr;    ///< copy of `work`, blurred and faded for Super Sample

private:
    void release(PluginRaster_API* raster);

    PluginHost_API* m_host;
};

// Allocation and return of the pipeline's images.
#include "effect/PipelineRasters.h"

namespace {
constexpr int kNoRasterAndNoCode = 1;
}

PipelineRasters::~PipelineRasters() {
    release(sample);
    release(interim);
    release(edged);
    delete out;
    release(work);
}

int PipelineRasters::allocate(PluginRaster_API*& slot, PluginRaster_API* model,
                              PluginRaster_API::PixelType type) {
    int error = 0;
    slot = m_host->allocRaster(model->getWidth(), model->getHeight(), type, error, 0);
    if (error) return error;
    return slot ? 0 : kNoRasterAndNoCode;
}

void PipelineRasters::release(PluginRaster_API* raster) {
    if (!raster) return;
    m_host->deallocRaster(raster);
    delete raster;
}

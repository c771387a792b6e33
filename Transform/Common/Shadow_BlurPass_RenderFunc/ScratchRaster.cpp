// Allocation and return of a scratch image.
#include "Transform/Common/Shadow_BlurPass_RenderFunc/ScratchRaster.h"

namespace {
constexpr int kNoRasterAndNoCode = 1;
}

ScratchRaster::~ScratchRaster() {
    if (!m_raster) return;
    m_host->deallocRaster(m_raster);
    delete m_raster;
}

int ScratchRaster::allocate(PluginHost_API::RasterInfo const& model, int width, int height) {
    int error = 0;
    m_raster = m_host->allocRaster(width, height, convertToPixelType(model.format), error, 0);
    if (error) return error;
    if (!m_raster) return kNoRasterAndNoCode;
    m_host->getRasterInfo(m_raster, &m_info);
    return m_info.data ? 0 : kNoRasterAndNoCode;
}

// Allocation of a scratch image.
#include "Transform/Common/Shadow_BlurPass_RenderFunc/ScratchRaster.h"

int ScratchRaster::allocate(PluginHost_API::RasterInfo const& model, int width, int height) {
    constexpr int kNoPixels = 1;
    if (int const error = m_raster.allocate(width, height, convertToPixelType(model.format)))
        return error;
    m_host->getRasterInfo(m_raster.get(), &m_info);
    return m_info.data ? 0 : kNoPixels;
}

// The memory host's images: raster objects by new and delete, clearing, copying, sizes. The
// contract of each operation is in PluginHost_API.h and PluginHost_Memory_Impl.h.
#include "Transform/Common/OwnedRaster.h"
#include "Transform/Common/PixelBlocks.h"
#include "Transform/Common/SaturatingCast.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"
#include "host/PluginHost_Memory_Impl.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "host/ChannelOrder.h"
#include "params/ParamIndex.h"

namespace {

using PixelType = PluginRaster_API::PixelType;

constexpr int kFormatsDiffer = 1;

constexpr int kNoFormat = -1;

/// The format of an order and a depth; kNoFormat where none of the eleven has both.
int formatOf(ChannelOrder order, PixelType depth) {
    constexpr int kFormats[3][5] = {
        {kFormatARGB8, kFormatARGB15, kFormatARGB14, kFormatARGB16, kFormatARGB32},
        {kFormatBGRA8, kNoFormat, kFormatBGRA14, kNoFormat, kFormatBGRA32},
        {kFormatRGBA8, kNoFormat, kNoFormat, kFormatRGBA16, kFormatRGBA32},
    };
    return depth >= 0 && depth <= 4 ? kFormats[order][depth] : kNoFormat;
}

int pixelBytesOf(QV_RasterFormat format) {
    constexpr std::array<int, 5> kBytes = {4, 8, 8, 8, 16};
    return kBytes[convertToPixelType(format)];
}

void clear(QV_RasterInfo const& info) {
    auto const runBytes = static_cast<std::size_t>(info.width) * info.pixelBytes;
    if (!info.data || !runBytes) return;
    zeroBlock(info.data, info.rowBytes, runBytes, info.height);
}

/// Where a copy reads and writes: both corners and a size that fit into both images.
struct CopyArea {
    int fromX, fromY, toX, toY, width, height;
};

/// One axis: both starts are moved past 0 together, then the length is cut to what both have.
void fitAxis(int& from, int& to, int& length, int fromSize, int toSize) {
    int const skip = std::max({0, -from, -to});
    from += skip;
    to += skip;
    length = std::min({length - skip, fromSize - from, toSize - to});
}

CopyArea copyArea(QV_RasterInfo const& from, QV_RasterInfo const& to, QV_Rect const* fromRect,
                  QV_Rect const* toRect) {
    CopyArea area{0, 0, 0, 0, from.width, from.height};
    if (fromRect) {
        area = {fromRect->left,
                fromRect->top,
                0,
                0,
                fromRect->right - fromRect->left,
                fromRect->bottom - fromRect->top};
    }
    if (toRect) {
        area.toX = toRect->left;
        area.toY = toRect->top;
        area.width = std::min(area.width, toRect->right - toRect->left);
        area.height = std::min(area.height, toRect->bottom - toRect->top);
    }
    fitAxis(area.fromX, area.toX, area.width, from.width, to.width);
    fitAxis(area.fromY, area.toY, area.height, from.height, to.height);
    return area;
}

int copyPixels(QV_RasterInfo const& from, QV_RasterInfo const& to, QV_Rect const* fromRect,
               QV_Rect const* toRect) {
    if (from.format != to.format) return kFormatsDiffer;
    const CopyArea area = copyArea(from, to, fromRect, toRect);
    if (area.width <= 0 || area.height <= 0) return 0;
    const std::ptrdiff_t pixel = from.pixelBytes;
    auto const rowBytes = static_cast<std::size_t>(area.width * pixel);
    auto* const target = pixelRow<unsigned char>(to, area.toY) + area.toX * pixel;
    auto const* const source = pixelRow<unsigned char>(from, area.fromY) + area.fromX * pixel;
    if (!mayOverlap(from, to)) {
        copyBlock(target, to.rowBytes, source, from.rowBytes, rowBytes, area.height);
        return 0;
    }
    for (std::ptrdiff_t y = 0; y < area.height; ++y)
        std::memmove(target + y * to.rowBytes, source + y * from.rowBytes, rowBytes);
    return 0;
}

}  // namespace

// ---- PluginRaster_Memory_Impl

PluginRaster_Memory_Impl::PluginRaster_Memory_Impl(QV_RasterInfo const& view) : m_info(view) {}

PluginRaster_Memory_Impl::PluginRaster_Memory_Impl(QV_RasterFormat format, int width, int height,
                                                   int rowPaddingBytes, PixelMemory::Start start) {
    int const pixelBytes = pixelBytesOf(format);
    m_info = {nullptr,    format, width, height, width * pixelBytes + rowPaddingBytes,
              pixelBytes, 1.0f,   1.0f,  0};
    auto const bytes = static_cast<std::size_t>(m_info.rowBytes) * static_cast<std::size_t>(height);
    m_pixels = PixelMemory(bytes, start);
    if (!m_pixels.data()) throw std::bad_alloc();
    m_info.data = m_pixels.data();
}

PluginRaster_Memory_Impl::~PluginRaster_Memory_Impl() {
    if (m_tally) --m_tally->rasterObjects;
}

unsigned char* PluginRaster_Memory_Impl::pixel(int x, int y) const {
    return pixelRow<unsigned char>(m_info, y) + static_cast<std::ptrdiff_t>(x) * m_info.pixelBytes;
}

void PluginRaster_Memory_Impl::releasePixels() {
    m_pixels.giveBack();
    m_info.data = nullptr;
    m_allocated = false;
}

void* PluginRaster_Memory_Impl::getAVX1Raster() {
    return m_host && m_host->getAVX1Host() ? this : nullptr;
}

void* PluginRaster_Memory_Impl::getAVX2Raster() {
    return m_host && m_host->getAVX2Host() ? this : nullptr;
}

void* PluginRaster_Memory_Impl::getFXPLUGRaster() {
    return m_host && m_host->getFXPLUGHost() ? this : nullptr;
}

// ---- Sizes and pixels

int PluginHost_Memory_Impl::getOutputWidth() {
    return m_outputWidth == -1 ? m_output.width : m_outputWidth;
}

int PluginHost_Memory_Impl::getOutputHeight() {
    return m_outputHeight == -1 ? m_output.height : m_outputHeight;
}

int PluginHost_Memory_Impl::setOutputSize(int width, int height) {
    m_outputWidth = width;
    m_outputHeight = height;
    return 0;
}

int PluginHost_Memory_Impl::fillOutput() {
    clear(m_output);
    return 0;
}

int PluginHost_Memory_Impl::fill(PluginRaster_API* raster) {
    RasterInfo info{};
    getRasterInfo(raster, &info);
    clear(info);
    return 0;
}

int PluginHost_Memory_Impl::copyInputToOutput() {
    RasterInfo input{};
    getInputRasterInfo(kParamInputLayer, &input);
    if (input.width < m_output.width || input.height < m_output.height) fillOutput();
    return copyPixels(input, m_output, nullptr, nullptr);
}

int PluginHost_Memory_Impl::copy(PluginRaster_API* from, PluginRaster_API* to) {
    return copy(from, to, nullptr, nullptr);
}

int PluginHost_Memory_Impl::copy(PluginRaster_API* from, PluginRaster_API* to, QV_Rect* fromRect,
                                 QV_Rect* toRect) {
    RasterInfo fromInfo{}, toInfo{};
    getRasterInfo(from, &fromInfo);
    getRasterInfo(to, &toInfo);
    return copyPixels(fromInfo, toInfo, fromRect, toRect);
}

void PluginHost_Memory_Impl::getInputRasterInfo(int index, RasterInfo* info) {
    auto const found = m_inputs.find(index);
    *info = found == m_inputs.end() ? RasterInfo{} : found->second;
}

void PluginHost_Memory_Impl::getRasterInfo(PluginRaster_API* raster, RasterInfo* info) {
    RasterInfo const* base = raster ? raster->getRasterInfoBase() : nullptr;
    *info = base ? *base : RasterInfo{};
}

void PluginHost_Memory_Impl::getSourceLayerDimensions(int& width, int& height) {
    RasterInfo input{};
    getInputRasterInfo(kParamInputLayer, &input);
    width = truncatedToInt32(input.width / m_scaleX);
    height = truncatedToInt32(input.height / m_scaleY);
}

// ---- Raster objects

PluginRaster_Memory_Impl* PluginHost_Memory_Impl::adopt(
    std::unique_ptr<PluginRaster_Memory_Impl> raster) {
    raster->m_host = this;
    raster->m_tally = m_tally;
    ++m_tally->rasterObjects;
    return raster.release();
}

PluginRaster_API* PluginHost_Memory_Impl::getInputRaster(int index) {
    auto const found = m_inputs.find(index);
    if (found == m_inputs.end()) return nullptr;
    return adopt(std::make_unique<PluginRaster_Memory_Impl>(found->second));
}

PluginRaster_API* PluginHost_Memory_Impl::getOutputRaster() {
    return adopt(std::make_unique<PluginRaster_Memory_Impl>(m_output));
}

PluginRaster_API* PluginHost_Memory_Impl::newImage(RasterFormat format, int width, int height,
                                                   int flags, int& error) {
    if (++m_tally->allocations == m_failAt) {
        error = m_failCode;
        if (!m_failGivesRaster) return nullptr;
        const RasterInfo empty{nullptr, format, 0, 0, 0, pixelBytesOf(format), 1.0f, 1.0f, 0};
        return adopt(std::make_unique<PluginRaster_Memory_Impl>(empty));
    }
    auto const start = flags & PluginRaster_API::kCleared ? PixelMemory::Start::kZeroed
                                                          : PixelMemory::Start::kAnything;
    auto raster = std::make_unique<PluginRaster_Memory_Impl>(format, width, height, 0, start);
    raster->m_allocated = true;
    ++m_tally->pixelBuffers;
    return adopt(std::move(raster));
}

PluginRaster_API* PluginHost_Memory_Impl::allocRaster(int width, int height, PixelType type,
                                                      int& error, int flags) {
    error = 0;
    bool const likeOutput = type == convertToPixelType(m_output.format);
    int const format =
        likeOutput ? m_output.format : formatOf(channelOrderOf(m_output.format), type);
    if (format == kNoFormat) return nullptr;
    return newImage(static_cast<RasterFormat>(format), width, height, flags, error);
}

PluginRaster_API* PluginHost_Memory_Impl::allocRaster(RasterInfo* info) {
    int error = 0;
    PluginRaster_API* raster = newImage(info->format, info->width, info->height, 0, error);
    if (info->data) deallocMemory(info->data);
    delete info;
    return raster;
}

int PluginHost_Memory_Impl::deallocRaster(PluginRaster_API* raster) {
    auto* image = dynamic_cast<PluginRaster_Memory_Impl*>(raster);
    if (!image || !image->m_allocated) return 0;
    image->releasePixels();
    --m_tally->pixelBuffers;
    return 0;
}

PluginRaster_API* PluginHost_Memory_Impl::copyOfLayer(int index) {
    RasterInfo layer{};
    getInputRasterInfo(index, &layer);
    if (layer.width <= 0 || layer.height <= 0) return nullptr;
    int error = 0;
    PluginRaster_API* image =
        allocRaster(layer.width, layer.height, convertToPixelType(layer.format), error, 0);
    if (!image) return nullptr;
    RasterInfo to{};
    getRasterInfo(image, &to);
    copyPixels(layer, to, nullptr, nullptr);
    return image;
}

PluginRaster_API* PluginHost_Memory_Impl::lockTemporalRaster(double, bool, bool) {
    return copyOfLayer(kParamInputLayer);
}

int PluginHost_Memory_Impl::unlockTemporalRaster(PluginRaster_API* raster) {
    const OwnedRaster goes(this, raster);
    return 0;
}

PluginRaster_API* PluginHost_Memory_Impl::checkoutLayer(int index, int) {
    return copyOfLayer(index);
}

PluginRaster_API* PluginHost_Memory_Impl::checkoutLayer(int index, double, int) {
    return copyOfLayer(index);
}

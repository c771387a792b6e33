// The memory host: images by new and delete, parameters from a table, maths from <cmath>. The
// contract of each operation is in PluginHost_API.h and PluginHost_Memory_Impl.h.
#include "host/PluginHost_Memory_Impl.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace {

using PixelType = PluginRaster_API::PixelType;

constexpr int kNoSuchThing = 1;

enum ChannelOrder { kOrderARGB, kOrderBGRA, kOrderRGBA };

ChannelOrder channelOrder(QV_RasterFormat format) {
    switch (format) {
        case kFormatARGB8:
        case kFormatARGB15:
        case kFormatARGB14:
        case kFormatARGB16:
        case kFormatARGB32:
        case kFormat19:
        case kFormat20:
            return kOrderARGB;
        case kFormatRGBA8:
        case kFormatRGBA16:
        case kFormatRGBA32:
            return kOrderRGBA;
        default:
            return kOrderBGRA;
    }
}

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

unsigned char* rowOf(QV_RasterInfo const& info, int y) {
    return static_cast<unsigned char*>(info.data) + static_cast<std::ptrdiff_t>(y) * info.rowBytes;
}

void clear(QV_RasterInfo const& info) {
    const auto runBytes = static_cast<std::size_t>(info.width) * info.pixelBytes;
    if (!info.data || !runBytes) return;
    for (int y = 0; y < info.height; ++y) std::memset(rowOf(info, y), 0, runBytes);
}

/// Where a copy reads and writes: both corners and a size that fit into both images.
struct CopyArea {
    int fromX, fromY, toX, toY, width, height;
};

/// One axis: both starts are moved past 0 together, then the length is cut to what both have.
void fitAxis(int& from, int& to, int& length, int fromSize, int toSize) {
    const int skip = std::max({0, -from, -to});
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
    if (from.format != to.format) return kNoSuchThing;
    const CopyArea area = copyArea(from, to, fromRect, toRect);
    if (area.width <= 0 || area.height <= 0) return 0;
    const std::ptrdiff_t pixel = from.pixelBytes;
    for (int y = 0; y < area.height; ++y) {
        std::memmove(rowOf(to, area.toY + y) + area.toX * pixel,
                     rowOf(from, area.fromY + y) + area.fromX * pixel,
                     static_cast<std::size_t>(area.width * pixel));
    }
    return 0;
}

}  // namespace

// ---- PluginRaster_Memory_Impl

PluginRaster_Memory_Impl::PluginRaster_Memory_Impl(QV_RasterInfo const& view) : m_info(view) {}

PluginRaster_Memory_Impl::PluginRaster_Memory_Impl(QV_RasterFormat format, int width, int height,
                                                   int rowPaddingBytes) {
    const int pixelBytes = pixelBytesOf(format);
    m_info = {nullptr,    format, width, height, width * pixelBytes + rowPaddingBytes,
              pixelBytes, 1.0f,   1.0f,  0};
    // Zeroed by the system page by page: an image that is never written costs no memory.
    const auto bytes = static_cast<std::size_t>(m_info.rowBytes) * static_cast<std::size_t>(height);
    m_pixels.reset(static_cast<unsigned char*>(std::calloc(std::max<std::size_t>(bytes, 1), 1)));
    if (!m_pixels) throw std::bad_alloc();
    m_info.data = m_pixels.get();
}

PluginRaster_Memory_Impl::~PluginRaster_Memory_Impl() {
    if (m_tally) --m_tally->rasterObjects;
}

unsigned char* PluginRaster_Memory_Impl::pixel(int x, int y) const {
    return rowOf(m_info, y) + static_cast<std::ptrdiff_t>(x) * m_info.pixelBytes;
}

void PluginRaster_Memory_Impl::releasePixels() {
    m_pixels.reset();
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

// ---- PluginHost_Memory_Impl: construction and settings

PluginHost_Memory_Impl::PluginHost_Memory_Impl(RasterInfo const& input, RasterInfo const& output,
                                               MemoryHostFamily family)
    : m_inputs{{0, input}}, m_output(output), m_family(family) {}

void PluginHost_Memory_Impl::setApplication(char const (&id)[5]) {
    m_application = 0;
    for (int i = 0; i < 4; ++i)
        m_application = (m_application << 8) | static_cast<unsigned char>(id[i]);
}

void PluginHost_Memory_Impl::setTime(TimeObject const& now, int frameLength) {
    m_now = now;
    m_frameLength = frameLength;
}

void PluginHost_Memory_Impl::setColor(int index, double red, double green, double blue) {
    m_params[index] = constant({red, green, blue});
}

void PluginHost_Memory_Impl::setPointPixels(int index, double x, double y) {
    m_params[index] = constant({x, y, 0, true});
}

void PluginHost_Memory_Impl::failAllocation(int nth, int code, bool givesRaster) {
    m_failAt = m_tally->allocations + nth;
    m_failCode = code;
    m_failGivesRaster = givesRaster;
}

PluginHost_Memory_Impl::Animation PluginHost_Memory_Impl::constant(Value value) {
    return [value](TimeObject const&) { return value; };
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
    getInputRasterInfo(0, &input);
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
    const auto found = m_inputs.find(index);
    *info = found == m_inputs.end() ? RasterInfo{} : found->second;
}

void PluginHost_Memory_Impl::getRasterInfo(PluginRaster_API* raster, RasterInfo* info) {
    const RasterInfo* base = raster ? raster->getRasterInfoBase() : nullptr;
    *info = base ? *base : RasterInfo{};
}

void PluginHost_Memory_Impl::getSourceLayerDimensions(int& width, int& height) {
    RasterInfo input{};
    getInputRasterInfo(0, &input);
    width = static_cast<int>(input.width / m_scaleX);
    height = static_cast<int>(input.height / m_scaleY);
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
    const auto found = m_inputs.find(index);
    if (found == m_inputs.end()) return nullptr;
    return adopt(std::make_unique<PluginRaster_Memory_Impl>(found->second));
}

PluginRaster_API* PluginHost_Memory_Impl::getOutputRaster() {
    return adopt(std::make_unique<PluginRaster_Memory_Impl>(m_output));
}

PluginRaster_API* PluginHost_Memory_Impl::newImage(RasterFormat format, int width, int height,
                                                   int& error) {
    if (++m_tally->allocations == m_failAt) {
        error = m_failCode;
        if (!m_failGivesRaster) return nullptr;
        const RasterInfo empty{nullptr, format, 0, 0, 0, pixelBytesOf(format), 1.0f, 1.0f, 0};
        return adopt(std::make_unique<PluginRaster_Memory_Impl>(empty));
    }
    auto raster = std::make_unique<PluginRaster_Memory_Impl>(format, width, height);
    raster->m_info.pixelAspect = static_cast<float>(m_pixelAspect);
    raster->m_allocated = true;
    ++m_tally->pixelBuffers;
    return adopt(std::move(raster));
}

PluginRaster_API* PluginHost_Memory_Impl::allocRaster(int width, int height, PixelType type,
                                                      int& error, int) {
    error = 0;
    const bool likeOutput = type == convertToPixelType(m_output.format);
    const int format = likeOutput ? m_output.format : formatOf(channelOrder(m_output.format), type);
    if (format == kNoFormat) return nullptr;
    return newImage(static_cast<RasterFormat>(format), width, height, error);
}

PluginRaster_API* PluginHost_Memory_Impl::allocRaster(RasterInfo* info) {
    int error = 0;
    PluginRaster_API* raster = newImage(info->format, info->width, info->height, error);
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
    return copyOfLayer(0);
}

int PluginHost_Memory_Impl::unlockTemporalRaster(PluginRaster_API* raster) {
    deallocRaster(raster);
    delete raster;
    return 0;
}

PluginRaster_API* PluginHost_Memory_Impl::checkoutLayer(int index, int) {
    return copyOfLayer(index);
}

PluginRaster_API* PluginHost_Memory_Impl::checkoutLayer(int index, double, int) {
    return copyOfLayer(index);
}

// ---- Memory, suites, clock

void* PluginHost_Memory_Impl::allocMemory(int bytes) {
    ++m_tally->handles;
    return new std::vector<unsigned char>(static_cast<std::size_t>(bytes));
}

void* PluginHost_Memory_Impl::lockMemory(void* handle) {
    return static_cast<std::vector<unsigned char>*>(handle)->data();
}

void PluginHost_Memory_Impl::deallocMemory(void* handle) {
    if (!handle) return;
    --m_tally->handles;
    delete static_cast<std::vector<unsigned char>*>(handle);
}

int PluginHost_Memory_Impl::acquireSuite(char const*, int, char const*, void** suite) {
    *suite = nullptr;
    return kNoSuchThing;
}

void PluginHost_Memory_Impl::getFullFrameInfo(double, int frame, int& first, int& count,
                                              int& phase) {
    first = frame;
    count = 1;
    phase = 0;
}

int PluginHost_Memory_Impl::getFPS(float& framesPerSecond) {
    if (m_now.timeStep <= 0) return 0;
    framesPerSecond = static_cast<float>(m_now.timeScale) / static_cast<float>(m_now.timeStep);
    return 1;
}

// ---- Parameters

int PluginHost_Memory_Impl::read(int index, TimeObject const& time, Value& value) const {
    const auto found = m_params.find(index);
    if (found == m_params.end()) return kNoSuchThing;
    value = found->second(time);
    return 0;
}

int PluginHost_Memory_Impl::GetFloatValue(int index, int, TimeObject const& time, double& value) {
    Value v;
    if (const int code = read(index, time, v)) return code;
    value = v.x;
    return 0;
}

int PluginHost_Memory_Impl::GetAngleValue(int index, int kind, TimeObject const& time,
                                          double& degrees) {
    return GetFloatValue(index, kind, time, degrees);
}

int PluginHost_Memory_Impl::GetIntValue(int index, int, TimeObject const& time, int& value) {
    Value v;
    if (const int code = read(index, time, v)) return code;
    value = static_cast<int>(v.x);
    return 0;
}

int PluginHost_Memory_Impl::GetUIntValue(int index, int, TimeObject const& time, unsigned& value) {
    Value v;
    if (const int code = read(index, time, v)) return code;
    value = static_cast<unsigned>(v.x);
    return 0;
}

int PluginHost_Memory_Impl::GetBoolValue(int index, int, TimeObject const& time, bool& value) {
    Value v;
    if (const int code = read(index, time, v)) return code;
    value = v.x != 0;
    return 0;
}

int PluginHost_Memory_Impl::GetPoint2DValue(int index, int, TimeObject const& time, double& x,
                                            double& y) {
    Value v;
    if (const int code = read(index, time, v)) return code;
    x = v.inPixels ? v.x / getOutputWidth() : v.x;
    y = v.inPixels ? v.y / getOutputHeight() : v.y;
    return 0;
}

int PluginHost_Memory_Impl::GetColorValue(int index, int, TimeObject const& time, double& red,
                                          double& green, double& blue) {
    Value v;
    if (const int code = read(index, time, v)) return code;
    red = v.x;
    green = v.y;
    blue = v.z;
    return 0;
}

// ---- Maths

double PluginHost_Memory_Impl::math_sqrt(double x) { return std::sqrt(x); }
float PluginHost_Memory_Impl::math_sqrt(float x) { return std::sqrt(x); }
double PluginHost_Memory_Impl::math_floor(double x) { return std::floor(x); }
float PluginHost_Memory_Impl::math_floor(float x) { return std::floor(x); }
double PluginHost_Memory_Impl::math_exp(double x) { return std::exp(x); }
float PluginHost_Memory_Impl::math_exp(float x) { return std::exp(x); }
double PluginHost_Memory_Impl::math_atan2(double y, double x) { return std::atan2(y, x); }
float PluginHost_Memory_Impl::math_atan2(float y, float x) { return std::atan2(y, x); }
double PluginHost_Memory_Impl::math_fabs(double x) { return std::fabs(x); }
float PluginHost_Memory_Impl::math_fabs(float x) { return std::fabs(x); }
double PluginHost_Memory_Impl::math_sin(double x) { return std::sin(x); }
float PluginHost_Memory_Impl::math_sin(float x) { return std::sin(x); }
double PluginHost_Memory_Impl::math_cos(double x) { return std::cos(x); }
float PluginHost_Memory_Impl::math_cos(float x) { return std::cos(x); }
double PluginHost_Memory_Impl::math_fmod(double x, double y) { return std::fmod(x, y); }
float PluginHost_Memory_Impl::math_fmod(float x, float y) { return std::fmod(x, y); }
double PluginHost_Memory_Impl::math_pow(double x, double y) { return std::pow(x, y); }
float PluginHost_Memory_Impl::math_pow(float x, float y) { return std::pow(x, y); }
float PluginHost_Memory_Impl::math_ceil(float x) { return std::ceil(x); }
double PluginHost_Memory_Impl::math_ceil(double x) { return std::ceil(x); }
float PluginHost_Memory_Impl::math_log(float x) { return std::log(x); }
double PluginHost_Memory_Impl::math_log(double x) { return std::log(x); }

// A raster for tests: any format with a pixel trait, rows with padding, and known bytes before,
// between and after the pixels, so that a write outside them shows.
#pragma once

#include <cstring>
#include <type_traits>
#include <vector>

#include "host/PluginHost_API.h"

namespace zelk {

/// The channel value of full intensity.
inline double whiteOf(QV_RasterFormat format) {
    constexpr double kWhites[] = {255, 255, 255, 32768, 0, 16384, 16384, 65535, 65535, 1, 1, 1};
    return kWhites[format];
}

/// Bytes per channel: 1, 2 or 4.
inline int channelBytes(QV_RasterFormat format) {
    return whiteOf(format) == 255 ? 1 : whiteOf(format) > 255 ? 2 : 4;
}

class GuardedRaster {
public:
    /// Pixels start out as the guard byte too: what the engine must clear isn't clear already.
    /// `paddingBytes` is a multiple of the channel's size.
    GuardedRaster(QV_RasterFormat format, int width, int height, int paddingBytes = 0)
        : m_info{nullptr, format, width, height, 0, 4 * channelBytes(format), 1.0f, 1.0f, 0} {
        m_info.rowBytes = width * m_info.pixelBytes + paddingBytes;
        m_bytes.assign(2 * kGuardBytes + static_cast<std::size_t>(m_info.rowBytes) * height,
                       kGuardByte);
    }

    QV_RasterInfo info() const {
        QV_RasterInfo copy = m_info;
        copy.data = const_cast<unsigned char*>(m_bytes.data()) + kGuardBytes;
        return copy;
    }
    int width() const { return m_info.width; }
    int height() const { return m_info.height; }
    QV_RasterFormat format() const { return m_info.format; }
    unsigned char* pixel(int x, int y) const {
        return static_cast<unsigned char*>(info().data) +
               static_cast<std::ptrdiff_t>(y) * m_info.rowBytes +
               static_cast<std::ptrdiff_t>(x) * m_info.pixelBytes;
    }

    /// The stored channel value, from 0 to white.
    double get(int x, int y, int channel) const {
        return atChannel(x, y, channel, [](auto& stored) { return static_cast<double>(stored); });
    }
    /// Calls `visit(x, y, channel)` for every channel of every pixel.
    template <class Visit>
    void forEachChannel(Visit visit) const {
        for (int i = 0; i < 4 * m_info.width * m_info.height; ++i)
            visit(i / 4 % m_info.width, i / 4 / m_info.width, i % 4);
    }
    /// Sets every channel to `value(x, y, channel)`. Integer formats truncate.
    template <class Value>
    void paint(Value value) {
        forEachChannel([&](int x, int y, int channel) {
            const auto v = static_cast<double>(value(x, y, channel));
            atChannel(x, y, channel, [v](auto& stored) {
                return static_cast<double>(stored = static_cast<std::decay_t<decltype(stored)>>(v));
            });
        });
    }

    bool guardsIntact() const {
        const std::size_t used = static_cast<std::size_t>(m_info.width) * m_info.pixelBytes;
        for (std::size_t i = 0; i < m_bytes.size(); ++i) {
            bool const inside = i >= kGuardBytes && i < m_bytes.size() - kGuardBytes;
            if (inside && (i - kGuardBytes) % m_info.rowBytes < used) continue;
            if (m_bytes[i] != kGuardByte) return false;
        }
        return true;
    }
    bool samePixels(GuardedRaster const& other) const {
        auto const length = static_cast<std::size_t>(m_info.width) * m_info.pixelBytes;
        for (int y = 0; y < m_info.height; ++y)
            if (std::memcmp(pixel(0, y), other.pixel(0, y), length) != 0) return false;
        return true;
    }

private:
    template <class Visit>
    double atChannel(int x, int y, int channel, Visit visit) const {
        unsigned char* at = pixel(x, y) + channel * channelBytes(m_info.format);
        if (channelBytes(m_info.format) == 1) return visit(*at);
        if (channelBytes(m_info.format) == 2) return visit(*reinterpret_cast<unsigned short*>(at));
        return visit(*reinterpret_cast<float*>(at));
    }

    static constexpr std::size_t kGuardBytes = 256;
    static constexpr unsigned char kGuardByte = 0x5A;

    QV_RasterInfo m_info;
    std::vector<unsigned char> m_bytes;
};

}  // namespace zelk

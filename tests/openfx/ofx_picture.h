// A picture of the tests' OpenFX host that owns its bytes, with guards around the rows.
//
// Every byte starts as kUntouched; rows may be padded or run downwards in memory. Values are put as
// numbers from 0 to 1, white; in halves they lie from 0.5 to 1.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "tests/openfx/ofx_host.h"

namespace zelk_ofx {

inline int channelBytes(std::string const& depth) {
    return depth == kOfxBitDepthByte ? 1 : depth == kOfxBitDepthFloat ? 4 : 2;
}
inline int channelCount(std::string const& components) {
    return components == kOfxImageComponentRGBA ? 4 : components == kOfxImageComponentRGB ? 3 : 1;
}
struct PictureRows {
    int paddingBytes = 0;
    bool downwards = false;  ///< the first row in memory is the top one
};
class PictureBuffer {
public:
    static constexpr unsigned char kUntouched = 0x5C;
    PictureBuffer(OfxRectI bounds, char const* depth = kOfxBitDepthByte,
                  char const* components = kOfxImageComponentRGBA, PictureRows rows = {})
        : m_pixelBytes(channelBytes(depth) * channelCount(components)) {
        int const rowBytes = (bounds.x2 - bounds.x1) * m_pixelBytes + rows.paddingBytes;
        int const height = bounds.y2 - bounds.y1;
        m_bytes.assign(2 * kGuardBytes + static_cast<std::size_t>(rowBytes) * height, kUntouched);
        unsigned char* const first = m_bytes.data() + kGuardBytes;
        m_view = {
            rows.downwards ? first + static_cast<std::ptrdiff_t>(rowBytes) * (height - 1) : first,
            bounds, rows.downwards ? -rowBytes : rowBytes, depth, components};
    }

    Picture const& view() const { return m_view; }
    unsigned char* at(int x, int y) const {
        return static_cast<unsigned char*>(m_view.data) +
               static_cast<std::ptrdiff_t>(y - m_view.bounds.y1) * m_view.rowBytes +
               (x - m_view.bounds.x1) * m_pixelBytes;
    }
    void put(int x, int y, int channel, double value) {
        unsigned char* const to = at(x, y) + channel * channelBytes(m_view.depth);
        std::string const depth = m_view.depth;
        float const real = static_cast<float>(value);
        auto const word = static_cast<std::uint16_t>(depth == kOfxBitDepthHalf
                                                         ? 0x3800 + std::lround(value * 1024)
                                                         : std::lround(value * 65535));
        if (depth == kOfxBitDepthByte) *to = static_cast<unsigned char>(std::lround(value * 255));
        if (depth == kOfxBitDepthFloat) std::memcpy(to, &real, 4);
        if (channelBytes(depth) == 2) std::memcpy(to, &word, 2);
    }
    /// `value(x, y, channel)` for every pixel.
    template <class F>
    PictureBuffer& fill(F value) {
        OfxRectI const& b = m_view.bounds;
        for (int y = b.y1; y < b.y2; ++y)
            for (int x = b.x1; x < b.x2; ++x)
                for (int c = 0; c < channelCount(m_view.components); ++c)
                    put(x, y, c, value(x, y, c));
        return *this;
    }
    /// The pixels' bytes of a window that lies within, row by row from the bottom.
    std::vector<unsigned char> bytes(OfxRectI w) const {
        std::vector<unsigned char> all;
        for (int y = w.y1; y < w.y2; ++y) all.insert(all.end(), at(w.x1, y), at(w.x2, y));
        return all;
    }
    /// Whether all bytes but the window's are as they were made: guards, padding, other pixels.
    bool untouchedBut(OfxRectI w) const {
        std::vector<unsigned char> rest = m_bytes;
        for (int y = w.y1; y < w.y2; ++y)
            std::memset(rest.data() + (at(w.x1, y) - m_bytes.data()), kUntouched,
                        static_cast<std::size_t>(w.x2 - w.x1) * m_pixelBytes);
        for (unsigned char const byte : rest)
            if (byte != kUntouched) return false;
        return true;
    }
    /// Starts anew.
    void clear() { std::ranges::fill(m_bytes, kUntouched); }

private:
    static constexpr int kGuardBytes = 256;
    int m_pixelBytes;
    std::vector<unsigned char> m_bytes;
    Picture m_view;
};

}  // namespace zelk_ofx

// World: an image of the host, with the record by which an effect sees it.
//
// Space: pixels, y down. Channel order in memory: alpha, red, green, blue; blue, green, red, alpha
// when `bgra` is set. Colour is straight (not premultiplied). White is 255, 32768 or 1.0.
// A row takes width * pixelBytes + rowPaddingBytes bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Transform/Common/PixelMemory.h"
#include "hostkit/comp.h"
#include "platform/effect_api/effect_types.h"

namespace zelk {

/// Bytes of one channel: 1, 2 or 4.
constexpr int channelBytes(Depth depth) {
    return depth == Depth::k8 ? 1 : depth == Depth::k16 ? 2 : 4;
}
/// Bytes of one pixel of four channels: 4, 8 or 16.
constexpr int pixelBytes(Depth depth) { return 4 * channelBytes(depth); }

/// The longest side of an image: its rectangles hold 16 signed bits.
constexpr int kMaxWorldSide = 32767;

/// What a world is to be like. Rows may be longer than the pixels need.
struct WorldSpec {
    int width = 0;   ///< pixels
    int height = 0;  ///< rows
    Depth depth = Depth::k8;
    bool bgra = false;        ///< 8 bits only
    int rowPaddingBytes = 0;  ///< unused bytes after each row, a multiple of the channel size

    bool operator==(WorldSpec const&) const = default;
};

/// Owns its pixels; movable, not copyable. Pixels start as transparent black, unless a world that
/// will be drawn in full is asked for with any.
class World {
public:
    World() = default;
    /// Throws HostError: with PF_Err_BAD_CALLBACK_PARAM when a side is below 0 or beyond
    /// kMaxWorldSide or the layout is impossible, with PF_Err_OUT_OF_MEMORY when memory is not
    /// there.
    explicit World(WorldSpec const& spec, PixelMemory::Start start = PixelMemory::Start::kZeroed);

    WorldSpec const& spec() const { return m_spec; }
    int width() const { return m_spec.width; }
    int height() const { return m_spec.height; }
    Depth depth() const { return m_spec.depth; }
    /// Where pixel (0, 0) lies in the layer, pixels; at its corner, (0, 0), unless set.
    void setOrigin(int x, int y);
    /// The part of the layer that the image covers, half-open; nothing for an image without record.
    PF_LRect bounds() const;
    /// All pixels become transparent black.
    void clear() { m_pixels.zero(); }
    int rowBytes() const { return static_cast<int>(m_record ? m_record->rowbytes : 0); }

    std::byte* row(int y) {
        return reinterpret_cast<std::byte*>(m_pixels.data()) +
               static_cast<std::ptrdiff_t>(y) * rowBytes();
    }
    std::byte const* row(int y) const {
        return reinterpret_cast<std::byte const*>(m_pixels.data()) +
               static_cast<std::ptrdiff_t>(y) * rowBytes();
    }
    template <class Channel>
    Channel* rowAs(int y) {
        return reinterpret_cast<Channel*>(row(y));
    }
    template <class Channel>
    Channel const* rowAs(int y) const {
        return reinterpret_cast<Channel const*>(row(y));
    }

    /// The record that goes to the effect; its address is stable for the life of the world. Its
    /// platform_ref is a number that no other world of the process ever had, not an address.
    PF_EffectWorld* record() { return m_record.get(); }
    PF_EffectWorld const* record() const { return m_record.get(); }

    /// What "PF World Suite" answers for it.
    PF_PixelFormat pixelFormat() const;

private:
    WorldSpec m_spec;
    PixelMemory m_pixels;
    std::unique_ptr<PF_EffectWorld> m_record;
};

}  // namespace zelk

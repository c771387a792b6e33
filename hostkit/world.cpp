// Images: their memory and the record that describes them.
#include "hostkit/world.h"

#include <fmt/format.h>

#include <atomic>
#include <cstdlib>
#include <limits>

#include "hostkit/error.h"

namespace zelk {
namespace {

void refuse(WorldSpec const& spec, char const* why) {
    throw HostError(fmt::format("an image of {} by {} pixels {}", spec.width, spec.height, why),
                    PF_Err_BAD_CALLBACK_PARAM);
}

/// Bytes of a row; throws for a layout that cannot be.
std::int64_t checkedRowBytes(WorldSpec const& spec) {
    if (spec.width < 0 || spec.height < 0 || spec.width > kMaxWorldSide ||
        spec.height > kMaxWorldSide)
        refuse(spec, "cannot be made, expected sides from 0 to 32767");
    if (spec.bgra && spec.depth != Depth::k8)
        refuse(spec, "cannot be blue first, expected 8 bits a channel");
    if (spec.rowPaddingBytes < 0 || spec.rowPaddingBytes % channelBytes(spec.depth) != 0)
        refuse(spec, "cannot have that row padding, expected whole channels");
    std::int64_t const bytes =
        static_cast<std::int64_t>(spec.width) * pixelBytes(spec.depth) + spec.rowPaddingBytes;
    if (bytes > std::numeric_limits<A_long>::max()) refuse(spec, "has rows that are too long");
    return bytes;
}

/// Numbers the worlds of the process from 1.
void* nextToken() {
    static std::atomic<std::uintptr_t> count{0};
    return reinterpret_cast<void*>(++count);
}

}  // namespace

World::World(WorldSpec const& spec, PixelMemory::Start start) : m_spec(spec) {
    std::int64_t const rowBytes = checkedRowBytes(spec);
    std::size_t const bytes = static_cast<std::size_t>(rowBytes * spec.height);
    m_pixels = PixelMemory(bytes, start);
    if (!m_pixels.data())
        throw HostError(fmt::format("no memory for an image of {} by {} pixels ({} bytes)",
                                    spec.width, spec.height, bytes),
                        PF_Err_OUT_OF_MEMORY);

    m_record = std::make_unique<PF_EffectWorld>();
    m_record->world_flags =
        PF_WorldFlag_WRITEABLE | (spec.depth == Depth::k16 ? PF_WorldFlag_DEEP : 0);
    m_record->data = m_pixels.data();
    m_record->rowbytes = static_cast<A_long>(rowBytes);
    m_record->width = spec.width;
    m_record->height = spec.height;
    m_record->extent_hint = {0, 0, static_cast<A_short>(spec.height),
                             static_cast<A_short>(spec.width)};
    m_record->platform_ref = nextToken();
    m_record->pix_aspect_ratio = {1, 1};
}

void World::setOrigin(int x, int y) {
    m_record->origin_x = x;
    m_record->origin_y = y;
}

PF_LRect World::bounds() const {
    if (!m_record) return {};
    A_long const left = m_record->origin_x, top = m_record->origin_y;
    return {left, top, left + width(), top + height()};
}

PF_PixelFormat World::pixelFormat() const {
    switch (m_spec.depth) {
        case Depth::k16:
            return PF_PixelFormat_ARGB64;
        case Depth::kFloat:
            return PF_PixelFormat_ARGB128;
        case Depth::k8:
            break;
    }
    return m_spec.bgra ? PF_PixelFormat_BGRA32 : PF_PixelFormat_ARGB32;
}

}  // namespace zelk

// Row by row copies and fills. Bounds are reckoned in int, so that 16-bit rectangles may name any
// place.
#include "hostkit/pixel_ops.h"

#include <algorithm>
#include <cstring>

namespace zelk {
namespace {

struct Bounds {
    int left, top, right, bottom;
    bool empty() const { return right <= left || bottom <= top; }
};

Bounds boundsOf(World const& world) { return {0, 0, world.width(), world.height()}; }

Bounds rectOr(PF_Rect const* rect, Bounds all) {
    return rect ? Bounds{rect->left, rect->top, rect->right, rect->bottom} : all;
}

Bounds shifted(Bounds b, int dx, int dy) {
    return {b.left + dx, b.top + dy, b.right + dx, b.bottom + dy};
}

Bounds meet(Bounds a, Bounds b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

std::byte* pixelAt(World& world, int x, int y) {
    return world.row(y) + static_cast<std::ptrdiff_t>(x) * pixelBytes(world.depth());
}

template <class Channel>
void store(std::byte (&bytes)[16], Channel const (&channels)[4]) {
    std::memcpy(bytes, channels, sizeof channels);
}

}  // namespace

void encodeColor(World const& world, PF_Pixel color, std::byte (&bytes)[16]) {
    A_u_char const argb[4] = {color.alpha, color.red, color.green, color.blue};
    A_u_char const bgra[4] = {color.blue, color.green, color.red, color.alpha};
    A_u_short deep[4];
    float real[4];
    for (int i = 0; i < 4; ++i) {
        deep[i] = static_cast<A_u_short>((argb[i] * 32768 + 127) / 255);
        real[i] = static_cast<float>(argb[i]) / 255.0f;
    }
    switch (world.depth()) {
        case Depth::k8:
            store(bytes, world.spec().bgra ? bgra : argb);
            break;
        case Depth::k16:
            store(bytes, deep);
            break;
        case Depth::kFloat:
            store(bytes, real);
            break;
    }
}

void fillPixels(World& world, PF_Pixel const* color, PF_Rect const* rect) {
    Bounds const area = meet(boundsOf(world), rectOr(rect, boundsOf(world)));
    if (area.empty()) return;
    std::byte pixel[16] = {};
    if (color) encodeColor(world, *color, pixel);

    std::size_t const size = static_cast<std::size_t>(pixelBytes(world.depth()));
    std::size_t const rowSize = size * static_cast<std::size_t>(area.right - area.left);
    std::byte* const first = pixelAt(world, area.left, area.top);
    for (std::size_t at = 0; at < rowSize; at += size) std::memcpy(first + at, pixel, size);
    for (int y = area.top + 1; y < area.bottom; ++y)
        std::memcpy(pixelAt(world, area.left, y), first, rowSize);
}

bool copyPixels(World const& from, World& to, PF_Rect const* fromRect, PF_Rect const* toRect) {
    if (from.depth() != to.depth() || from.spec().bgra != to.spec().bgra) return false;
    Bounds const source = rectOr(fromRect, boundsOf(from));
    Bounds const target = rectOr(toRect, boundsOf(to));
    // Everything is clipped in the destination's space; (dx, dy) leads there from the source.
    int const dx = target.left - source.left;
    int const dy = target.top - source.top;
    Bounds area = meet(shifted(meet(source, boundsOf(from)), dx, dy), boundsOf(to));
    if (toRect) area = meet(area, target);
    if (area.empty()) return true;

    std::ptrdiff_t const size = pixelBytes(to.depth());
    std::size_t const rowSize = static_cast<std::size_t>(size * (area.right - area.left));
    // Within one image a copy downwards starts at the bottom, so that no row is overwritten unread.
    bool const upwards = &from == &to && dy > 0;
    for (int i = 0; i < area.bottom - area.top; ++i) {
        int const y = upwards ? area.bottom - 1 - i : area.top + i;
        std::memmove(pixelAt(to, area.left, y), from.row(y - dy) + (area.left - dx) * size,
                     rowSize);
    }
    return true;
}

}  // namespace zelk

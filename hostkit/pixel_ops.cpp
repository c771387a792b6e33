// Row by row copies and fills.
#include "hostkit/pixel_ops.h"

#include <algorithm>
#include <cstring>

#include "Transform/Common/PixelBlocks.h"

namespace zelk {
namespace {

std::byte* pixelAt(World& world, int x, int y) {
    return world.row(y) + static_cast<std::ptrdiff_t>(x) * pixelBytes(world.depth());
}

template <class Channel>
void store(std::byte (&bytes)[16], Channel const (&channels)[4]) {
    std::memcpy(bytes, channels, sizeof channels);
}

}  // namespace

Bounds Bounds::of(World const& world) { return {0, 0, world.width(), world.height()}; }

Bounds Bounds::of(PF_Rect const* rect, World const& world) {
    return rect ? Bounds{rect->left, rect->top, rect->right, rect->bottom} : of(world);
}

Bounds Bounds::shifted(int dx, int dy) const {
    return {left + dx, top + dy, right + dx, bottom + dy};
}

Bounds Bounds::meet(Bounds const& other) const {
    return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
            std::min(bottom, other.bottom)};
}

PF_LRect meet(PF_LRect const& a, PF_LRect const& b) {
    PF_LRect const common = {std::max(a.left, b.left), std::max(a.top, b.top),
                             std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
    bool const isEmpty = common.right <= common.left || common.bottom <= common.top;
    return isEmpty ? PF_LRect{} : common;
}

World partOf(World const& world, PF_LRect const& rect) {
    PF_LRect const whole = world.bounds(), part = meet(whole, rect);
    if (part.right <= part.left) return {};
    WorldSpec spec = world.spec();
    spec.width = part.right - part.left;
    spec.height = part.bottom - part.top;
    World result(spec);
    result.setOrigin(part.left, part.top);
    auto const left = static_cast<A_short>(part.left - whole.left);
    auto const top = static_cast<A_short>(part.top - whole.top);
    PF_Rect const from = {top, left, static_cast<A_short>(top + spec.height),
                          static_cast<A_short>(left + spec.width)};
    copyPixels(world, result, &from, nullptr);
    return result;
}

bool sameLayout(World const& a, World const& b) {
    return a.depth() == b.depth() && a.spec().bgra == b.spec().bgra;
}

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
    Bounds const area = Bounds::of(rect, world).meet(Bounds::of(world));
    if (area.empty()) return;
    std::size_t const size = static_cast<std::size_t>(pixelBytes(world.depth()));
    std::size_t const rowSize = size * static_cast<std::size_t>(area.width());
    std::byte* const first = pixelAt(world, area.left, area.top);
    if (!color && area.width() == world.width() && area.height() == world.height())
        return world.clear();
    if (!color) return zeroBlock(first, world.rowBytes(), rowSize, area.height());
    std::byte pixel[16] = {};
    encodeColor(world, *color, pixel);
    for (std::size_t at = 0; at < rowSize; at += size) std::memcpy(first + at, pixel, size);
    for (int y = area.top + 1; y < area.bottom; ++y)
        std::memcpy(pixelAt(world, area.left, y), first, rowSize);
}

bool copyPixels(World const& from, World& to, PF_Rect const* fromRect, PF_Rect const* toRect) {
    if (!sameLayout(from, to)) return false;
    Bounds const source = Bounds::of(fromRect, from);
    Bounds const target = Bounds::of(toRect, to);
    // Everything is clipped in the destination's space; (dx, dy) leads there from the source.
    int const dx = target.left - source.left;
    int const dy = target.top - source.top;
    Bounds area = source.meet(Bounds::of(from)).shifted(dx, dy).meet(Bounds::of(to));
    if (toRect) area = area.meet(target);
    if (area.empty()) return true;

    std::ptrdiff_t const size = pixelBytes(to.depth());
    std::size_t const rowSize = static_cast<std::size_t>(size * area.width());
    if (&from != &to) {
        copyBlock(pixelAt(to, area.left, area.top), to.rowBytes(),
                  from.row(area.top - dy) + (area.left - dx) * size, from.rowBytes(), rowSize,
                  area.height());
        return true;
    }
    // Within one image a copy downwards starts at the bottom, so that no row is overwritten unread.
    bool const upwards = dy > 0;
    for (int i = 0; i < area.height(); ++i) {
        int const y = upwards ? area.bottom - 1 - i : area.top + i;
        std::memmove(pixelAt(to, area.left, y), from.row(y - dy) + (area.left - dx) * size,
                     rowSize);
    }
    return true;
}

}  // namespace zelk

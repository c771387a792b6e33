// What the host does with pixels: transfer modes against the row function of each; copies and moves
// against a copy pixel by pixel.
#include "hostkit/compositing.h"

#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "hostkit/pixel_ops.h"
#include "tests/host/ae_probe.h"

namespace zelk {
namespace {

constexpr PF_CompositeMode kCopy = {PF_Xfer_COPY, 0, 255, 0, 32768};
constexpr PF_CompositeMode kScreen = {PF_Xfer_SCREEN, 0, 99, 1, 12345};

struct Layout {
    Depth depth;
    bool isBgra;
} const kLayouts[] = {
    {Depth::k8, false}, {Depth::k8, true}, {Depth::k16, false}, {Depth::kFloat, false}};

World randomWorld(Layout const& layout, std::mt19937& next, int width, int height) {
    World world({width, height, layout.depth, layout.isBgra, static_cast<int>(next() % 3 * 4)});
    zelk_test::fillRandom(world, static_cast<unsigned>(next()));
    return world;
}

std::size_t bytesOf(World const& world) { return std::size_t(world.rowBytes() * world.height()); }
World cloneOf(World const& world) {
    World clone(world.spec());
    std::memcpy(clone.row(0), world.row(0), bytesOf(world));
    return clone;
}

/// The row functions have a test of their own: here is which of them a host takes, and how.
template <class Trait>
void expectRowFunction(Layout const& layout, int number) {
    using Channel = typename Trait::Channel;
    std::mt19937 random(71);
    World const front = randomWorld(layout, random, 29, 3),
                back = randomWorld(layout, random, 29, 3);
    World got = cloneOf(back), want = cloneOf(back);
    PF_CompositeMode const mode = {static_cast<PF_Xfer_Mode>(number), 0, 149, 0, 19137};
    BlendOptions const options{Trait::kWhite == 32768 ? 19137 / 32768.0f : 149 / 255.0f};
    for (int y = 0; y < 3; ++y) {
        auto* const row = want.rowAs<Channel>(y);
        if (number) blendRowOfMode<Trait>(number)(front.rowAs<Channel>(y), row, row, 29, options);
        if (!number) std::copy_n(front.rowAs<Channel>(y), 4 * 29, row);
        for (int at = Trait::kAlpha; !number && at < 4 * 29; at += 4)
            row[at] = static_cast<Channel>(row[at] * options.foregroundOpacity);
    }
    EXPECT_TRUE(transferPixels(front, nullptr, mode, 0, 0, got));
    EXPECT_FALSE(std::memcmp(got.row(0), want.row(0), bytesOf(got))) << number;
}

TEST(Compositing, TakesEveryModesRowFunction) {
    for (int const mode : {0, 1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 23, 24, 25}) {
        expectRowFunction<PIXEL_ARGB8>(kLayouts[0], mode);
        expectRowFunction<PIXEL_BGRA8>(kLayouts[1], mode);
        expectRowFunction<PIXEL_ARGB15>(kLayouts[2], mode);
        expectRowFunction<PIXEL_ARGB32>(kLayouts[3], mode);
    }
}

bool inside(PF_Rect const& rect, int x, int y) {
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}
PF_Rect boundsOf(World const& world) { return world.record()->extent_hint; }

/// `to` with the pixels of `from` in `in` laid from the corner of `out` on.
World slowCopy(World const& from, World const& to, PF_Rect const& in, PF_Rect const& out) {
    World result = cloneOf(to);
    auto const bytes = static_cast<std::size_t>(pixelBytes(to.depth()));
    for (int y = 0; y < to.height(); ++y)
        for (int x = 0; x < to.width(); ++x) {
            int const sx = x - out.left + in.left, sy = y - out.top + in.top;
            if (inside(out, x, y) && inside(in, sx, sy) && inside(boundsOf(from), sx, sy))
                std::memcpy(result.row(y) + x * bytes, from.row(sy) + sx * bytes, bytes);
        }
    return result;
}

TEST(Compositing, PutsPixelsWhereACopyPixelByPixelDoes) {
    std::mt19937 random{20241};
    auto const below = [&](unsigned n) { return static_cast<int>(random() % n); };
    auto const side = [&] { return static_cast<A_short>(below(20) - 4); };
    for (int round = 0; round < 6000; ++round) {
        Layout const& layout = kLayouts[round % 4];
        World const other = randomWorld(layout, random, 1 + below(12), 1 + below(12));
        World const old = randomWorld(layout, random, 1 + below(12), 1 + below(12));
        bool const isSelf = below(4) == 0;
        World const& from = isSelf ? old : other;
        PF_Rect const part = {side(), side(), side(), side()};
        PF_Rect const place = {side(), side(), side(), side()};
        PF_Rect const* const partPtr = below(3) ? &part : nullptr;
        PF_Rect const* const placePtr = below(3) ? &place : nullptr;
        PF_Rect in = partPtr ? part : boundsOf(from), out = placePtr ? place : boundsOf(old);
        /// What `act` makes of the old image is what the plain copy makes of it, padding included.
        auto const expectCopy = [&](World const& want, auto const& act) {
            World got = cloneOf(old);
            act(isSelf ? got : other, got);
            ASSERT_FALSE(std::memcmp(got.row(0), want.row(0), bytesOf(got)))
                << "seed 20241, round " << round;
        };
        expectCopy(slowCopy(from, old, in, out), [&](World const& source, World& to) {
            EXPECT_TRUE(copyPixels(source, to, partPtr, placePtr));
        });
        out.right = out.bottom = 99;
        expectCopy(slowCopy(from, old, in, out), [&](World const& source, World& to) {
            EXPECT_TRUE(transferPixels(source, partPtr, kCopy, out.left, out.top, to));
        });
        // A move by whole pixels, there and back, at either quality.
        float const x = out.left - in.left, y = out.top - in.top, sign = round % 8 < 4 ? 1 : -1;
        auto const map = pixelMap({{{1, 0, 0}, {0, 1, 0}, {sign * x, sign * y, 1}}}, sign > 0);
        auto const sampling = below(2) ? Sampling::kBilinear : Sampling::kNearest;
        in.right = in.bottom = 99;
        World moved = cloneOf(old);
        transferPixels(isSelf ? moved : other, &in, kScreen, out.left, out.top, moved);
        expectCopy(moved, [&](World const& source, World& to) {
            EXPECT_TRUE(transformPixels(source, *map, sampling, kScreen, &out, to));
        });
    }
}

}  // namespace
}  // namespace zelk

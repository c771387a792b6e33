// Images: refusals, and copy and fill against a pixel by pixel reference.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "hostkit/error.h"
#include "hostkit/pixel_ops.h"

namespace zelk {
namespace {

TEST(World, Refusals) {
    for (WorldSpec const& largest : {WorldSpec{32767, 1, Depth::k16, false, 2}, {1, 32767}})
        EXPECT_NO_THROW(World{largest});
    for (WorldSpec const& spec :
         {WorldSpec{32768, 1}, WorldSpec{1, 32768}, WorldSpec{-1, 1}, WorldSpec{1, -1},
          WorldSpec{1, 1, Depth::k16, true}, WorldSpec{1, 1, Depth::kFloat, false, 2},
          WorldSpec{1, 1, Depth::k8, false, -4},
          WorldSpec{32767, 1, Depth::kFloat, false, 2147483644}})
        EXPECT_THROW(World{spec}, HostError) << spec.width << " by " << spec.height;
}

bool inside(PF_Rect const& rect, int x, int y) {
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}

PF_Rect boundsOf(World const& world) { return world.record()->extent_hint; }

World cloneOf(World const& world) {
    World clone(world.spec());
    std::memcpy(clone.row(0), world.row(0),
                static_cast<std::size_t>(world.rowBytes() * world.height()));
    return clone;
}

/// Padding included.
bool sameBytes(World const& a, World const& b) {
    return !std::memcmp(a.row(0), b.row(0), static_cast<std::size_t>(a.rowBytes() * a.height()));
}

class PixelOps : public testing::TestWithParam<Depth> {};
INSTANTIATE_TEST_SUITE_P(Depths, PixelOps, testing::Values(Depth::k8, Depth::k16, Depth::kFloat));

TEST_P(PixelOps, AreThePixelByPixelCopyAndFill) {
    std::mt19937 random{20241};
    auto const below = [&](unsigned n) { return static_cast<int>(random() % n); };
    auto const randomWorld = [&] {
        World world({1 + below(12), 1 + below(12), GetParam(), false, 4 * below(3)});
        for (int i = 0; i < world.rowBytes() * world.height(); ++i)
            world.row(0)[i] = static_cast<std::byte>(random());
        return world;
    };
    auto const side = [&] { return static_cast<A_short>(below(20) - 4); };
    int const bytes = pixelBytes(GetParam());
    for (int round = 0; round < 2000; ++round) {
        World const other = randomWorld();
        World copied = randomWorld(), slow = cloneOf(copied), filled = cloneOf(copied);
        World const& from = round % 4 == 0 ? copied : other;
        World const source = cloneOf(from);
        PF_Rect const fromRect = {side(), side(), side(), side()};
        PF_Rect const toRect = {side(), side(), side(), side()};
        PF_Rect const* const fromPtr = below(3) ? &fromRect : nullptr;
        PF_Rect const* const toPtr = below(3) ? &toRect : nullptr;
        PF_Rect const in = fromPtr ? fromRect : boundsOf(from);
        PF_Rect const out = toPtr ? toRect : boundsOf(copied);
        PF_Pixel const color = {250, 1, 2, 3};
        std::byte pixel[16] = {};
        if (round % 2) encodeColor(filled, color, pixel);
        World slowFilled = cloneOf(filled);
        for (int y = 0; y < slow.height(); ++y)
            for (int x = 0; x < slow.width(); ++x) {
                int const sx = x - out.left + in.left, sy = y - out.top + in.top;
                if (!inside(out, x, y)) continue;
                std::memcpy(slowFilled.row(y) + x * bytes, pixel, std::size_t(bytes));
                if (inside(in, sx, sy) && inside(boundsOf(from), sx, sy))
                    std::memcpy(slow.row(y) + x * bytes, source.row(sy) + sx * bytes,
                                std::size_t(bytes));
            }
        ASSERT_TRUE(copyPixels(from, copied, fromPtr, toPtr));
        ASSERT_TRUE(sameBytes(copied, slow)) << "seed 20241, round " << round;
        fillPixels(filled, round % 2 ? &color : nullptr, toPtr);
        ASSERT_TRUE(sameBytes(filled, slowFilled)) << "seed 20241, round " << round;
    }
}

}  // namespace
}  // namespace zelk

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
        try {
            World const world(spec);
            ADD_FAILURE() << spec.width << " by " << spec.height;
        } catch (HostError const& error) {
            EXPECT_EQ(error.code(), PF_Err_BAD_CALLBACK_PARAM) << error.what();
        }
}

bool inside(PF_Rect const& rect, int x, int y) {
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}

PF_Rect boundsOf(World const& world) { return world.record()->extent_hint; }

class PixelOps : public testing::TestWithParam<Depth> {
protected:
    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
    World randomWorld() {
        World world({1 + below(12), 1 + below(12), GetParam(), false, 4 * below(3)});
        for (int y = 0; y < world.height(); ++y)
            for (int x = 0; x < world.rowBytes(); ++x)
                world.row(y)[x] = static_cast<std::byte>(m_random());
        return world;
    }
    PF_Rect randomRect() {
        auto const side = [this] { return static_cast<A_short>(below(20) - 4); };
        return {side(), side(), side(), side()};
    }
    World cloneOf(World const& world) {
        World clone(world.spec());
        std::memcpy(clone.row(0), world.row(0), bytesOf(world));
        return clone;
    }
    /// Padding included.
    static std::size_t bytesOf(World const& world) {
        return static_cast<std::size_t>(world.rowBytes() * world.height());
    }
    void setPixel(World& world, int x, int y, std::byte const* pixel) {
        std::size_t const bytes = static_cast<std::size_t>(pixelBytes(world.depth()));
        std::memcpy(world.row(y) + static_cast<std::size_t>(x) * bytes, pixel, bytes);
    }

private:
    std::mt19937 m_random{20241};
};
INSTANTIATE_TEST_SUITE_P(Depths, PixelOps, testing::Values(Depth::k8, Depth::k16, Depth::kFloat));

TEST_P(PixelOps, AreThePixelByPixelCopyAndFill) {
    for (int round = 0; round < 2000; ++round) {
        World const other = randomWorld();
        World fast = randomWorld(), slow = cloneOf(fast);
        World const& from = round % 4 == 0 ? fast : other;
        World const source = cloneOf(from);
        PF_Rect const fromRect = randomRect(), toRect = randomRect();
        PF_Rect const* const fromPtr = below(3) ? &fromRect : nullptr;
        PF_Rect const* const toPtr = below(3) ? &toRect : nullptr;
        PF_Rect const in = fromPtr ? fromRect : boundsOf(from);
        PF_Rect const out = toPtr ? toRect : boundsOf(fast);
        for (int y = 0; y < slow.height(); ++y)
            for (int x = 0; x < slow.width(); ++x) {
                int const sx = x - out.left + in.left, sy = y - out.top + in.top;
                if (inside(out, x, y) && inside(in, sx, sy) && inside(boundsOf(from), sx, sy))
                    setPixel(slow, x, y, source.row(sy) + sx * pixelBytes(GetParam()));
            }
        ASSERT_TRUE(copyPixels(from, fast, fromPtr, toPtr));
        ASSERT_EQ(std::memcmp(fast.row(0), slow.row(0), bytesOf(fast)), 0)
            << "copy, seed 20241, round " << round;

        PF_Pixel const color = {250, 1, 2, 3};
        PF_Pixel const* const colorPtr = below(3) ? &color : nullptr;
        std::byte pixel[16] = {};
        if (colorPtr) encodeColor(fast, color, pixel);
        for (int y = 0; y < slow.height(); ++y)
            for (int x = 0; x < slow.width(); ++x)
                if (inside(out, x, y)) setPixel(slow, x, y, pixel);
        fillPixels(fast, colorPtr, toPtr);
        ASSERT_EQ(std::memcmp(fast.row(0), slow.row(0), bytesOf(fast)), 0)
            << "fill, seed 20241, round " << round;
    }
}

}  // namespace
}  // namespace zelk

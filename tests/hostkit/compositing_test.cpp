// What the host does with pixels: transfer modes against their formulas in double; copies
// and moves against a copy pixel by pixel.
#include "hostkit/compositing.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "hostkit/pixel_ops.h"
#include "tests/Transform/transfer/transfer_reference.h"

namespace zelk {
namespace {

constexpr PF_CompositeMode kCopy = {PF_Xfer_COPY, 0, 255, 0, 32768};
constexpr PF_CompositeMode kScreen = {PF_Xfer_SCREEN, 0, 99, 1, 12345};

struct Layout {
    Depth depth;
    bool isBgra;
    double white, step;  ///< channels are white or whole steps
} const kLayouts[] = {{Depth::k8, false, 255, 4},
                      {Depth::k8, true, 255, 4},
                      {Depth::k16, false, 32768, 1},
                      {Depth::kFloat, false, 1, 1.0 / 16}};

/// action(a channel), alpha, red, green, blue of each pixel in turn.
template <class Action>
void eachChannel(World& world, Action const& action) {
    for (int i = 0; i < 4 * world.width() * world.height(); ++i) {
        int const y = i / (4 * world.width());
        int const at = i % (4 * world.width()) ^ (world.spec().bgra ? 3 : 0);
        if (world.depth() == Depth::k8) action(world.rowAs<A_u_char>(y)[at]);
        if (world.depth() == Depth::k16) action(world.rowAs<A_u_short>(y)[at]);
        if (world.depth() == Depth::kFloat) action(world.rowAs<float>(y)[at]);
    }
}
std::vector<double> channelsOf(World& world) {
    std::vector<double> all;
    eachChannel(world, [&](auto c) { all.push_back(c); });
    return all;
}

World randomWorld(Layout const& layout, std::mt19937& next, int width, int height) {
    World world({width, height, layout.depth, layout.isBgra, static_cast<int>(next() % 3 * 4)});
    std::uniform_int_distribution<int> steps(0, static_cast<int>(layout.white / layout.step));
    eachChannel(world, [&](auto& c) {
        int const kind = static_cast<int>(next() % 6);  // often black or white
        double const value = kind < 4 ? steps(next) * layout.step : (kind - 4) * layout.white;
        c = static_cast<std::decay_t<decltype(c)>>(value);
    });
    return world;
}

std::size_t bytesOf(World const& world) { return std::size_t(world.rowBytes() * world.height()); }
World cloneOf(World const& world) {
    World clone(world.spec());
    std::memcpy(clone.row(0), world.row(0), bytesOf(world));
    return clone;
}

/// A mode's formula at partial opacity. Integers have to be exact; hue and its kin may truncate
/// what 400 * 2^-24 of white (in 8 bits over the least span, 3 / 255), the roundings of single
/// precision, did to them. Float adds 17 roundings of at most twice the 16 that Color Dodge
/// reaches.
void expectFormula(Layout const& layout, int number) {
    bool const whole = layout.white > 1, isHueKin = number >= 13 && number <= 16;
    float const opacity = layout.depth == Depth::k16 ? 19137 / 32768.0f : 149 / 255.0f;
    double const nudge = whole && isHueKin ? 0.8 : 0;
    double const slack = whole ? 0 : (400 + 34 * 16) * 0x1p-24;
    TransferReference const reference(layout.white);
    std::mt19937 random(71);
    World front = randomWorld(layout, random, 29, 23), back = randomWorld(layout, random, 29, 23);
    auto const F = channelsOf(front), B = channelsOf(back);
    PF_CompositeMode const mode = {static_cast<PF_Xfer_Mode>(number), 0, 149, 0, 19137};
    ASSERT_TRUE(transferPixels(front, nullptr, mode, 0, 0, back));
    auto const result = channelsOf(back);
    for (std::size_t i = 0; i < F.size(); ++i) {
        double const *f = &F[i / 4 * 4], *b = &B[i / 4 * 4], got = result[i];
        float const product = static_cast<float>(f[0]) * opacity;
        double const fa = whole ? std::trunc(product) : product;
        auto const wanted = [&](double off) {
            RefPixel const over{f[1], f[2], f[3], fa}, under{b[1], b[2], b[3], b[0]};
            RefPixel const p = number ? reference.blend(number, over, under, fa, b[0], off) : over;
            return p[(i + 3) % 4];
        };
        EXPECT_TRUE(got >= wanted(-nudge) - slack && got <= wanted(nudge) + slack)
            << "mode " << number << ", white " << layout.white << ", channel " << i;
    }
}

TEST(Compositing, GivesEveryModesFormula) {
    for (int const mode : {0, 1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 23, 24, 25})
        for (Layout const& layout : kLayouts) expectFormula(layout, mode);
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

// transfer_rect and transform_world, called from inside a command: the modes against their formulas
// in double, places against the host's own copy.
#include "tests/Transform/transfer/transfer_reference.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;
using zelk::Depth;

namespace {

constexpr int kWidth = 29, kHeight = 23, kChannels = 4 * kWidth * kHeight;
constexpr PF_CompositeMode kCopy = {PF_Xfer_COPY, 0, 255, 0, 32768};
constexpr PF_CompositeMode kScreen = {PF_Xfer_SCREEN, 0, 99, 1, 12345};

struct Layout {
    zelk::HostIdentity identity;
    Depth depth;
    double white, step;  ///< channels are white or whole steps
} const kLayouts[] = {{kModernAE, Depth::k8, 255, 4},
                      {kModernPremiere, Depth::k8, 255, 4},
                      {kModernAE, Depth::k16, 32768, 1},
                      {kModernAE, Depth::kFloat, 1, 1.0 / 16}};

/// Calls inside a command whose input holds F and whose output holds B; `self` takes the output as
/// source, too. Each answers what the output then holds. Pictures: alpha, red, green, blue.
struct Scene {
    using Picture = std::vector<double>;
    Layout layout;
    bool self = false;
    Picture F = random(71), B = random(72);

    Picture random(unsigned seed) const {
        Picture picture(kChannels);
        std::mt19937 next(seed);
        std::uniform_int_distribution<int> steps(0, static_cast<int>(layout.white / layout.step));
        for (double& c : picture)
            c = next() % 3 ? steps(next) * layout.step : next() % 2 ? layout.white : 0;
        return picture;
    }
    template <class Action>
    void eachChannel(zelk::World& world, Action const& action) const {
        for (int i = 0; i < kChannels; ++i) {
            const int y = i / (4 * kWidth), at = i % (4 * kWidth) ^ (world.spec().bgra ? 3 : 0);
            if (layout.depth == Depth::k8) action(i, world.rowAs<A_u_char>(y)[at]);
            if (layout.depth == Depth::k16) action(i, world.rowAs<A_u_short>(y)[at]);
            if (layout.depth == Depth::kFloat) action(i, world.rowAs<float>(y)[at]);
        }
    }
    template <class Call>  // call(utils, effectRef, source, destination)
    Picture run(Call const& call) const {
        ProbeHost host{zelk::HostOptions{.identity = layout.identity, .rowPaddingBytes = 12}};
        host.paramsSetup([](ProbeCall const&) -> PF_Err { return 0; });
        zelk::World in(host->worldSpec(kWidth, kHeight, layout.depth)), out(in.spec());
        std::memset(in.row(0), 0x3f, static_cast<std::size_t>(in.rowBytes()) * kHeight);
        eachChannel(in, [&](int i, auto& c) { c = static_cast<std::decay_t<decltype(c)>>(F[i]); });
        eachChannel(out, [&](int i, auto& c) { c = static_cast<std::decay_t<decltype(c)>>(B[i]); });
        const auto end = host.render(in, out, {}, [&](ProbeCall const& c) -> PF_Err {
            PF_EffectWorld* const source = self ? c.output : &c.params[0]->u.ld;
            return call(*c.in_data->utils, c.in_data->effect_ref, source, c.output);
        });
        EXPECT_EQ(end.code, 0);
        Picture result(kChannels);
        eachChannel(out, [&](int i, auto c) { result[i] = c; });
        return result;
    }
    Picture transfer(PF_CompositeMode const& mode, PF_Rect const* rect, int x, int y) const {
        return run([&](auto& utils, auto ref, auto* from, auto* to) {
            return utils.transfer_rect(ref, 1, 1, 0, rect, from, &mode, nullptr, x, y, to);
        });
    }
};

/// A mode's formula at partial opacity. Integers have to be exact; hue and
/// its kin may truncate what 400 * 2^-24 of white (in 8 bits over the least span, 3 / 255), the
/// roundings of single precision, did to them. Float adds 17 roundings of at most twice the 16 that
/// Color Dodge reaches.
void expectFormula(Scene const& s, int number) {
    const bool whole = s.layout.white > 1, isHueKin = number >= 13 && number <= 16;
    const float opacity = s.layout.depth == Depth::k16 ? 19137 / 32768.0f : 149 / 255.0f;
    const double nudge = whole && isHueKin ? 0.8 : 0;
    const double slack = whole ? 0 : (400 + 34 * 16) * 0x1p-24;
    const TransferReference reference(s.layout.white);
    PF_CompositeMode mode = {static_cast<PF_Xfer_Mode>(number), 0, 149, 0, 19137};
    const auto result = s.transfer(mode, nullptr, 0, 0);
    mode.rgb_only = 1;
    const auto keptAlpha = s.transfer(mode, nullptr, 0, 0);
    for (std::size_t i = 0; i < kChannels; ++i) {
        const double *f = &s.F[i / 4 * 4], *b = &s.B[i / 4 * 4], got = result[i];
        const float product = static_cast<float>(f[0]) * opacity;
        const double fa = whole ? std::trunc(product) : product;
        const auto wanted = [&](double off) {
            const RefPixel front{{f[1], f[2], f[3]}, fa}, back{{b[1], b[2], b[3]}, b[0]};
            const RefPixel p = number ? reference.blend(number, front, back, fa, b[0], off) : front;
            return i % 4 ? p.c[i % 4 - 1] : p.a;
        };
        EXPECT_TRUE(got >= wanted(-nudge) - slack && got <= wanted(nudge) + slack)
            << "mode " << number << ", white " << s.layout.white << ", channel " << i;
        EXPECT_EQ(keptAlpha[i], i % 4 ? got : b[0]) << "rgb_only, mode " << number;
    }
}

TEST(Compositing, GivesEveryModesFormula) {
    for (const int mode : {0, 1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 23, 24, 25})
        for (Layout const& layout : kLayouts) expectFormula(Scene{layout}, mode);
}

TEST(Compositing, PlacesAsCopyDoes) {
    const A_short places[][6] = {{-3, -4, 9, 40, 5, 2},
                                 {2, 3, 30, 20, -6, 10},
                                 {1, 4, 23, 29, 2, -3},
                                 {-99, -99, 99, 99, -97, -98}};  // top, left, bottom, right, x, y
    for (Layout const& layout : kLayouts)
        for (auto const& p : places)
            for (const bool self : {false, true}) {
                const Scene s{layout, self};
                PF_Rect part = {p[0], p[1], p[2], p[3]}, place = {p[5], p[4], 99, 99};
                const auto copied = s.run([&](auto& utils, auto ref, auto* from, auto* to) {
                    return utils.copy(ref, from, to, &part, &place);
                });
                EXPECT_EQ(s.transfer(kCopy, &part, p[4], p[5]), copied) << p[0] << " self " << self;
                // A move by whole pixels, there and back, at either quality.
                for (const float sign : {1.0f, -1.0f}) {
                    const float x = sign * (p[4] - p[1]), y = sign * (p[5] - p[0]);
                    const PF_FloatMatrix m = {{{1, 0, 0}, {0, 1, 0}, {x, y, 1}}};
                    const auto moved = s.run([&](auto& utils, auto ref, auto* from, auto* to) {
                        return utils.transform_world(ref, sign > 0, 1, 0, from, &kScreen, nullptr,
                                                     &m, 1, sign > 0, &place, to);
                    });
                    part.bottom = part.right = 99;
                    EXPECT_EQ(moved, s.transfer(kScreen, &part, p[4], p[5])) << p[0] << self;
                }
            }
}

}  // namespace

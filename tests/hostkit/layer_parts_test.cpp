// The part of a layer that an effect asks for: what the host lends it, and what our effect makes of
// layers smaller and larger than their frame, and of a frame of which only a part is wanted.
#include "hostkit/pixel_ops.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

constexpr int kWidth = 24, kHeight = 18;
constexpr PF_LRect kFrame = {0, 0, kWidth, kHeight};

std::string text(PF_LRect const& r) {
    return testing::PrintToString(std::array<A_long, 4>{r.left, r.top, r.right, r.bottom});
}

World imageOf(Host const& host, PF_LRect const& part, Depth depth) {
    World world(host.worldSpec(part.right - part.left, part.bottom - part.top, depth));
    world.setOrigin(part.left, part.top);
    return world;
}

World randomImage(Host const& host, PF_LRect const& part, Depth depth) {
    World world = imageOf(host, part, depth);
    fillRandom(world, 7);
    return world;
}

/// The pixel at (x, y) of the layer, zeros where the image has none.
std::vector<std::byte> pixelAt(World const& world, int x, int y) {
    std::size_t const bytes = static_cast<std::size_t>(pixelBytes(world.depth()));
    PF_LRect const in = world.bounds();
    if (x < in.left || x >= in.right || y < in.top || y >= in.bottom)
        return std::vector<std::byte>(bytes);
    std::byte const* const at = world.row(y - in.top) + (x - in.left) * pixelBytes(world.depth());
    return {at, at + bytes};
}

/// Both show the same in all of `part`.
bool showTheSame(World const& a, World const& b, PF_LRect const& part) {
    for (int y = part.top; y < part.bottom; ++y)
        for (int x = part.left; x < part.right; ++x)
            if (pixelAt(a, x, y) != pixelAt(b, x, y)) return false;
    return true;
}

/// `image` as the part `bounds` of the layer, transparent where it has no pixels.
World paddedTo(Host const& host, World const& image, PF_LRect const& bounds) {
    World result = imageOf(host, bounds, image.depth());
    PF_LRect const from = image.bounds();
    auto const side = [](A_long at) { return static_cast<A_short>(at); };
    PF_Rect const place = {side(from.top - bounds.top), side(from.left - bounds.left),
                           side(from.bottom - bounds.top), side(from.right - bounds.left)};
    copyPixels(image, result, nullptr, &place);
    return result;
}

TEST(LayerParts, AreWhatTheRequestAndTheLayerHaveInCommon) {
    ProbeHost host{kModernAE};
    PF_LRect asked{};
    PF_CheckoutResult told{};
    World layer = randomImage(*host, {-5, 3, 12, 15}, Depth::k16);
    FrameRequest frame;
    frame.layerWidth = 41, frame.layerHeight = 30, frame.downsample = 2;
    const ProbeBody body = [&](ProbeCall const& call) -> PF_Err {
        PF_InData& in = *call.in_data;
        PF_RenderRequest request{};
        request.rect = asked;
        if (call.command == PF_Cmd_GLOBAL_SETUP) {
            call.out_data->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
        } else if (call.command == PF_Cmd_SMART_PRE_RENDER) {
            auto* const extra = static_cast<PF_PreRenderExtra*>(call.extra);
            extra->output->result_rect = extra->output->max_result_rect = {0, 0, 9, 9};
            extra->output->flags = PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS;
            for (A_long const id : {8, 9})
                EXPECT_EQ(extra->cb->checkout_layer(in.effect_ref, 0, id, &request, 0, 1, 1, &told),
                          0);
        } else if (call.command == PF_Cmd_SMART_RENDER) {
            auto* const extra = static_cast<PF_SmartRenderExtra*>(call.extra);
            PF_EffectWorld *first = nullptr, *second = nullptr, *output = nullptr;
            EXPECT_EQ(extra->cb->checkout_layer_pixels(in.effect_ref, 8, &first), 0);
            EXPECT_EQ(extra->cb->checkout_layer_pixels(in.effect_ref, 9, &second), 0);
            EXPECT_EQ(extra->cb->checkout_output(in.effect_ref, &output), 0);
            PF_LRect const& part = told.result_rect;
            EXPECT_EQ(first != nullptr, part.right > part.left);
            if (!first || !second) return 0;
            EXPECT_EQ(text({first->origin_x, first->origin_y, first->origin_x + first->width,
                            first->origin_y + first->height}),
                      text(part));
            auto const* const row =
                static_cast<std::byte const*>(first->data) + (first->height - 1) * first->rowbytes;
            EXPECT_EQ(std::memcmp(row, &pixelAt(layer, part.left, part.bottom - 1)[0], 8), 0);
            PF_EffectWorld lent = *first;
            EXPECT_EQ(extra->cb->checkin_layer_pixels(in.effect_ref, 8), 0);
            bool const isAll = text(part) == text(layer.bounds());
            EXPECT_EQ(isAll, first == layer.record()) << "not copied";
            EXPECT_EQ(in.utils->fill(in.effect_ref, nullptr, nullptr, &lent),
                      isAll ? 0 : PF_Err_BAD_CALLBACK_PARAM)
                << "gone with its check-in";
            EXPECT_EQ(in.utils->copy(in.effect_ref, second, output, nullptr, nullptr), 0);
        }
        return 0;
    };
    setProbeBody(&body);
    host->globalSetup();
    std::mt19937 random(20251);
    auto const below = [&](unsigned n) { return static_cast<A_long>(random() % n) - 10; };
    for (int round = 0; round < 200; ++round) {
        asked = {below(30), below(30), below(30), below(30)};
        if (round == 0) asked = layer.bounds();
        fillRandom(layer, 7);
        PF_LRect const all = layer.bounds(), &part = told.result_rect;
        auto const agreed = host->preRender(&layer, Depth::k16, frame);
        EXPECT_EQ(text(told.max_result_rect), text(all));
        EXPECT_TRUE(told.ref_width == 20 && told.ref_height == 15);
        for (int y = -12; y < 25; ++y)
            for (int x = -12; x < 25; ++x) {
                auto const holds = [&](PF_LRect const& r) {
                    return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
                };
                ASSERT_EQ(holds(part), holds(asked) && holds(all)) << "seed 20251 " << round;
            }
        World output = host->outputFor(agreed);
        auto const end = host->smartRender(&layer, output, agreed, frame);
        EXPECT_EQ(nothingOwed(end), "nothing");
    }
    host->globalSetdown();
}

/// Our effect, its pins moved, on a frame of 24 by 18.
struct Stage {
    explicit Stage(int grow, bool moves = true) {
        host.resetParameters(kWidth, kHeight);
        setControl(host, kParamGrowBounds, grow);
        if (!moves) setControl(host, kParamViewMode, 1);  // Original: the input as it is
        setPin(host, kParamToUpperLeft, -2.5, 3);
        setPin(host, kParamToLowerRight, 27, 14.25);
        frame.layerWidth = kWidth, frame.layerHeight = kHeight;
    }
    World render(World& layer, std::optional<PF_LRect> const& asked = std::nullopt) {
        auto const agreed = host.preRender(&layer, layer.depth(), frame, asked);
        World output = host.outputFor(agreed);
        auto const end = host.smartRender(&layer, output, agreed, frame);
        EXPECT_EQ(end.code, 0);
        EXPECT_EQ(nothingOwed(end), "nothing");
        return output;
    }
    Host host{ZELK_MODULE};
    FrameRequest frame;
};

// A layer's image counts where it lies, and as transparent where it has no pixels.
TEST(LayerParts, OfAnySizeStandInTheirPlaceInTheFrame) {
    for (Depth const depth : {Depth::k8, Depth::k16, Depth::kFloat})
        for (int const grow : {0, 3})
            for (PF_LRect const& part : {PF_LRect{4, 5, 20, 11}, PF_LRect{-4, -2, 30, 20},
                                         PF_LRect{-9, 6, 12, 40}, PF_LRect{40, 40, 50, 41}}) {
                Stage original(grow, false), moved(grow);
                World layer = randomImage(original.host, part, depth);
                PF_LRect const whole = {-grow, -grow, kWidth + grow, kHeight + grow};
                EXPECT_TRUE(showTheSame(original.render(layer), layer, whole)) << text(part);
                World padded = paddedTo(moved.host, layer, whole);
                World const result = moved.render(layer);
                EXPECT_TRUE(showTheSame(result, moved.render(padded), whole)) << text(part);
                World const none = imageOf(moved.host, whole, depth);
                EXPECT_EQ(showTheSame(result, none, whole), part.left == 40) << text(part);
            }
}

// The effect looks for the place of an image only where it differs in size from the output.
TEST(LayerParts, OfTheFramesSizeCountFromItsCorner) {
    Stage stage(0);
    World layer = randomImage(stage.host, kFrame, Depth::k8);
    World const expected = stage.render(layer);
    World plain = imageOf(stage.host, {5, -3, 5 + kWidth, kHeight - 3}, Depth::k8);
    layer.setOrigin(5, -3);
    EXPECT_TRUE(showTheSame(stage.render(layer), expected, kFrame));
    EXPECT_EQ(stage.host.render(layer, plain, stage.frame).code, 0);
    plain.setOrigin(0, 0);
    EXPECT_TRUE(showTheSame(plain, expected, kFrame)) << "a plain render, too";
}

TEST(LayerParts, APartOfTheOutputIsThatPartOfTheWholeFrame) {
    for (int const grow : {0, 3})
        for (PF_LRect const& part : {PF_LRect{3, 4, 15, 9}, PF_LRect{-3, -3, 1, 2},
                                     PF_LRect{20, 0, 90, 90}, PF_LRect{0, 0, 0, 0}}) {
            Stage stage(grow);
            World layer = randomImage(stage.host, kFrame, Depth::k16);
            World const whole = stage.render(layer), asked = stage.render(layer, part);
            EXPECT_EQ(text(asked.bounds()), text(whole.bounds())) << "extra pixels, as announced";
            EXPECT_TRUE(showTheSame(partOf(asked, part), whole, meet(part, whole.bounds())));
            World plain = imageOf(stage.host, kFrame, Depth::k16);
            EXPECT_EQ(stage.host.render(layer, plain, stage.frame, part).code, 0);
            EXPECT_TRUE(grow || showTheSame(plain, whole, kFrame));
        }
}

// What is asked of a layer reaches 10000 pixels at least, and further only where the output does.
TEST(LayerParts, BeyondTenThousandPixelsAreLentWhereTheOutputReachesThem) {
    Stage stage(0, false);
    PF_LRect const wide = {0, 0, 10010, 2};
    stage.frame.layerWidth = wide.right, stage.frame.layerHeight = wide.bottom;
    World layer = randomImage(stage.host, wide, Depth::k8);
    EXPECT_TRUE(showTheSame(stage.render(layer), layer, wide));
    World const cut = partOf(layer, {0, 0, 10000, 2});
    EXPECT_TRUE(showTheSame(stage.render(layer, PF_LRect{0, 0, 90, 1}), cut, wide));
}

TEST(LayerParts, ArePointedOutToAPlainRender) {
    ProbeHost host{kModernAE};
    host.paramsSetup([](ProbeCall const&) -> PF_Err { return 0; });
    World input = randomImage(*host, {-2, 5, 10, 16}, Depth::k8);
    World output = imageOf(*host, input.bounds(), Depth::k8);
    for (auto const& [asked, hint] :
         {std::pair<std::optional<PF_LRect>, PF_LRect>{std::nullopt, {0, 0, 12, 11}},
          {{{-9, 6, 4, 99}}, {0, 1, 6, 11}},
          {{{20, 0, 30, 9}}, {0, 0, 0, 0}}}) {
        PF_LRect told{};
        const ProbeBody body = [&](ProbeCall const& call) -> PF_Err {
            PF_Rect const& r = call.in_data->extent_hint;
            told = {r.left, r.top, r.right, r.bottom};
            EXPECT_EQ(call.params[0]->u.ld.origin_x, -2);
            EXPECT_EQ(call.params[0]->u.ld.origin_y, 5);
            return 0;
        };
        setProbeBody(&body);
        EXPECT_EQ(host->render(input, output, {}, asked).code, 0);
        EXPECT_EQ(text(told), text(hint));
    }
    output.setOrigin(0, 0);
    EXPECT_THROW(host->render(input, output, {}), HostError);
}

}  // namespace
}  // namespace zelk

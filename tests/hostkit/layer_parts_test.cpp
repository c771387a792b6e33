// The part of a layer that an effect asks for: what the host lends it, and what our effect makes of
// layers smaller and larger than their frame, and of a frame of which only a part is wanted.
#include "hostkit/pixel_ops.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

constexpr PF_LRect kFrame = {0, 0, 24, 18};

std::array<A_long, 4> sides(PF_LRect const& r) { return {r.left, r.top, r.right, r.bottom}; }

World imageOf(PF_LRect const& part, Depth depth, bool isRandom = true) {
    World world({part.right - part.left, part.bottom - part.top, depth});
    world.setOrigin(part.left, part.top);
    if (isRandom) fillRandom(world, 7);
    return world;
}

/// `image` as the part `bounds` of the layer, transparent where it has no pixels.
World paddedTo(World const& image, PF_LRect const& bounds) {
    World result = imageOf(bounds, image.depth(), false);
    PF_LRect const from = image.bounds();
    PF_Rect const place = {A_short(from.top - bounds.top), A_short(from.left - bounds.left), 99,
                           99};
    copyPixels(image, result, nullptr, &place);
    return result;
}

/// Both show the same in all of `part`.
bool showTheSame(World const& a, World const& b, PF_LRect const& part) {
    return pixelsOf(paddedTo(a, part)) == pixelsOf(paddedTo(b, part));
}

TEST(LayerParts, AreWhatTheRequestAndTheLayerHaveInCommon) {
    ProbeHost host{kModernAE};
    World layer = imageOf({-5, 3, 12, 15}, Depth::k16);
    PF_LRect asked{};
    PF_CheckoutResult told{};
    const ProbeBody body = [&](ProbeCall const& call) -> PF_Err {
        PF_InData& in = *call.in_data;
        if (call.command == PF_Cmd_GLOBAL_SETUP)
            call.out_data->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
        if (call.command == PF_Cmd_SMART_PRE_RENDER) {
            auto* const extra = extraOf<PF_PreRenderExtra>(call);
            PF_RenderRequest request{};
            request.rect = extra->output->result_rect = extra->output->max_result_rect = asked;
            return extra->cb->checkout_layer(in.effect_ref, 0, 8, &request, 0, 1, 1, &told);
        }
        if (call.command != PF_Cmd_SMART_RENDER) return 0;
        auto* const extra = extraOf<PF_SmartRenderExtra>(call);
        PF_EffectWorld *pixels = nullptr, *output = nullptr;
        EXPECT_EQ(extra->cb->checkout_layer_pixels(in.effect_ref, 8, &pixels), 0);
        EXPECT_EQ(extra->cb->checkout_output(in.effect_ref, &output), 0);
        EXPECT_EQ(in.utils->fill(in.effect_ref, nullptr, nullptr, output), 0);
        EXPECT_EQ(pixels != nullptr, told.result_rect.right > told.result_rect.left);
        if (!pixels) return 0;
        A_long const x = pixels->origin_x, y = pixels->origin_y;
        EXPECT_EQ(sides({x, y, x + pixels->width, y + pixels->height}), sides(told.result_rect));
        PF_Rect place = {A_short(y - output->origin_y), A_short(x - output->origin_x), 99, 99};
        EXPECT_EQ(in.utils->copy(in.effect_ref, pixels, output, nullptr, &place), 0);
        return extra->cb->checkin_layer_pixels(in.effect_ref, 8);
    };
    setProbeBody(&body);
    host->globalSetup();
    std::mt19937 random(20251);
    auto const between = [&](A_long low, unsigned n) { return low + A_long(random() % n); };
    for (int round = 0; round < 300; ++round) {
        asked = {between(-9, 25), between(-9, 30), 0, 0};
        asked.right = asked.left + between(1, 30), asked.bottom = asked.top + between(1, 30);
        auto const agreed = host->preRender(&layer, Depth::k16, {}, asked);
        World output = host->outputFor(agreed);
        auto const end = host->smartRender(&layer, output, agreed, {});
        EXPECT_TRUE(end.code == 0 && nothingOwed(end) == "nothing");
        EXPECT_TRUE(showTheSame(output, layer, asked)) << "seed 20251, round " << round;
    }
    host->globalSetdown();
}

/// Our effect, two of its pins moved, on a frame of 24 by 18.
struct Stage {
    explicit Stage(int grow, bool moves = true) {
        host.resetParameters(kFrame.right, kFrame.bottom);
        setControl(host, kParamGrowBounds, grow);
        if (!moves) setControl(host, kParamViewMode, 1);  // Original: the input as it is
        setPin(host, kParamToUpperLeft, -2.5, 3);
        setPin(host, kParamToLowerRight, 27, 14.25);
        frame.layerWidth = kFrame.right, frame.layerHeight = kFrame.bottom;
    }
    World render(World& layer, std::optional<PF_LRect> const& asked = std::nullopt) {
        auto const agreed = host.preRender(&layer, layer.depth(), frame, asked);
        World output = host.outputFor(agreed);
        auto const end = host.smartRender(&layer, output, agreed, frame);
        EXPECT_TRUE(end.code == 0 && nothingOwed(end) == "nothing");
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
                World layer = imageOf(part, depth);
                PF_LRect const whole = {-grow, -grow, kFrame.right + grow, kFrame.bottom + grow};
                EXPECT_TRUE(showTheSame(original.render(layer), layer, whole)) << part.left;
                World padded = paddedTo(layer, whole);
                World const result = moved.render(layer), none = imageOf(whole, depth, false);
                EXPECT_TRUE(showTheSame(result, moved.render(padded), whole)) << part.left;
                EXPECT_EQ(showTheSame(result, none, whole), part.left == 40) << part.left;
            }
}

TEST(LayerParts, APartOfTheOutputIsThatPartOfTheWholeFrame) {
    for (int const grow : {0, 3})
        for (PF_LRect const& part :
             {PF_LRect{3, 4, 15, 9}, PF_LRect{-3, -3, 1, 2}, PF_LRect{20, 0, 90, 90}}) {
            Stage stage(grow);
            World layer = imageOf(kFrame, Depth::k16);
            World const whole = stage.render(layer), asked = stage.render(layer, part);
            EXPECT_EQ(sides(asked.bounds()), sides(whole.bounds())) << "extra pixels, announced";
            EXPECT_TRUE(showTheSame(partOf(asked, part), whole, meet(part, whole.bounds())));
            World plain = imageOf(kFrame, Depth::k16);
            EXPECT_EQ(stage.host.render(layer, plain, stage.frame, part).code, 0);
            EXPECT_TRUE(grow || showTheSame(plain, whole, kFrame));
        }
}

}  // namespace
}  // namespace zelk

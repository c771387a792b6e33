// The smart render protocol, through the module: rectangles, the grown frame, layers without
// pixels, and what is said and given back.
#include <algorithm>

#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"

namespace {

using zelk::Depth;
using zelk::World;

constexpr int kWidth = 12, kHeight = 9;
constexpr Depth kDepths[] = {Depth::k8, Depth::k16, Depth::kFloat};

struct Smart {
    explicit Smart(int grow, int view = 4) {
        host.resetParameters(kWidth, kHeight);
        zelk_test::setControl(host, kParamGrowBounds, grow);
        zelk_test::setControl(host, kParamViewMode, view);
    }
    zelk::Host host{ZELK_MODULE};
};

std::string text(PF_LRect const& r) {
    return testing::PrintToString(std::array<A_long, 4>{r.left, r.top, r.right, r.bottom});
}

TEST(SmartPreRender, AsksForTheWholeLayerAndPromisesLayerAndMargin) {
    struct Case {
        PF_LRect asked;
        int grow, downsample;
        PF_LRect layer, result;
    };
    constexpr PF_LRect kFar = {-10000, -10000, 10000, 10000}, kOwn = {0, 0, 24, 18};
    for (Case const& c : {
             Case{{0, 0, 12, 9}, 0, 1, kFar, kOwn},
             {{5, 5, 5, 9}, 0, 1, kFar, kOwn},  // empty: as if small
             {{-20000, 1, 3, 20001}, 0, 1, {-20000, -10000, 10000, 20001}, kOwn},
             {{1, -20001, 20002, 3}, 0, 1, {-10000, -20001, 20002, 10000}, kOwn},
             {{0, 0, 12, 9}, 10, 1, kFar, {-10, -10, 34, 28}},
             {{0, 0, 12, 9}, 11, 2, kFar, {-5, -5, 17, 14}},  // 5.5 truncated
             {{0, 0, 12, 9}, 1, 5, kFar, {0, 0, 4, 3}},       // 4.8 and 3.6 truncated
         }) {
        Smart smart(c.grow);
        World layer(smart.host.worldSpec(24 / c.downsample, 18 / c.downsample, Depth::k8));
        zelk::FrameRequest frame;
        frame.downsample = c.downsample;
        frame.layerWidth = 24;
        frame.layerHeight = 18;
        auto const agreed = smart.host.preRender(&layer, Depth::k8, frame, c.asked);
        EXPECT_EQ(agreed.command.code, 0);
        EXPECT_EQ(text(agreed.layerRequest.rect), text(c.layer));
        EXPECT_EQ(agreed.layerRequest.preserve_rgb_of_zero_alpha, 1);
        EXPECT_EQ(text(agreed.resultRect), text(c.result));
        EXPECT_EQ(text(agreed.maxResultRect), text(c.result));
        EXPECT_FALSE(agreed.data);
    }
}

// The command on records full of other things: it sets what is its own and keeps the rest.
TEST(SmartPreRender, KeepsWhatIsTheHosts) {
    auto const module = dlopen(ZELK_MODULE, RTLD_NOW);
    auto const entry = reinterpret_cast<PF_EntryPoint>(dlsym(module, kEntryPointName));
    static PF_RenderRequest seen;
    PF_InData in{};
    in.width = 7;
    in.downsample_x = {1, 0};  // no resolution at all: whole numbers saturate
    in.downsample_y = {1, 1};
    in.inter.checkout_param = [](PF_ProgPtr, A_long, A_long, A_long, A_u_long,
                                 PF_ParamDef* def) -> PF_Err {
        def->u.sd.value = 3;
        return 0;
    };
    in.inter.checkin_param = [](PF_ProgPtr, PF_ParamDef*) -> PF_Err { return 0; };
    PF_OutData out{};
    PF_PreRenderInput input{};
    input.output_request.field = PF_Field_UPPER;
    input.output_request.channel_mask = 0x40;
    PF_PreRenderOutput answer{};
    answer.solid = 1;
    answer.flags = 0x10;
    PF_PreRenderCallbacks callbacks{
        [](PF_ProgPtr, A_long, A_long, PF_RenderRequest const* request, A_long, A_long, A_u_long,
           PF_CheckoutResult*) -> PF_Err { return seen = *request, 21; }};
    PF_PreRenderExtra extra = {&input, &answer, &callbacks};
    EXPECT_EQ(entry(PF_Cmd_SMART_PRE_RENDER, &in, &out, nullptr, nullptr, &extra), 21);
    EXPECT_EQ(seen.field, PF_Field_FRAME);
    EXPECT_EQ(seen.channel_mask * 0x100 + input.output_request.channel_mask, 0x4F40);
    EXPECT_EQ(answer.solid, 0);
    EXPECT_EQ(answer.flags, 0x11);
    EXPECT_EQ(text(answer.result_rect), text({-INT32_MAX, -3, INT32_MAX, 3}));
}

TEST(SmartRender, TheLayerStandsInItsPlaceInAGrownFrame) {
    for (const Depth depth : kDepths)
        for (auto const& [marginX, marginY] : {std::pair(0, 0), {1, 1}, {5, 5}, {3, 0}, {0, 2}}) {
            Smart smart(0, 1);  // Original: the input as it is
            World layer(smart.host.worldSpec(kWidth, kHeight, depth));
            zelk_test::fillRandom(layer, 11);
            auto agreed = smart.host.preRender(&layer, depth, {});
            agreed.resultRect =
                agreed.maxResultRect = {-marginX, -marginY, kWidth + marginX, kHeight + marginY};
            World output = smart.host.outputFor(agreed);
            for (World* world : {&layer, &output}) {  // only the difference of origins counts
                world->record()->origin_x += 3;
                world->record()->origin_y += 4;
            }
            auto const result = smart.host.smartRender(&layer, output, agreed, {});
            EXPECT_EQ(result.code, 0);
            EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
            ASSERT_EQ(output.width(), kWidth + 2 * marginX);
            auto const bytes = zelk::pixelBytes(depth);
            World want(output.spec());
            for (int y = 0; y < kHeight; ++y)
                std::copy_n(layer.row(y), kWidth * bytes, want.row(y + marginY) + marginX * bytes);
            EXPECT_TRUE(zelk_test::pixelsOf(output) == zelk_test::pixelsOf(want));
        }
}

// A pin that lies outside the layer is drawn only where the frame has grown to it. A white layer's
// coverage tells where its edges are: its sum along a line through the middle is the quad's side.
// Left and top lie there by their pins, right and bottom by offsets: fractions of the layer, and of
// the grown frame from the second sample on.
TEST(SmartRender, PinsOutsideTheLayerAreDrawnInTheMargin) {
    constexpr int kGrow = 4;
    double const left = 2.5, right = 1.75, top = 1.25, bottom = 2;  // beyond the layer
    for (int const samples : {1, 2}) {
        Smart smart(kGrow);
        zelk_test::setControl(smart.host, kParamMotionBlur, 2);
        zelk_test::setControl(smart.host, kParamSamples, samples);
        for (int i = 0; i < 4; ++i) {
            bool const isRight = i % 2, isLower = i / 2;
            zelk_test::setPin(smart.host, kParamToUpperLeft + i, isRight ? kWidth : -left,
                              isLower ? kHeight : -top);
            int const offset = kParamToUpperLeftOffsetX + 2 * i;
            if (isRight) zelk_test::setControl(smart.host, offset, 100 * right / kWidth);
            if (isLower) zelk_test::setControl(smart.host, offset + 1, 100 * bottom / kHeight);
        }
        World layer(smart.host.worldSpec(kWidth, kHeight, Depth::kFloat));
        for (int y = 0; y < kHeight; ++y) std::fill_n(layer.rowAs<float>(y), 4 * kWidth, 1.0f);
        auto const agreed = smart.host.preRender(&layer, Depth::kFloat, {});
        World output = smart.host.outputFor(agreed);
        EXPECT_EQ(smart.host.smartRender(&layer, output, agreed, {}).code, 0);
        // The kernel spreads either edge over a pixel.
        auto const expectSpan = [&](int side, double before, double after, auto const& coverageAt) {
            double first = 0, last = 0;
            for (int i = 0; i < side + 2 * kGrow; ++i)
                (i < kGrow + side / 2 ? first : last) += coverageAt(i);
            const double grown = (1.0 * side + 2 * kGrow) / side;
            EXPECT_NEAR(first, before + side / 2, 0.1);
            EXPECT_NEAR(last, side - side / 2 + after * (samples == 1 ? 1 : (1 + grown) / 2), 0.1);
        };
        expectSpan(kWidth, left, right,
                   [&](int x) { return output.rowAs<float>(kGrow + kHeight / 2)[4 * x]; });
        expectSpan(kHeight, top, bottom,
                   [&](int y) { return output.rowAs<float>(y)[4 * (kGrow + kWidth / 2)]; });
    }
}

TEST(SmartRender, ALayerWithoutPixelsClearsTheOutput) {
    for (const Depth depth : kDepths) {
        Smart smart(2);
        zelk::CallMonitor& monitor = smart.host.monitor();
        zelk::FrameRequest frame;
        frame.layerWidth = kWidth;
        frame.layerHeight = kHeight;
        auto const agreed = smart.host.preRender(nullptr, depth, frame);
        EXPECT_EQ(text(agreed.resultRect), text({-2, -2, kWidth + 2, kHeight + 2}));
        World output = smart.host.outputFor(agreed);
        // What is refused here changes the picture, not the result.
        for (std::string const refused : {"checkout_output", "fill", ""}) {
            zelk_test::fillRandom(output, 5);
            monitor.clearFaults();
            monitor.restart();
            monitor.inject({refused, 0, 9});
            auto const result = smart.host.smartRender(nullptr, output, agreed, frame);
            EXPECT_EQ(result.code, 0);
            EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
            auto const pixels = zelk_test::pixelsOf(output);
            bool const isClear = pixels == std::vector<std::byte>(pixels.size());
            EXPECT_EQ(isClear, refused.empty()) << refused;
        }
        auto const& log = monitor.log();  // the controls are back before the output is asked for
        EXPECT_EQ(std::find(std::find(log.begin(), log.end(), "checkout_output"), log.end(),
                            "checkin_param"),
                  log.end());
    }
}

}  // namespace

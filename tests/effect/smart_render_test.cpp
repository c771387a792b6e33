// The smart render protocol, through the module: rectangles, the grown frame, layers without
// pixels, and agreement with the plain command.
#include <gtest/gtest.h>

#include <cstring>

#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"

namespace {

using zelk::Depth;
using zelk::World;

constexpr int kWidth = 12, kHeight = 9;

struct Smart {
    explicit Smart(int grow = 0, int view = 4) {
        host.resetParameters(kWidth, kHeight);
        set(kParamGrowBounds, grow);
        set(kParamViewMode, view);
    }
    void set(int index, double value) {
        zelk::setNumber(host.parameters()[static_cast<std::size_t>(index)].current, value);
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
    const Case cases[] = {
        {{0, 0, 12, 9}, 0, 1, kFar, kOwn},
        {{5, 5, 5, 9}, 0, 1, kFar, kOwn},  // empty: as if small
        {{-20000, 1, 3, 20001}, 0, 1, {-20000, -10000, 10000, 20001}, kOwn},
        {{0, 0, 12, 9}, 10, 1, kFar, {-10, -10, 34, 28}},
        {{0, 0, 12, 9}, 11, 2, kFar, {-5, -5, 17, 14}},  // 5.5 truncated
        {{0, 0, 12, 9}, 1, 5, kFar, {0, 0, 4, 3}},       // 4.8 and 3.6 truncated
    };
    for (Case const& c : cases) {
        Smart smart(c.grow);
        World layer(smart.host.worldSpec(24 / c.downsample, 18 / c.downsample, Depth::k8));
        zelk::FrameRequest frame;
        frame.downsample = c.downsample;
        frame.layerWidth = 24;
        frame.layerHeight = 18;
        const auto agreed = smart.host.preRender(&layer, Depth::k8, frame, c.asked);
        EXPECT_EQ(agreed.command.code, 0);
        EXPECT_EQ(text(agreed.layerRequest.rect), text(c.layer));
        EXPECT_EQ(agreed.layerRequest.field, PF_Field_FRAME);
        EXPECT_EQ(agreed.layerRequest.channel_mask, 0x0F);
        EXPECT_EQ(agreed.layerRequest.preserve_rgb_of_zero_alpha, 1);
        EXPECT_EQ(text(agreed.resultRect), text(c.result));
        EXPECT_EQ(text(agreed.maxResultRect), text(c.result));
        EXPECT_FALSE(agreed.solid);
        EXPECT_EQ(agreed.flags, PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS);
        EXPECT_FALSE(agreed.data);
    }
}

TEST(SmartRender, TheLayerStandsInItsPlaceInAGrownFrame) {
    for (const Depth depth : {Depth::k8, Depth::k16, Depth::kFloat})
        for (const int grow : {0, 1, 5}) {
            Smart smart(grow, 1);  // Original: the input as it is
            World layer(smart.host.worldSpec(kWidth, kHeight, depth));
            zelk_test::fillRandom(layer, 11);
            const auto agreed = smart.host.preRender(&layer, depth, {});
            World output = smart.host.outputFor(agreed);
            const auto result = smart.host.smartRender(&layer, output, agreed, {});
            EXPECT_EQ(result.code, 0);
            EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
            ASSERT_EQ(output.width(), kWidth + 2 * grow);
            const auto bytes = static_cast<std::size_t>(zelk::pixelBytes(depth));
            const auto g = static_cast<std::size_t>(grow);
            for (int y = 0; y < output.height(); ++y) {
                std::vector<std::byte> row(static_cast<std::size_t>(output.width()) * bytes);
                if (y >= grow && y < kHeight + grow)
                    std::memcpy(&row[g * bytes], layer.row(y - grow), kWidth * bytes);
                EXPECT_EQ(std::memcmp(output.row(y), row.data(), row.size()), 0) << y;
            }
        }
}

// A pin that lies outside the layer is drawn only where the frame has grown to it. A white layer's
// coverage tells where its edges are: its sum along a row through the middle is the quad's width.
TEST(SmartRender, PinsOutsideTheLayerAreDrawnInTheMargin) {
    Smart smart(4);
    auto& parameters = smart.host.parameters();
    const double left = -2.5, right = kWidth + 1.75;
    for (int i = 0; i < 4; ++i)
        zelk::setPoint(parameters[static_cast<std::size_t>(kParamToUpperLeft + i)].current,
                       i % 2 ? right : left, i / 2 ? kHeight : 0);
    World layer(smart.host.worldSpec(kWidth, kHeight, Depth::kFloat));
    for (int y = 0; y < kHeight; ++y) std::fill_n(layer.rowAs<float>(y), 4 * kWidth, 1.0f);
    const auto agreed = smart.host.preRender(&layer, Depth::kFloat, {});
    World output = smart.host.outputFor(agreed);
    EXPECT_EQ(smart.host.smartRender(&layer, output, agreed, {}).code, 0);
    float const* row = output.rowAs<float>(4 + kHeight / 2);
    double sum = 0, outside = 0;
    for (int x = 0; x < output.width(); ++x) {
        sum += row[4 * x];
        if (x < 4 || x >= 4 + kWidth) outside += row[4 * x];
    }
    // The kernel spreads either edge over a pixel.
    EXPECT_NEAR(sum, right - left, 0.2);
    EXPECT_NEAR(outside, 2.5 + 1.75, 0.2);
}

TEST(SmartRender, ALayerWithoutPixelsClearsTheOutput) {
    for (const Depth depth : {Depth::k8, Depth::k16, Depth::kFloat}) {
        Smart smart(2);
        zelk::FrameRequest frame;
        frame.layerWidth = kWidth;
        frame.layerHeight = kHeight;
        const auto agreed = smart.host.preRender(nullptr, depth, frame);
        EXPECT_EQ(text(agreed.resultRect), text({-2, -2, kWidth + 2, kHeight + 2}));
        World output = smart.host.outputFor(agreed);
        std::memset(output.row(0), 0x3C, static_cast<std::size_t>(output.rowBytes()));
        const auto result = smart.host.smartRender(nullptr, output, agreed, frame);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
        for (int i = 0; i < output.rowBytes(); ++i) EXPECT_EQ(output.row(0)[i], std::byte{0});
    }
}

}  // namespace

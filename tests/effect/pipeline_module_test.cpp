// The loaded module against the pipeline in this program: the module on a host of straight colour
// has to give what the memory host gives for the premultiplied picture, divided by its alpha, bit
// for bit, by the plain command and by the smart render protocol.
#include <gtest/gtest.h>

#include <cstring>

#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "effect/Render.h"
#include "tests/host/ae_probe.h"
#include "tests/support/memory_controls.h"
#include "tests/support/random_quads.h"

namespace {

using zelk::Depth;
using zelk::Random;
using zelk_test::nothingOwed;

constexpr int kWidth = 41, kHeight = 23;

/// Both hosts' controls at once. Numbers are multiples of 1/256, so 16.16 holds them.
struct Controls {
    zelk::Host& host;
    PluginHost_Memory_Impl& memory;

    /// Popup entries count from 0 in memory and from 1 in the host.
    void number(int index, double value, double hostOffset = 0) {
        zelk::setNumber(host.parameters()[static_cast<std::size_t>(index)].current,
                        value + hostOffset);
        memory.setFloat(index, value);
    }
    void pin(int index, double x, double y) {
        zelk::setPoint(host.parameters()[static_cast<std::size_t>(index)].current, x, y);
        memory.setPointPixels(index, x, y);
    }
};

double dyadic(Random& random, double low, double high) {
    return std::floor(random.uniform(low, high) * 256) / 256;
}

void setRandomControls(Controls controls, Random& random) {
    controls.host.resetParameters(kWidth, kHeight);
    zelk::setDefaultControls(controls.memory);
    if (controls.host.identity().applId == kAppAfterEffects)
        controls.number(kParamMotionBlur, 0, 1);
    controls.number(kParamViewMode, random.integer(1, 3), 1);
    controls.number(kParamQuality, random.integer(0, 2), 1);
    controls.number(kParamCropToPins, random.integer(0, 1));
    for (const int first : {kParamFromUpperLeft, kParamToUpperLeft}) {
        const zelk::Quad quad = zelk::randomConvexQuad(random);
        for (int i = 0; i < 4; ++i)
            controls.pin(first + i, std::floor(quad[2 * i] * kWidth * 256) / 256,
                         std::floor(quad[2 * i + 1] * kHeight * 256) / 256);
    }
    for (const int first : {kParamFromUpperLeftOffsetX, kParamToUpperLeftOffsetX})
        for (int i = 0; i < 8; ++i) controls.number(first + i, dyadic(random, -4, 4));
    controls.number(kParamTranslateX, dyadic(random, -20, 20));
    controls.number(kParamScaleY, dyadic(random, 0.5, 2));
    controls.number(kParamRotate, dyadic(random, -180, 180));
}

/// True when the frame shows anything.
template <class T>
bool expectAgreement(zelk::HostIdentity identity, Depth depth, unsigned seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << " format " << T::kFormat);
    Random random(seed);
    zelk::HostOptions options = zelk_test::optionsOf(identity);
    options.rowPaddingBytes = random.integer(0, 3) * 16;
    zelk::Host host(ZELK_MODULE, options);
    zelk::World input(host.worldSpec(kWidth, kHeight, depth));
    zelk::World output(host.worldSpec(kWidth, kHeight, depth));
    zelk_test::fillRandom(input, seed);

    PluginRaster_Memory_Impl source(T::kFormat, kWidth, kHeight),
        result(T::kFormat, kWidth, kHeight);
    const std::size_t runBytes = kWidth * T::kPixelBytes;
    for (int y = 0; y < kHeight; ++y) std::memcpy(source.pixel(0, y), input.row(y), runBytes);
    PluginHost_Memory_Impl memory(source.info(), result.info());
    setRandomControls({host, memory}, random);

    auto const rendered = host.render(input, output, {});
    EXPECT_EQ(rendered.code, 0);
    EXPECT_EQ(nothingOwed(rendered), "nothing");
    const auto agreed = host.preRender(&input, depth, {});
    zelk::World smart = host.outputFor(agreed);
    EXPECT_EQ(host.smartRender(&input, smart, agreed, {}).code, 0);
    using C = typename T::Channel;
    using F = typename T::FORMAT;
    Premult<T, C, typename T::Wide, typename T::Weight, F>({}, &memory, &source);
    EXPECT_EQ(Render(&memory), 0);
    UnPremult<T, C, typename T::Wide, typename T::Weight, F>({}, &memory, &result);
    bool painted = false;
    for (int y = 0; y < kHeight; ++y) {
        EXPECT_EQ(std::memcmp(output.row(y), result.pixel(0, y), runBytes), 0) << "row " << y;
        EXPECT_EQ(std::memcmp(output.row(y), smart.row(y), runBytes), 0) << "smart, row " << y;
        for (std::size_t i = 0; i < runBytes; ++i)
            painted = painted || output.row(y)[i] != std::byte{0};
    }
    return painted;
}

TEST(PipelineInModule, StraightColourIsPremultipliedAroundTheTransform) {
    int painted = 0;
    for (unsigned seed = 1; seed <= 30; ++seed) {
        painted += expectAgreement<PIXEL_ARGB8>(zelk_test::kModernAE, Depth::k8, seed);
        painted += expectAgreement<PIXEL_ARGB15>(zelk_test::kModernAE, Depth::k16, seed);
        painted += expectAgreement<PIXEL_ARGB32>(zelk_test::kModernAE, Depth::kFloat, seed);
        painted += expectAgreement<PIXEL_ARGB15>(zelk_test::kOlderAE, Depth::k16, seed);
        painted += expectAgreement<PIXEL_BGRA8>(zelk_test::kModernPremiere, Depth::k8, seed);
    }
    EXPECT_GT(painted, 120) << "of 150";
}

}  // namespace

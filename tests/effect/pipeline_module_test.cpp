// The loaded module against the pipeline in this program: the module on a host of straight colour
// has to give what the memory host gives for the premultiplied picture, divided by its alpha, bit
// for bit.
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
class Controls {
public:
    Controls(zelk::Host& host, PluginHost_Memory_Impl& memory) : m_host(host), m_memory(memory) {
        host.resetParameters(kWidth, kHeight);
        zelk::setDefaultControls(memory);
        if (host.identity().applId == kAppAfterEffects) number(kParamMotionBlur, 0, 1);
    }
    void popup(int index, unsigned entry) { number(index, entry, entry + 1.0); }
    void number(int index, double value) { number(index, value, value); }
    void pin(int index, double x, double y) {
        zelk::setPoint(m_host.parameters()[static_cast<std::size_t>(index)].current, x, y);
        m_memory.setPointPixels(index, x, y);
    }

private:
    void number(int index, double memoryValue, double hostValue) {
        zelk::setNumber(m_host.parameters()[static_cast<std::size_t>(index)].current, hostValue);
        m_memory.setFloat(index, memoryValue);
    }
    zelk::Host& m_host;
    PluginHost_Memory_Impl& m_memory;
};

double dyadic(Random& random, double low, double high) {
    return std::floor(random.uniform(low, high) * 256) / 256;
}

void setRandomControls(Controls& controls, Random& random) {
    controls.popup(kParamViewMode, static_cast<unsigned>(random.integer(1, 3)));
    controls.popup(kParamQuality, static_cast<unsigned>(random.integer(0, 2)));
    controls.number(kParamCropToPins, random.integer(0, 1));
    for (const int first : {kParamFromUpperLeft, kParamToUpperLeft}) {
        const zelk::Quad quad = zelk::randomConvexQuad(random);
        for (int i = 0; i < 4; ++i) {
            controls.pin(first + i, std::floor(quad[2 * i] * kWidth * 256) / 256,
                         std::floor(quad[2 * i + 1] * kHeight * 256) / 256);
        }
    }
    for (const int first : {kParamFromUpperLeftOffsetX, kParamToUpperLeftOffsetX})
        for (int i = 0; i < 8; ++i) controls.number(first + i, dyadic(random, -4, 4));
    controls.number(kParamTranslateX, dyadic(random, -20, 20));
    controls.number(kParamScaleY, dyadic(random, 0.5, 2));
    controls.number(kParamRotate, dyadic(random, -180, 180));
}

template <class T>
void premultiply(PluginHost_Memory_Impl& host, PluginRaster_Memory_Impl& raster) {
    Premult<T, typename T::Channel, typename T::Wide, typename T::Weight, typename T::FORMAT>(
        T{}, &host, &raster);
}
template <class T>
void unPremultiply(PluginHost_Memory_Impl& host, PluginRaster_Memory_Impl& raster) {
    UnPremult<T, typename T::Channel, typename T::Wide, typename T::Weight, typename T::FORMAT>(
        T{}, &host, &raster);
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
    Controls controls(host, memory);
    setRandomControls(controls, random);

    auto const rendered = host.render(input, output, {});
    EXPECT_EQ(rendered.code, 0);
    EXPECT_EQ(nothingOwed(rendered), "nothing");
    premultiply<T>(memory, source);
    EXPECT_EQ(Render(&memory), 0);
    unPremultiply<T>(memory, result);
    bool painted = false;
    for (int y = 0; y < kHeight; ++y) {
        EXPECT_EQ(std::memcmp(output.row(y), result.pixel(0, y), runBytes), 0) << "row " << y;
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

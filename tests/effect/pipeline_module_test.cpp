// The loaded module against the pipeline in this program: the module on a host of straight colour
// has to give what the memory host gives for the premultiplied picture, divided by its alpha, bit
// for bit, by the plain command and by the smart render protocol. A transfer mode then is the
// host's own compositing of that over the layer.
#include "effect/HostRender.h"
#include "effect/PassRecords.h"
#include "effect/PipelineFrame.h"
#include "effect/Render.h"
#include "effect/SamplePose.h"
#include "hostkit/compositing.h"
#include "tests/effect/premultiply.h"
#include "tests/host/ae_host.h"
#include "tests/support/memory_controls.h"
#include "tests/support/random_quads.h"

namespace {

using zelk::Depth;
using zelk::Random;

constexpr int kWidth = 41, kHeight = 23;

/// Both hosts' controls at once. Numbers are multiples of 1/256, so 16.16 holds them.
/// Pins lie `away` frames to the right.
void setRandomControls(zelk::Host& host, PluginHost_Memory_Impl& memory, Random& random, int away) {
    auto const dyadic = [](double value) { return std::floor(value * 256) / 256; };
    auto const number = [&](int index, double value, int firstEntry = 0) {
        zelk_test::setControl(host, index, value + firstEntry);
        memory.setFloat(index, value);
    };
    auto const anyNumber = [&](int index, double low, double high) {
        number(index, dyadic(random.uniform(low, high)));
    };
    host.resetParameters(kWidth, kHeight);
    zelk::setDefaultControls(memory);
    if (host.identity().applId == kAppAfterEffects) number(kParamMotionBlur, 0, 1);
    number(kParamViewMode, random.integer(1, 3), 1);
    number(kParamQuality, random.integer(0, 2), 1);
    number(kParamCropToPins, random.integer(0, 1));
    for (int const first : {kParamFromUpperLeft, kParamToUpperLeft}) {
        const zelk::Quad quad = zelk::randomConvexQuad(random);
        for (int i = 0; i < 4; ++i) {
            double const x = dyadic((quad[2 * i] + away) * kWidth),
                         y = dyadic(quad[2 * i + 1] * kHeight);
            zelk_test::setPin(host, first + i, x, y);
            memory.setPoint(first + i, x / kWidth, y / kHeight);
        }
    }
    for (int const first : {kParamFromUpperLeftOffsetX, kParamToUpperLeftOffsetX})
        for (int i = 0; i < 8; ++i) anyNumber(first + i, -4, 4);
    anyNumber(kParamTranslateX, -20, 20);
    anyNumber(kParamScaleY, 0.5, 2);
    anyNumber(kParamRotate, -180, 180);
}

template <class T>
QV_RasterInfo viewOf(zelk::World& world) {
    return {world.row(0), T::kFormat, kWidth, kHeight, world.rowBytes(), T::kPixelBytes, 1, 1, 0};
}

/// Lays `top`, at a quarter, over `layer`, whose alpha is halved, by the host's compositing.
template <class T>
void layOver(zelk::World const& top, zelk::World& layer, A_long xfer) {
    using Channel = typename T::Channel;
    forEachPixel<Channel>(viewOf<T>(layer), [](Channel* p) {
        Channel& a = p[T::kAlpha];
        a = static_cast<Channel>(T::kIsFloat ? a * 0.5 : std::floor(a * 127 / 256.0));
    });
    // A quarter of 255, and of 32768 in steps of 1/255, to the nearest.
    const PF_CompositeMode mode = {static_cast<PF_Xfer_Mode>(xfer), 0, 63, 0, 8096};
    EXPECT_TRUE(zelk::transferPixels(top, nullptr, mode, 0, 0, layer));
}

/// An entry of the Transfer Mode menu, counted from 0, and its mode.
constexpr std::pair<int, A_long> kTransfers[] = {{0, 0},
                                                 {1, PF_Xfer_BEHIND},
                                                 {4, PF_Xfer_ADD},
                                                 {6, PF_Xfer_SCREEN},
                                                 {11, PF_Xfer_COLOR_DODGE},
                                                 {22, PF_Xfer_LUMINOSITY}};

constexpr unsigned kLastSeedInFrame = 30;  ///< above it nothing is drawn

/// True when the frame shows anything.
template <class T>
bool expectAgreement(zelk::HostIdentity identity, Depth depth, unsigned seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << " format " << T::kFormat);
    Random random(seed);
    zelk::HostOptions options = zelk_test::optionsOf(identity);
    options.rowPaddingBytes = random.integer(0, 3) * 16;
    zelk::Host host(ZELK_MODULE, options);
    const zelk::WorldSpec spec = host.worldSpec(kWidth, kHeight, depth);
    zelk::World input(spec), output(spec), layer(spec), result(spec);
    zelk_test::fillRandom(input, seed);
    zelk_test::fillRandom(layer, seed);
    PluginHost_Memory_Impl memory(viewOf<T>(layer), viewOf<T>(result));
    setRandomControls(host, memory, random, seed > kLastSeedInFrame ? 5 : 0);
    auto [entry, xfer] = kTransfers[seed % 6];
    if (T::kIsFloat && entry == 6) xfer = PF_Xfer_ADD;  // floats have no limit
    zelk_test::setControl(host, kParamTransferMode, entry + 1);
    zelk_test::setControl(host, kParamSourceOpacity, 50);
    if (entry) zelk_test::setControl(host, kParamCornerPinOpacity, 25);

    auto const rendered = host.render(input, output, {});
    EXPECT_EQ(rendered.code, 0);
    EXPECT_EQ(zelk_test::nothingOwed(rendered), "nothing");
    auto const agreed = host.preRender(&input, depth, {});
    zelk::World smart = host.outputFor(agreed);
    EXPECT_EQ(host.smartRender(&input, smart, agreed, {}).code, 0);
    zelk_test::changeColour<T>(false, viewOf<T>(layer));
    EXPECT_EQ(Render(&memory), 0);
    for (zelk::World* world : {&layer, &result})
        zelk_test::changeColour<T>(true, viewOf<T>(*world));
    if (entry) layOver<T>(result, layer, xfer);
    zelk::World const& want = entry ? layer : result;
    auto const pixels = zelk_test::pixelsOf(output);
    EXPECT_TRUE(pixels == zelk_test::pixelsOf(want));
    EXPECT_TRUE(pixels == zelk_test::pixelsOf(smart));
    return pixels != std::vector<std::byte>(pixels.size());
}

TEST(PipelineInModule, StraightColourIsPremultipliedAroundTheTransform) {
    int painted = 0;
    for (unsigned seed = 1; seed <= kLastSeedInFrame + 6; ++seed) {
        painted += expectAgreement<PIXEL_ARGB8>(zelk_test::kModernAE, Depth::k8, seed);
        painted += expectAgreement<PIXEL_ARGB15>(zelk_test::kModernAE, Depth::k16, seed);
        painted += expectAgreement<PIXEL_ARGB32>(zelk_test::kModernAE, Depth::kFloat, seed);
        painted += expectAgreement<PIXEL_ARGB15>(zelk_test::kOlderAE, Depth::k16, seed);
        painted += expectAgreement<PIXEL_BGRA8>(zelk_test::kModernPremiere, Depth::k8, seed);
    }
    EXPECT_GT(painted, 140) << "of 180";
}

PF_EffectWorld toldOutput;
PF_PixelFormat toldOfOutput, toldOfOthers;

/// A render of a small frame in a host whose world suite tells these formats; its code, and the
/// output's bytes.
std::pair<PF_Err, std::vector<unsigned char>> renderTold(auto const& kind, Depth depth,
                                                         PF_PixelFormat ofOutput,
                                                         PF_PixelFormat ofOthers) {
    std::pair<PF_Err, std::vector<unsigned char>> answer;
    auto host = zelk_test::hostWithControls(kind, 5, 4);
    zelk_test::setControl(*host, kParamTransferMode, 5);
    host.renderAt(depth, zelk_test::withBinding([&](PluginHost_AE_Impl& ae) {
                      PF_WorldSuite2 suite = *ae.worldSuite;
                      toldOutput = *ae.output, toldOfOutput = ofOutput, toldOfOthers = ofOthers;
                      suite.PF_GetPixelFormat = [](PF_EffectWorld const* world,
                                                   PF_PixelFormat* format) -> PF_Err {
                          *format = world->data == toldOutput.data ? toldOfOutput : toldOfOthers;
                          return PF_Err_NONE;
                      };
                      ae.worldSuite = &suite;
                      answer.first = renderOnHost(ae);
                      auto const* bytes = static_cast<unsigned char const*>(ae.output->data);
                      answer.second.assign(bytes, bytes + 4 * ae.output->rowbytes);
                  }));
    return answer;
}

TEST(PipelineInModule, EveryImageIsTakenToHaveTheOutputsFormat) {
    auto const told = [](PF_PixelFormat ofOutput, PF_PixelFormat ofOthers) {
        return renderTold(zelk_test::kModernPremiere, Depth::k8, ofOutput, ofOthers);
    };
    auto const right = told(PF_PixelFormat_BGRA32, PF_PixelFormat_BGRA32);
    EXPECT_EQ(right.first, 0);
    for (const PF_PixelFormat others : {PF_PixelFormat{0}, PF_PixelFormat_ARGB32})
        EXPECT_EQ(told(PF_PixelFormat_BGRA32, others), right);
    for (auto const& [depth, own] : {std::pair(Depth::k8, PF_PixelFormat_ARGB32),
                                     {Depth::k16, PF_PixelFormat_ARGB64},
                                     {Depth::kFloat, PF_PixelFormat_ARGB128}})
        for (const PF_PixelFormat others : {PF_PixelFormat{0}, PF_PixelFormat_ARGB128})
            EXPECT_EQ(renderTold(zelk_test::kModernAE, depth, own, others),
                      renderTold(zelk_test::kModernAE, depth, own, own));
    auto const tooLarge = told(PF_PixelFormat_ARGB128, PF_PixelFormat_BGRA32);
    EXPECT_EQ(tooLarge.first, 1);
    EXPECT_EQ(tooLarge.second, std::vector<unsigned char>(right.second.size())) << "cleared";
}

TEST(PipelineInModule, ASamplesControlsAreReadByTheirDiskIds) {
    struct IdHost : PluginHost_Memory_Impl {
        using PluginHost_Memory_Impl::PluginHost_Memory_Impl;
        const zelk::Host host{ZELK_MODULE};
        int refuse(int index, int id) {
            return parameterIn(host.parameters(), index).diskId() != id;
        }
        int GetFloatValue(int index, int id, TimeObject const&, double&) override {
            return refuse(index, id);
        }
        int GetPoint2DValue(int index, int id, TimeObject const&, double&, double&) override {
            return refuse(index, id);
        }
    };
    IdHost host({}, {});
    SamplePose pose{};
    EXPECT_EQ(samplePoseAt(&host, 0, pose), 0);
}

// Pins of the layer stand on their pixels in the image around it; the margin is taken once.
TEST(PipelineInModule, AGrownFrameKeepsPinsOnTheirPixels) {
    for (auto const& [marginX, marginY] : {std::pair(0, 0), {2, 0}, {0, 1}, {1, 2}}) {
        int const width = 9 + 2 * marginX, height = 7 + 2 * marginY;
        auto host = zelk_test::hostWithControls(zelk_test::kModernAE, 9, 7);
        zelk::World input(host->worldSpec(width, height, Depth::k8)), output(input.spec());
        RenderSettings settings = wholeImageSettings(width, height);
        settings.frameShiftX = marginX;
        settings.frameShiftY = marginY;
        host.render(input, output, {}, zelk_test::withBinding([&](PluginHost_AE_Impl& ae) {
                        ae.setUserData(&settings);
                        ae.setOutputSize(9, 7);
                        PipelineFrame frame(&ae, kFormatARGB8, 4);
                        EXPECT_EQ(readFrame(frame) + takeWorkingCopy(frame), 0);
                        EXPECT_EQ(prepareSamples(frame) + renderSample(frame, 0), 0);
                        EXPECT_EQ(settings.frameShiftX + settings.frameShiftY, 0);
                        EXPECT_EQ(ae.getOutputWidth() * 100 + ae.getOutputHeight(),
                                  width * 100 + height);
                        // Three roundings of values below 16 pixels.
                        EXPECT_NEAR(frame.core.toPins[3].x * width, 9 + marginX, 3 * 16 * 0x1p-53);
                        EXPECT_NEAR(frame.core.toPins[3].y * height, 7 + marginY, 3 * 16 * 0x1p-53);
                    }));
    }
}

}  // namespace

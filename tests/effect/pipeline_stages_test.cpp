// The pipeline's order of work: which passes it asks for, with which records, what it does to
// pixels around them, and how it ends when something is refused.
//
// The transform engine and the reading of controls are stand-ins here: a pass copies its source
// into its destination and writes down what it was asked.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "effect/CornerPinRender.h"
#include "effect/HostCamera.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/guarded_raster.h"

namespace {

using zelk::GuardedRaster;
using Host = PluginHost_Memory_Impl;
using Info = PluginHost_API::RasterInfo;

struct Engine {
    std::vector<CoreRenderArguments> passes;
    std::string log;
    std::map<void const*, std::string> names;  // of pixel buffers
    RenderArguments args{};
    std::vector<unsigned char> seen, workAtEnd;  // first pixel, of a pass and when it is given back
    std::vector<std::vector<unsigned char>> seenAll;  // of every pass
    std::vector<unsigned char> endPixel;  // what the last blur leaves as the first pixel
    int code = 0;                         // what passes answer
    int readerCode = 0;                   // what the reader for other hosts answers
    int blurCode = 0;                     // what blurs answer
    std::int32_t motionBlur = 0;          // the popup
};
Engine* theEngine = nullptr;

std::vector<unsigned char> firstPixel(Info const& info) {
    auto const* bytes = static_cast<unsigned char const*>(info.data);
    return {bytes, bytes + info.pixelBytes};
}

/// A memory host that can pretend to be After Effects, and writes down its calls by raster name.
class LoggedHost : public Host {
public:
    using Host::Host;
    bool afterEffects = false;
    int blendCode = 0;

    PluginHost_AE_Impl* getAEHost() override {
        return afterEffects ? reinterpret_cast<PluginHost_AE_Impl*>(this) : nullptr;
    }
    PluginRaster_API* allocRaster(int w, int h, PixelType type, int& error, int flags) override {
        PluginRaster_API* raster = Host::allocRaster(w, h, type, error, flags);
        constexpr char const* kBlurred[] = {"work", "interim", "sample", "edged"};
        constexpr char const* kSharp[] = {"work", "interim", "edged"};
        const bool isBlurred = theEngine->motionBlur && theEngine->args.samples >= 1.5;
        const std::string name = (isBlurred ? kBlurred : kSharp)[m_objects.size()];
        theEngine->log += "alloc " + name + ". ";
        if (raster && infoOf(raster).data) theEngine->names[infoOf(raster).data] = name;
        m_objects[raster] = name;
        return raster;
    }
    int deallocRaster(PluginRaster_API* raster) override {
        theEngine->log += "free " + m_objects[raster] + ". ";
        const Info info = infoOf(raster);
        if (m_objects[raster] == "work" && info.data) theEngine->workAtEnd = firstPixel(info);
        return Host::deallocRaster(raster);
    }
    int copy(PluginRaster_API* from, PluginRaster_API* to) override {
        theEngine->log += "copy " + name(from) + ">" + name(to) + ". ";
        return Host::copy(from, to);
    }
    int copyInputToOutput() override {
        theEngine->log += "copy input>out. ";
        return Host::copyInputToOutput();
    }
    int fillOutput() override {
        theEngine->log += "clear out. ";
        return Host::fillOutput();
    }
    int GetFloatValue(int index, int id, TimeObject const& at, double& value) override {
        theEngine->log += index == 42 ? "read " + std::to_string(at.time) + ". " : "";
        EXPECT_EQ(id - idOf(index), 0) << index;
        value = index == 42 || index == 43;
        return at.time == refusedTime ? 8 : 0;
    }
    int GetPoint2DValue(int index, int id, TimeObject const&, double& x, double& y) override {
        EXPECT_EQ(id - idOf(index), 0) << index;
        const int corner = index < 20 ? index - 6 : index - 23;
        x = corner % 2;
        y = corner / 2;
        return 0;
    }
    int refusedTime = -1;
    int setOutputSize(int w, int h) override {
        theEngine->log += "size. ";
        return Host::setOutputSize(w, h);
    }
    int blend(int mode, double opacity, double fromOpacity, PluginRaster_API* from,
              PluginRaster_API* to) override {
        theEngine->log += "blend " + name(from) + ">" + name(to) + " " + std::to_string(mode) +
                          " " + std::to_string(opacity) + " " + std::to_string(fromOpacity) + ". ";
        return blendCode;
    }

private:
    Info infoOf(PluginRaster_API* raster) {
        Info info{};
        getRasterInfo(raster, &info);
        return info;
    }
    /// Identifiers by index, as the host's reads at a time are to pass them.
    static int idOf(int index) {
        const std::map<int, int> ids = {{42, 0x82}, {43, 0x83}, {40, 0x84}, {41, 0x85}, {44, 0x86},
                                        {28, 0x8D}, {32, 0x8F}, {30, 0x91}, {34, 0x93}, {29, 0x8E},
                                        {33, 0x90}, {31, 0x92}, {35, 0x94}, {11, 0x97}, {15, 0x99},
                                        {13, 0x9B}, {17, 0x9D}, {12, 0x98}, {16, 0x9A}, {14, 0x9C},
                                        {18, 0x9E}, {23, 0x67}, {25, 0x68}, {24, 0x69}, {26, 0x6A},
                                        {6, 0x400}, {8, 0x401}, {7, 0x402}, {9, 0x403}};
        return ids.at(index);
    }
    std::string name(PluginRaster_API* raster) { return theEngine->names[infoOf(raster).data]; }

    std::map<PluginRaster_API*, std::string> m_objects;
};

/// A frame of one format with random pixels, ready to run.
template <class Trait>
class Frame {
public:
    explicit Frame(int width = 6, int height = 5)
        : input(Trait::kFormat, width, height, 2 * Trait::kPixelBytes),
          output(Trait::kFormat, width, height, Trait::kPixelBytes),
          host(input.info(), output.info()) {
        std::mt19937 random(31);
        std::uniform_int_distribution<int> any(0, Trait::kIsFloat ? 1000 : Trait::kWhite);
        input.paint([&](int, int, int) { return any(random) / (Trait::kIsFloat ? 800.0 : 1.0); });
        engine.names = {{input.info().data, "input"}, {output.info().data, "out"}};
        constexpr double kFrame[8] = {0, 0, 1, 0, 0, 1, 1, 1};
        std::copy_n(kFrame, 8, args.toPins);
        std::copy_n(kFrame, 8, args.fromPins);
        args.viewMode = 3;
        args.scaleX = args.scaleY = 1;
        args.quality = 2;
        args.samples = 16;
        args.sourceOpacity = args.cornerPinOpacity = 100;
        theEngine = &engine;
    }
    ~Frame() {
        EXPECT_EQ(host.tally().pixelBuffers, 0);
        EXPECT_EQ(host.tally().rasterObjects, 0);
        EXPECT_TRUE(input.guardsIntact() && output.guardsIntact());
        theEngine = nullptr;
    }

    PF_Err run() {
        return CornerPinRender<Trait, typename Trait::Channel, typename Trait::Wide,
                               typename Trait::Weight, typename Trait::FORMAT>(&host);
    }
    void expectClear() const {
        output.forEachChannel([this](int x, int y, int c) { EXPECT_EQ(output.get(x, y, c), 0); });
    }

    Engine engine;
    RenderArguments& args = engine.args;
    GuardedRaster input, output;
    LoggedHost host;
};

const std::string kStart = "alloc work. copy input>work. alloc interim. ";
const std::string kEnd = "free interim. free work. ";

TEST(PipelineStages, AsksForThePassesOfTheView) {
    struct Case {
        int viewMode, crop;
        bool moved;  // the From quad is not the frame
        std::string work;
    };
    const std::string unitToTo = kStart + "copy work>interim. 2 interim>out. " + kEnd;
    const Case cases[] = {
        {0, 0, true, "copy input>out. "},
        {1, 0, false, kStart + "copy work>interim. copy interim>out. " + kEnd},
        {1, 1, true, kStart + "4 work>interim. copy interim>out. " + kEnd},
        {2, 0, false, unitToTo},
        {2, 1, true, unitToTo},
        {3, 0, false, kStart + "3 work>out. " + kEnd},
        {3, 0, true, kStart + "3 work>out. " + kEnd},
        {3, 1, false, unitToTo},
        {3, 1, true, kStart + "4 work>interim. 2 interim>out. " + kEnd},
    };
    for (auto const& c : cases) {
        Frame<PIXEL_ARGB8> frame;
        frame.args.viewMode = c.viewMode;
        frame.args.cropToPins = static_cast<std::uint8_t>(c.crop);
        if (c.moved) frame.args.fromPins[0] = 0.1;
        EXPECT_EQ(frame.run(), 0);
        EXPECT_EQ(frame.engine.log, c.work) << "view " << c.viewMode << " crop " << c.crop;
        for (auto const& core : frame.engine.passes) EXPECT_EQ(core.filter, 9);
    }
}

TEST(PipelineStages, TheFirstPassIsLeftOutOnlyAtRestWithinATolerance) {
    auto firstPassRuns = [](auto change) {
        Frame<PIXEL_ARGB8> frame;
        frame.args.viewMode = 1;
        change(frame.args);
        frame.run();
        return !frame.engine.passes.empty();
    };
    EXPECT_FALSE(firstPassRuns([](RenderArguments& a) { a.fromOffsets[3] = 50; }));
    EXPECT_FALSE(firstPassRuns([](RenderArguments& a) { a.toPins[3] = 0.5; }));
    for (const double step : {0.9e-5, 1.1e-5}) {
        for (double RenderArguments::*const value :
             {&RenderArguments::translateX, &RenderArguments::translateY, &RenderArguments::scaleX,
              &RenderArguments::scaleY, &RenderArguments::rotate})
            EXPECT_EQ(firstPassRuns([&](RenderArguments& a) { a.*value -= step; }), step > 1e-5);
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(firstPassRuns([&](RenderArguments& a) { a.fromPins[i] += step; }),
                      step > 1e-5);
    }
}

TEST(PipelineStages, AGrownFrameKeepsPinsOnTheirPixels) {
    const int frameWidth = 20, frameHeight = 10;
    const int margins[][2] = {{0, 0}, {7, 0}, {0, 9}, {5, 6}};
    for (auto const& margin : margins) {
        const int width = frameWidth + 2 * margin[0], height = frameHeight + 2 * margin[1];
        Frame<PIXEL_ARGB8> frame(width, height);
        RenderSettings shared = {};
        shared.srcRight = shared.dstRight = width - 1;
        shared.srcBottom = shared.dstBottom = height - 1;
        shared.frameShiftX = margin[0], shared.frameShiftY = margin[1];
        frame.host.setUserData(&shared);
        frame.host.afterEffects = true;
        frame.host.setOutputSize(frameWidth, frameHeight);
        frame.engine.log.clear();
        frame.args.toPins[0] = 0.25, frame.args.toPins[1] = 0.5;
        frame.args.toOffsets[0] = 25;
        ASSERT_EQ(frame.run(), 0);

        QV_UnitPoint const* to = frame.engine.passes.at(0).toPins;
        // Three roundings of values below 40 pixels.
        const double tolerance = 3 * 40 * 0x1p-53;
        EXPECT_NEAR(to[0].x * width, 0.5 * frameWidth + margin[0], tolerance);
        EXPECT_NEAR(to[0].y * height, 0.5 * frameHeight + margin[1], tolerance);
        EXPECT_NEAR(to[3].x * width, 1.0 * frameWidth + margin[0], tolerance);
        EXPECT_EQ(shared.frameShiftX + shared.frameShiftY, 0);
        EXPECT_EQ(frame.engine.log.find("size") != std::string::npos, width + height > 30);
        EXPECT_EQ(frame.host.getOutputWidth(), width);
    }
}

template <class Trait>
class EachFormat : public testing::Test {};
using RenderedFormats =
    testing::Types<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15, PIXEL_ARGB32, PIXEL_BGRA32>;
TYPED_TEST_SUITE(EachFormat, RenderedFormats);

/// A step on all pixels of a raster; Premult and UnPremult have tests of their own.
template <class T>
void apply(char step, GuardedRaster& raster) {
    using Channel = typename T::Channel;
    Host host(raster.info(), raster.info());
    PluginRaster_Memory_Impl view(raster.info());
    if (step == '*')
        Premult<T, Channel, typename T::Wide, typename T::Weight, typename T::FORMAT>({}, &host,
                                                                                      &view);
    else if (step == '/')
        UnPremult<T, Channel, typename T::Wide, typename T::Weight, typename T::FORMAT>({}, &host,
                                                                                        &view);
    else
        forEachPixel<Channel>(raster.info(), [step](Channel* p) {
            p[T::kAlpha] = static_cast<Channel>(step == '1' ? T::kWhite : 0);
        });
}

TYPED_TEST(EachFormat, EveryFamilyGetsTheColourThatItKeeps) {
    struct Case {
        bool afterEffects;
        MemoryHostFamily family;
        std::string before, after;  // * multiply by alpha, / divide, alpha := 1 white or 0
    };
    for (Case const& c : {Case{true, MemoryHostFamily::kNone, "*", "/"},
                          Case{false, MemoryHostFamily::kNone, "", ""},
                          Case{false, MemoryHostFamily::kAVX1, "1", "*0"},
                          Case{false, MemoryHostFamily::kAVX2, "1", "*0"},
                          Case{false, MemoryHostFamily::kFXPLUG, "", "/*"}}) {
        Frame<TypeParam> frame(9, 7);
        frame.host.afterEffects = c.afterEffects;
        frame.host.setFamily(c.family);
        GuardedRaster want = frame.input;
        EXPECT_EQ(frame.run(), 0);
        for (const char step : c.before) apply<TypeParam>(step, want);
        EXPECT_EQ(frame.engine.seen, firstPixel(want.info()));
        for (const char step : c.after) apply<TypeParam>(step, want);
        EXPECT_TRUE(frame.output.samePixels(want)) << c.before << " and " << c.after;
        // The passes copy, so the working copy ends as the output does, but for the families
        // without alpha: theirs isn't laid out for the host.
        if (c.before != "1") {
            EXPECT_EQ(frame.engine.workAtEnd, firstPixel(want.info()));
        }
    }
}

// Menu entries count from 0, with separators; floats have no upper limit, so Screen is Add there.
TYPED_TEST(EachFormat, TransferModeIsTheHostsWork) {
    const int screen = TypeParam::kIsFloat ? PF_Xfer_ADD : PF_Xfer_SCREEN;
    const int modes[][2] = {{1, PF_Xfer_BEHIND},
                            {4, PF_Xfer_ADD},
                            {6, screen},
                            {11, PF_Xfer_COLOR_DODGE},
                            {22, PF_Xfer_LUMINOSITY}};
    for (auto const& mode : modes) {
        Frame<TypeParam> frame;
        frame.host.afterEffects = true;
        frame.host.blendCode = 33;
        frame.args.transferMode = mode[0];
        frame.args.cornerPinOpacity = 25;
        frame.args.sourceOpacity = 50;
        EXPECT_EQ(frame.run(), 33);
        EXPECT_EQ(frame.engine.log, kStart + "3 work>out. blend work>out " +
                                        std::to_string(mode[1]) + " 0.250000 0.500000. " + kEnd);
    }
}

TEST(PipelineStages, SamplesAreReadAtTheirTimesAndMergedInTheOutput) {
    Frame<PIXEL_ARGB8> frame;
    frame.host.setTime({1000, 100, 2400});
    frame.engine.motionBlur = 1;
    frame.args.samples = 2.5;  // 3
    frame.args.shutterAngle = 180;
    frame.args.shutterPhase = -90;  // 25 units before: 975, and 50 / 3 units on
    const std::string pass = ". 3 work>sample. ";
    EXPECT_EQ(frame.run(), 0);
    EXPECT_EQ(frame.engine.log, kStart + "alloc sample. read 975" + pass + "read 991" + pass +
                                    "read 1008" + pass + "free sample. " + kEnd);
    EXPECT_TRUE(frame.output.samePixels(frame.input));

    Frame<PIXEL_ARGB8> refused;
    refused.engine.motionBlur = 1;
    refused.args.shutterAngle = 360;
    refused.host.refusedTime = 0;
    EXPECT_EQ(refused.run(), 8);
    refused.expectClear();

    Frame<PIXEL_ARGB8> single;  // one sample honours the phase; the pose is read, nothing merged
    single.host.setTime({1000, 100, 2400});
    single.engine.motionBlur = 1;
    single.args.samples = 1.4;
    single.args.shutterAngle = 180;
    single.args.shutterPhase = 90;
    EXPECT_EQ(single.run(), 0);
    EXPECT_EQ(single.engine.log, kStart + "read 1025. 3 work>out. " + kEnd);
}

TEST(PipelineStages, SuperSampleSoftensACopyOfTheLayerAndTheEnd) {
    struct Case {
        int viewMode;
        double softness, size;  // To Pins: a quad of unlike sides, times this
        std::string log;
    };
    const std::string start = kStart + "alloc edged. ",
                      blurs = "blur -11 1.25 2.43 edged. blur -10 2 1.77 edged. ";
    const std::string end = "free interim. free edged. free work. ";
    const Case cases[] = {
        {3, 0, 0.1, start + "3 edged>out. " + end},
        {3, 1, 9.0, start + "3 edged>out. blur -1 0.722 1 out. " + end},  // 11.1 pixels of 40
        {3, 1, 1.0, start + blurs + "3 edged>out. blur -1 0.969 1 out. " + end},
        {2, 1, 1.0,
         start + blurs + "copy work>interim. 2 interim>out. blur -1 0.969 1 out. " + end},
    };
    for (auto const& c : cases) {
        Frame<PIXEL_ARGB15> frame;
        frame.args.quality = 3;
        frame.args.viewMode = c.viewMode;
        frame.args.superSampleSoftness = c.softness;
        // Top 0.4, bottom hypot(0.2, 0.05), left 0.25, right hypot(0.2, 0.2).
        const double quad[8] = {0, 0, 0.4, 0, 0, 0.25, 0.2, 0.2};
        for (int i = 0; i < 8; ++i) frame.args.toPins[i] = quad[i] * c.size;
        EXPECT_EQ(frame.run(), 0);
        EXPECT_EQ(frame.engine.log, c.log);
    }
    for (const int passCode : {0, 17}) {  // the first code stays
        Frame<PIXEL_ARGB8> failed;
        failed.args.quality = 3;
        failed.args.superSampleSoftness = 1;
        for (double& pin : failed.args.toPins) pin *= 0.5;
        failed.args.transferMode = 4;  // left out after a refused blur
        failed.engine.blurCode = 12;
        failed.engine.code = passCode;
        EXPECT_EQ(failed.run(), 12);
    }
}

TEST(PipelineStages, SuperSampleFadesAFreshCopyForEverySample) {
    for (const double scale : {1.0, 0.5}) {  // of the height alone: the lesser one counts
        Frame<PIXEL_ARGB8> frame(40, 40);
        frame.host.setScale(1, scale);
        frame.engine.motionBlur = 1;
        frame.args.samples = 3;
        frame.args.shutterAngle = 90;
        frame.args.quality = 3;
        frame.args.superSampleEdge = 12;  // 15 pixels
        EXPECT_EQ(frame.run(), 0);
        GuardedRaster want = frame.input;
        fadeBorder<PIXEL_ARGB8>(want.info(), scale == 1 ? 15 : 8);
        EXPECT_TRUE(frame.output.samePixels(want));
        EXPECT_EQ(frame.engine.seenAll,
                  std::vector<std::vector<unsigned char>>(3, firstPixel(want.info())));
    }
    Frame<PIXEL_ARGB8> end;  // softened before the colour is divided by alpha
    end.host.afterEffects = true;
    end.args.quality = 3;
    end.args.superSampleSoftness = 1;
    for (double& pin : end.args.toPins) pin *= 0.5;
    end.engine.endPixel = {128, 64, 32, 0};
    EXPECT_EQ(end.run(), 0);
    EXPECT_EQ(firstPixel(end.output.info()), (std::vector<unsigned char>{128, 127, 63, 0}));
}

TEST(PipelineStages, AFailedDirectPassSkipsOpacityAndTransfer) {
    for (const int transferMode : {0, 4}) {
        Frame<PIXEL_ARGB8> frame;
        frame.engine.code = 17;
        frame.args.transferMode = transferMode;
        frame.args.cornerPinOpacity = 0;
        EXPECT_EQ(frame.run(), 17);
        EXPECT_EQ(frame.engine.log, kStart + "3 work>out. " + kEnd);
        EXPECT_TRUE(frame.output.samePixels(frame.input));
    }
    for (const int viewMode : {1, 2, 3}) {  // of two passes the codes are not kept
        Frame<PIXEL_ARGB8> frame;
        frame.engine.code = 17;
        frame.args.viewMode = viewMode;
        frame.args.cropToPins = 1;
        frame.args.fromPins[0] = 0.25;
        EXPECT_EQ(frame.run(), 0);
    }
}

TEST(PipelineStages, ARefusalClearsTheOutputAndGivesTheRestBack) {
    struct Case {
        int nth, code;  // of allocRaster; 0: it is a control that is refused
        bool givesRaster;
        PF_Err result;
        std::string log;
    };
    const std::string upToInterim = kStart + "clear out. ";
    const Case cases[] = {
        {0, 6, false, 6, "clear out. "},
        {1, 4, false, 4, "alloc work. clear out. "},
        {1, 0, false, 1, "alloc work. clear out. "},
        {1, 9, true, 9, "alloc work. clear out. free work. "},
        {2, 4, false, 4, upToInterim + "free work. "},
        {2, 0, false, 1, upToInterim + "free work. "},
        {2, 9, true, 9, upToInterim + kEnd},
        {3, 4, false, 4, kStart + "alloc sample. clear out. " + kEnd},
        {4, 4, false, 4, kStart + "alloc sample. alloc edged. clear out. free sample. " + kEnd},
        {4, 9, true, 9,
         kStart + "alloc sample. alloc edged. clear out. free sample. free interim. free edged. "
                  "free work. "},
    };
    for (auto const& c : cases) {
        Frame<PIXEL_BGRA32> frame;
        if (c.nth > 2) frame.engine.motionBlur = 1;
        frame.args.shutterAngle = 90;
        frame.args.quality = 3;
        if (c.nth == 0)
            frame.engine.readerCode = c.code;
        else
            frame.host.failAllocation(c.nth, c.code, c.givesRaster);
        EXPECT_EQ(frame.run(), c.result);
        EXPECT_EQ(frame.engine.log, c.log);
        frame.expectClear();
    }
}

}  // namespace

int CommonRender_CoreTransformRender(PluginHost_API*, CoreRenderArguments& core, const Info& src,
                                     const Info& dst, bool clearOutput, bool singleChannel,
                                     RenderSettings* settings, bool edgeCoverage, bool fillMode) {
    EXPECT_TRUE(clearOutput && !singleChannel && edgeCoverage && !fillMode);
    EXPECT_TRUE(settings->reposition);
    theEngine->passes.push_back(core);
    theEngine->seen = firstPixel(src);
    theEngine->seenAll.push_back(theEngine->seen);
    theEngine->log += std::to_string(core.quadMode) + " " + theEngine->names[src.data] + ">" +
                      theEngine->names[dst.data] + ". ";
    for (int y = 0; y < dst.height; ++y) {
        std::memcpy(pixelRow<unsigned char>(dst, y), pixelRow<unsigned char>(src, y),
                    static_cast<std::size_t>(dst.width * dst.pixelBytes));
    }
    core.filter = -1;  // a pass may rewrite its records; no later pass may see it
    settings->reposition = false;
    return theEngine->code;
}

int ParamsRetrieveValues(PluginHost_API* host, RenderArguments* arguments) {
    if (!host->getAEHost()) return 0;
    *arguments = theEngine->args;
    return 1;
}

int ParamsRetrieveValuesFromHost(PluginHost_API*, RenderArguments* arguments) {
    if (theEngine->readerCode) return theEngine->readerCode;
    *arguments = theEngine->args;
    return 0;
}

int GetMBlurValue(PluginHost_API*) { return theEngine->motionBlur; }
bool GetUseHostCameraParamValue(PluginHost_API*) { return false; }
int GetCameraMatrix(PluginHost_API*, QV_Matrix4*, long, long, bool&, double*, int, int, int&, int&,
                    double&) {
    ADD_FAILURE();
    return 0;
}

int MotionBlurFromHost(PluginHost_API*, std::int32_t* choice) {
    *choice = theEngine->motionBlur;
    return 0;
}

int CommonRender_progressiveBlur(PluginHost_API*, QV_Line2D&, float a, float b, float fadeStart,
                                 float fadeLength, int curve, PluginHost_API::RasterInfo* raster,
                                 bool alphaPlane, int kind, bool extended) {
    EXPECT_TRUE(fadeStart == 0 && fadeLength == 1 && curve == 0 && !alphaPlane && !extended);
    theEngine->log +=
        fmt::format("blur {} {:.3g} {:.3g} {}. ", kind, a, b, theEngine->names[raster->data]);
    if (kind == -1)
        std::copy(theEngine->endPixel.begin(), theEngine->endPixel.end(),
                  static_cast<unsigned char*>(raster->data));
    return theEngine->blurCode;
}

// The pipeline's order of work: which passes it asks for, with which records, and how it ends when
// something is refused.
//
// The transform engine and the reading of controls are stand-ins here: a pass copies its source
// into its destination and writes down what it was asked.
#include <fmt/format.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "effect/CornerPinRender.h"
#include "effect/HostCamera.h"
#include "tests/effect/premultiply.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/memory_controls.h"
#include "tests/support/random_quads.h"

namespace {

using zelk::GuardedRaster;
using Host = PluginHost_Memory_Impl;
using Info = PluginHost_API::RasterInfo;
using Bytes = std::vector<unsigned char>;  // of one pixel

Bytes firstPixel(Info const& info) {
    auto const* bytes = static_cast<unsigned char const*>(info.data);
    return {bytes, bytes + info.pixelBytes};
}

/// What the stand-ins answer, and what they were asked.
struct Engine {
    RenderArguments args{};
    std::int32_t motionBlur = 0;  // the popup
    int passCode = 0, readerCode = 0, blurCode = 0;
    Bytes endPixel;  // what the last blur leaves as the first pixel

    std::string log;
    std::map<void const*, std::string> names;  // of pixel buffers
    std::vector<Bytes> seen;                   // first pixel of every pass's source
    CoreRenderArguments lastPass;

    template <class... Values>
    void note(fmt::format_string<Values...> format, Values&&... values) {
        log += fmt::format(format, std::forward<Values>(values)...) + ". ";
    }
};
Engine* theEngine = nullptr;

/// Identifiers of controls by index, as the host's reads at a time are to pass them.
constexpr int kDiskIds[] = {
    0,    0,    0,    0,    0,    0,    0x400, 0x402, 0x401, 0x403, 0,    0x97, 0x98, 0x9B, 0x9C,
    0x99, 0x9A, 0x9D, 0x9E, 0,    0,    0,     0,     0x67,  0x69,  0x68, 0x6A, 0,    0x8D, 0x8E,
    0x91, 0x92, 0x8F, 0x90, 0x93, 0x94, 0,     0,     0,     0,     0x84, 0x85, 0x82, 0x83, 0x86};

/// A memory host that can pretend to be After Effects, and writes down its calls by raster name.
class LoggedHost : public Host {
public:
    using Host::Host;
    bool afterEffects = false;
    int refusedTime = -1;

    PluginHost_AE_Impl* getAEHost() override {
        return afterEffects ? reinterpret_cast<PluginHost_AE_Impl*>(this) : nullptr;
    }
    PluginRaster_API* allocRaster(int w, int h, PixelType type, int& error, int flags) override {
        PluginRaster_API* raster = Host::allocRaster(w, h, type, error, flags);
        const bool isBlurred = theEngine->motionBlur && theEngine->args.samples >= 1.5;
        std::vector<std::string> order = {"work", "interim", "sample", "edged"};
        if (!isBlurred) order.erase(order.begin() + 2);
        const std::string made = order[m_objects.size()];
        theEngine->note("alloc {}", made);
        if (raster) theEngine->names[infoOf(raster).data] = made;
        m_objects[raster] = made;
        return raster;
    }
    int deallocRaster(PluginRaster_API* raster) override {
        theEngine->note("free {}", m_objects[raster]);
        return Host::deallocRaster(raster);
    }
    int copy(PluginRaster_API* from, PluginRaster_API* to) override {
        theEngine->note("copy {}>{}", name(from), name(to));
        return Host::copy(from, to);
    }
    int copyInputToOutput() override {
        theEngine->note("copy input>out");
        return Host::copyInputToOutput();
    }
    int fillOutput() override {
        theEngine->note("clear out");
        return Host::fillOutput();
    }
    int setOutputSize(int w, int h) override {
        theEngine->note("size");
        return Host::setOutputSize(w, h);
    }
    int GetFloatValue(int index, int id, TimeObject const& at, double& value) override {
        if (index == kParamScaleX) theEngine->note("read {}", at.time);
        EXPECT_EQ(id, kDiskIds[index]) << index;
        return at.time == refusedTime ? 8 : Host::GetFloatValue(index, id, at, value);
    }
    int GetPoint2DValue(int index, int id, TimeObject const& at, double& x, double& y) override {
        EXPECT_EQ(id, kDiskIds[index]) << index;
        return Host::GetPoint2DValue(index, id, at, x, y);
    }

private:
    Info infoOf(PluginRaster_API* raster) {
        Info info{};
        getRasterInfo(raster, &info);
        return info;
    }
    std::string name(PluginRaster_API* raster) { return theEngine->names[infoOf(raster).data]; }

    std::map<PluginRaster_API*, std::string> m_objects;
};

/// A frame of one format with random pixels, ready to run.
template <class T>
class Frame {
public:
    explicit Frame(int width = 6, int height = 5)
        : input(T::kFormat, width, height, 2 * T::kPixelBytes),
          output(T::kFormat, width, height, T::kPixelBytes),
          host(input.info(), output.info()) {
        zelk::Random random(31);
        input.paint([&](int, int, int) { return random.uniform(0, 1.25) * T::kWhite; });
        zelk::setDefaultControls(host);
        engine.names = {{input.info().data, "input"}, {output.info().data, "out"}};
        for (int i = 0; i < 8; ++i) args.toPins[i] = args.fromPins[i] = i % 2 ? i / 4 : i / 2 % 2;
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
        return CornerPinRender<T, typename T::Channel, typename T::Wide, typename T::Weight,
                               typename T::FORMAT>(&host);
    }
    /// Motion blur around 1000 in frames of 100 units.
    void blur(double samples, double angle, double phase) {
        host.setTime({1000, 100, 2400});
        engine.motionBlur = 1;
        args.samples = samples;
        args.shutterAngle = angle;
        args.shutterPhase = phase;
    }
    /// Super Sample that softens source and end of a quad that small.
    void soften(double pinScale) {
        args.quality = 3;
        args.superSampleSoftness = 1;
        for (double& pin : args.toPins) pin *= pinScale;
    }
    void expectClear() const {
        output.forEachChannel([this](int x, int y, int c) { EXPECT_EQ(output.get(x, y, c), 0); });
    }

    Engine engine;
    RenderArguments& args = engine.args;
    GuardedRaster input, output;
    LoggedHost host;
};
using Frame8 = Frame<PIXEL_ARGB8>;

const std::string kStart = "alloc work. copy input>work. alloc interim. ";
const std::string kEnd = "free interim. free work. ";
const std::string kDirect = kStart + "3 work>out. " + kEnd;

TEST(PipelineStages, AsksForThePassesOfTheView) {
    struct Case {
        int viewMode, crop;
        bool moved;  // the From quad is not the frame
        std::string work;
    };
    const Case cases[] = {
        {0, 0, true, "copy input>out. "},
        {1, 0, false, kStart + "copy work>interim. copy interim>out. " + kEnd},
        {1, 1, true, kStart + "4 work>interim. copy interim>out. " + kEnd},
        {2, 1, true, kStart + "copy work>interim. 2 interim>out. " + kEnd},
        {3, 0, true, kDirect},
        {3, 1, false, kStart + "copy work>interim. 2 interim>out. " + kEnd},
        {3, 1, true, kStart + "4 work>interim. 2 interim>out. " + kEnd},
    };
    for (auto const& c : cases)
        for (const int quality : {0, 1, 2}) {
            const int code = quality ? 17 : 0;  // of two passes the codes are not kept
            Frame8 frame;
            frame.args.quality = quality;
            frame.args.viewMode = c.viewMode;
            frame.args.cropToPins = static_cast<std::uint8_t>(c.crop);
            if (c.moved) frame.args.fromPins[0] = 0.1;
            frame.engine.passCode = code;
            EXPECT_EQ(frame.run(), c.work == kDirect ? code : 0);
            EXPECT_EQ(frame.engine.log, c.work) << "view " << c.viewMode << " crop " << c.crop;
        }
}

TEST(PipelineStages, TheFirstPassIsLeftOutOnlyAtRestWithinATolerance) {
    const auto firstPassRuns = [](auto change) {
        Frame8 frame;
        frame.args.viewMode = 1;
        change(frame.args);
        frame.run();
        return !frame.engine.seen.empty();
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
        Frame8 frame(width, height);
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

        QV_UnitPoint const* to = frame.engine.lastPass.toPins;
        const double tolerance = 3 * 40 * 0x1p-53;  // three roundings of values below 40 pixels
        EXPECT_NEAR(to[0].x * width, 0.5 * frameWidth + margin[0], tolerance);
        EXPECT_NEAR(to[0].y * height, 0.5 * frameHeight + margin[1], tolerance);
        EXPECT_NEAR(to[3].x * width, 1.0 * frameWidth + margin[0], tolerance);
        EXPECT_EQ(shared.frameShiftX + shared.frameShiftY, 0);
        EXPECT_EQ(frame.engine.log.find("size") != std::string::npos, width + height > 30);
        EXPECT_EQ(frame.host.getOutputWidth(), width);
    }
}

TEST(PipelineStages, SamplesAreReadAtTheirTimesAndMergedInTheOutput) {
    Frame8 frame;
    frame.blur(2.5, 180, -90);  // 3; from 25 units before, 50 / 3 units on
    const std::string pass = ". 3 work>sample. ";
    EXPECT_EQ(frame.run(), 0);
    EXPECT_EQ(frame.engine.log, kStart + "alloc sample. read 975" + pass + "read 991" + pass +
                                    "read 1008" + pass + "free sample. " + kEnd);
    EXPECT_TRUE(frame.output.samePixels(frame.input));

    Frame8 single;  // one sample honours the phase; the pose is read, nothing merged
    single.blur(1.4, 180, 90);
    EXPECT_EQ(single.run(), 0);
    EXPECT_EQ(single.engine.log, kStart + "read 1025. 3 work>out. " + kEnd);

    Frame8 refused;
    refused.blur(16, 360, 0);
    refused.host.refusedTime = 1000;
    EXPECT_EQ(refused.run(), 8);
    refused.expectClear();
}

TEST(PipelineStages, SuperSampleSoftensACopyOfTheLayerAndTheEnd) {
    struct Case {
        int viewMode;
        double softness, size;  // To Pins: a quad of unlike sides, times this
        std::string work;
    };
    const std::string blurs = "blur -11 1.25 2.43 edged. blur -10 2 1.77 edged. ";
    const std::string end = "blur -1 0.969 1 out. ";
    const Case cases[] = {
        {3, 0, 0.1, "3 edged>out. "},
        {3, 1, 9.0, "3 edged>out. blur -1 0.722 1 out. "},  // 11.1 pixels of 40
        {3, 1, 1.0, blurs + "3 edged>out. " + end},
        {1, 1, 1.0, blurs + "4 edged>interim. copy interim>out. " + end},
        {2, 1, 1.0, blurs + "copy work>interim. 2 interim>out. " + end},
    };
    for (auto const& c : cases) {
        Frame<PIXEL_ARGB15> frame;
        frame.soften(1);
        frame.args.viewMode = c.viewMode;
        frame.args.superSampleSoftness = c.softness;
        frame.args.fromPins[0] = 0.1;
        // Top 0.4, bottom hypot(0.2, 0.05), left 0.25, right hypot(0.2, 0.2).
        const double quad[8] = {0, 0, 0.4, 0, 0, 0.25, 0.2, 0.2};
        for (int i = 0; i < 8; ++i) frame.args.toPins[i] = quad[i] * c.size;
        EXPECT_EQ(frame.run(), 0);
        EXPECT_EQ(frame.engine.log,
                  kStart + "alloc edged. " + c.work + "free interim. free edged. free work. ");
    }
    for (const int passCode : {0, 17}) {  // the first code stays
        Frame8 failed;
        failed.soften(0.5);
        failed.args.transferMode = 4;  // left out after a refused blur
        failed.engine.blurCode = 12;
        failed.engine.passCode = passCode;
        EXPECT_EQ(failed.run(), 12);
    }
    Frame8 softened;  // before the colour is divided by alpha
    softened.host.afterEffects = true;
    softened.soften(0.5);
    softened.engine.endPixel = {128, 64, 32, 0};
    EXPECT_EQ(softened.run(), 0);
    EXPECT_EQ(firstPixel(softened.output.info()), (Bytes{128, 127, 63, 0}));
}

TEST(PipelineStages, SuperSampleFadesAFreshCopyForEverySample) {
    for (const double scale : {1.0, 0.5}) {  // of the height alone: the lesser one counts
        Frame8 frame(40, 40);
        frame.host.setScale(1, scale);
        frame.blur(3, 90, 0);
        frame.args.quality = 3;
        frame.args.superSampleEdge = 12;  // 15 pixels
        EXPECT_EQ(frame.run(), 0);
        GuardedRaster want = frame.input;
        fadeBorder<PIXEL_ARGB8>(want.info(), scale == 1 ? 15 : 8);
        EXPECT_TRUE(frame.output.samePixels(want));
        EXPECT_EQ(frame.engine.seen, std::vector<Bytes>(3, firstPixel(want.info())));
    }
}

TEST(PipelineStages, ARefusalClearsTheOutputAndGivesTheRestBack) {
    struct Case {
        int nth, code;  // of allocRaster; 0: it is a control that is refused
        bool givesRaster;
        PF_Err result;
        std::string log;
    };
    const std::string noInterim = kStart + "clear out. ", noSample = kStart + "alloc sample. ";
    const std::string noEdged = noSample + "alloc edged. clear out. free sample. free interim. ";
    const Case cases[] = {
        {0, 6, false, 6, "clear out. "},
        {1, 4, false, 4, "alloc work. clear out. "},
        {1, 0, false, 1, "alloc work. clear out. "},
        {1, 9, true, 9, "alloc work. clear out. free work. "},
        {2, 4, false, 4, noInterim + "free work. "},
        {2, 0, false, 1, noInterim + "free work. "},
        {2, 9, true, 9, noInterim + kEnd},
        {3, 4, false, 4, noSample + "clear out. " + kEnd},
        {4, 4, false, 4, noEdged + "free work. "},
        {4, 9, true, 9, noEdged + "free edged. free work. "},
    };
    for (auto const& c : cases) {
        Frame<PIXEL_BGRA32> frame;
        if (c.nth > 2) frame.blur(16, 90, 0);
        frame.args.quality = 3;
        if (c.nth == 0)
            frame.engine.readerCode = c.code;
        else
            frame.host.failAllocation(c.nth, c.code, c.givesRaster);
        EXPECT_EQ(frame.run(), c.result);
        std::string log = frame.engine.log;
        if (const auto at = log.find("read 1000. "); at != log.npos) log.erase(at, 11);
        EXPECT_EQ(log, c.log);
        frame.expectClear();
    }
}

}  // namespace

int CommonRender_CoreTransformRender(PluginHost_API*, CoreRenderArguments& core, const Info& src,
                                     const Info& dst, bool clearOutput, bool singleChannel,
                                     RenderSettings* settings, bool edgeCoverage, bool fillMode) {
    EXPECT_TRUE(clearOutput && !singleChannel && edgeCoverage && !fillMode);
    constexpr int kFilterOfQuality[] = {0, 1, 9, 9};
    const bool isKept = core.filter == kFilterOfQuality[theEngine->args.quality];
    EXPECT_TRUE(settings->reposition && (isKept || theEngine->motionBlur));
    theEngine->lastPass = core;
    theEngine->seen.push_back(firstPixel(src));
    theEngine->note("{} {}>{}", int(core.quadMode), theEngine->names[src.data],
                    theEngine->names[dst.data]);
    for (int y = 0; y < dst.height; ++y)
        std::memcpy(pixelRow<unsigned char>(dst, y), pixelRow<unsigned char>(src, y),
                    static_cast<std::size_t>(dst.width * dst.pixelBytes));
    core.filter = -1;  // a pass may rewrite its records; no later pass may see it
    settings->reposition = false;
    return theEngine->passCode;
}

int CommonRender_progressiveBlur(PluginHost_API*, QV_Line2D&, float a, float b, float fadeStart,
                                 float fadeLength, int curve, Info* raster, bool alphaPlane,
                                 int kind, bool extended) {
    EXPECT_TRUE(fadeStart == 0 && fadeLength == 1 && curve == 0 && !alphaPlane && !extended);
    theEngine->note("blur {} {:.3g} {:.3g} {}", kind, a, b, theEngine->names[raster->data]);
    Bytes const& end = theEngine->endPixel;
    if (kind == -1) std::copy(end.begin(), end.end(), static_cast<unsigned char*>(raster->data));
    return theEngine->blurCode;
}

int ParamsRetrieveValues(PluginHost_API* host, RenderArguments* arguments) {
    *arguments = theEngine->args;
    return host->getAEHost() ? 1 : 0;
}

int ParamsRetrieveValuesFromHost(PluginHost_API*, RenderArguments*) {
    return theEngine->readerCode;
}

int GetMBlurValue(PluginHost_API*) { return theEngine->motionBlur; }

int MotionBlurFromHost(PluginHost_API*, std::int32_t* choice) {
    *choice = theEngine->motionBlur;
    return 0;
}

bool GetUseHostCameraParamValue(PluginHost_API*) { return false; }

int GetCameraMatrix(PluginHost_API*, QV_Matrix4*, long, long, bool&, double*, int, int, int&, int&,
                    double&) {
    ADD_FAILURE();
    return 0;
}

// The pipeline's order of work: which passes it asks for, with which records, what it does to
// pixels around them, and how it ends when something is refused.
//
// The transform engine and the reading of controls are stand-ins here: a pass copies its source
// into its destination and writes down what it was asked.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "effect/CornerPinRender.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

using Host = PluginHost_Memory_Impl;
using Raster = PluginRaster_Memory_Impl;
using Info = PluginHost_API::RasterInfo;

struct Pass {
    CoreRenderArguments core;
    RenderSettings settings;
    Info source, destination;
    std::vector<unsigned char> sourcePixel;  // the first one, as the pass saw it
    bool flagsAsExpected;
};

struct Engine {
    std::vector<Pass> passes;
    std::string log;
    std::map<void const*, std::string> names;  // of pixel buffers
    RenderArguments args;
    std::vector<unsigned char> workAtEnd;  // its first bytes when it is given back
    int code = 0;                          // what passes answer
    int readerCode = 0;                    // what the reader for other hosts answers
};
Engine* theEngine = nullptr;

RenderArguments argumentsAtRest() {
    RenderArguments args{};
    const double frame[8] = {0, 0, 1, 0, 0, 1, 1, 1};
    std::copy_n(frame, 8, args.toPins);
    std::copy_n(frame, 8, args.fromPins);
    args.viewMode = 3;
    args.scaleX = args.scaleY = 1;
    args.quality = 2;
    args.samples = 16;
    args.sourceOpacity = args.cornerPinOpacity = 100;
    return args;
}

/// A memory host that can pretend to be After Effects, and writes down its calls by raster name.
class LoggedHost : public Host {
public:
    using Host::Host;
    bool afterEffects = false;
    int blendCode = 0;
    struct {
        int mode = -1;
        double opacity = -1, fromOpacity = -1;
    } blended;

    PluginHost_AE_Impl* getAEHost() override {
        return afterEffects ? reinterpret_cast<PluginHost_AE_Impl*>(this) : nullptr;
    }
    PluginRaster_API* allocRaster(int w, int h, PixelType type, int& error, int flags) override {
        PluginRaster_API* raster = Host::allocRaster(w, h, type, error, flags);
        const std::string name = m_allocations++ == 0 ? "work" : "interim";
        theEngine->log += "alloc " + name + ". ";
        if (raster && dataOf(raster)) theEngine->names[dataOf(raster)] = name;
        m_objects[raster] = name;
        return raster;
    }
    int deallocRaster(PluginRaster_API* raster) override {
        theEngine->log += "free " + m_objects[raster] + ". ";
        if (m_objects[raster] == "work" && dataOf(raster)) {
            auto const* bytes = static_cast<unsigned char const*>(dataOf(raster));
            theEngine->workAtEnd.assign(bytes, bytes + 16);
        }
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
    int setOutputSize(int w, int h) override {
        theEngine->log += "size " + std::to_string(w) + "x" + std::to_string(h) + ". ";
        return Host::setOutputSize(w, h);
    }
    int blend(int mode, double opacity, double fromOpacity, PluginRaster_API* from,
              PluginRaster_API* to) override {
        theEngine->log += "blend " + name(from) + ">" + name(to) + ". ";
        blended = {mode, opacity, fromOpacity};
        return blendCode;
    }

private:
    void* dataOf(PluginRaster_API* raster) {
        Info info{};
        getRasterInfo(raster, &info);
        return info.data;
    }
    std::string name(PluginRaster_API* raster) { return theEngine->names[dataOf(raster)]; }

    int m_allocations = 0;
    std::map<PluginRaster_API*, std::string> m_objects;
};

/// A frame of one format with random pixels, ready to run.
template <class Trait>
class Frame {
public:
    using Channel = typename Trait::Channel;

    explicit Frame(int width = 6, int height = 5, unsigned seed = 1)
        : input(Trait::kFormat, width, height, 2 * Trait::kPixelBytes),
          output(Trait::kFormat, width, height, Trait::kPixelBytes),
          host(input.info(), output.info()) {
        std::mt19937 random(seed);
        for (Raster* raster : {&input, &output}) {
            forEachPixel<Channel>(raster->info(), [&random](Channel* p) {
                std::uniform_int_distribution<int> any(0, Trait::kIsFloat ? 1000 : Trait::kWhite);
                for (int c = 0; c < 4; ++c)
                    p[c] =
                        static_cast<Channel>(Trait::kIsFloat ? any(random) / 800.0 : any(random));
            });
        }
        engine.args = argumentsAtRest();
        engine.names = {{input.info().data, "input"}, {output.info().data, "out"}};
        theEngine = &engine;
    }
    ~Frame() {
        EXPECT_EQ(host.tally().pixelBuffers, 0);
        EXPECT_EQ(host.tally().rasterObjects, 0);
        theEngine = nullptr;
    }

    PF_Err run() {
        return CornerPinRender<Trait, Channel, typename Trait::Wide, typename Trait::Weight,
                               typename Trait::FORMAT>(&host);
    }
    Channel const* in(int x, int y) { return reinterpret_cast<Channel*>(input.pixel(x, y)); }
    Channel const* out(int x, int y) { return reinterpret_cast<Channel*>(output.pixel(x, y)); }
    bool outputIsClear() {
        bool clear = true;
        forEachPixel<Channel>(output.info(), [&clear](Channel const* p) {
            for (int c = 0; c < 4; ++c) clear = clear && p[c] == 0;
        });
        return clear;
    }

    Engine engine;
    Raster input, output;
    LoggedHost host;
};

template <class Trait>
class EachFormat : public testing::Test {};
using RenderedFormats =
    testing::Types<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15, PIXEL_ARGB32, PIXEL_BGRA32>;
TYPED_TEST_SUITE(EachFormat, RenderedFormats);

const std::string kStart = "alloc work. copy input>work. alloc interim. ";
const std::string kEnd = "free interim. free work. ";

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
        {2, 0, false, kStart + "copy work>interim. 2 interim>out. " + kEnd},
        {2, 1, true, kStart + "copy work>interim. 2 interim>out. " + kEnd},
        {3, 0, false, kStart + "3 work>out. " + kEnd},
        {3, 0, true, kStart + "3 work>out. " + kEnd},
        {3, 1, false, kStart + "copy work>interim. 2 interim>out. " + kEnd},
        {3, 1, true, kStart + "4 work>interim. 2 interim>out. " + kEnd},
    };
    for (auto const& c : cases) {
        Frame<PIXEL_ARGB8> frame;
        frame.engine.args.viewMode = c.viewMode;
        frame.engine.args.cropToPins = static_cast<std::uint8_t>(c.crop);
        if (c.moved) frame.engine.args.fromPins[0] = 0.1;
        EXPECT_EQ(frame.run(), 0);
        EXPECT_EQ(frame.engine.log, c.work) << "view " << c.viewMode << " crop " << c.crop;
        for (auto const& pass : frame.engine.passes) {
            EXPECT_TRUE(pass.flagsAsExpected);
            EXPECT_TRUE(pass.core.filter == 9 && pass.settings.reposition);
        }
    }
}

TEST(PipelineStages, TheFirstPassIsLeftOutOnlyAtRestWithinATolerance) {
    auto firstPassRuns = [](auto change) {
        Frame<PIXEL_ARGB8> frame;
        frame.engine.args.viewMode = 1;
        change(frame.engine.args);
        frame.run();
        return !frame.engine.passes.empty();
    };
    EXPECT_FALSE(firstPassRuns([](RenderArguments& a) { a.fromOffsets[3] = 50; }));
    EXPECT_FALSE(firstPassRuns([](RenderArguments& a) { a.toPins[3] = 0.5; }));
    double RenderArguments::*const values[] = {
        &RenderArguments::translateX, &RenderArguments::translateY, &RenderArguments::scaleX,
        &RenderArguments::scaleY, &RenderArguments::rotate};
    for (const auto value : values) {
        EXPECT_FALSE(firstPassRuns([&](RenderArguments& a) { a.*value -= 0.9e-5; }));
        EXPECT_TRUE(firstPassRuns([&](RenderArguments& a) { a.*value -= 1.1e-5; }));
    }
    for (int i = 0; i < 8; ++i) {
        EXPECT_FALSE(firstPassRuns([&](RenderArguments& a) { a.fromPins[i] += 0.9e-5; }));
        EXPECT_TRUE(firstPassRuns([&](RenderArguments& a) { a.fromPins[i] += 1.1e-5; }));
    }
}

TEST(PipelineStages, AGrownFrameKeepsPinsOnTheirPixels) {
    struct Margin {
        int x, y;
        bool grown;
    };
    for (const Margin margin : {Margin{0, 0, false}, {7, 0, true}, {0, 9, true}, {5, 6, true}}) {
        const int frameWidth = 20, frameHeight = 10;
        Frame<PIXEL_ARGB8> frame(frameWidth + 2 * margin.x, frameHeight + 2 * margin.y);
        RenderSettings shared = {};
        shared.srcRight = shared.dstRight = frame.input.getWidth() - 1;
        shared.srcBottom = shared.dstBottom = frame.input.getHeight() - 1;
        shared.frameShiftX = margin.x, shared.frameShiftY = margin.y;
        frame.host.setUserData(&shared);
        frame.host.afterEffects = true;
        frame.host.setOutputSize(frameWidth, frameHeight);
        frame.engine.log.clear();
        frame.engine.args.toPins[0] = 0.25, frame.engine.args.toPins[1] = 0.5;
        frame.engine.args.toOffsets[0] = 25;
        ASSERT_EQ(frame.run(), 0);

        QV_UnitPoint const* to = frame.engine.passes.at(0).core.toPins;
        // Three roundings of values below 40 pixels.
        const double tolerance = 3 * 40 * 0x1p-53;
        EXPECT_NEAR(to[0].x * frame.input.getWidth(), 0.5 * frameWidth + margin.x, tolerance);
        EXPECT_NEAR(to[0].y * frame.input.getHeight(), 0.5 * frameHeight + margin.y, tolerance);
        EXPECT_NEAR(to[3].x * frame.input.getWidth(), 1.0 * frameWidth + margin.x, tolerance);
        EXPECT_EQ(shared.frameShiftX, 0);
        EXPECT_EQ(shared.frameShiftY, 0);
        EXPECT_EQ(frame.engine.log.find("size") != std::string::npos, margin.grown);
        EXPECT_EQ(frame.host.getOutputWidth(), frame.input.getWidth());
    }
}

/// One channel through Premult and UnPremult, by real numbers: rounded, then truncated.
template <class Trait>
typename Trait::Channel throughPremultiplied(typename Trait::Channel a, typename Trait::Channel c) {
    using Channel = typename Trait::Channel;
    if constexpr (Trait::kIsFloat) {
        return a > 0 ? a * c / a : a * c;
    } else {
        const double over = Trait::kWhite == 255 ? 256 : 32768;
        const double product = std::floor(1.0 * a * c / over + 0.5);
        if (a == 0) return static_cast<Channel>(product);
        return static_cast<Channel>(
            std::min<double>(std::floor(product * Trait::kWhite / a), Trait::kWhite));
    }
}

enum class Family { kNone, kAfterEffects, kAVX1, kAVX2, kFXPLUG };

template <class Trait>
void setFamily(Frame<Trait>& frame, Family family) {
    frame.host.afterEffects = family == Family::kAfterEffects;
    frame.host.setFamily(family == Family::kAVX1     ? MemoryHostFamily::kAVX1
                         : family == Family::kAVX2   ? MemoryHostFamily::kAVX2
                         : family == Family::kFXPLUG ? MemoryHostFamily::kFXPLUG
                                                     : MemoryHostFamily::kNone);
}

TYPED_TEST(EachFormat, EveryFamilyGetsTheColourThatItKeeps) {
    using T = TypeParam;
    using Channel = typename T::Channel;
    constexpr auto kWhite = static_cast<Channel>(T::kWhite);
    for (const Family family :
         {Family::kNone, Family::kAfterEffects, Family::kAVX1, Family::kAVX2, Family::kFXPLUG}) {
        Frame<T> frame(9, 7, 31);
        setFamily(frame, family);
        EXPECT_EQ(frame.run(), 0);

        const bool noAlpha = family == Family::kAVX1 || family == Family::kAVX2;
        auto const* source =
            reinterpret_cast<Channel const*>(frame.engine.passes.at(0).sourcePixel.data());
        EXPECT_EQ(source[T::kAlpha], noAlpha ? kWhite : frame.in(0, 0)[T::kAlpha]);
        // The passes copy, so the working copy ends as the output does.
        auto const* work = reinterpret_cast<Channel const*>(frame.engine.workAtEnd.data());
        for (int c = 0; c < 4; ++c) {
            if (noAlpha && c != T::kAlpha) continue;  // straight; it was not laid out for the host
            EXPECT_EQ(work[c], frame.out(0, 0)[c]) << "family " << int(family);
        }
        for (int y = 0; y < 7; ++y) {
            for (int x = 0; x < 9; ++x) {
                Channel const *in = frame.in(x, y), *out = frame.out(x, y);
                EXPECT_EQ(out[T::kAlpha], noAlpha ? Channel{0} : in[T::kAlpha]);
                for (const int c : {T::kRed, T::kGreen, T::kBlue}) {
                    const Channel a = in[T::kAlpha];
                    Channel expected = in[c];
                    if (family == Family::kAfterEffects) {
                        expected = throughPremultiplied<T>(a, in[c]);
                    } else if (noAlpha) {  // multiplied by white; 8 bits lose 1/256
                        expected = T::kWhite == 255
                                       ? static_cast<Channel>((255 * int(in[c]) + 128) >> 8)
                                       : in[c];
                    } else if (family == Family::kFXPLUG) {  // divided, then multiplied
                        if constexpr (T::kIsFloat) {
                            expected = a > 0 ? in[c] / a * a : in[c] * a;
                        } else {
                            const long white = T::kWhite, over = white == 255 ? 256 : 32768;
                            const long straight =
                                a ? std::min(in[c] * white / a, white) : long{in[c]};
                            expected = static_cast<Channel>((a * straight + over / 2) / over);
                        }
                    }
                    ASSERT_EQ(out[c], expected)
                        << "family " << int(family) << " at " << x << "," << y << " alpha " << a;
                }
            }
        }
    }
}

TEST(PipelineStages, AFailedDirectPassSkipsOpacityAndTransfer) {
    for (const int transferMode : {0, 4}) {
        Frame<PIXEL_ARGB8> frame;
        frame.host.afterEffects = true;
        frame.engine.code = 17;
        frame.engine.args.transferMode = transferMode;
        frame.engine.args.cornerPinOpacity = 0;
        EXPECT_EQ(frame.run(), 17);
        EXPECT_EQ(frame.engine.log, kStart + "3 work>out. " + kEnd);
        EXPECT_EQ(frame.out(2, 2)[0], frame.in(2, 2)[0]);
    }
    for (const int viewMode : {1, 2, 3}) {  // of two passes the codes are not kept
        Frame<PIXEL_ARGB8> frame;
        frame.engine.code = 17;
        frame.engine.args.viewMode = viewMode;
        frame.engine.args.cropToPins = 1;
        frame.engine.args.fromPins[0] = 0.25;
        EXPECT_EQ(frame.run(), 0);
    }
}

TEST(PipelineStages, ARefusedImageClearsTheOutputAndGivesTheRestBack) {
    struct Case {
        int nth, code;
        bool givesRaster;
        PF_Err result;
        std::string log;
    };
    const std::string upToInterim = "alloc work. copy input>work. alloc interim. clear out. ";
    const Case cases[] = {
        {1, 4, false, 4, "alloc work. clear out. "},
        {1, 0, false, 1, "alloc work. clear out. "},
        {1, 9, true, 9, "alloc work. clear out. free work. "},
        {2, 4, false, 4, upToInterim + "free work. "},
        {2, 0, false, 1, upToInterim + "free work. "},
        {2, 9, true, 9, upToInterim + kEnd},
    };
    for (auto const& c : cases) {
        Frame<PIXEL_BGRA32> frame;
        frame.host.failAllocation(c.nth, c.code, c.givesRaster);
        EXPECT_EQ(frame.run(), c.result);
        EXPECT_EQ(frame.engine.log, c.log);
        EXPECT_TRUE(frame.outputIsClear());
        EXPECT_TRUE(frame.engine.passes.empty());
    }
}

TEST(PipelineStages, ARefusedControlClearsTheOutput) {
    Frame<PIXEL_ARGB8> frame;
    frame.engine.readerCode = 6;
    EXPECT_EQ(frame.run(), 6);
    EXPECT_EQ(frame.engine.log, "clear out. ");
    EXPECT_TRUE(frame.outputIsClear());
}

}  // namespace

int CommonRender_CoreTransformRender(PluginHost_API*, CoreRenderArguments& core,
                                     const PluginHost_API::RasterInfo& src,
                                     const PluginHost_API::RasterInfo& dst, bool clearOutput,
                                     bool singleChannel, RenderSettings* settings,
                                     bool edgeCoverage, bool fillMode) {
    Pass pass{core, *settings, src,
              dst,  {},        clearOutput && !singleChannel && edgeCoverage && !fillMode};
    auto const* bytes = static_cast<unsigned char const*>(src.data);
    pass.sourcePixel.assign(bytes, bytes + src.pixelBytes);
    theEngine->passes.push_back(pass);
    theEngine->log += std::to_string(core.quadMode) + " " + theEngine->names[src.data] + ">" +
                      theEngine->names[dst.data] + ". ";
    for (int y = 0; y < dst.height; ++y) {
        std::memcpy(static_cast<unsigned char*>(dst.data) + y * dst.rowBytes,
                    bytes + y * src.rowBytes, static_cast<std::size_t>(dst.width * dst.pixelBytes));
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

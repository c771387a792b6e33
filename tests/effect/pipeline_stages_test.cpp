// What the pipeline asks of the transform engine and the blurs, what becomes of their codes, and
// which images are made and given back. The two are stand-ins here: a pass copies its source into
// its destination.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"
#include "effect/PixelPasses.h"
#include "effect/Render.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/memory_controls.h"

namespace {

using Info = PluginHost_API::RasterInfo;

/// What the stand-ins answer, and what was asked.
struct Engine {
    int passCode = 0, blurCode = 0, quality = 0;
    bool paintsEnd = false;  // a plain blur leaves one pixel, half covered
    std::string log;
    std::map<void const*, std::string> names;  // of pixel buffers

    template <class... Values>
    void note(fmt::format_string<Values...> format, Values&&... values) {
        log += fmt::format(format, std::forward<Values>(values)...) + ". ";
    }
};
Engine engine;

/// Writes down its calls by raster name.
struct LoggedHost : PluginHost_Memory_Impl {
    using PluginHost_Memory_Impl::PluginHost_Memory_Impl;
    bool isBlurred = false;

    std::string& name(PluginRaster_API* raster) {
        Info info{};
        getRasterInfo(raster, &info);
        return engine.names[info.data];
    }
    PluginRaster_API* allocRaster(int w, int h, PixelType type, int& error, int flags) override {
        PluginRaster_API* raster = PluginHost_Memory_Impl::allocRaster(w, h, type, error, flags);
        const int nth = tally().allocations + (isBlurred || tally().allocations < 3 ? 0 : 1);
        constexpr char const* kOrder[] = {"", "work", "interim", "sample", "edged"};
        name(raster) = kOrder[nth];
        engine.note("alloc {}", kOrder[nth]);
        return raster;
    }
    int deallocRaster(PluginRaster_API* raster) override {
        engine.note("free {}", name(raster));
        return PluginHost_Memory_Impl::deallocRaster(raster);
    }
    int copy(PluginRaster_API* from, PluginRaster_API* to) override {
        engine.note("copy {}>{}", name(from), name(to));
        return PluginHost_Memory_Impl::copy(from, to);
    }
    int fillOutput() override {
        engine.note("clear");
        return PluginHost_Memory_Impl::fillOutput();
    }
};

/// A frame of random pixels, with From Pins off the corners.
struct Frame {
    explicit Frame(QV_RasterFormat format = kFormatARGB8, int side = 6,
                   MemoryHostFamily family = MemoryHostFamily::kNone)
        : input(format, side, side, 16),
          output(format, side, side, 32),
          host(input.info(), output.info(), family) {
        engine = {};
        engine.names = {{input.info().data, "input"}, {output.info().data, "out"}};
        input.paint([&](int x, int y, int c) { return (x * 37 + y * 11 + c * 5) % 250; });
        zelk::setDefaultControls(host);
        host.setPoint(kParamFromUpperLeft, 0.1, 0);
    }
    int run(unsigned quality) {
        host.setPopup(kParamQuality, engine.quality = static_cast<int>(quality));
        int const code = Render(&host);
        EXPECT_EQ(host.tally().pixelBuffers + host.tally().rasterObjects, 0);
        return code;
    }
    void setTo(double const (&quad)[8]) {
        for (int i = 0; i < 4; ++i)
            host.setPoint(kParamToUpperLeft + i, quad[2 * i], quad[2 * i + 1]);
    }
    void blur() {
        host.setTime({1000, 100, 2400});
        host.setBool(kParamMotionBlur, host.isBlurred = true);
        host.setInt(kParamSamples, 3);
    }

    zelk::GuardedRaster input, output;
    LoggedHost host;
};

std::string const kStart = "alloc work. copy input>work. alloc interim. ";
enum Quality : unsigned { kLow, kMedium, kHigh, kSuper };
// Top 0.4, bottom hypot(0.2, 0.05), left 0.25, right hypot(0.2, 0.2).
constexpr double kUnlikeSides[8] = {0, 0, 0.4, 0, 0, 0.25, 0.2, 0.2};

TEST(PipelineStages, EachViewHasItsPassesAndADirectOneItsCode) {
    struct Case {
        unsigned view;
        bool crop;
        std::string passes;
    };
    for (Case const& c : {Case{1, true, "4 work>interim. copy interim>out. "},
                          {2, true, "copy work>interim. 2 interim>out. "},
                          {3, true, "4 work>interim. 2 interim>out. "},
                          {3, false, "3 work>out. "}})
        for (unsigned const quality : {kLow, kMedium, kHigh}) {
            Frame frame;
            engine.passCode = 17;
            frame.host.setPopup(kParamViewMode, c.view);
            frame.host.setBool(kParamCropToPins, c.crop);
            EXPECT_EQ(frame.run(quality), c.view == 3 && !c.crop ? 17 : 0);
            EXPECT_EQ(engine.log, kStart + c.passes + "free interim. free work. ");
        }
}

TEST(PipelineStages, SuperSampleSoftensACopyOfTheLayerAndTheEnd) {
    std::string const blurs = "alloc edged. blur -11 1.25 2.43 edged. blur -10 2 1.77 edged. ";
    std::string const end = "blur -1 0.969 1 out. free interim. free edged. free work. ";
    for (unsigned const view : {2u, 3u}) {
        Frame frame(kFormatARGB15);
        frame.setTo(kUnlikeSides);
        frame.host.setPopup(kParamViewMode, view);
        EXPECT_EQ(frame.run(kSuper), 0);
        EXPECT_EQ(engine.log,
                  kStart + blurs +
                      (view == 2 ? "copy work>interim. 2 interim>out. " : "3 edged>out. ") + end);
    }
    for (int const passCode : {0, 17}) {  // the first code stays, and ends in no transfer
        Frame failed;
        failed.setTo(kUnlikeSides);
        failed.host.setPopup(kParamTransferMode, 4);
        engine.blurCode = 12;
        engine.passCode = passCode;
        EXPECT_EQ(failed.run(kSuper), 12);
    }
    // The end is softened before the colour is divided by alpha, which this family multiplies back.
    Frame softened(kFormatARGB8, 6, MemoryHostFamily::kFXPLUG);
    softened.setTo(kUnlikeSides);
    engine.paintsEnd = true;
    EXPECT_EQ(softened.run(kSuper), 0);
    EXPECT_EQ(softened.output.get(0, 0, 1), 64);
}

TEST(PipelineStages, SuperSampleFadesByTheLesserScale) {
    Frame frame(kFormatARGB8, 40);
    frame.host.setScale(1, 0.5);
    frame.host.setFloat(kParamSuperSampleEdge, 12);  // 15 pixels
    EXPECT_EQ(frame.run(kSuper), 0);
    EXPECT_EQ(engine.log.find(" 0 0 edged"), std::string::npos) << "nothing shrinks";
    fadeBorder<PIXEL_ARGB8>(frame.input.info(), 8);
    EXPECT_TRUE(frame.output.samePixels(frame.input));
}

TEST(PipelineStages, ARefusedImageClearsTheOutputAndTheRestGoesBackInOrder) {
    std::vector<std::string> const made = {"work", "interim", "sample", "edged"};
    for (std::size_t nth = 1; nth <= made.size(); ++nth)
        for (auto const& [code, gives] : {std::pair(4, false), {0, false}, {9, true}}) {
            Frame frame(kFormatBGRA32);
            frame.output.paint([](int, int, int) { return 5; });
            frame.blur();
            frame.host.failAllocation(static_cast<int>(nth), code, gives);
            EXPECT_EQ(frame.run(kSuper), code ? code : 1);
            std::string want = "clear. ";
            for (std::size_t const i : {2u, 1u, 3u, 0u})
                if (i + (gives ? 1 : 2) <= nth) want += "free " + made[i] + ". ";
            EXPECT_EQ(engine.log.substr(engine.log.find("clear")), want) << nth;
            frame.output.forEachChannel(
                [&](int x, int y, int c) { EXPECT_EQ(frame.output.get(x, y, c), 0); });
        }
}

}  // namespace

int CommonRender_CoreTransformRender(PluginHost_API*, CoreRenderArguments& core, const Info& src,
                                     const Info& dst, bool clearOutput, bool singleChannel,
                                     RenderSettings* settings, bool edgeCoverage, bool fillMode) {
    EXPECT_TRUE(clearOutput && !singleChannel && edgeCoverage && !fillMode);
    constexpr int kFilterOfQuality[] = {0, 1, 9, 9};
    EXPECT_TRUE(core.filter == kFilterOfQuality[engine.quality] && settings->reposition);
    engine.note("{} {}>{}", int(core.quadMode), engine.names[src.data], engine.names[dst.data]);
    for (int y = 0; y < dst.height; ++y)
        std::memcpy(pixelRow<unsigned char>(dst, y), pixelRow<unsigned char>(src, y),
                    static_cast<std::size_t>(dst.width * dst.pixelBytes));
    core.filter = -1;  // a pass may rewrite its records; no later pass may see it
    settings->reposition = false;
    return engine.passCode;
}

int CommonRender_progressiveBlur(PluginHost_API*, QV_Line2D&, float a, float b, float fadeStart,
                                 float fadeLength, int curve, Info* raster, bool alphaPlane,
                                 int kind, bool extended) {
    EXPECT_TRUE(fadeStart == 0 && fadeLength == 1 && curve == 0 && !alphaPlane && !extended);
    engine.note("blur {} {:.3g} {:.3g} {}", kind, a, b, engine.names[raster->data]);
    constexpr unsigned char kHalf[] = {128, 64, 32, 0};
    if (kind == -1 && engine.paintsEnd) std::memcpy(raster->data, kHalf, sizeof kHalf);
    return engine.blurCode;
}

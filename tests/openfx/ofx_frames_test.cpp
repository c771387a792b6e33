// Frames through OpenFX that must agree with each other: windows and whole frames, images laid out
// in any way, threads, scales, saved and loaded parameters.
#include <gtest/gtest.h>

#include <thread>

#include "tests/openfx/ofx_session.h"
#include "tests/openfx/ofx_sweep.h"
#include "tests/support/random_quads.h"

namespace zelk_ofx {
namespace {

using zelk::Random;

double pattern(int x, int y, int c) {
    return c == 3 ? 0.25 + 0.75 * ((x + 2 * y) & 3) / 3 : ((x * 37 + y * 91 + c * 53) & 63) / 63.0;
}
PictureRows randomRows(Random& random) { return {random.integer(0, 13), random.flip()}; }
std::array<double, 8> randomPins(Random& random, OfxRectI frame) {
    double const w = frame.x2 - frame.x1, h = frame.y2 - frame.y1;
    std::array<double, 8> pins{};
    for (int corner = 0; corner < 4; ++corner) {
        pins[2 * corner] = frame.x1 + w * ((corner & 1) + random.uniform(-0.2, 0.2));
        pins[2 * corner + 1] = frame.y1 + h * ((corner < 2) + random.uniform(-0.2, 0.2));
    }
    return pins;
}

using Format = std::tuple<std::string, std::string>;
class OfxFormats : public testing::TestWithParam<Format> {};
INSTANTIATE_TEST_SUITE_P(All, OfxFormats,
                         testing::Combine(testing::Values(kOfxBitDepthByte, kOfxBitDepthShort,
                                                          kOfxBitDepthHalf, kOfxBitDepthFloat),
                                          testing::Values(kOfxImageComponentRGBA,
                                                          kOfxImageComponentRGB,
                                                          kOfxImageComponentAlpha)),
                         [](auto const& test) {
                             return std::get<0>(test.param).substr(11) +
                                    std::get<1>(test.param).substr(17);
                         });

// Any window, with any layout of rows and any bounds around it, has the whole frame's pixels, and
// nothing else is written. What lies beyond the region of definition is transparent black.
TEST_P(OfxFormats, WindowsEqualTheWholeFrame) {
    char const* const depth = std::get<0>(GetParam()).c_str();
    char const* const components = std::get<1>(GetParam()).c_str();
    Random random(20261126);
    SCOPED_TRACE("seed 20261126");
    PictureBuffer source(kFrame, depth, components, randomRows(random));
    source.fill(pattern);
    for (char const* alpha : {kOfxImageUnPreMultiplied, kOfxImagePreMultiplied, kOfxImageOpaque}) {
        Session session(hostChoice("tree"), {{"Source", still(source.view(), alpha)}});
        setPins(*session.instance, randomPins(random, kFrame));
        session->set("motion-blur", {{0}, ""});
        PictureBuffer whole(kFrame, depth, components);
        session.render(whole, kFrame);
        // The source's own layout of rows changes nothing either.
        PictureBuffer packed(kFrame, depth, components), same(kFrame, depth, components);
        ClipInput const input = still(packed.fill(pattern).view(), alpha);
        session->connect("Source", &input);
        EXPECT_EQ(session.render(same, kFrame), whole.bytes(kFrame));
        EXPECT_NE(whole.bytes(kFrame), source.bytes(kFrame));
        // Lines 0, 2, 4 from the bottom are the lower field; the other's stay as they were.
        PictureBuffer fields(kFrame, depth, components);
        for (char const* field : {kOfxImageFieldLower, kOfxImageFieldUpper}) {
            session->render({.output = fields.view(), .window = kFrame, .field = field});
            OfxRectI const odd = {kFrame.x1, 1, kFrame.x2, 2};
            auto const untouched =
                std::vector<unsigned char>(fields.bytes(odd).size(), fields.kUntouched);
            EXPECT_EQ(fields.bytes(odd),
                      field == kOfxImageFieldLower ? untouched : whole.bytes(odd));
        }
        EXPECT_EQ(fields.bytes(kFrame), whole.bytes(kFrame));
        for (int i = 0; i < 12; ++i) {
            int const x = random.integer(kFrame.x1, kFrame.x2 - 1);
            int const y = random.integer(kFrame.y1, kFrame.y2 - 1);
            OfxRectI const window = {x, y, random.integer(x + 1, kFrame.x2),
                                     random.integer(y + 1, kFrame.y2)};
            OfxRectI const bounds = {
                window.x1 - random.integer(0, 9), window.y1 - random.integer(0, 9),
                window.x2 + random.integer(0, 9), window.y2 + random.integer(0, 9)};
            PictureBuffer tile(bounds, depth, components, randomRows(random));
            EXPECT_EQ(session.render(tile, window), whole.bytes(window))
                << alpha << " " << window.x1 << " " << window.y1 << " " << window.x2 << " "
                << window.y2;
        }
    }
}

// Half the scale, with the half-size picture a host hands over then, is the half-size project with
// pins at half their places: to the bit, as halving is exact. A third is not, and below a half the
// effect takes smaller kernels: there Low, which has none, agrees but for a pixel on an edge.
TEST(OfxScale, SmallScalesAreSmallProjects) {
    SCOPED_TRACE("seed 3");
    Random random(3);
    for (int const divisor : {2, 3}) {
        OfxRectI const small = {0, 0, 32, 24};
        double const d = divisor, quality = divisor == 2 ? 2 : 0;
        PictureBuffer source(small);
        source.fill(pattern);
        auto const pins = randomPins(random, {0, 0, 32 * divisor, 24 * divisor});
        auto const rendered = [&](Project const& project, double share, OfxPointD scale) {
            ClipInput input = still(source.view());
            input.region = {0, 0, project.size.x, project.size.y};
            Session session(hostChoice("tree"), {{"Source", input}}, project);
            auto own = pins;
            for (double& pin : own) pin /= share;
            setPins(*session.instance, own);
            session->set("quality", {{quality}, ""});
            PictureBuffer output(small);
            return session.render(output, small, scale);
        };
        auto const ofSmall = rendered({.size = {32, 24}}, d, {1, 1});
        auto const ofScaled = rendered({.size = {32 * d, 24 * d}}, 1, {1 / d, 1 / d});
        int differing = 0;
        for (std::size_t i = 0; i < ofSmall.size(); ++i) differing += ofSmall[i] != ofScaled[i];
        EXPECT_LE(differing, divisor == 2 ? 0 : 4) << divisor;
    }
}

// Two threads in one instance write two windows of one image at once; two more work in another
// instance. Each frame is the one of a single call.
TEST(OfxThreads, TwoAtOnceEqualOneByOne) {
    SCOPED_TRACE("seed 11");
    Random random(11);
    PictureBuffer source(kFrame);
    source.fill(pattern);
    Host host(hostChoice("tree"), ZELK_OFX_BINARY);
    ASSERT_EQ(host.prepare(), kOfxStatOK);
    struct One {
        std::unique_ptr<Instance> instance;
        PictureBuffer alone{kFrame}, together{kFrame};
    };
    std::array<One, 2> ones;
    for (One& one : ones) {
        one.instance =
            host.create(kOfxImageEffectContextFilter, {{"Source", still(source.view())}}, kProject);
        ASSERT_TRUE(one.instance);
        setPins(*one.instance, randomPins(random, kFrame));
        ASSERT_EQ(one.instance->render({.output = one.alone.view(), .window = kFrame}), kOfxStatOK);
    }
    for (int round = 0; round < 25; ++round) {
        int const middle = random.integer(kFrame.y1 + 1, kFrame.y2 - 1);
        std::atomic<int> failed = 0;
        {
            std::vector<std::jthread> threads;
            for (One& one : ones)
                for (OfxRectI const window : {OfxRectI{kFrame.x1, kFrame.y1, kFrame.x2, middle},
                                              OfxRectI{kFrame.x1, middle, kFrame.x2, kFrame.y2}})
                    threads.emplace_back([&one, &failed, window] {
                        RenderCall const call{.output = one.together.view(), .window = window};
                        failed += one.instance->renderAction(call) != kOfxStatOK;
                    });
        }
        EXPECT_EQ(failed, 0);
        for (One& one : ones) {
            EXPECT_EQ(one.together.bytes(kFrame), one.alone.bytes(kFrame)) << round;
            one.together.clear();
        }
    }
    for (One& one : ones) one.instance.reset();
    host.unload();
    expectClean(host);
}

// Frames large enough for threads, the binary unloaded after each: no thread wakes up in what is
// gone.
TEST(OfxThreads, OutliveTheBinary) {
    OfxRectI const frame = {0, 0, 800, 600};
    PictureBuffer source(frame), output(frame);
    source.fill(pattern);
    for (int round = 0; round < 3; ++round) {
        Session session(hostChoice("tree"), {{"Source", still(source.view())}},
                        {.size = {800, 600}});
        setPins(*session.instance, {20, 580, 780, 500, 10, 10, 700, 50});
        session.render(output, frame);
        output.clear();
    }
}

// An abort at any question ends well, with all given back.
TEST(OfxAbort, EndsWithOk) {
    PictureBuffer source(kFrame), output(kFrame);
    source.fill(pattern);
    Session session(hostChoice("tree"), {{"Source", still(source.view())}});
    session->set("motion-blur", {{1}, ""});
    session->set("samples", {{8}, ""});
    session->set("to-upper-left", {{10, 20}, ""}, 0.0);
    session->set("to-upper-left", {{20, 30}, ""}, 1.0);
    RenderCall const call{.output = output.view(), .window = kFrame};
    ASSERT_EQ(session->render(call), kOfxStatOK);
    session.host.abortFrom(1000000);
    ASSERT_EQ(session->render(call), kOfxStatOK);
    long const questions = session.host.abortQuestions();
    EXPECT_GT(questions, 1) << "a blurred frame can be given up on the way";
    for (long n = 1; n <= questions; ++n) {
        session.host.abortFrom(n);
        EXPECT_EQ(session->render(call), kOfxStatOK) << n;
        EXPECT_LE(session.host.abortQuestions(), n + 4) << "goes on asking";
    }
}

class OfxHosts : public testing::TestWithParam<HostChoice> {};
INSTANTIATE_TEST_SUITE_P(All, OfxHosts, testing::ValuesIn(hostChoices()),
                         testing::PrintToStringParamName());

// Described, unloaded and loaded again, without asking in vain for a property; what comes out is
// the same whatever the host lacks.
TEST_P(OfxHosts, DescribesAllItShould) {
    Host host(GetParam(), ZELK_OFX_BINARY);
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(host.load(), kOfxStatOK);
        ASSERT_EQ(host.describe(), kOfxStatOK);
        for (char const* context : {kOfxImageEffectContextFilter, kOfxImageEffectContextGeneral}) {
            if (context == std::string(kOfxImageEffectContextGeneral) && !host.choice().general)
                continue;
            ASSERT_EQ(host.describeIn(context), kOfxStatOK);
            EXPECT_EQ(host.descriptionFaults(context), std::vector<std::string>()) << context;
        }
        EXPECT_EQ(host.call(host.entry(), {"org.zelk.NoSuchAction"}, nullptr),
                  kOfxStatReplyDefault);
        host.unload();
    }
    expectClean(host);
}

// Parameters saved by one instance make another's frame, which is the same in every host; View
// Original is the source.
TEST_P(OfxHosts, SavedParametersGiveTheSameFrame) {
    SCOPED_TRACE("seed 5");
    Random random(5);
    OfxRectI const frame = {0, 0, 40, 30};
    PictureBuffer source(frame), output(frame);
    source.fill(pattern);
    std::map<std::string, ClipInput> const inputs = {{"Source", still(source.view())}};
    Project const project = {.size = {40, 30}};
    auto const pins = randomPins(random, frame);
    SavedParams saved;
    std::vector<unsigned char> first;
    for (HostChoice const& choice : {hostChoice("tree"), GetParam()}) {
        Session session(choice, inputs, project);
        RenderCall const call{.output = output.view(), .window = frame};
        EXPECT_EQ(session->identity(call), "");
        session->set("view-mode", {{0}, ""});
        EXPECT_EQ(session->identity(call), "Source");
        EXPECT_EQ(session.render(output, frame), source.bytes(frame));
        session->set("view-mode", {{3}, ""});
        setPins(*session.instance, pins);
        session->set("quality", {{1}, ""});
        session->set("track-file", {{}, "/no/such/track.txt"});
        session->set("rotate", {{10}, ""}, 0.0);
        session->set("rotate", {{90}, ""}, 10.0);
        auto const pixels = session.render(output, frame);
        if (first.empty()) first = pixels;
        EXPECT_EQ(pixels, first);
        saved = session->save();
    }
    Session session(GetParam(), inputs, project, kOfxImageEffectContextFilter, saved);
    EXPECT_EQ(session.render(output, frame), first);
    EXPECT_EQ(session->save(), saved);
}

// A picture grown by its bounds lies within the region told, and beyond that is nothing.
TEST(OfxRegions, NothingLiesBeyondTheRegionOfDefinition) {
    PictureBuffer source(kFrame);
    source.fill([](int, int, int) { return 1.0; });
    OfxRectI const wide = {-40, -40, 100, 80};
    PictureBuffer output(wide);
    Session session(hostChoice("tree"), {{"Source", still(source.view())}});
    for (double const grow : {0.0, 7.0}) {
        session->set("grow-bounds", {{grow}, ""});
        setPins(*session.instance, {0, 38, 60, 50, -10, -20, 70, -9});
        OfxRectD const region = session->regionOfDefinition();
        EXPECT_EQ(region.x1, -10 - grow);  // two pins lie outside
        EXPECT_EQ(region.y2, 50 + grow);
        session.render(output, wide);
        for (int y = wide.y1; y < wide.y2; ++y)
            for (int x = wide.x1; x < wide.x2; ++x) {
                bool const inside =
                    x >= region.x1 && x < region.x2 && y >= region.y1 && y < region.y2;
                ASSERT_TRUE(inside ||
                            output.bytes({x, y, x + 1, y + 1}) == std::vector<unsigned char>(4))
                    << x << " " << y;
            }
        EXPECT_GT(*output.at(20, kFrame.y2 + 1), 250);
        output.clear();
    }
}

// General has a plate: defined but unconnected it changes nothing; connected it shows through.
TEST(OfxPlate, ShowsBehindTheLayer) {
    PictureBuffer source(kFrame), plate({0, 0, 60, 40}), output(kFrame);
    source.fill([](int, int, int) { return 1.0; });
    plate.fill([](int, int, int c) { return c == 1 || c == 3 ? 1.0 : 0.0; });
    Session session(hostChoice("tree"), {{"Source", still(source.view())}}, kProject,
                    kOfxImageEffectContextGeneral);
    setPins(*session.instance, {20, 25, 40, 25, 20, 10, 40, 10});
    auto const pixel = [&](int x, int y) {
        output.clear();
        session.render(output, kFrame);
        return output.bytes({x, y, x + 1, y + 1});
    };
    using Bytes = std::vector<unsigned char>;
    EXPECT_EQ(pixel(10, 5), Bytes({0, 0, 0, 0}));
    ClipInput const input = still(plate.view());
    session->connect("Plate", &input);
    EXPECT_EQ(pixel(10, 5), Bytes({0, 255, 0, 255}));
    EXPECT_EQ(pixel(30, 15), Bytes({255, 255, 255, 255}));
    EXPECT_EQ(pixel(10, -2), Bytes({0, 0, 0, 0})) << "below the plate";
    session->connect("Plate", nullptr);
    EXPECT_EQ(pixel(10, 5), Bytes({0, 0, 0, 0}));
}

}  // namespace
}  // namespace zelk_ofx

// A shot with known motion: its tracking data, imported by the effect, gives the known frames.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "tests/support/temporary_folder.h"
#include "zelk/render/module_road.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/tracks/import.h"

namespace zelk {
namespace {

constexpr int kWidth = 320, kHeight = 180, kFrames = 100, kFirst = 1001;

/// A quad that turns, shrinks and drifts in perspective.
Corners quadAt(int frame) {
    double const t = (frame - kFirst) / double(kFrames - 1);
    Corners quad;
    for (std::size_t i = 0; i < 4; ++i) {
        bool const isRight = i % 2 == 1, isLower = i / 2 == 1;
        double const x = isRight ? 110 : -110, y = isLower ? 60 : -60, angle = 0.7 * t;
        double const z = 1 + (isRight ? 0.3 * t : 0) + 0.1 * std::sin(6 * t);
        quad[i] = {160 + 40 * std::sin(3 * t) + (x * std::cos(angle) - y * std::sin(angle)) / z,
                   90 + 20 * t + (x * std::sin(angle) + y * std::cos(angle)) / z};
    }
    return quad;
}

/// Corners as a tracker numbers them, which is the order of the pins.
std::string trackText() {
    std::string text = fmt::format("\tSource Width\t{}\n\tSource Height\t{}\n", kWidth, kHeight);
    for (std::size_t i = 0; i < 4; ++i) {
        text += fmt::format("Effects\tADBE Corner Pin #1\tADBE Corner Pin-000{}\n", i + 1);
        for (int frame = kFirst; frame < kFirst + kFrames; ++frame) {
            Point const corner = quadAt(frame)[i];
            text += fmt::format("\t{}\t{:.4f}\t{:.4f}\n", frame, corner.x, corner.y);
        }
    }
    return text;
}

/// Smooth in the middle and steep in places.
World picture(Host const& host) {
    World world(host.worldSpec(kWidth, kHeight, Depth::k8));
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (int c = 0; c < 4; ++c)
                world.rowAs<std::uint8_t>(y)[4 * x + c] = static_cast<std::uint8_t>(
                    c == 0 ? 255 : 128 + 100 * std::sin(0.1 * x * c) * std::cos(0.07 * y * y / 40));
    return world;
}

struct Shot {
    Shot() : host(ZELK_MODULE) {
        Comp comp;
        comp.width = kWidth, comp.height = kHeight;
        comp.startFrame = kFirst, comp.durationFrames = kFrames;
        host.setComp(comp);
        host.resetParameters(kWidth, kHeight);
    }
    World frame(int number) {
        ModuleRender const ask{"shot", {kWidth, kHeight}, Depth::k8, 1, false};
        return renderByModule(host, picture(host), ask, frameRequest(host.comp(), number));
    }
    Host host;
};

TEST(TrackedShot, GivesTheKnownFrames) {
    zelk_test::TemporaryFolder const folder;
    auto const file = folder.put("shot.data", trackText());
    Shot known, tracked;
    EXPECT_EQ(importTrack(tracked.host, readTrackUse(file, TrackedPins::kTo), {kWidth, kHeight}),
              4u * kFrames);
    double largest = 0, squares = 0, worstPsnr = 1e9;
    for (int number = kFirst; number < kFirst + kFrames; ++number) {
        Corners const quad = quadAt(number);
        FrameRequest const moment = frameRequest(known.host.comp(), number);
        for (std::size_t i = 0; i < 4; ++i) {
            setPoint(known.host.parameters()[kToPins + i].current, quad[i].x, quad[i].y);
            KeyValue const pin = keyValueOf(
                tracked.host.parameters()[kToPins + i].at({moment.time, moment.timeBase.scale}));
            largest =
                std::max({largest, std::fabs(pin[0] - quad[i].x), std::fabs(pin[1] - quad[i].y)});
        }
        World const want = known.frame(number), got = tracked.frame(number);
        double sum = 0;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < 4 * kWidth; ++x)
                sum += std::pow(
                    double(want.rowAs<std::uint8_t>(y)[x]) - got.rowAs<std::uint8_t>(y)[x], 2);
        squares += sum;
        worstPsnr = std::min(
            worstPsnr, 10 * std::log10(255. * 255 * 4 * kWidth * kHeight / std::max(sum, 1e-9)));
    }
    double const count = 4. * kWidth * kHeight * kFrames;
    std::printf("largest pin error %.6f px, PSNR %.1f dB over all frames, %.1f dB in the worst\n",
                largest, 10 * std::log10(255. * 255 * count / squares), worstPsnr);
    // Four decimals in the file, then 16.16, each rounded to nearest; single floats on the way.
    EXPECT_LE(largest, 0.00005 + 0.5 / 65536 + 320 * 0x1p-24);
    // Inside, a pin that is off by that moves no value by more than a step: 48 dB if all did. An
    // edge on a line of the coverage grid may take the next one, 1 / 16 along an outline of 500
    // pixels.
    double const outline = 500 * 16.0 * 16, area = kWidth * kHeight;
    EXPECT_GT(worstPsnr, 10 * std::log10(255. * 255 / (1 + outline / area)));
}

}  // namespace
}  // namespace zelk

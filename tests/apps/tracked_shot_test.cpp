// A shot with known motion: its tracking data, imported by the effect, gives the known pins.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/temporary_folder.h"
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

// Four decimals in the file, then 16.16, each rounded to nearest; single floats on the way.
TEST(TrackedShot, GivesTheKnownPins) {
    zelk_test::TemporaryFolder const folder;
    auto const use = readTrackUse(folder.put("shot.data", trackText()), TrackedPins::kTo);
    Host host(ZELK_MODULE);
    Comp comp;
    comp.width = kWidth, comp.height = kHeight;
    comp.startFrame = kFirst, comp.durationFrames = kFrames;
    host.setComp(comp);
    host.resetParameters(kWidth, kHeight);
    EXPECT_EQ(importTrack(host, use, {kWidth, kHeight}), 4u * kFrames);
    for (int number = kFirst; number < kFirst + kFrames; ++number) {
        FrameRequest const moment = frameRequest(comp, number);
        for (std::size_t i = 0; i < 4; ++i) {
            KeyValue const pin =
                keyValueOf(host.parameters()[kToPins + i].at({moment.time, moment.timeBase.scale}));
            EXPECT_NEAR(pin[0], quadAt(number)[i].x, 0.00005 + 0.5 / 65536 + 320 * 0x1p-24);
            EXPECT_NEAR(pin[1], quadAt(number)[i].y, 0.00005 + 0.5 / 65536 + 320 * 0x1p-24);
        }
    }
}

}  // namespace
}  // namespace zelk

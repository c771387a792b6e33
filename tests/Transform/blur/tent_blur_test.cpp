// The parts of the blurs by themselves: the tent of one line and its drift, a pass, the smoothing
// of the pyramid's levels.
#include <gtest/gtest.h>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurPass.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurPyramid.h"
#include "tests/Transform/blur/blur_reference.h"

namespace {

using namespace blur_reference;

constexpr unsigned kSeed = 81;

// Bright half with values of every magnitude from 2^-45 to 1, whose sums don't fit into a double,
// and a dark half about 2^-40, where what the bright one left in the sums isn't hidden by the
// narrowing to float.
TEST(TentLine, DriftOnALongFloatLineIsWithinItsBound) {
    constexpr int kLength = 16000;
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<double> mantissa(0.5, 1.0), exponent(-45.0, 0.0);
    std::vector<float> p(kLength), out(kLength);
    for (int i = 0; i < kLength; ++i) {
        const double magnitude = i < kLength / 2 ? std::exp2(exponent(random)) : 0x1p-40;
        p[i] = float(mantissa(random) * magnitude * (random() % 2 ? 1 : -1));
    }
    for (int radius : {1, 2, 9, 99, 999}) {
        tentBlurLine<float, 1>({p.data(), 1}, {out.data(), 1}, kLength, radius);
        const double n = radius + 1, length = kLength;
        // Roundings of u = 2^-53 with |p| <= 1: the start's, (2 + n) u; the slope's, of 7 u for the
        // pixels and 2 n u for the sum a step, summed up over all steps; the sum's, n^2 u a step.
        // Over n^2, with 2 u for the scale and the product. Then half a unit of a float.
        const double bound = std::ldexp(
            3 + n + length * (3 + 2 / n) + length * length * (7 + 2 * n) / (2 * n * n), -53);
        double worst = 0;  // of the dark half
        for (int i = 0; i < kLength; ++i) {
            long double sum = 0;
            for (int d = -radius; d <= radius; ++d)
                sum += (n - std::abs(d)) * (long double)(p[std::clamp(i + d, 0, kLength - 1)]);
            const auto exact = double(sum / (n * n));
            const double error = std::fabs(double(out[i]) - exact);
            ASSERT_LE(error, bound + std::ldexp(std::fabs(exact) + bound, -24))
                << "seed " << kSeed << " radius " << radius << " at " << i;
            if (i >= kLength / 2 + radius) worst = std::max(worst, error);
        }
        EXPECT_GT(worst, 0x1p-60) << "the line shows no drift: the bound is not tested";
    }
}

ChannelPlane<unsigned char> planeOf(GuardedRaster const& raster) {
    return channelPlane<unsigned char>(raster.info(), 0);
}

TEST(TentBlurPass, RampsBendAndTheInverseSquareStaysWithinTheLine) {
    std::mt19937 random(kSeed);
    for (int height : {1, 2, 30})
        for (int kind : {0, 3, 4, -10, -11})
            for (bool vertical : {false, true}) {
                Picture p = randomPicture(facts<PIXEL_BGRA8>(), 33, height, random);
                GuardedRaster from(kFormatBGRA8, 33, height, 4), to(kFormatBGRA8, 33, height);
                write(p, from);
                tentBlurPass<unsigned char, 4>(planeOf(from), planeOf(to),
                                               {9, vertical, true, kind});
                for (Plane& plane : p) tentPass(plane, 9, vertical, true, kind);
                EXPECT_EQ(difference(to, p), "") << "height " << height << " kind " << kind;
            }
}

TEST(Gauss, SmoothsEveryPixelWithLimitedNeighbours) {
    std::mt19937 random(kSeed);
    for (int width : {1, 2, 3, 4, 9})
        for (int height : {1, 2, 3, 7}) {
            Picture p = randomPicture(facts<PIXEL_ARGB8>(), width, height, random);
            GuardedRaster all(kFormatARGB8, width, height), alpha(kFormatARGB8, width, height);
            write(p, all);
            write(p, alpha);
            PluginHost_Memory_Impl host({}, {});
            EXPECT_TRUE((gauss1<unsigned char, 1>(&host, planeOf(alpha))));
            p[0] = smoothed(p[0]);
            EXPECT_EQ(difference(alpha, p), "") << width << " x " << height;
            EXPECT_TRUE((gauss1<unsigned char, 4>(&host, planeOf(all))));
            for (int c = 1; c < 4; ++c) p[c] = smoothed(p[c]);
            EXPECT_EQ(difference(all, p), "") << width << " x " << height;
            EXPECT_EQ(host.tally().handles, 0);
        }
}

}  // namespace

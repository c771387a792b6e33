// The parts of the blurs by themselves: the tent of one line and its drift, a pass, the smoothing
// of the pyramid's levels.
#include <gtest/gtest.h>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurPass.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurPyramid.h"
#include "tests/Transform/blur/blur_reference.h"

namespace {

using namespace blur_reference;

constexpr unsigned kSeed = 81;

/// A line of `length` pixels, blurred, `Count` channels from each pixel's first on.
template <class T, int Count = 4>
std::vector<T> blurred(std::vector<T> const& line, int radius) {
    std::vector<T> in = line, out(line.size(), T(77));
    tentBlurLine<T, Count>({in.data(), 4}, {out.data(), 4}, int(line.size() / 4), radius);
    EXPECT_EQ(in, line);
    return out;
}

template <class T>
std::vector<double> channelOf(std::vector<T> const& line, int c) {
    std::vector<double> out;
    for (std::size_t i = c; i < line.size(); i += 4) out.push_back(line[i]);
    return out;
}

template <class T>
class TentLineOf : public testing::Test {};
using ChannelTypes = testing::Types<unsigned char, unsigned short, float>;
TYPED_TEST_SUITE(TentLineOf, ChannelTypes);

TYPED_TEST(TentLineOf, RunningSumsGiveTheDirectSum) {
    using T = TypeParam;
    constexpr bool kFloat = std::is_same_v<T, float>;
    std::mt19937 random(kSeed);
    const FormatFacts format{{}, 0, sizeof(T) == 1 ? 255 : kFloat ? 1 : 65535, kFloat};
    for (int length = 1; length <= 40; ++length)
        for (int radius = 0; radius <= 25; ++radius) {
            // One plane of 4 times the length: the channels of the line, interleaved.
            const Picture p = randomPicture(format, 4 * length, 1, random);
            const std::vector<T> line(p[0].values.begin(), p[0].values.end());
            const auto all = blurred<T, 4>(line, radius), one = blurred<T, 1>(line, radius);
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(channelOf(all, c), tentLine(channelOf(line, c), radius, kFloat))
                    << "seed " << kSeed << " length " << length << " radius " << radius;
            ASSERT_EQ(channelOf(one, 0), channelOf(all, 0));
            ASSERT_EQ(channelOf(one, 3), std::vector<double>(length, 77)) << "not its channel";
        }
}

// Bright half with values of every magnitude from 2^-45 to 1, whose sums don't fit into a double,
// and a dark half about 2^-40, where what the bright one left in the sums isn't hidden by the
// narrowing to float.
TEST(TentLine, DriftOnALongFloatLineIsWithinItsBound) {
    constexpr int kLength = 16000;
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<double> mantissa(0.5, 1.0), exponent(-45.0, 0.0);
    std::vector<float> line(kLength * 4);
    for (std::size_t i = 0; i < line.size(); ++i) {
        const double magnitude = i < line.size() / 2 ? std::exp2(exponent(random)) : 0x1p-40;
        line[i] = float(mantissa(random) * magnitude * (random() % 2 ? 1 : -1));
    }
    const auto p = channelOf(line, 0);
    for (int radius : {1, 2, 9, 99, 999}) {
        const auto out = channelOf(blurred(line, radius), 0);
        const double n = radius + 1, length = kLength;
        // Roundings with |p| <= 1 and u = 2^-53, first order. The start: S by n sums of at most
        // n^2, u n (n + n^2); D by n sums of at most 2 n, u n (2 + 2 n). A step adds to D's error u
        // 7 for its three pixels and u 2 n for the sum, as |D| <= 2 n; S takes D's error and u n^2.
        // After L steps, over n^2, with u 2 for the scale and the product:
        //   u (2 + n + 1 + L (2 + 2 / n) + L^2 (7 + 2 n) / (2 n^2) + L)
        // Then half a unit of a float.
        const double bound = std::ldexp(
            3 + n + length * (3 + 2 / n) + length * length * (7 + 2 * n) / (2 * n * n), -53);
        double worst = 0;  // of the dark half
        for (int i = 0; i < kLength; ++i) {
            long double sum = 0;
            for (int d = -radius; d <= radius; ++d)
                sum += (n - std::abs(d)) * (long double)(p[std::clamp(i + d, 0, kLength - 1)]);
            const auto exact = double(sum / (n * n));
            const double error = std::fabs(out[i] - exact);
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

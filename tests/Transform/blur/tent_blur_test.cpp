// The tent blur of one line and of an image: closed forms, direct sums, drift.
#include <gtest/gtest.h>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/BlurFilter.h"
#include "tests/Transform/blur/blur_reference.h"

namespace {

using namespace blur_reference;

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

TEST(TentLine, AnImpulseBecomesTheKernel) {
    constexpr int kLength = 41, kMiddle = 20;
    for (int radius = 1; radius <= 18; ++radius) {
        std::vector<float> line(kLength * 4);
        line[kMiddle * 4 + 2] = 1.0f;
        const auto out = channelOf(blurred(line, radius), 2);
        const double n = radius + 1;
        for (int i = 0; i < kLength; ++i) {
            const double weight = std::max(n - std::abs(i - kMiddle), 0.0) / (n * n);
            EXPECT_FLOAT_EQ(float(out[i]), float(weight)) << radius << " at " << i;
            EXPECT_EQ(out[i], out[kLength - 1 - i]) << radius << " at " << i;
        }
    }
}

TEST(TentLine, AConstantStaysAndAWholeTypeLosesOneAtMost) {
    for (int radius = 1; radius <= 40; ++radius) {
        // The scale is off by half a unit of its 53rd bit at most, which a float doesn't see.
        const std::vector<float> real(400, 0.3f);
        EXPECT_EQ(blurred(real, radius), real) << radius;
        for (int v : {1, 100, 255}) {
            const std::vector<unsigned char> whole(400, static_cast<unsigned char>(v));
            const auto out = blurred(whole, radius);
            EXPECT_EQ(out, std::vector<unsigned char>(400, out[0])) << radius;
            EXPECT_TRUE(out[0] == v || out[0] == v - 1) << radius << " gives " << int(out[0]);
        }
    }
}

template <class T>
class TentLineOf : public testing::Test {};
using ChannelTypes = testing::Types<unsigned char, unsigned short, float>;
TYPED_TEST_SUITE(TentLineOf, ChannelTypes);

TYPED_TEST(TentLineOf, RunningSumsGiveTheDirectSum) {
    using T = TypeParam;
    constexpr bool kFloat = std::is_same_v<T, float>;
    constexpr unsigned kSeed = 81;
    std::mt19937 random(kSeed);
    const FormatFacts format{{}, 0, sizeof(T) == 1 ? 255 : kFloat ? 1 : 65535, kFloat};
    for (int length = 1; length <= 40; ++length)
        for (int radius = 0; radius <= 25; ++radius) {
            const Picture p = randomPicture(format, length, 1, random);
            std::vector<T> line;
            for (double v : p.values) line.push_back(static_cast<T>(v));
            const auto all = blurred<T, 4>(line, radius), one = blurred<T, 1>(line, radius);
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(channelOf(all, c), tentLine(channelOf(line, c), radius, kFloat))
                    << "seed " << kSeed << " length " << length << " radius " << radius;
            ASSERT_EQ(channelOf(one, 0), channelOf(all, 0)) << "seed " << kSeed;
            ASSERT_EQ(channelOf(one, 3), std::vector<double>(length, 77)) << "not its channel";
        }
}

// Bright half with values of every magnitude from 2^-45 to 1, whose sums don't fit into a double,
// and a dark half about 2^-40, where what the bright one left in the sums isn't hidden by the
// narrowing to float.
TEST(TentLine, DriftOnALongFloatLineIsWithinItsBound) {
    constexpr unsigned kSeed = 82;
    constexpr int kLength = 16000;
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<double> mantissa(0.5, 1.0), exponent(-45.0, 0.0);
    std::vector<float> line(kLength * 4);
    for (std::size_t i = 0; i < line.size(); ++i) {
        const double magnitude = i < line.size() / 2 ? std::exp2(exponent(random)) : 0x1p-40;
        line[i] = float(mantissa(random) * magnitude * (random() % 2 ? 1 : -1));
    }
    for (int radius : {1, 2, 9, 99, 999}) {
        const auto out = channelOf(blurred(line, radius), 0);
        const auto p = channelOf(line, 0);
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
        std::printf("radius %d: drift %.2g, bound %.2g\n", radius, worst, bound);
    }
}

// ---- Images

template <class P>
struct Of {
    static constexpr auto blur = &BlurFilter_RGBA<P, typename P::Channel, typename P::Wide,
                                                  typename P::Weight, typename P::FORMAT>;
    static constexpr auto pass = &TentBlurPass_RGBA<P, typename P::Channel, typename P::Wide,
                                                    typename P::Weight, typename P::FORMAT>;
};

TEST(TentBlurPass, RampsBendAndTheInverseSquareStaysWithinTheLine) {
    constexpr unsigned kSeed = 83;
    std::mt19937 random(kSeed);
    constexpr auto format = facts<PIXEL_BGRA8>();
    for (int height : {1, 2, 30})
        for (int kind : {0, 3, 4, -10, -11})
            for (bool vertical : {false, true}) {
                Picture p = randomPicture(format, 33, height, random);
                Raster from(format.code, 33, height, 4), to(format.code, 33, height);
                write(p, from);
                auto source = from.info(), dest = to.info();
                Of<PIXEL_BGRA8>::pass(nullptr, source, dest, 9, vertical, true, kind);
                tentPass(p, kAll, 9, vertical, true, kind);
                EXPECT_EQ(read(to, false).values, p.values)
                    << "seed " << kSeed << " height " << height << " kind " << kind << vertical;
            }
}

TEST(BlurFilter, RadiusOneIsTheWholeRadiusAndNothingBlursByNothing) {
    constexpr unsigned kSeed = 85;
    std::mt19937 random(kSeed);
    constexpr auto format = facts<PIXEL_RGBA32>();
    const Picture before = randomPicture(format, 25, 12, random);
    Raster raster(format.code, 25, 12);
    PluginHost_Memory_Impl host({}, raster.info());
    auto info = raster.info();
    const auto after = [&](double radius) {
        write(before, raster);
        EXPECT_EQ(Of<PIXEL_RGBA32>::blur(&host, info, radius, 1.0, false, -1, false), 0);
        return read(raster, true).values;
    };
    Picture one = before;
    wholeBlur(one, kAll, 1, 1, false, -1);
    EXPECT_EQ(after(1.0), one.values);
    EXPECT_EQ(after(1.9999999), one.values) << "a fraction within 1e-5 of the next whole radius";
    for (double radius : {0.0, 1e-6, -1e-5, -3.0, double(NAN), double(INFINITY)})
        EXPECT_EQ(after(radius), before.values) << radius;
}

}  // namespace

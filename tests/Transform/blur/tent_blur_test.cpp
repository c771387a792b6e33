// The parts of the blurs by themselves: a pass with its ramps, the smoothing of the pyramid's levels.
#include <gtest/gtest.h>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurPass.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurPyramid.h"
#include "tests/Transform/blur/blur_reference.h"

namespace {

using namespace blur_reference;

constexpr unsigned kSeed = 81;

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

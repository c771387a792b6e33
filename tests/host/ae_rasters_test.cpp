// Images of the After Effects binding: what is made for each depth on each host, how it is
// described, and that all of it goes back whatever the host refuses.
#include "tests/host/ae_host.h"

using namespace zelk_test;
using zelk::Depth;
using PixelType = PluginRaster_API::PixelType;
using RasterInfo = PluginHost_API::RasterInfo;

TEST(AERasters, AllocGivesAnImageOfEachDepthThatTheHostHas) {
    for (zelk::HostIdentity identity : {kModernAE, kOlderAE, kModernPremiere})
        for (int type = 0; type <= 4; ++type) {
            ProbeHost host(identity);
            for (char const* dispose : {"dispose_world", "PF World Suite 2/PF_DisposeWorld"})
                host->monitor().inject({dispose, 0, 72, true});
            inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
                int error = -1;
                std::unique_ptr<PluginRaster_API> raster(
                    ae.allocRaster(7, 3, static_cast<PixelType>(type), error, 0));
                EXPECT_EQ(error, 0);
                // An older host makes 8 bits of everything that isn't 15.
                const int expected = identity.isModern() || type == 1 ? type : 0;
                ASSERT_EQ(raster == nullptr, expected == 2 || expected == 3) << type;
                if (!raster) return;
                EXPECT_EQ(raster->getPixelType(), expected) << type;
                // The host's code, without a query that might be refused; then nothing is left.
                host->monitor().inject({"PF World Suite 2/PF_GetPixelFormat", 0, 9});
                EXPECT_EQ(ae.deallocRaster(raster.get()), 72);
                EXPECT_EQ(ae.deallocRaster(raster.get()) + ae.queryError(), 0);
            });
        }
}

// Layouts are what whole frames of the module show.
TEST(AERasters, InfoTellsAspectAndRangeAndWhereTheAddressComesFrom) {
    for (zelk::HostIdentity identity : {kModernAE, kOlderAE, kModernPremiere})
        for (Depth depth : {Depth::k8, Depth::k16, Depth::kFloat}) {
            if (depth == Depth::kFloat && !identity.isModern()) continue;
            ProbeHost host(identity);
            inRender(host, depth, [&](PluginHost_AE_Impl& ae) {
                ae.in_data->pixel_aspect_ratio = {10, 11};
                RasterInfo infos[3] = {};
                std::unique_ptr<PluginRaster_API> input(ae.getInputRaster(0));
                ae.getInputRasterInfo(0, &infos[0]);
                ae.getOutputRasterInfo(&infos[1]);
                ae.getRasterInfo(input.get(), &infos[2]);
                for (RasterInfo const& info : infos) {
                    const float range = &info == &infos[2] ? 0.5f : 2;
                    EXPECT_EQ(info.rangeScale, depth == Depth::k16 ? range : 1);
                    EXPECT_EQ(info.pixelAspect, static_cast<float>(10.0 / 11.0));
                }
                // Premiere's pixels come straight from the image, others' through the callbacks.
                EXPECT_EQ(host->monitor().count("get_pixel_data8") > 0,
                          identity.applId != kAppPremierePro);
            });
        }
}

TEST(AERasters, AReplacedOutputTellsItsSizeAndOrigin) {
    for (zelk::HostIdentity identity : {kModernAE, kModernPremiere}) {
        ProbeHost host(identity);
        inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
            PF_EffectWorld world{};
            world.width = 11;
            world.height = 12;
            world.origin_x = -3;
            world.origin_y = 4;
            world.extent_hint = {1, 2, 3, 4};
            PluginRaster_AE_Impl raster(&world, &ae);
            ae.setOutputRaster(&raster);
            EXPECT_EQ(ae.setOutputSize(100, -1), 0);
            const bool tells = identity.applId == kAppAfterEffects;
            EXPECT_EQ((std::vector<int>{raster.getExtentTop(), raster.getExtentLeft(),
                                        raster.getExtentBottom(), raster.getExtentRight(),
                                        ae.getOutputWidth(), ae.getOutputHeight(),
                                        ae.getOutputOriginX(), ae.getOutputOriginY()}),
                      (std::vector<int>{1, 2, 3, 4, 100, 12, tells ? -3 : 0, tells ? 4 : 0}));
            ae.in_data->downsample_x = {1, 0};  // what no integer holds saturates
            int width = 0, height = 0;
            ae.getSourceLayerDimensions(width, height);
            EXPECT_EQ(width, INT32_MAX);
        });
    }
}

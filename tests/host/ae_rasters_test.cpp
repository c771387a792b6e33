// Images of the After Effects binding: what is made for each depth on each host, how it is
// described, and that all of it goes back whatever the host refuses.
#include "tests/host/ae_host.h"

using namespace zelk_test;
using zelk::Depth;
using PixelType = PluginRaster_API::PixelType;
using RasterInfo = PluginHost_API::RasterInfo;

namespace {

unsigned char* pixelOf(RasterInfo const& info, int x, int y) {
    return static_cast<unsigned char*>(info.data) + y * info.rowBytes + x * info.pixelBytes;
}

bool isClear(RasterInfo const& info) {
    for (int y = 0; y < info.height; ++y)
        for (int i = 0; i < info.width * info.pixelBytes; ++i)
            if (pixelOf(info, 0, y)[i]) return false;
    return true;
}

}  // namespace

TEST(AERasters, AllocGivesAClearedImageOfEachDepthThatTheHostHas) {
    for (zelk::HostIdentity identity : {kModernAE, kOlderAE, kModernPremiere}) {
        zelk::HostOptions options = optionsOf(identity);
        options.dirtyNewWorlds = true;
        options.rowPaddingBytes = 12;
        ProbeHost host(options);
        for (int type = 0; type <= 4; ++type)
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
                EXPECT_EQ(raster->getWidth() * 10 + raster->getHeight(), 73);
                RasterInfo info{};
                ae.getRasterInfo(raster.get(), &info);
                EXPECT_EQ(convertToPixelType(info.format), expected);
                EXPECT_GT(info.rowBytes, 7 * info.pixelBytes);
                EXPECT_TRUE(isClear(info));
                EXPECT_EQ(ae.deallocRaster(raster.get()), 0);
                EXPECT_EQ(ae.deallocRaster(raster.get()), 0);  // nothing is left to free
            });
    }
}

TEST(AERasters, RefusalsGiveTheHostsCodeAndLeaveNothing) {
    for (bool isFloat : {false, true}) {
        ProbeHost host(kModernAE);
        host->monitor().inject({isFloat ? "PF World Suite 2/PF_NewWorld" : "new_world", 1, 71});
        host->monitor().inject(
            {isFloat ? "PF World Suite 2/PF_DisposeWorld" : "dispose_world", 1, 72, true});
        inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
            const auto type =
                isFloat ? PluginRaster_API::kPixelTypeFloat : PluginRaster_API::kPixelType15;
            int error = 0;
            EXPECT_EQ(ae.allocRaster(4, 4, type, error, 0), nullptr);
            EXPECT_EQ(error, 71);
            std::unique_ptr<PluginRaster_API> raster(ae.allocRaster(4, 4, type, error, 0));
            EXPECT_EQ(error, 0);
            EXPECT_EQ(ae.deallocRaster(raster.get()), 72);
        });
    }
}

TEST(AERasters, AllocFromARecordServes8BitsOnly) {
    ProbeHost host(kModernAE);
    inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
        for (int code = 0; code <= 22; ++code) {
            auto info = std::make_unique<RasterInfo>();
            info->format = static_cast<QV_RasterFormat>(code);
            info->width = 6;
            info->height = 2;
            const bool served =
                code > 20 || code <= 2 || code == 12 || code == 15 || code == 16 || code == 19;
            if (served) info->data = ae.allocMemory(10);
            PluginRaster_API* raster = ae.allocRaster(info.get());
            ASSERT_EQ(raster != nullptr, served) << code;
            if (!served) continue;
            info.release();  // the record went with its memory
            EXPECT_EQ(raster->getWidth(), 6);
            ae.unlockTemporalRaster(raster);
        }
        EXPECT_EQ(host->monitor().outstanding.handles, 0);
    });
}

TEST(AERasters, InfoTellsLayoutAddressAndRange) {
    struct Case {
        zelk::HostIdentity identity;
        Depth depth;
        QV_RasterFormat format;
        int pixelBytes;
        float asLayer, asRaster;
    };
    constexpr Case kCases[] = {{kModernAE, Depth::k8, kFormatARGB8, 4, 1, 1},
                               {kModernAE, Depth::k16, kFormatARGB15, 8, 2, 0.5f},
                               {kModernAE, Depth::kFloat, kFormatARGB32, 16, 1, 1},
                               {kOlderAE, Depth::k8, kFormatARGB8, 4, 1, 1},
                               {kOlderAE, Depth::k16, kFormatARGB15, 8, 2, 0.5f},
                               {kModernPremiere, Depth::k8, kFormatBGRA8, 4, 1, 1},
                               {kModernPremiere, Depth::k16, kFormatARGB15, 8, 2, 0.5f},
                               {kModernPremiere, Depth::kFloat, kFormatARGB32, 16, 1, 1}};
    for (Case const& c : kCases) {
        SCOPED_TRACE(c.format);
        ProbeHost host(c.identity);
        inRender(host, c.depth, [&](PluginHost_AE_Impl& ae) {
            ae.in_data->pixel_aspect_ratio = {10, 11};
            RasterInfo info{};
            auto const check = [&](PF_EffectWorld const* world, float range) {
                EXPECT_EQ(info.format, c.format);
                EXPECT_EQ(info.pixelBytes, c.pixelBytes);
                EXPECT_EQ(info.data, world->data);
                EXPECT_EQ(info.width * 10 + info.height, 54);
                EXPECT_EQ(info.rowBytes, world->rowbytes);
                EXPECT_EQ(info.pixelAspect, static_cast<float>(10.0 / 11.0));
                EXPECT_EQ(info.rangeScale, range);
                EXPECT_EQ(info.reserved, 0);
            };
            ae.getInputRasterInfo(0, &info);
            check(&ae.params[0]->u.ld, c.asLayer);
            ae.getOutputRasterInfo(&info);
            check(ae.output, c.asLayer);
            std::unique_ptr<PluginRaster_API> input(ae.getInputRaster(0));
            ae.getRasterInfo(input.get(), &info);
            check(&ae.params[0]->u.ld, c.asRaster);
            EXPECT_EQ(input->getPixelType(), convertToPixelType(c.format));
            // Premiere's pixels come straight from the image, others' through the callbacks.
            EXPECT_EQ(host->monitor().count("get_pixel_data8") > 0,
                      c.identity.applId != kAppPremierePro);
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
        });
    }
}

// Whole images: blending, copies of a layer at a time, interleaved fields, channel orders.
#include <gtest/gtest.h>

#include "host/PluginHost_AE_Impl.h"
#include "host/PluginRaster_AE_Impl.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;
using zelk::Depth;
using RasterInfo = PluginHost_API::RasterInfo;

namespace {

ProbeHost layerHost(zelk::HostIdentity identity) {
    ProbeHost host(identity);
    host.paramsSetup([](ProbeCall const&) -> PF_Err { return 0; });
    return host;
}

zelk::CommandResult inRender(ProbeHost& host, Depth depth,
                             std::function<void(PluginHost_AE_Impl&)> const& body) {
    return host.renderAt(depth, [&](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae(call.in_data, call.out_data, call.params, call.output);
        body(ae);
        return 0;
    });
}

std::vector<unsigned char> pixelsOf(PF_EffectWorld const& world, int pixelBytes) {
    std::vector<unsigned char> bytes;
    for (int y = 0; y < world.height; ++y) {
        auto const* row = static_cast<unsigned char const*>(world.data) + y * world.rowbytes;
        bytes.insert(bytes.end(), row, row + world.width * pixelBytes);
    }
    return bytes;
}

/// What transfer_rect was given; its own work is the host's.
struct Transfer {
    PF_CompositeMode mode{};
    PF_Rect rect{};
    A_long quality = -1, flags = -1, field = -1;
    std::vector<unsigned char> source, destination;
    int pixelBytes = 0;
    PF_Err answer = 0;
};
Transfer* theTransfer = nullptr;

PF_Err noteTransfer(PF_ProgPtr, A_long quality, A_long flags, A_long field, PF_Rect const* rect,
                    PF_EffectWorld const* source, PF_CompositeMode const* mode,
                    PF_MaskWorld const* mask, A_long x, A_long y, PF_EffectWorld* destination) {
    EXPECT_EQ(mask, nullptr);
    EXPECT_EQ(x | y, 0);
    Transfer& t = *theTransfer;
    t.mode = *mode;
    t.rect = *rect;
    t.quality = quality;
    t.flags = flags;
    t.field = field;
    t.source = pixelsOf(*source, t.pixelBytes);
    t.destination = pixelsOf(*destination, t.pixelBytes);
    return t.answer;
}

/// `bytes` with every alpha faded, one channel at a time.
std::vector<unsigned char> faded(std::vector<unsigned char> bytes, Depth depth, bool isBgra,
                                 double opacity) {
    const int scale = static_cast<int>(255.0 * opacity);
    const std::size_t channelBytes = static_cast<std::size_t>(zelk::pixelBytes(depth)) / 4;
    for (std::size_t at = isBgra ? 3 * channelBytes : 0; at < bytes.size(); at += 4 * channelBytes)
        if (depth == Depth::k8) {
            bytes[at] = static_cast<unsigned char>(bytes[at] * scale / 256);
        } else if (depth == Depth::k16) {
            A_u_short a;
            std::memcpy(&a, &bytes[at], sizeof a);
            a = static_cast<A_u_short>(a * scale / 256);
            std::memcpy(&bytes[at], &a, sizeof a);
        } else {
            float a;
            std::memcpy(&a, &bytes[at], sizeof a);
            a = static_cast<float>(a * opacity);
            std::memcpy(&bytes[at], &a, sizeof a);
        }
    return bytes;
}

}  // namespace

TEST(AEBlend, LaysTheOldDestinationOverTheFadedSource) {
    for (zelk::HostIdentity identity : {kModernAE, kOlderAE, kModernPremiere})
        for (Depth depth : {Depth::k8, Depth::k16, Depth::kFloat})
            for (double fromOpacity : {1.0, 0.999, 0.4, 0.0}) {
                if (depth == Depth::kFloat && !identity.isModern()) continue;
                SCOPED_TRACE(testing::Message() << zelk::pixelBytes(depth) << " " << fromOpacity);
                ProbeHost host = layerHost(identity);
                auto const result = inRender(host, depth, [&](PluginHost_AE_Impl& ae) {
                    Transfer transfer;
                    transfer.pixelBytes = zelk::pixelBytes(depth);
                    theTransfer = &transfer;
                    PF_UtilCallbacks utils = *ae.in_data->utils;
                    utils.transfer_rect = noteTransfer;
                    ae.in_data->utils = &utils;
                    std::unique_ptr<PluginRaster_API> from(ae.getInputRaster(0)),
                        to(ae.getOutputRaster());
                    auto const fromPixels =
                        pixelsOf(*from->getAERaster()->world, transfer.pixelBytes);
                    auto const toPixels = pixelsOf(*ae.output, transfer.pixelBytes);
                    EXPECT_EQ(ae.blend(6, 0.5, fromOpacity, from.get(), to.get()), 0);
                    EXPECT_EQ(transfer.source, toPixels);
                    const bool isBgra = depth == Depth::k8 && identity.applId == kAppPremierePro;
                    EXPECT_EQ(transfer.destination,
                              fromOpacity == 1.0 ? fromPixels
                                                 : faded(fromPixels, depth, isBgra, fromOpacity));
                    EXPECT_EQ(transfer.mode.xfer, PF_Xfer_SCREEN);
                    EXPECT_EQ(transfer.mode.opacity, 127);
                    EXPECT_EQ(transfer.mode.rgb_only, 0);
                    // 127 / 255 of 32768 is 16319.8, to the nearest.
                    if (depth == Depth::k16) {
                        EXPECT_EQ(transfer.mode.opacitySu, 16320);
                    }
                    EXPECT_EQ(transfer.rect.right, 5);
                    EXPECT_EQ(transfer.rect.bottom, 4);
                    EXPECT_EQ(transfer.quality, PF_Quality_HI);
                    EXPECT_EQ(transfer.flags, 1);
                    // The source is untouched.
                    EXPECT_EQ(pixelsOf(*from->getAERaster()->world, transfer.pixelBytes),
                              fromPixels);
                });
                EXPECT_EQ(nothingOwed(result), "nothing");
            }
}

TEST(AEBlend, EveryRefusalGivesItsCodeAfterCleanUp) {
    struct Case {
        char const* call;
        int nth, code;
    };
    for (Case const& c : {Case{"new_world", 1, 21}, Case{"copy", 1, 22}, Case{"copy", 2, 23},
                          Case{"transfer", 1, 24}, Case{"none", 1, PF_Err_INVALID_CALLBACK}}) {
        ProbeHost host = layerHost(kModernAE);
        host->monitor().inject({c.call, c.nth, c.code});
        auto const result = inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
            Transfer transfer;
            transfer.pixelBytes = 4;
            transfer.answer = std::string(c.call) == "transfer" ? c.code : 0;
            theTransfer = &transfer;
            PF_UtilCallbacks utils = *ae.in_data->utils;
            utils.transfer_rect = std::string(c.call) == "none" ? nullptr : noteTransfer;
            ae.in_data->utils = &utils;
            std::unique_ptr<PluginRaster_API> from(ae.getInputRaster(0)), to(ae.getOutputRaster());
            EXPECT_EQ(ae.blend(2, 1, 0.5, from.get(), to.get()), c.code) << c.call;
        });
        EXPECT_EQ(nothingOwed(result), "nothing") << c.call;
    }
}

namespace {

/// Check-outs pass through here: the times asked for, and rows that tell them apart.
struct CheckOuts {
    std::vector<A_long> times, indices;
    PF_Err (*real)(PF_ProgPtr, A_long, A_long, A_long, A_u_long, PF_ParamDef*) = nullptr;
};
CheckOuts* theCheckOuts = nullptr;

PF_Err noteCheckOut(PF_ProgPtr effect, A_long index, A_long time, A_long step, A_u_long scale,
                    PF_ParamDef* def) {
    theCheckOuts->times.push_back(time);
    theCheckOuts->indices.push_back(index);
    const PF_Err err = theCheckOuts->real(effect, index, time, step, scale, def);
    if (!err && index == 0) std::memset(def->u.ld.data, static_cast<int>(time / 100), 8);
    return err;
}

}  // namespace

TEST(AETemporal, LocksAskForTheFramesTimeWithinTheLayer) {
    struct Case {
        double frame;
        PF_Field field;
        bool swapFields;
        std::vector<A_long> times;
        int firstRow;  // a hundredth of the time that row 0 comes from
    };
    const Case kCases[] = {{4, PF_Field_FRAME, false, {4000}, 40},
                           {2.5, PF_Field_FRAME, false, {2500}, 25},
                           {11, PF_Field_FRAME, false, {10000}, 100},
                           {-1, PF_Field_FRAME, false, {0}, 0},
                           {2, PF_Field_UPPER, false, {4000, 5000}, 40},
                           {2.9, PF_Field_LOWER, true, {4000, 5000}, 50}};
    for (Case const& c : kCases) {
        ProbeHost host = layerHost(kModernAE);
        auto const result = inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
            CheckOuts checkOuts;
            checkOuts.real = ae.in_data->inter.checkout_param;
            theCheckOuts = &checkOuts;
            ae.in_data->inter.checkout_param = noteCheckOut;
            ae.in_data->field = c.field;
            PluginRaster_API* raster = ae.lockTemporalRaster(c.frame, false, c.swapFields);
            ASSERT_NE(raster, nullptr);
            EXPECT_EQ(checkOuts.times, c.times);
            EXPECT_EQ(*static_cast<unsigned char*>(raster->getAERaster()->world->data), c.firstRow);
            EXPECT_EQ(ae.unlockTemporalRaster(raster), 0);

            checkOuts.times.clear();
            raster = ae.checkoutLayer(0, 77);  // the call's time, 3000
            EXPECT_EQ(ae.checkinLayer(raster), 0);
            raster = ae.checkoutLayer(0, 1234.9, 0);
            EXPECT_EQ(raster->getAERaster()->checkedOutIndex, 0);
            EXPECT_EQ(ae.checkinLayer(raster), 0);
            EXPECT_EQ(checkOuts.times, (std::vector<A_long>{3000, 1234}));
        });
        EXPECT_EQ(nothingOwed(result), "nothing");
    }
}

TEST(AETemporal, RefusalsGiveNullAndGiveBackWhatWasTaken) {
    for (char const* call : {"checkout_param", "new_world"})
        for (int nth : {1, 2}) {
            ProbeHost host = layerHost(kModernAE);
            host->monitor().inject({call, nth, 9});
            auto const result = inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
                ae.in_data->field = PF_Field_UPPER;
                EXPECT_EQ(ae.lockTemporalRaster(0, false, false), nullptr);
                EXPECT_EQ(ae.unlockTemporalRaster(nullptr), 0);
            });
            EXPECT_EQ(nothingOwed(result), "nothing") << call << nth;
        }
    ProbeHost host = layerHost(kModernAE);
    auto const noLayer = host.bare([](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae(call.in_data, call.out_data, nullptr, nullptr);
        EXPECT_EQ(ae.checkoutLayer(0, 0.0, 0), nullptr);  // without pixels
        return 0;
    });
    EXPECT_EQ(nothingOwed(noLayer), "nothing");
}

TEST(AETemporal, ACopyKeepsColoursWhenTheHostsLayoutsDiffer) {
    // On Premiere Pro, an argb layer is copied into the bgra image that the host makes.
    ProbeHost host = layerHost(kModernPremiere);
    inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
        static PF_WorldSuite2 real;
        static void* layerPixels;
        real = *ae.worldSuite;
        layerPixels = ae.params[0]->u.ld.data;
        const PF_WorldSuite2 saysArgb = {
            real.PF_NewWorld, real.PF_DisposeWorld,
            [](PF_EffectWorld const* world, PF_PixelFormat* format) -> PF_Err {
                const PF_Err err = real.PF_GetPixelFormat(world, format);
                if (world->data == layerPixels) *format = PF_PixelFormat_ARGB32;
                return err;
            }};
        PF_WorldSuite2 const* own = ae.worldSuite;
        ae.worldSuite = &saysArgb;
        PluginRaster_API* raster = ae.lockTemporalRasterImpl(0);
        auto const source = pixelsOf(ae.params[0]->u.ld, 4);
        auto const copied = pixelsOf(*raster->getAERaster()->world, 4);
        ASSERT_EQ(source.size(), copied.size());
        for (std::size_t i = 0; i < source.size(); ++i)
            ASSERT_EQ(copied[i], source[(i & ~std::size_t{3}) + 3 - i % 4]);
        ae.unlockTemporalRaster(raster);
        ae.worldSuite = own;
    });
}

TEST(AETemporal, MergeTakesRowsInTurnAsFarAsAllReach) {
    ProbeHost host = layerHost(kModernAE);
    inRender(host, Depth::k8, [](PluginHost_AE_Impl& ae) {
        int error = 0;
        auto const image = [&](int width, int height, int value) {
            PluginRaster_API* raster =
                ae.allocRaster(width, height, PluginRaster_API::kPixelType8, error, 0);
            PF_EffectWorld* world = raster->getAERaster()->world;
            std::memset(world->data, value, static_cast<std::size_t>(world->rowbytes * height));
            return raster;
        };
        PluginRaster_API* odd = image(3, 5, 1);
        PluginRaster_API* even = image(4, 3, 2);
        PluginRaster_API* to = image(5, 6, 9);
        EXPECT_EQ(mergeFrames(&ae, odd, even, to), 1);
        auto const bytes = pixelsOf(*to->getAERaster()->world, 4);
        for (std::size_t y = 0; y < 6; ++y)
            for (std::size_t x = 0; x < 20; ++x)
                EXPECT_EQ(bytes[y * 20 + x], y < 3 && x < 12 ? (y % 2 ? 1 : 2) : 9);
        for (PluginRaster_API* raster : {odd, even, to}) ae.unlockTemporalRaster(raster);
    });
}

TEST(AETemporal, ReversalTurnsChannelsRoundAtEveryDepth) {
    for (Depth depth : {Depth::k8, Depth::k16, Depth::kFloat}) {
        ProbeHost host = layerHost(kModernAE);
        inRender(host, depth, [&](PluginHost_AE_Impl& ae) {
            const int bytes = zelk::pixelBytes(depth);
            const std::size_t channel = static_cast<std::size_t>(bytes) / 4;
            auto const before = pixelsOf(*ae.output, bytes);
            std::unique_ptr<PluginRaster_API> out(ae.getOutputRaster());
            bgra_to_argb(&ae, out.get());
            auto const after = pixelsOf(*ae.output, bytes);
            for (std::size_t c = 0; c < before.size() / channel; ++c)
                ASSERT_EQ(0, std::memcmp(&after[c * channel],
                                         &before[((c & ~std::size_t{3}) + 3 - c % 4) * channel],
                                         channel));
        });
    }
}

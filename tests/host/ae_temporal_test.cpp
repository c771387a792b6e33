// Whole images: blending, copies of a layer at a time, interleaved fields.
#include <fmt/format.h>

#include <cmath>

#include "tests/host/ae_host.h"

using namespace zelk_test;
using zelk::Depth;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes pixelsOf(PF_EffectWorld const& world, int pixelBytes) {
    Bytes bytes;
    for (int y = 0; y < world.height; ++y) {
        auto const* row = static_cast<unsigned char const*>(world.data) + y * world.rowbytes;
        bytes.insert(bytes.end(), row, row + world.width * pixelBytes);
    }
    return bytes;
}

/// What transfer_rect was given; its own work is the host's.
struct Transfer {
    int pixelBytes = 0;
    Bytes source{}, destination{};
    std::string numbers{};
};
Transfer transfer;

PF_Err noteTransfer(PF_ProgPtr, A_long quality, A_long flags, A_long field, PF_Rect const* rect,
                    PF_EffectWorld const* source, PF_CompositeMode const* mode,
                    PF_MaskWorld const* mask, A_long x, A_long y, PF_EffectWorld* destination) {
    EXPECT_FALSE(mask);
    transfer.source = pixelsOf(*source, transfer.pixelBytes);
    transfer.destination = pixelsOf(*destination, transfer.pixelBytes);
    transfer.numbers = fmt::format("{} {} {}, {} {} {} {}, {} {} {} {}", quality, flags, field,
                                   int(mode->xfer), mode->opacity, mode->opacitySu, mode->rgb_only,
                                   rect->right, rect->bottom, x, y);
    return PF_Err_NONE;
}

template <class Channel>
void fadeAlphas(Bytes& bytes, std::size_t alpha, double opacity) {
    for (std::size_t at = alpha * sizeof(Channel); at < bytes.size(); at += 4 * sizeof(Channel)) {
        Channel a;
        std::memcpy(&a, &bytes[at], sizeof a);
        if constexpr (std::is_same_v<Channel, float>)
            a = static_cast<float>(a * opacity);
        else
            a = static_cast<Channel>(a * static_cast<int>(255.0 * opacity) / 256);
        std::memcpy(&bytes[at], &a, sizeof a);
    }
}

void expectBlend(zelk::HostIdentity identity, Depth depth, double fromOpacity, double opacity,
                 std::string const& opacities) {
    SCOPED_TRACE(testing::Message() << zelk::pixelBytes(depth) << " " << fromOpacity);
    ProbeHost host(identity);
    inRender(host, depth, [&](PluginHost_AE_Impl& ae) {
        transfer = {zelk::pixelBytes(depth)};
        Bytes const from = pixelsOf(ae.params[0]->u.ld, transfer.pixelBytes);
        Bytes const to = pixelsOf(*ae.output, transfer.pixelBytes);
        PF_UtilCallbacks utils = *ae.in_data->utils;
        utils.transfer_rect = noteTransfer;
        auto* const own = std::exchange(ae.in_data->utils, &utils);
        ae.in_data->field = PF_Field_LOWER;
        std::unique_ptr<PluginRaster_API> input(ae.getInputRaster(0)), output(ae.getOutputRaster());
        EXPECT_EQ(ae.blend(6, opacity, fromOpacity, input.get(), output.get()), 0);
        EXPECT_EQ(transfer.source, to);
        EXPECT_EQ(pixelsOf(ae.params[0]->u.ld, transfer.pixelBytes), from) << "untouched";
        Bytes faded = from;
        const double fade = fromOpacity > 0 ? std::min(fromOpacity, 1.0) : 0;  // 0 for no number
        const std::size_t alpha = identity.applId == kAppPremierePro ? 3 : 0;
        if (fade != 1 && depth == Depth::k8) fadeAlphas<A_u_char>(faded, alpha, fade);
        if (fade != 1 && depth == Depth::k16) fadeAlphas<A_u_short>(faded, 0, fade);
        if (depth == Depth::kFloat) fadeAlphas<float>(faded, 0, fade);
        EXPECT_EQ(transfer.destination, faded);
        EXPECT_EQ(transfer.numbers, "1 1 2, 6 " + opacities + " 0, 5 4 0 0");
        utils.transfer_rect = nullptr;
        EXPECT_EQ(ae.blend(6, 1, 1, input.get(), output.get()), PF_Err_INVALID_CALLBACK);
        ae.in_data->utils = own;
    });
}

}  // namespace

TEST(AEBlend, LaysTheOldDestinationOverTheFadedSource) {
    for (zelk::HostIdentity identity : {kModernAE, kOlderAE, kModernPremiere})
        for (Depth depth : {Depth::k8, Depth::k16, Depth::kFloat}) {
            if (depth == Depth::kFloat && !identity.isModern()) continue;
            const bool isDeep = depth == Depth::k16;
            // 127 / 255 of 32768 is 16319.8, to the nearest.
            for (double fromOpacity : {1.0, 0.999, 0.4, 0.0, 1e99, -1.0, std::nan("")})
                expectBlend(identity, depth, fromOpacity, 0.5, isDeep ? "127 16320" : "127 0");
            expectBlend(identity, depth, 1, 1e99, isDeep ? "255 32768" : "255 0");
            expectBlend(identity, depth, 1, std::nan(""), "0 0");
        }
}

namespace {

/// Check-outs pass through here: the times asked for, and rows that tell them apart.
std::vector<A_long> checkOutTimes;
decltype(PF_InteractCallbacks::checkout_param) realCheckOut = nullptr;

PF_Err noteCheckOut(PF_ProgPtr effect, A_long index, A_long time, A_long step, A_u_long scale,
                    PF_ParamDef* def) {
    checkOutTimes.push_back(time);
    const PF_Err err = realCheckOut(effect, index, time, step, scale, def);
    if (!err) std::memset(def->u.ld.data, static_cast<int>(time / 100), 8);
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
    for (Case const& c : {Case{4, PF_Field_FRAME, false, {4000}, 40},
                          {2.5, PF_Field_FRAME, false, {2500}, 25},
                          {11, PF_Field_FRAME, false, {10000}, 100},
                          {-1, PF_Field_FRAME, false, {0}, 0},
                          {2, PF_Field_UPPER, false, {4000, 5000}, 40},
                          {2.9, PF_Field_LOWER, true, {4000, 5000}, 50}}) {
        ProbeHost host(kModernAE);
        inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
            realCheckOut = std::exchange(ae.in_data->inter.checkout_param, noteCheckOut);
            checkOutTimes.clear();
            ae.in_data->field = c.field;
            PluginRaster_API* raster = ae.lockTemporalRaster(c.frame, false, c.swapFields);
            ASSERT_NE(raster, nullptr);
            EXPECT_EQ(*static_cast<unsigned char*>(raster->getAERaster()->world->data), c.firstRow);
            EXPECT_EQ(ae.unlockTemporalRaster(raster), 0);
            EXPECT_EQ(ae.checkinLayer(ae.checkoutLayer(0, 77)), 0);  // the call's time, 3000
            EXPECT_EQ(ae.checkinLayer(ae.checkoutLayer(0, 1234.9, 0)), 0);
            auto times = c.times;
            times.insert(times.end(), {3000, 1234});
            EXPECT_EQ(checkOutTimes, times);
        });
    }
}

TEST(AETemporal, MergeTakesRowsInTurnAsFarAsAllReach) {
    ProbeHost host(kModernAE);
    inRender(host, Depth::k8, [](PluginHost_AE_Impl& ae) {
        PluginRaster_API* rasters[3];
        int error = 0, value = 0;
        for (PluginRaster_API*& raster : rasters) {  // odd, even, destination: 3x5, 4x3, 5x6
            raster = ae.allocRaster(3 + value, value == 1 ? 3 : 5 + value / 2,
                                    PluginRaster_API::kPixelType8, error, 0);
            PF_EffectWorld* world = raster->getAERaster()->world;
            std::memset(world->data, ++value, std::size_t(world->rowbytes * world->height));
        }
        EXPECT_EQ(mergeFrames(&ae, rasters[0], rasters[1], rasters[2]), 1);
        Bytes const bytes = pixelsOf(*rasters[2]->getAERaster()->world, 4);
        for (std::size_t i = 0; i < 120; ++i)
            EXPECT_EQ(bytes[i], i < 60 && i % 20 < 12 ? 2 - i / 20 % 2 : 3) << i;
        for (PluginRaster_API* raster : rasters) ae.unlockTemporalRaster(raster);
    });
}

// Whole images: blending, copies of a layer at a time, interleaved fields, channel orders.
#include "tests/host/ae_host.h"

using namespace zelk_test;
using zelk::Depth;

namespace {

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
    int pixelBytes = 0;
    std::vector<unsigned char> source{}, destination{};
    std::vector<int> numbers{};  ///< of mode, rectangle and quality
    A_u_short deepOpacity = 0;
};
Transfer transfer;

PF_Err noteTransfer(PF_ProgPtr, A_long quality, A_long flags, A_long, PF_Rect const* rect,
                    PF_EffectWorld const* source, PF_CompositeMode const* mode,
                    PF_MaskWorld const* mask, A_long x, A_long y, PF_EffectWorld* destination) {
    EXPECT_TRUE(!mask && x == 0 && y == 0);
    transfer.source = pixelsOf(*source, transfer.pixelBytes);
    transfer.destination = pixelsOf(*destination, transfer.pixelBytes);
    transfer.numbers = {mode->xfer,   mode->opacity, mode->rgb_only, rect->right,
                        rect->bottom, quality,       flags};
    transfer.deepOpacity = mode->opacitySu;
    return PF_Err_NONE;
}

/// A blend of the input over the output with transfer_rect as given.
PF_Err blendInputOver(PluginHost_AE_Impl& ae, decltype(&noteTransfer) transferRect,
                      double fromOpacity) {
    PF_UtilCallbacks utils = *ae.in_data->utils;
    utils.transfer_rect = transferRect;
    auto* const own = std::exchange(ae.in_data->utils, &utils);
    std::unique_ptr<PluginRaster_API> from(ae.getInputRaster(0)), to(ae.getOutputRaster());
    const PF_Err err = ae.blend(6, 0.5, fromOpacity, from.get(), to.get());
    ae.in_data->utils = own;
    return err;
}

template <class Channel>
void fadeAlphas(std::vector<unsigned char>& bytes, std::size_t alpha, double opacity) {
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

}  // namespace

TEST(AEBlend, LaysTheOldDestinationOverTheFadedSource) {
    for (zelk::HostIdentity identity : {kModernAE, kOlderAE, kModernPremiere})
        for (Depth depth : {Depth::k8, Depth::k16, Depth::kFloat})
            for (double fromOpacity : {1.0, 0.999, 0.4, 0.0}) {
                if (depth == Depth::kFloat && !identity.isModern()) continue;
                SCOPED_TRACE(testing::Message() << zelk::pixelBytes(depth) << " " << fromOpacity);
                ProbeHost host(identity);
                inRender(host, depth, [&](PluginHost_AE_Impl& ae) {
                    const int bytes = zelk::pixelBytes(depth);
                    transfer = {bytes};
                    auto const from = pixelsOf(ae.params[0]->u.ld, bytes);
                    auto const to = pixelsOf(*ae.output, bytes);
                    EXPECT_EQ(blendInputOver(ae, noteTransfer, fromOpacity), 0);
                    EXPECT_EQ(transfer.source, to);
                    EXPECT_EQ(pixelsOf(ae.params[0]->u.ld, bytes), from) << "untouched";
                    auto faded = from;
                    const std::size_t alpha = identity.applId == kAppPremierePro ? 3 : 0;
                    if (fromOpacity != 1.0 && depth == Depth::k8)
                        fadeAlphas<A_u_char>(faded, alpha, fromOpacity);
                    if (fromOpacity != 1.0 && depth == Depth::k16)
                        fadeAlphas<A_u_short>(faded, 0, fromOpacity);
                    if (depth == Depth::kFloat) fadeAlphas<float>(faded, 0, fromOpacity);
                    EXPECT_EQ(transfer.destination, faded);
                    EXPECT_EQ(transfer.numbers,
                              (std::vector<int>{PF_Xfer_SCREEN, 127, 0, 5, 4, PF_Quality_HI, 1}));
                    // 127 / 255 of 32768 is 16319.8, to the nearest.
                    EXPECT_TRUE(depth != Depth::k16 || transfer.deepOpacity == 16320);
                    EXPECT_EQ(blendInputOver(ae, nullptr, fromOpacity), PF_Err_INVALID_CALLBACK);
                });
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
    const Case kCases[] = {{4, PF_Field_FRAME, false, {4000}, 40},
                           {2.5, PF_Field_FRAME, false, {2500}, 25},
                           {11, PF_Field_FRAME, false, {10000}, 100},
                           {-1, PF_Field_FRAME, false, {0}, 0},
                           {2, PF_Field_UPPER, false, {4000, 5000}, 40},
                           {2.9, PF_Field_LOWER, true, {4000, 5000}, 50}};
    for (Case const& c : kCases) {
        ProbeHost host(kModernAE);
        inRender(host, Depth::k8, [&](PluginHost_AE_Impl& ae) {
            realCheckOut = ae.in_data->inter.checkout_param;
            checkOutTimes.clear();
            ae.in_data->inter.checkout_param = noteCheckOut;
            ae.in_data->field = c.field;
            PluginRaster_API* raster = ae.lockTemporalRaster(c.frame, false, c.swapFields);
            ASSERT_NE(raster, nullptr);
            EXPECT_EQ(checkOutTimes, c.times);
            EXPECT_EQ(*static_cast<unsigned char*>(raster->getAERaster()->world->data), c.firstRow);
            EXPECT_EQ(ae.unlockTemporalRaster(raster), 0);

            checkOutTimes.clear();
            EXPECT_EQ(ae.checkinLayer(ae.checkoutLayer(0, 77)), 0);  // the call's time, 3000
            EXPECT_EQ(ae.checkinLayer(ae.checkoutLayer(0, 1234.9, 0)), 0);
            EXPECT_EQ(checkOutTimes, (std::vector<A_long>{3000, 1234}));
        });
    }
}

TEST(AETemporal, MergeTakesRowsInTurnAsFarAsAllReach) {
    ProbeHost host(kModernAE);
    inRender(host, Depth::k8, [](PluginHost_AE_Impl& ae) {
        int error = 0;
        auto const image = [&](int width, int height, int value) {
            PluginRaster_API* raster =
                ae.allocRaster(width, height, PluginRaster_API::kPixelType8, error, 0);
            PF_EffectWorld* world = raster->getAERaster()->world;
            std::memset(world->data, value, static_cast<std::size_t>(world->rowbytes * height));
            return raster;
        };
        PluginRaster_API *odd = image(3, 5, 1), *even = image(4, 3, 2), *to = image(5, 6, 9);
        EXPECT_EQ(mergeFrames(&ae, odd, even, to), 1);
        auto const bytes = pixelsOf(*to->getAERaster()->world, 4);
        for (std::size_t y = 0; y < 6; ++y)
            for (std::size_t x = 0; x < 20; ++x)
                EXPECT_EQ(bytes[y * 20 + x], y < 3 && x < 12 ? (y % 2 ? 1 : 2) : 9);
        for (PluginRaster_API* raster : {odd, even, to}) ae.unlockTemporalRaster(raster);
    });
}

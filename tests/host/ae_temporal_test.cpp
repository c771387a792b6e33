// Whole images: blending, copies of a layer at a time, interleaved fields.
#include <fmt/format.h>

#include <cmath>

#include "tests/host/ae_host.h"

using namespace zelk_test;
using zelk::Depth;

namespace {

/// What transfer_rect was given, and the first alpha of what is laid under.
std::string transferred;

PF_Err noteTransfer(PF_ProgPtr, A_long quality, A_long flags, A_long field, PF_Rect const* rect,
                    PF_EffectWorld const*, PF_CompositeMode const* mode, PF_MaskWorld const* mask,
                    A_long x, A_long y, PF_EffectWorld* destination) {
    EXPECT_FALSE(mask);
    transferred =
        fmt::format("{} {} {}, {} {} {} {}, {} {} {} {}, {}", quality, flags, field,
                    int(mode->xfer), mode->opacity, mode->opacitySu, mode->rgb_only, rect->right,
                    rect->bottom, x, y, *static_cast<A_u_char const*>(destination->data));
    return PF_Err_NONE;
}

}  // namespace

// What is laid over what, and faded how, whole frames of the module tell.
TEST(AEBlend, HandsTheHostItsOwnWordsAndLimitsOpacities) {
    for (auto const& [opacity, limited] :
         {std::pair(0.5, 127), {1e99, 255}, {-1., 0}, {std::nan(""), 0}}) {
        ProbeHost host(kModernAE);
        inRender(host, Depth::k8, [&, opacity = opacity, limited = limited](auto& ae) {
            const int alpha = *static_cast<A_u_char const*>(ae.params[0]->u.ld.data);
            PF_UtilCallbacks utils = *ae.in_data->utils;
            utils.transfer_rect = noteTransfer;
            auto* const own = std::exchange(ae.in_data->utils, &utils);
            ae.in_data->field = PF_Field_LOWER;
            std::unique_ptr<PluginRaster_API> input(ae.getInputRaster(0)),
                output(ae.getOutputRaster());
            EXPECT_EQ(ae.blend(6, opacity, opacity, input.get(), output.get()), 0);
            const int under = limited == 255 ? alpha : alpha * limited / 256;
            EXPECT_EQ(transferred, fmt::format("1 1 2, 6 {} 0 0, 5 4 0 0, {}", limited, under));
            utils.transfer_rect = nullptr;
            EXPECT_EQ(ae.blend(6, 1, 1, input.get(), output.get()), PF_Err_INVALID_CALLBACK);
            ae.in_data->utils = own;
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
    if (!err) std::memset(def->u.ld.data, time / 100, 4 * std::size_t(def->u.ld.rowbytes));
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
            PF_EffectWorld const& world = *raster->getAERaster()->world;
            auto const* const pixels = static_cast<A_u_char const*>(world.data);
            EXPECT_EQ(pixels[0], c.firstRow);
            EXPECT_EQ(pixels[3 * world.rowbytes + 19],
                      c.times.size() > 1 ? 90 - c.firstRow : c.firstRow);
            EXPECT_EQ(ae.unlockTemporalRaster(raster), 0);
            EXPECT_EQ(ae.checkinLayer(ae.checkoutLayer(0, 77)), 0);  // the call's time, 3000
            EXPECT_EQ(ae.checkinLayer(ae.checkoutLayer(0, 1234.9, 0)), 0);
            auto times = c.times;
            times.insert(times.end(), {3000, 1234});
            EXPECT_EQ(checkOutTimes, times);
        });
    }
}

// What becomes of a layer whose picture is a part of it, in every kind of samples.
#include "bindings/common/pinned_frame.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "bindings/common/effect_controls.h"
#include "params/FixedPoint.h"

namespace zelk {
namespace {

struct Pixels {
    std::vector<unsigned char> bytes;
    HostPicture picture;

    Pixels(PixelRect const& at, SampleType samples, AlphaState alpha) {
        picture.at = at;
        picture.samples = samples;
        picture.alpha = alpha;
        picture.rowBytes = picture.pixelBytes() * at.width() + 12;
        bytes.resize(static_cast<std::size_t>(picture.rowBytes * at.height()));
        picture.topRow = bytes.data();
    }
    /// Alpha is below white, so that colour may be.
    void fill(unsigned seed) {
        std::mt19937 random(seed);
        for (std::size_t i = 0; i + 1 < bytes.size(); ++i)
            bytes[i] = static_cast<unsigned char>(random() % 200);
        if (picture.samples != SampleType::kFloat) return;
        auto* const values = reinterpret_cast<float*>(bytes.data());
        for (std::size_t i = 0; i < bytes.size() / 4; ++i)
            values[i] = static_cast<float>(random() % 1000) / 1000;
    }
};

struct Kind {
    SampleType samples;
    AlphaState alpha;
    bool hasPlate;
};

class PinnedFrames : public ::testing::TestWithParam<Kind> {};

/// The part goes in once as it is, and once in a picture of the whole layer with nothing around.
TEST_P(PinnedFrames, WhatThePictureDoesNotCoverIsTransparent) {
    Kind const kind = GetParam();
    PixelRect const layer = {-20, -10, 70, 50}, image = {-5, -4, 81, 43};
    EffectControls controls;
    for (PixelRect const& at : {PixelRect{-20, -10, 70, 50}, PixelRect{-3, 7, 40, 50},
                                PixelRect{-40, -30, 20, 60}, PixelRect{200, 0, 210, 9}}) {
        Pixels part(at, kind.samples, kind.alpha), whole(layer, kind.samples, kind.alpha);
        Pixels plate(image, kind.samples, kind.alpha);
        part.fill(1);
        plate.fill(2);
        PixelRect const both = intersection(at, layer);
        for (int y = both.top; y < both.bottom && !both.isEmpty(); ++y)
            std::copy_n(part.picture.pixel(both.left, y), both.width() * part.picture.pixelBytes(),
                        whole.picture.pixel(both.left, y));
        for (int const view : {0, 3}) {
            auto const render = [&](Pixels const& source) {
                Pixels output(image, kind.samples, kind.alpha);
                PinnedFrame frame;
                frame.source = source.picture;
                frame.output = output.picture;
                frame.layer = layer;
                frame.image = frame.frame = frame.window = image;
                if (kind.hasPlate) frame.plate = plate.picture;
                frame.valueOf = [&](int index, double) -> PluginHost_Memory_Impl::Value {
                    if (index == kParamViewMode) return {double(view)};
                    PF_ParamDef const& def = controls[index];
                    if (def.param_type == PF_Param_POPUP) return {double(def.u.pd.value - 1)};
                    if (def.param_type == PF_Param_FLOAT_SLIDER) return {def.u.fs_d.value};
                    if (def.param_type == PF_Param_FIX_SLIDER)
                        return {QVS::fixedToDouble(def.u.fd.value)};
                    if (def.param_type != PF_Param_POINT) return {};
                    double const x = QVS::fixedToDouble(def.u.td.x_value) / 100;
                    double const y = QVS::fixedToDouble(def.u.td.y_value) / 100;
                    return {layer.left + x * layer.width() * 0.9, layer.top + y * layer.height()};
                };
                EXPECT_EQ(renderPinned(frame), PinnedResult::kDone);
                return output.bytes;
            };
            auto const expected = render(whole);
            EXPECT_EQ(render(part), expected) << at.left << " view " << view;
            bool const isSeen = !both.isEmpty() || kind.hasPlate;
            EXPECT_EQ(expected != std::vector<unsigned char>(expected.size()), isSeen);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, PinnedFrames,
    ::testing::Values(Kind{SampleType::kByte, AlphaState::kStraight, false},
                      Kind{SampleType::kByte, AlphaState::kStraight, true},
                      Kind{SampleType::kByte, AlphaState::kPremultiplied, true},
                      Kind{SampleType::kShort, AlphaState::kPremultiplied, false},
                      Kind{SampleType::kFloat, AlphaState::kPremultiplied, false},
                      Kind{SampleType::kFloat, AlphaState::kStraight, true}));

}  // namespace
}  // namespace zelk

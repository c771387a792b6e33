// Frames for other hosts have the bits of the program's own renderer, in every depth, over rows
// that run upward with padding, and from pictures that are a part of the layer.
#include "bindings/common/pinned_frame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>

#include "Transform/Common/PopupEntries.h"
#include "bindings/common/effect_controls.h"
#include "params/ParamIndex.h"
#include "zelk/render/frame_renderer.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edits.h"

namespace zelk::bindings {
namespace {

using Value = PluginHost_Memory_Impl::Value;

/// A host's picture with padding around each row, which may run up or down.
class Picture {
public:
    Picture(PixelRect at, SampleType samples, ChannelSet channels, AlphaState alpha,
            int padding = 0, bool isUpward = false)
        : view{nullptr, 0, at, samples, channels, alpha} {
        auto const rowBytes = at.width() * view.pixelBytes() + padding;
        bytes.assign(static_cast<std::size_t>(rowBytes * at.height()), 0xA5);
        view.rowBytes = isUpward ? -rowBytes : rowBytes;
        view.topRow = bytes.data() + (isUpward ? rowBytes * (at.height() - 1) : 0);
    }
    /// Rows from the top, without padding.
    std::vector<unsigned char> pixels() const {
        std::vector<unsigned char> all;
        for (int y = 0; y < view.at.bottom; ++y)
            all.insert(all.end(), view.pixel(0, y),
                       view.pixel(view.at.right - 1, y) + view.pixelBytes());
        return all;
    }

    HostPicture view;
    std::vector<unsigned char> bytes;
};

void fill(Picture& picture, unsigned seed) {
    std::mt19937 random(seed);
    for (unsigned char& byte : picture.bytes) byte = static_cast<unsigned char>(random());
    if (picture.view.samples != SampleType::kFloat) return;
    for (int i = 0; i < picture.view.at.width() * picture.view.at.height(); ++i) {
        auto* const pixel = reinterpret_cast<float*>(
            picture.view.pixel(i % picture.view.at.width(), i / picture.view.at.width()));
        for (int c = 3; c >= 0; --c)
            pixel[c] = static_cast<float>(random() % 4096) / 4096 * (c == 3 ? 1 : pixel[3]);
    }
}

constexpr PixelRect kPlate = {0, 0, 64, 48};
constexpr double kTo[4][2] = {{3.5, 2.25}, {60.5, -5}, {-4.25, 40}, {52, 51.75}};

/// The values of a scene with these To Pins, on the controls' own defaults.
struct Scenery {
    PixelRect layer = kPlate, frame = kPlate;
    std::map<int, double> numbers;

    Value operator()(int index, double) const {
        for (int i = 0; i < 4; ++i) {
            if (index == kParamToUpperLeft + i) return {kTo[i][0], kTo[i][1]};
            if (index == kParamFromUpperLeft + i)
                return {double(i % 2 ? layer.right : layer.left),
                        double(i / 2 ? layer.bottom : layer.top)};
        }
        if (auto const found = numbers.find(index); found != numbers.end()) return {found->second};
        if (index == kParamScaleX || index == kParamScaleY) return {1};
        if (index == kParamViewMode) return {kViewBothPins};
        if (index == kParamQuality) return {kQualityHigh};
        if (index == kParamSourceOpacity || index == kParamCornerPinOpacity) return {100};
        return {};
    }
};

PinnedFrame pinned(Picture const& source, Picture const& output, Scenery const& scenery) {
    PinnedFrame frame;
    frame.source = source.view;
    frame.output = output.view;
    frame.layer = scenery.layer;
    frame.image = frame.frame = scenery.frame;
    frame.window = output.view.at;
    frame.valueOf = scenery;
    return frame;
}

PictureBuffer buffer(Picture const& picture) {
    PictureBuffer made;
    made.size = {picture.view.at.width(), picture.view.at.height()};
    made.type = picture.view.samples == SampleType::kByte    ? zelk::SampleType::kUint8
                : picture.view.samples == SampleType::kShort ? zelk::SampleType::kUint16
                                                             : zelk::SampleType::kFloat;
    made.isAssociated = picture.view.alpha == AlphaState::kPremultiplied;
    made.rowBytes = picture.view.rowBytes;
    made.pixels = {std::make_shared<int>(), picture.view.topRow};
    return made;
}

/// What the program makes of the same pictures, in the samples of `like`.
Picture programs(Picture const& layer, Picture const* plate, HostPicture const& like) {
    Scene scene;
    scene.layer.buffer = std::make_shared<PictureBuffer>(buffer(layer));
    auto const edit = [&scene](char const* name, std::string const& text) {
        sceneEdit(name).apply(scene, name, text);
    };
    edit("module", ZELK_MODULE);
    edit("color", "raw");
    edit("to", "3.5,2.25 60.5,-5 -4.25,40 52,51.75");
    if (plate)
        scene.plate = SceneInput{.buffer = std::make_shared<PictureBuffer>(buffer(*plate))};
    else if (like.samples == SampleType::kFloat)
        edit("edges", "exact");
    checkScene(scene);
    PictureBuffer const picture = FrameRenderer(scene).picture(0);

    Picture made(kPlate, like.samples, ChannelSet::kRGBA, AlphaState::kStraight);
    bool const isFloat = picture.type == zelk::SampleType::kFloat;
    HostPicture given = made.view;
    given.topRow = static_cast<unsigned char*>(const_cast<void*>(picture.pixels.get()));
    given.samples = isFloat ? SampleType::kFloat : like.samples;
    given.rowBytes = kPlate.width() * given.pixelBytes();
    for (int y = 0; y < kPlate.bottom; ++y) {
        if (!isFloat || like.samples == SampleType::kFloat) {
            std::memcpy(made.view.pixel(0, y), given.pixel(0, y),
                        static_cast<std::size_t>(given.rowBytes));
            continue;
        }
        std::vector<float> row(4 * kPlate.right);
        takeRow<PIXEL_BGRA32>(given, 0, y, kPlate.right, true, row.data());
        giveRow<PIXEL_BGRA32>(row.data(), true, made.view, 0, y, kPlate.right);
    }
    return made;
}

TEST(PinnedFrame, HasTheProgramsBits) {
    for (auto const& [samples, hasPlate] : {std::pair(SampleType::kByte, false),
                                            {SampleType::kShort, false},
                                            {SampleType::kFloat, false},
                                            {SampleType::kFloat, true},
                                            {SampleType::kByte, true}}) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(samples) << " " << hasPlate);
        AlphaState const alpha =
            samples == SampleType::kFloat ? AlphaState::kPremultiplied : AlphaState::kStraight;
        Scenery scenery;
        if (hasPlate) scenery.layer = {0, 0, 30, 21};
        Picture source(scenery.layer, samples, ChannelSet::kRGBA, alpha, 16, true);
        Picture plate(kPlate, samples, ChannelSet::kRGBA, alpha);
        Picture output(kPlate, samples, ChannelSet::kRGBA, AlphaState::kStraight, 32, true);
        fill(source, 11);
        fill(plate, 12);
        PinnedFrame frame = pinned(source, output, scenery);
        if (hasPlate) frame.plate = plate.view;
        ASSERT_EQ(renderPinned(frame), PinnedResult::kDone);
        auto const expected = programs(source, hasPlate ? &plate : nullptr, output.view);
        EXPECT_EQ(output.pixels(), expected.pixels());
    }
}

}  // namespace
}  // namespace zelk::bindings

// What the plug-in answers besides pixels: regions, aspects, greyed controls, drags and buttons.
#include <gtest/gtest.h>

#include "tests/openfx/ofx_session.h"
#include "tests/openfx/ofx_sweep.h"
#include "tests/support/temporary_folder.h"

namespace zelk_ofx {
namespace {

constexpr OfxRectI kLayer = {0, 0, 60, 40};
constexpr std::array<double, 8> kPins = {10, 35, 50, 30, 12, 8, 55, 5};

/// An instance over a project of 60 x 40 pixels with a layer of its own size.
struct Stage {
    explicit Stage(OfxRectI layer = kLayer, double pixelAspect = 1)
        : aspect(pixelAspect),
          source(layer),
          instance(hostChoice("tree"), {{"Source", input()}}, {.size = {60 * aspect, 40}},
                   kOfxImageEffectContextGeneral) {}
    ClipInput input() {
        source.fill(
            [](int x, int y, int c) { return c == 3 ? 1.0 : (x * 7 + y * 13) % 32 / 31.0; });
        Picture picture = source.view();
        picture.aspect = aspect;
        ClipInput made = still(picture);
        made.region.x1 *= aspect;
        made.region.x2 *= aspect;
        return made;
    }
    OfxPointD pin(std::string const& name) const {
        auto const at = instance->effect.params.find(name)->at(0).number;
        return {at[0], at[1]};
    }
    bool isEnabled(std::string const& name) const {
        return instance->effect.params.find(name)->props.get<int>(kOfxParamPropEnabled) != 0;
    }
    std::vector<unsigned char> frame(OfxRectI window) {
        PictureBuffer output(window);
        Picture view = output.view();
        view.aspect = aspect;
        EXPECT_EQ(instance->render({.output = view, .window = window}), kOfxStatOK);
        return output.bytes(window);
    }

    double aspect;
    PictureBuffer source;
    Session instance;
};

void expectPin(OfxPointD at, double x, double y) {
    EXPECT_NEAR(at.x, x, 1e-4);
    EXPECT_NEAR(at.y, y, 1e-4);
}

/// A frame with values beside the pins; hosts live one at a time.
std::vector<unsigned char> frameOf(std::array<double, 8> const& pins,
                                   std::map<std::string, double> const& values,
                                   OfxRectI window = kLayer, double aspect = 1) {
    Stage stage(kLayer, aspect);
    setPins(*stage.instance.instance, pins);
    for (auto const& [name, value] : values) stage.instance->set(name, {{value}, ""});
    return stage.frame(window);
}

/// Every second number scaled and moved.
std::array<double, 8> changed(std::array<double, 8> pins, std::size_t first, double scale,
                              double by) {
    for (std::size_t i = first; i < 8; i += 2) pins[i] = pins[i] * scale + by;
    return pins;
}

// Twice as wide pixels, half as many of them: the same picture.
TEST(OfxAnswers, PixelAspectIsNoScale) {
    for (double const quality : {2.0, 3.0})
        EXPECT_EQ(frameOf(changed(kPins, 0, 2, 0), {{"quality", quality}}, kLayer, 2),
                  frameOf(kPins, {{"quality", quality}}));
}

// Positive numbers go upwards and to the left, as the host's points do.
TEST(OfxAnswers, OffsetsCountAsTheHostDoes) {
    std::map<std::string, double> offsets;
    for (char const* corner : {"upper-left", "upper-right", "lower-left", "lower-right"})
        offsets["to-" + std::string(corner) + "-offset-y"] = 10;
    EXPECT_EQ(frameOf(kPins, offsets), frameOf(changed(kPins, 1, 1, 4), {}));
    constexpr std::array<double, 8> kWhole = {0, 40, 60, 40, 0, 0, 60, 0};
    std::vector<unsigned char> const nothing(4);
    auto const pixel = [&](std::map<std::string, double> const& values, int x, int y) {
        return frameOf(kWhole, values, {x, y, x + 1, y + 1});
    };
    EXPECT_EQ(pixel({{"translate-y", 50}}, 30, 5), nothing);
    EXPECT_NE(pixel({{"translate-y", 50}}, 30, 35), nothing);
    std::map<std::string, double> const turned = {{"rotate", 20}, {"scale-y", 0.3}};
    EXPECT_NE(pixel(turned, 52, 28), nothing);
    EXPECT_EQ(pixel(turned, 52, 12), nothing);
}

TEST(OfxAnswers, RegionsHoldLayerAndPins) {
    Stage stage({-20, 4, 90, 20});
    auto pins = kPins;
    pins[1] = 70;    // above the project, within another of its height
    pins[6] = 4000;  // far beyond
    setPins(*stage.instance.instance, pins);
    OfxRectD const all = stage.instance->regionOfDefinition();
    EXPECT_EQ(std::make_pair(all.x1, all.y2), std::make_pair(-20.0, 70.0));
    EXPECT_EQ(std::make_pair(all.x2, all.y1), std::make_pair(120.0, 0.0));
}

TEST(OfxAnswers, ControlsAreGreyedByTheEffectsRule) {
    Stage stage;
    for (auto const& [popup, option, control, isEnabled] :
         {std::tuple("transfer-mode", 2.0, "source-opacity", true),
          {"transfer-mode", 0.0, "source-opacity", false},
          {"motion-blur", 1.0, "shutter-angle", true},
          {"overlay-mode", 0.0, "to-upper-left", false},
          {"overlay-mode", 2.0, "from-upper-left", true},
          {"quality", 3.0, "super-sample-edge", true}}) {
        stage.instance->set(popup, {{option}, ""});
        EXPECT_EQ(stage.isEnabled(control), isEnabled) << popup << option;
    }
}

TEST(OfxAnswers, QuadsMoveAndScaleUnderThePen) {
    Stage stage;
    setPins(*stage.instance.instance, kPins);
    Overlay overlay(*stage.instance.instance);
    overlay.pen(kOfxInteractActionPenDown, {30, 20});
    overlay.pen(kOfxInteractActionPenMotion, {35, 18});
    overlay.pen(kOfxInteractActionPenUp, {37, 23});
    expectPin(stage.pin("to-upper-left"), 17, 38);
    expectPin(stage.pin("to-lower-right"), 62, 8);
    overlay.key(kOfxInteractActionKeyDown, kOfxKey_Shift_L);
    overlay.pen(kOfxInteractActionPenDown, {37, 23});
    overlay.pen(kOfxInteractActionPenMotion, {437, 23});  // 400 pixels double
    overlay.pen(kOfxInteractActionPenUp, {437, 23});
    expectPin(stage.pin("to-upper-left"), -2, 38);
    overlay.key(kOfxInteractActionKeyUp, kOfxKey_Shift_L);
}

TEST(OfxAnswers, ButtonsFillTheFromPins) {
    zelk_test::TemporaryFolder const folder;
    Stage stage({10, 4, 50, 24});
    stage.instance->changed("fit-from-pins");
    expectPin(stage.pin("from-upper-left"), 10, 24);
    expectPin(stage.pin("from-lower-right"), 50, 4);
    std::string text = "Source Width\t400\nSource Height\t200\n";
    for (int i = 0; i < 4; ++i)
        text += "ADBE Corner Pin-000" + std::to_string(i + 1) + "\n\t0\t100\t50\n";
    stage.instance->set("track-file", {{}, folder.put("t.txt", text)});
    stage.instance->changed("load-from-pins");
    expectPin(stage.pin("from-lower-left"), 20, 19);
}

}  // namespace
}  // namespace zelk_ofx

// Scenes and their renderer: pixels in memory against files, previews against the whole picture,
// frames in any order and on two threads, stops; edits against what a file says.
#include "zelk/render/frame_renderer.h"

#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support/random_quads.h"
#include "tests/support/zelk_process.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

using zelk_test::has;
using zelk_test::noise;
using zelk_test::Picture;

template <class T>
PictureBuffer bufferOf(Picture<T> const& picture, SampleType type) {
    auto const values = std::make_shared<std::vector<T>>(picture.values);
    PictureBuffer buffer;
    buffer.size = {picture.width, picture.height};
    buffer.channels = picture.channels;
    buffer.type = type;
    buffer.pixels = {values, values->data()};
    return buffer;
}

template <class T>
std::vector<T> valuesOf(PictureBuffer const& buffer) {
    auto const* first = static_cast<T const*>(buffer.pixels.get());
    return {first, first + buffer.size.width * buffer.size.height * 4};
}

void edit(Scene& scene, char const* name, std::string const& text) {
    sceneEdit(name).apply(scene, std::string("--") + name, text);
}

class Renderer : public zelk_test::ZelkTest {
protected:
    /// A moving quad over three frames, with or without a plate.
    Scene scene(bool hasPlate) const {
        zelk_test::writePicture(at("in.png"), noise<std::uint8_t>(40, 30, 4, 1));
        zelk_test::writePicture(at("plate.png"), noise<std::uint8_t>(50, 44, 3, 2));
        put("s.zelk.json", R"({"schema": "zelk-project", "version": 1, "frames": "1-3",
            "comp": {"width": 50, "height": 44, "rate": 25}, "layer": "in.png",
            "output": "o.%d.exr", "parameters": {"to-upper-left": {"keys": [
            {"frame": 1, "value": [0, 0]}, {"frame": 3, "value": [17, 9]}]}}})");
        Scene scene = readScene(at("s.zelk.json"));
        if (hasPlate) edit(scene, "over", at("plate.png").string());
        edit(scene, "module", ZELK_MODULE);
        edit(scene, "depth", "float");
        checkScene(scene);
        return scene;
    }
};

TEST_F(Renderer, GivesEachFrameInAnyOrderOnAnyThreadAndToItsFile) {
    for (bool const hasPlate : {false, true}) {
        Scene moving = scene(hasPlate);
        edit(moving, "output-color", "linear");  // of pictures and files
        std::map<int, std::vector<float>> pictures;
        FrameRenderer renderer(moving);
        for (int const frame : {3, 1, 2}) {
            pictures[frame] = valuesOf<float>(renderer.picture(frame));
            renderer.write(frame);
            auto const file =
                zelk_test::readPicture<float>(at("o." + std::to_string(frame) + ".exr"));
            double largest = 0;  // of an associated file: colour times alpha
            for (std::size_t i = 0; i < file.values.size(); ++i) {
                std::size_t const pixel = i / file.channels, c = i % file.channels;
                float const alpha = pictures[frame][4 * pixel + 3];
                float const value = pictures[frame][4 * pixel + c];
                largest = std::max(largest, std::abs(double(file.values[i]) -
                                                     (c == 3 ? value : double(value) * alpha)));
            }
            EXPECT_LT(largest, 1e-6) << frame;
        }
        EXPECT_NE(pictures[1], pictures[3]);
        auto const all = [&moving, &pictures] {
            FrameRenderer own(moving);
            for (int frame = 1; frame <= 3; ++frame)
                EXPECT_EQ(valuesOf<float>(own.picture(frame)), pictures[frame]);
        };
        std::thread other(all);
        all();
        other.join();
    }
}

TEST_F(Renderer, SettlesTypedValuesForAFile) {
    for (bool const hasPlate : {false, true}) {
        Scene typed = scene(hasPlate);
        edit(typed, "opacity", "37.5");
        edit(typed, "motion-blur", "4");
        edit(typed, "from", "3,2 31,1 5,28 38,29");
        setParameter(typed, "rotate", 12.25, "viewer");
        setParameter(typed, "To-Lower-Right", Point{39, 21}, "viewer");
        EXPECT_THROW(setParameter(typed, "rotat", 1., "viewer"), UserError);
        EXPECT_THROW(sceneText(typed), UserError);
        FrameRenderer renderer(typed);
        renderer.begin({2});
        Scene again = sceneFromText(at("s.zelk.json"), sceneText(renderer.settledScene()));
        edit(again, "module", ZELK_MODULE);
        EXPECT_EQ(valuesOf<float>(FrameRenderer(again).picture(2)),
                  valuesOf<float>(renderer.picture(2)));
        edit(again, "motion-blur", "off");
        EXPECT_NE(valuesOf<float>(FrameRenderer(again).picture(2)),
                  valuesOf<float>(renderer.picture(2)));
        EXPECT_THROW(renderer.begin({}), UserError);
        RenderOptions beyond;
        beyond.pngLevel = 10;
        EXPECT_THROW(FrameRenderer(again, beyond), UserError);
        EXPECT_THROW(renderer.picture(10'000'000), UserError);
        EXPECT_THROW(setParameter(again, "rotate", 1., ""), UserError);
    }
}

/// Each pin open, at a corner of the frame or of the layer, or anywhere.
TEST_F(Renderer, SettledPinsGiveTheSameFrame) {
    FreshRandom random;
    for (int round = 0; round < 40; ++round) {
        Scene given = scene(random.below(2));
        if (random.below(2)) given.parameters.clear();
        for (int pin = 0; pin < 8; ++pin) {
            double const right = pin % 2, low = pin % 4 / 2;
            Point const places[] = {
                {50 * right, 44 * low},
                {40 * right, 30 * low},
                {right * 25 + random.below(20), low * 20 + random.below(90) / 8.}};
            int const first = pin < 4 ? kToPins : kFromPins - 4;
            int const place = random.below(6);
            if (place < 3) setParameter(given, nameOfParameter(first + pin), places[place], "p");
        }
        FrameRenderer renderer(given);
        renderer.begin({2});
        std::string const text = sceneText(renderer.settledScene());
        Scene again = sceneFromText(at("s.zelk.json"), text);
        edit(again, "module", ZELK_MODULE);
        ASSERT_TRUE(valuesOf<float>(FrameRenderer(again).picture(2)) ==
                    valuesOf<float>(renderer.picture(2)))
            << "round " << round << text;
    }
}

TEST_F(Renderer, TakesPixelsInMemoryAsFilesOfTheSame) {
    for (int const channels : {1, 2, 3, 4}) {
        auto const layer = noise<std::uint16_t>(21, 13, channels, 5);
        zelk_test::writePicture(at("l.png"), layer);
        PictureBuffer upsideDown = bufferOf(layer, SampleType::kUint16);
        auto flipped = layer;
        std::size_t const row = std::size_t(21 * channels);
        for (std::size_t y = 0; y < 13; ++y)
            std::copy_n(&layer.values[y * row], row, &flipped.values[(12 - y) * row]);
        PictureBuffer const stored = bufferOf(flipped, SampleType::kUint16);
        upsideDown.pixels = {stored.pixels,
                             static_cast<std::uint16_t const*>(stored.pixels.get()) + 12 * row};
        upsideDown.rowBytes = -std::ptrdiff_t(row) * 2;
        Scene file, memory;
        edit(file, "layer", at("l.png").string());
        setLayer(memory, upsideDown);
        setPlate(memory, bufferOf(noise<float>(30, 20, 3, 6), SampleType::kFloat));
        zelk_test::writePicture(at("p.exr"), noise<float>(30, 20, 3, 6), "float");
        edit(file, "over", at("p.exr").string());
        for (Scene* each : {&file, &memory}) {
            edit(*each, "module", ZELK_MODULE);
            edit(*each, "to", "2,3 25,1 4,18 28,17");
            checkScene(*each);
        }
        EXPECT_EQ(valuesOf<float>(FrameRenderer(file).picture(7)),
                  valuesOf<float>(FrameRenderer(memory).picture(7)));
        EXPECT_THROW(sceneText(memory), UserError);
    }
    Scene broken;
    PictureBuffer overlapping = bufferOf(noise<float>(4, 4, 4, 1), SampleType::kFloat);
    overlapping.rowBytes = 63;
    EXPECT_THROW(setLayer(broken, overlapping), UserError);
}

TEST_F(Renderer, PreviewsArePartsAndBlockMeansOfThePicture) {
    for (bool const hasPlate : {false, true}) {
        Scene still = scene(hasPlate);
        if (!hasPlate) edit(still, "grow", "5");
        FrameRenderer renderer(still);
        PictureBuffer const whole = renderer.picture(2);
        PictureBuffer const part = renderer.picture(2, {1, PixelRect{3, -2, 19, 7}});
        auto const all = valuesOf<float>(whole), some = valuesOf<float>(part);
        ASSERT_EQ(part.size.width * 100 + part.size.height, 1607);
        for (std::size_t i = 0; i < some.size(); ++i)
            ASSERT_EQ(some[i], all[(i / 64 * std::size_t(whole.size.width) + 3) * 4 + i % 64]);
        PictureBuffer const half = renderer.picture(2, {2, std::nullopt});
        EXPECT_EQ(half.size.width, (hasPlate ? 50 : 40) / 2 + (hasPlate ? 0 : 2 * (5 / 2)));
    }
    Scene plain;  // nothing moves: a block's mean is known
    auto const layer = noise<std::uint8_t>(8, 6, 3, 3);
    setLayer(plain, bufferOf(layer, SampleType::kUint8));
    edit(plain, "module", ZELK_MODULE);
    edit(plain, "view", "original");
    edit(plain, "road", "memory");
    auto const reduced = valuesOf<float>(FrameRenderer(plain).picture(0, {2, std::nullopt}));
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(reduced[4 * 5 + c] * 255 * 4,
                    layer.at(2, 2, c) + layer.at(3, 2, c) + layer.at(2, 3, c) + layer.at(3, 3, c),
                    1e-3);
}

TEST_F(Renderer, StopsBetweenStages) {
    FrameRenderer renderer(scene(true));
    std::string stages;
    renderer.onStage([&](char const* stage) {
        stages += stage;
        renderer.stop();
    });
    for (int again = 0; again < 2; ++again) try {
            renderer.picture(1);
            ADD_FAILURE();
        } catch (UserError const& error) {
            EXPECT_EQ(error.code(), ExitCode::kInterrupted);
        }
    EXPECT_EQ(stages, "read");
}

// What edits and the file say against each other, and who is named where they do not fit.
TEST_F(Renderer, EditsWinOverTheFileAndRefusalsNameTheirMaker) {
    Scene const own = scene(false);
    Scene edited = own;
    edit(edited, "size", "9x8");
    edit(edited, "over", "p.png");
    EXPECT_TRUE(edited.plate && edited.size);
    for (auto const& [change, told] :
         // What no option set has no option's name.
         {std::pair<std::function<void(Scene&)>, char const*>{
              [](Scene& s) { s.isPlain = true, s.road = Road::kMemory; },
              "plain does not go with road memory"},
          {[](Scene& s) { s.layer = {}; }, "s.zelk.json: layer"}}) {
        Scene changed = own;
        change(changed);
        try {
            checkScene(changed);
            ADD_FAILURE() << told;
        } catch (UserError const& error) {
            EXPECT_TRUE(has(error.what(), told)) << error.what();
        }
    }
    edited = own;
    edited.plate = SceneInput{{"p.png"}};
    edit(edited, "size", "9x8");
    EXPECT_FALSE(edited.plate) << "of the file";
}

}  // namespace
}  // namespace zelk

// Live frames against FrameRenderer, to the bit: random scenes of both roads that are edited again
// and again; parts, drafts, what the screen gets; files that change, stops.
#include "zelk/render/live_renderer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "tests/support/random_quads.h"
#include "tests/support/zelk_process.h"
#include "zelk/color/color_space.h"
#include "zelk/movies/frames.h"
#include "zelk/pictures/reader.h"
#include "zelk/render/frame_renderer.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

using zelk_test::noise;

void edit(Scene& scene, std::string const& name, std::string const& text) {
    sceneEdit(name).apply(scene, "--" + name, text);
}

std::vector<std::byte> pixelsOf(PictureBuffer const& buffer, PixelRect const& part) {
    static constexpr int kBytes[] = {1, 2, 2, 4};
    int const pixel = buffer.channels * kBytes[static_cast<int>(buffer.type)];
    std::ptrdiff_t const row = buffer.rowBytes ? buffer.rowBytes : pixel * buffer.size.width;
    auto const* first = static_cast<std::byte const*>(buffer.pixels.get());
    std::vector<std::byte> bytes;
    for (int y = part.top; y < part.bottom; ++y)
        bytes.insert(bytes.end(), first + y * row + part.left * pixel,
                     first + y * row + part.right * pixel);
    return bytes;
}

std::vector<std::byte> pixelsOf(PictureBuffer const& buffer) {
    return pixelsOf(buffer, {0, 0, buffer.size.width, buffer.size.height});
}

/// Red, green, blue, alpha.
std::vector<std::uint8_t> screenBytes(World const& world) {
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < world.height(); ++y)
        for (int x = 0; x < world.width(); ++x)
            for (int const c : {1, 2, 3, 0})
                bytes.push_back(
                    world.rowAs<std::uint8_t>(y)[4 * x + (world.spec().bgra ? 3 - c : c)]);
    return bytes;
}

std::vector<std::uint8_t> partOfBytes(std::vector<std::uint8_t> const& bytes, PixelSize size,
                                      PixelRect const& part) {
    std::vector<std::uint8_t> some;
    for (int y = part.top; y < part.bottom; ++y) {
        auto const row = bytes.begin() + 4 * y * size.width;
        some.insert(some.end(), row + 4 * part.left, row + 4 * part.right);
    }
    return some;
}

class Live : public zelk_test::ZelkTest {
protected:
    void SetUp() override {
        zelk_test::writePicture(at("a8.png"), noise<std::uint8_t>(40, 32, 4, 1));
        auto ramp = noise<std::uint8_t>(40, 32, 3, 1);
        for (std::size_t i = 0; i < ramp.values.size(); ++i)
            ramp.values[i] = static_cast<std::uint8_t>(i % 3 ? 40 + i / 120 : 40 + i / 3 % 40);
        zelk_test::writePicture(at("ramp.png"), ramp);
        zelk_test::writePicture(at("a16.png"), noise<std::uint16_t>(40, 32, 4, 2));
        zelk_test::writePicture(at("af.exr"), noise<float>(40, 32, 4, 3));
        for (int frame = 1; frame <= 3; ++frame)
            zelk_test::writePicture(at("n." + std::to_string(frame) + ".png"),
                                    noise<std::uint8_t>(40, 32, 3, 10 + unsigned(frame)));
        zelk_test::writePicture(at("p8.png"), noise<std::uint8_t>(56, 44, 3, 4));
        zelk_test::writePicture(at("pf.exr"), noise<float>(56, 44, 4, 5));
        zelk_test::writePicture(at("m40.exr"), noise<float>(40, 32, 1, 6));
        zelk_test::writePicture(at("m56.exr"), noise<float>(56, 44, 1, 7));
        zelk_test::writePicture(at("st56.exr"), noise<float>(56, 44, 3, 8));
    }

    static std::string pins(Random& random, int width, int height) {
        std::string text;
        for (int i = 0; i < 4; ++i) {
            double const x = (i % 2 + random.uniform(-0.3, 0.3)) * width;
            double const y = (i / 2 + random.uniform(-0.3, 0.3)) * height;
            text += (i ? " " : "") + std::to_string(x) + "," + std::to_string(y);
        }
        return text;
    }

    std::string any(Random& random, std::vector<std::string> const& of) const {
        return of[std::size_t(random.integer(0, int(of.size()) - 1))];
    }

    /// What stays while values change.
    Scene scene(Random& random) const {
        Scene scene;
        edit(scene, "module", ZELK_MODULE);
        scene.layer.file.written = at(any(random, {"a8.png", "a16.png", "af.exr", "n.%d.png"}));
        bool const hasFrame = random.flip();
        std::string const size = hasFrame ? "56" : "40";
        if (hasFrame && random.integer(0, 3))
            edit(scene, "over", at(any(random, {"p8.png", "pf.exr"})));
        if (scene.plate && random.integer(0, 2) == 0)
            edit(scene, "mode", "multiply");
        else if (hasFrame)
            edit(scene, "size", "56x44");
        if (random.flip()) edit(scene, "depth", any(random, {"8", "16", "float"}));
        if (random.integer(0, 3) == 0) edit(scene, "matte", at("m40.exr"));
        if (random.integer(0, 3) == 0) edit(scene, "holdout", at("m" + size + ".exr"));
        if (hasFrame && random.integer(0, 4) == 0) edit(scene, "st-map", at("st56.exr"));
        if (scene.plate && !scene.stMap && random.integer(0, 4) == 0) edit(scene, "invert", "on");
        if (hasFrame && random.integer(0, 3) == 0) edit(scene, "feather", "3.5");
        if (random.integer(0, 2) == 0) edit(scene, "motion-blur", "5");
        if (random.integer(0, 2) == 0) edit(scene, "output-color", any(random, {"linear", "sRGB"}));
        if (random.integer(0, 2) == 0) edit(scene, "work-color", "linear");
        if (!hasFrame && random.integer(0, 4) == 0) edit(scene, "host", "PrMr");
        scene.hasComp = true;
        scene.comp.width = hasFrame ? 56 : 40;
        scene.comp.height = hasFrame ? 44 : 32;
        scene.comp.startFrame = 1;
        scene.comp.durationFrames = 3;
        return scene;
    }

    /// Half the size is half the resolution, but for the rounding of sums. Colour of little alpha
    /// is of few bits; converted before or after is not the same.
    void expectHalf(Scene scene, PixelSize full) const {
        scene.color = {};
        scene.color.isRaw = true;
        scene.options.clear();
        if (scene.roadTaken() == Road::kMemory) {
            scene.layer.file.written = at("ramp.png");  // it keeps its own size
            scene.matte.reset();
        }
        LiveRenderer live;
        live.setScene(scene);
        auto const half = screenBytes(live.screen(2, {.reduce = 2}, {}).display);
        full = {full.width / 2, full.height / 2};
        auto const sized = screenBytes(live.screen(2, {.size = full}, {}).display);
        auto const seen = [](std::vector<std::uint8_t> const& rgba, std::size_t i) {
            return i % 4 == 3 ? rgba[i] : rgba[i] * rgba[i / 4 * 4 + 3] / 255;
        };
        ASSERT_EQ(sized.size(), half.size());
        for (std::size_t i = 0; i < half.size(); ++i)
            ASSERT_NEAR(seen(sized, i), seen(half, i), 2) << i;
    }

    void change(Random& random, Scene& scene) const {
        edit(scene, "to", pins(random, scene.comp.width, scene.comp.height));
        if (random.flip()) edit(scene, "from", pins(random, 40, 32));
        edit(scene, "opacity", std::to_string(random.integer(1, 100)));
        bool const canBeBest = scene.hasFrame() || scene.roadTaken() == Road::kModule;
        std::vector<std::string> qualities = {"low", "medium", "high", "super"};
        if (canBeBest && scene.hostApp() == HostApp::kAfterEffects) qualities.push_back("best");
        edit(scene, "quality", any(random, qualities));
        SceneParameter moving{"rotate", {}, {}};
        moving.keys = {{1, random.uniform(-40, 40), {}, {}, {}}, {3, 10.0, {}, {}, {}}};
        std::erase_if(scene.parameters, [](auto const& p) { return p.name == "rotate"; });
        scene.parameters.push_back(moving);
    }
};

TEST_F(Live, FramesAndPartsAreThoseOfTheFrameRendererWhateverWasEditedBefore) {
    int compared = 0;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        LiveRenderer live;
        Scene edited = scene(random);
        for (int step = 0; step < 5; ++step) {
            change(random, edited);
            try {
                if (step == 3) edit(edited, "work-color", any(random, {"linear", "sRGB"}));
                checkScene(edited);
            } catch (UserError const&) {
                continue;  // a combination that no scene may have
            }
            if (step == 0 || step == 3)
                live.setScene(edited);
            else
                live.setValues(edited);
            int const frame = random.integer(1, 3), reduce = random.integer(1, 3);
            PictureBuffer const whole = FrameRenderer(edited).picture(frame, {reduce, {}});
            SCOPED_TRACE(testing::Message()
                         << "step " << step << " frame " << frame << " reduce " << reduce);
            ASSERT_EQ(pixelsOf(live.picture(frame, {.reduce = reduce})), pixelsOf(whole));
            int const left = random.integer(0, whole.size.width - 1),
                      top = random.integer(0, whole.size.height - 1);
            PixelRect const part = {left, top, random.integer(left + 1, whole.size.width),
                                    random.integer(top + 1, whole.size.height)};
            ASSERT_EQ(pixelsOf(live.picture(frame, {.reduce = reduce, .part = part})),
                      pixelsOf(whole, part));
            auto const screen = [&](LiveView const& view, bool wantsStored = false) {
                return screenBytes(live.screen(frame, view, {.wantsStored = wantsStored}).display);
            };
            // Drafts lay the plate on their way to the screen; the third has its bytes at hand.
            auto const shown = screen({.reduce = reduce}, true);
            auto const some = partOfBytes(shown, whole.size, part);
            for (int i = 0; i < 3; ++i) {
                ASSERT_EQ(screen({.reduce = reduce}), shown) << i;
                ASSERT_EQ(screen({.reduce = reduce, .part = part}), some) << i;
            }
            Scene still = edited;
            still.motionBlur.reset();
            ASSERT_EQ(pixelsOf(live.picture(frame, {.reduce = reduce, .isBlurred = false})),
                      pixelsOf(FrameRenderer(still).picture(frame, {reduce, {}})));
            ++compared;
            if (edited.isInverted) continue;
            PixelSize const full = edited.hasFrame() ? PixelSize{56, 44} : PixelSize{40, 32};
            LiveView sized = {.size =
                                  PixelSize{full.width - 7 * int(seed % 3), full.height / 2 + 5}};
            auto const small = screen(sized);
            LiveRenderer fresh;
            fresh.setScene(edited);
            ASSERT_EQ(screenBytes(fresh.screen(frame, sized, {}).display), small);
            sized.part = PixelRect{3, 2, sized.size->width, sized.size->height};
            ASSERT_EQ(screen(sized), partOfBytes(small, *sized.size, *sized.part));
            EXPECT_THROW(screen({.reduce = 2, .size = full}), UserError);
            // Means of blocks have no light where there is no alpha, of which this plate has some.
            if (!edited.plate || edited.plate->file.written != at("pf.exr"))
                expectHalf(edited, full);
        }
    }
    EXPECT_GT(compared, 200);
}

TEST_F(Live, ScreenAndReadoutHaveTheBytesOfTheFile) {
    Random random(7);
    for (char const* layer : {"a8.png", "a16.png", "af.exr"})
        for (char const* plate : {"", "p8.png"})
            for (char const* output : {"o.png", "o.tif"}) {
                SCOPED_TRACE(std::string(layer) + plate + output);
                Scene scene;
                edit(scene, "module", ZELK_MODULE);
                scene.layer.file.written = at(layer);
                if (*plate) edit(scene, "over", at(plate));
                edit(scene, "to", pins(random, 40, 32));
                scene.output = ScenePath{at(output)};
                FrameRenderer(scene).write(0);
                PictureReader file(at(output));
                bool const isOfBytes = file.traits().depth == Depth::k8;
                LiveRenderer live;
                live.setScene(scene);
                LiveScreen how;
                how.isBgra = how.wantsStored = true;
                LivePicture const shown = live.screen(0, {}, how);
                World const world = readStraightWorld(file);
                PictureBuffer const& stored = shown.stored;
                ASSERT_EQ(stored.size, (PixelSize{world.width(), world.height()}));
                if (isOfBytes) {
                    ASSERT_EQ(stored.type, SampleType::kUint8);
                    auto const* value = static_cast<std::uint8_t const*>(stored.pixels.get());
                    for (int i = 0; i < world.width() * world.height(); ++i)
                        for (int c = 0; c < stored.channels; ++c)
                            ASSERT_EQ(
                                value[i * stored.channels + c],
                                world.rowAs<std::uint8_t>(
                                    i / world.width())[4 * (i % world.width()) + (c + 1) % 4]);
                    EXPECT_EQ(screenBytes(shown.display), screenBytes(world));
                }
                // Alpha first or last is all that the layout changes.
                EXPECT_EQ(screenBytes(live.screen(0, {}, {}).display), screenBytes(shown.display));
            }
}

// Each float's byte by the table is that of the conversion itself.
TEST_F(Live, ACurveTakesFloatsToTheBytesOfItsConversion) {
    zelk_test::Picture<float> light = noise<float>(64, 64, 4, 9);
    for (std::size_t i = 0; i < light.values.size(); ++i) {
        if (i % 4 == 3)
            light.values[i] = 1;
        else if (i % 3 == 0)
            light.values[i] = std::ldexp(light.values[i], -int(i % 19));
        else if (i % 31 == 1)
            light.values[i] = light.values[i] * 4 - 2;
    }
    zelk_test::writePicture(at("light.exr"), light);
    Scene scene;
    edit(scene, "module", ZELK_MODULE);
    scene.layer.file.written = at("light.exr");
    LiveRenderer live;
    live.setScene(scene);
    World const shown = live.screen(0, {LiveView::Shows::kLayer}, {}).display;
    CurveSpace const screen = *builtInSpace("sRGB")->curve();
    for (int i = 0; i < 64 * 64; ++i)
        for (int c = 0; c < 3; ++c) {
            float const value = encoded(screen, light.at(i % 64, i / 64, c));
            ASSERT_EQ(int(shown.rowAs<std::uint8_t>(i / 64)[4 * (i % 64) + 1 + c]),
                      int(std::clamp(value, 0.0f, 1.0f) * 255 + 0.5f))
                << light.at(i % 64, i / 64, c);
        }
}

TEST_F(Live, ReadsAFileAgainWhenItChangesAndTellsOfOneThatIsMissing) {
    Scene scene;
    edit(scene, "module", ZELK_MODULE);
    scene.layer.file.written = at("a8.png");
    edit(scene, "over", at("gone.png"));
    LiveRenderer live;
    live.setScene(scene);
    try {
        live.picture(0, {});
        FAIL() << "a plate that is not there";
    } catch (UserError const& error) {
        EXPECT_TRUE(zelk_test::has(error.what(), "gone.png: no such file")) << error.what();
    }
    EXPECT_NO_THROW(live.screen(0, {LiveView::Shows::kLayer}, {}));
    EXPECT_THROW(live.screen(0, {LiveView::Shows::kPlate}, {}), UserError);
    zelk_test::writePicture(at("gone.png"), noise<std::uint8_t>(56, 44, 3, 20));
    auto const before = pixelsOf(live.picture(0, {}));
    EXPECT_GT(live.inputBytes(), 0u);
    zelk_test::writePicture(at("a8.png"), noise<std::uint8_t>(40, 32, 4, 21));
    auto const after = pixelsOf(live.picture(0, {}));
    EXPECT_NE(after, before);
    EXPECT_EQ(after, pixelsOf(FrameRenderer(scene).picture(0)));
}

TEST_F(Live, PlaysMovies) {
    ASSERT_TRUE(MovieFrames::isAvailable()) << "ffmpeg is among the packages of the build";
    Scene scene;
    edit(scene, "module", ZELK_MODULE);
    scene.layer.file.written = at("n.%d.png");
    scene.output = ScenePath{at("m.mov")};
    edit(scene, "codec", "png");
    FrameRenderer writer(scene);
    writer.begin({1, 2, 3});
    for (int const frame : {1, 2, 3}) writer.write(frame);
    writer.finishMovie();
    Scene movie;
    edit(movie, "module", ZELK_MODULE);
    movie.layer.file.written = at("m.mov");
    edit(movie, "opacity", "50");
    LiveRenderer live;
    live.setScene(movie);
    for (int const frame : {2, 0, 1, 2})
        EXPECT_EQ(pixelsOf(live.picture(frame, {})), pixelsOf(FrameRenderer(movie).picture(frame)));
}

// Within a frame: motion blur of so many samples would take seconds.
TEST_F(Live, StopsWithinAFrameAndGoesOn) {
    zelk_test::writePicture(at("large.png"), noise<std::uint8_t>(1200, 900, 4, 1));
    for (bool const isOfModule : {true, false}) {
        Scene scene;
        edit(scene, "module", ZELK_MODULE);
        scene.layer.file.written = at("large.png");
        edit(scene, "quality", "high");
        edit(scene, "motion-blur", "64");
        if (!isOfModule) edit(scene, "size", "1200x900");
        scene.parameters.push_back({"rotate", {}, {}});
        scene.parameters.back().keys = {{0, -40.0, {}, {}, {}}, {2, 40.0, {}, {}, {}}};
        scene.hasComp = true;
        scene.comp.width = 1200, scene.comp.height = 900, scene.comp.durationFrames = 3;
        scene.comp.shutterAngleDeg = 360;
        LiveRenderer live;
        live.setScene(scene);
        live.picture(1, {.reduce = 100});
        std::atomic<bool> isStopped = false;
        std::thread user([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            isStopped = true;
        });
        auto const start = std::chrono::steady_clock::now();
        try {
            live.picture(1, {}, &isStopped);
            ADD_FAILURE() << "came to its end";
        } catch (UserError const& error) {
            EXPECT_EQ(error.code(), ExitCode::kInterrupted) << error.what();
        }
        user.join();
        double const seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_LT(seconds, 1.5);
        EXPECT_EQ(pixelsOf(live.picture(1, {.reduce = 20})),
                  pixelsOf(FrameRenderer(scene).picture(1, {20, {}})));
    }
}

}  // namespace
}  // namespace zelk

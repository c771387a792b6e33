// A lens map on its way to the renderer: read once for a shot, at a preview's size, and none for a
// frame whose map is black.
#include <cmath>

#include "tests/support/lens_map.h"
#include "zelk/render/frame_stages.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edits.h"

namespace zelk_test {
namespace {

using namespace zelk;

class Lens : public ZelkTest {
protected:
    void SetUp() override {
        writePicture(at("in.png"), noise<std::uint8_t>(9, 8, 4, 41));
        writePicture(at("plate.exr"), noise<float>(64, 48, 4, 42));
        writePicture(at("lens.exr"), lensMap(64, 48, 0.2));
    }
    Scene scene(std::string const& map, std::string const& missing = "stop") const {
        Scene scene;
        for (auto const& [name, value] : {std::pair("layer", at("in.png").string()),
                                          {"over", at("plate.exr").string()},
                                          {"st-map", at(map).string()},
                                          {"frames", "1-3"},
                                          {"missing", missing}})
            sceneEdit(name).apply(scene, name, value);
        checkScene(scene);
        return scene;
    }
};

TEST_F(Lens, IsReadOnceForAllFramesAndReducedWithThem) {
    FrameStages stages(scene("lens.exr"));
    stages.begin({1, 2, 3});
    auto const first = stages.load(1).map;
    EXPECT_EQ(stages.load(2).map, first);
    // At the middle of the right side, 32 pixels of a half diagonal of 40.
    double const r = 31.5 / 40;
    auto const at = [](StMap const& map, int x, int y) {
        return map.frameMap().positions + y * map.frameMap().rowFloats + 2 * x;
    };
    EXPECT_NEAR(at(*first, 63, 23)[0], 32 + 31.5 * (1 + 0.2 * (r * r + 0.25 / 1600)), 1e-4);
    auto const half = stages.load(1, 2).map;
    ASSERT_EQ(half->size, (PixelSize{32, 24}));
    for (int c = 0; c < 2; ++c)
        EXPECT_NEAR(at(*half, 5, 7)[c],
                    (at(*first, 10, 14)[c] + at(*first, 11, 14)[c] + at(*first, 10, 15)[c] +
                     at(*first, 11, 15)[c]) /
                        8,
                    1e-5);

    writePicture(this->at("lens.exr"), lensMap(64, 48, 0.1));
    std::filesystem::last_write_time(
        this->at("lens.exr"),
        std::filesystem::file_time_type::clock::now() + std::chrono::seconds(5));
    EXPECT_LT(at(*stages.load(3).map, 63, 23)[0], at(*first, 63, 23)[0] - 1);
}

TEST_F(Lens, OfNumberedMapsOneThatIsNotThereLooksNowhere) {
    std::filesystem::copy(at("lens.exr"), at("lens.0001.exr"));
    FrameStages stages(scene("lens.####.exr", "black"));
    stages.begin({1, 2});
    EXPECT_TRUE(std::isfinite(stages.load(1).map->positions[0]));
    EXPECT_FALSE(std::isfinite(stages.load(2).map->positions[0]));
    // A map of another size fails its own frame alone, and is told where it would be read.
    writePicture(at("lens.0002.exr"), lensMap(64, 40, 0.2));
    Words const words = {"render",        "in.png",   "--over", "plate.exr", "--st-map",
                         "lens.####.exr", "--frames", "1-2",    "-o",        "out.####.exr"};
    Outcome const outcome = run(words);
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_TRUE(has(outcome.err, "\"64x40\", expected 64x48")) << outcome.err;
    EXPECT_TRUE(has(run(joined(words, {"--dry-run"})).out, ", through lens.0001.exr, over plate"));
    expectRefusal(
        {"render", "in.png", "--st-map", "lens.0001.exr", "--size", "64x48", "-o", "lens.0001.exr"},
        2, {"its own ST map", "--in-place"});
}

}  // namespace
}  // namespace zelk_test

// A lens map on its way to the renderer: read once for a shot, at a preview's size, and none for a
// frame whose map is black.
#include <cmath>

#include "apps/zelk-demo/lens_map.h"
#include "tests/support/zelk_process.h"
#include "zelk/render/frame_stages.h"
#include "zelk/scene/edits.h"

namespace zelk_test {
namespace {

using namespace zelk;

class Lens : public ZelkTest {
protected:
    void writeLens(std::string const& name, double k1, int height = 48) const {
        writeValues(at(name), OIIO::ImageSpec(64, height, 3, OIIO::TypeFloat),
                    lensMap(64, height, k1));
    }
    Scene scene(std::string const& map, std::string const& missing) const {
        writePicture(at("in.png"), noise<std::uint8_t>(9, 8, 4, 41));
        Scene scene;
        for (auto const& [name, value] : {std::pair("layer", at("in.png").string()),
                                          {"st-map", at(map).string()},
                                          {"size", "64x48"},
                                          {"frames", "1-3"},
                                          {"missing", missing}})
            sceneEdit(name).apply(scene, name, value);
        return scene;
    }
};

TEST_F(Lens, IsReadOnceForAllFramesAndReducedWithThem) {
    writeLens("lens.exr", 0.2);
    FrameStages stages(scene("lens.exr", "stop"));
    stages.begin({1, 2, 3});
    auto const first = stages.load(1).map;
    EXPECT_EQ(stages.load(2).map, first);
    // At the middle of the right side, of a half diagonal of 40.
    double const r2 = (31.5 * 31.5 + 0.25) / 1600;
    EXPECT_NEAR(first->positions[2 * (23 * 64 + 63)], 32 + 31.5 * (1 + 0.2 * r2), 1e-4);
    auto const half = stages.load(1, 2).map;
    // At half the size the same lens, whose third power bends little within a block.
    EXPECT_NEAR(half->positions[2 * (11 * 32 + 31)],
                16 + 15.5 * (1 + 0.2 * (15.5 * 15.5 + 0.25) / 400), 0.01);

    writeLens("lens.exr", 0.1);
    auto const later = std::filesystem::file_time_type::clock::now() + std::chrono::seconds(5);
    std::filesystem::last_write_time(at("lens.exr"), later);
    EXPECT_LT(stages.load(3).map->positions[2 * (23 * 64 + 63)],
              first->positions[2 * (23 * 64 + 63)] - 1);
}

TEST_F(Lens, OfNumberedMapsOneThatIsNotThereLooksNowhere) {
    writeLens("lens.0001.exr", 0.2);
    FrameStages stages(scene("lens.####.exr", "black"));
    stages.begin({1, 2});
    EXPECT_TRUE(std::isfinite(stages.load(1).map->positions[0]));
    EXPECT_FALSE(std::isfinite(stages.load(2).map->positions[0]));
    writeLens("lens.0002.exr", 0.2, 40);  // of another size: fails its own frame alone
    Words const words =
        "render in.png --size 64x48 --st-map lens.####.exr --frames 1-2 -o out.####.exr"_words;
    EXPECT_TRUE(has(run(words).err, "\"64x40\", expected 64x48"));
    EXPECT_TRUE(has(run(joined(words, {"--dry-run"})).out, ", through lens.0001.exr, write"));
    expectRefusal("render in.png --st-map lens.0001.exr --size 64x48 -o lens.0001.exr"_words, 2,
                  {"its own ST map", "--in-place"});
}

}  // namespace
}  // namespace zelk_test

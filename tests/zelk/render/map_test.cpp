// Maps against pictures: where the renderer takes each pixel from, as matrices and as ST maps.
#include <cmath>
#include <nlohmann/json.hpp>

#include "tests/support/zelk_process.h"
#include "zelk/render/quad_map.h"

namespace zelk_test {
namespace {

using Json = nlohmann::json;
using zelk::mapped;
using zelk::PlaneMatrix;

/// Red and green are the position of the pixel's centre.
Picture<float> ramp(int width, int height) {
    Picture<float> picture{width, height, 3, {}, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.values.insert(picture.values.end(), {float(x) + 0.5f, float(y) + 0.5f, 0});
    return picture;
}

struct MapCase {
    char const* name;
    char const* options;  ///< `_` stands for a blank within a word
};

/// With a quad on each side and bilinear, where they don't say otherwise.
Words wordsOf(MapCase const& each) {
    std::string text = std::string(each.options) + " --to 9,5_55,2_4,40_60,44";
    if (!has(text, "--from")) text += " --from 3,2_50,4_6,44_55,41";
    if (!has(text, "--quality")) text += " --quality medium";
    Words words = split(text, ' ');
    std::erase(words, "");
    for (std::string& word : words) std::replace(word.begin(), word.end(), '_', ' ');
    return words;
}

class Maps : public ZelkTest, public ::testing::WithParamInterface<MapCase> {};

// Rendered positions are bilinear in a ramp, so exact but for rounding wherever all four pixels
// are the layer's own; those of Low are whole pixels.
TEST_P(Maps, AreWhereTheRendererLooks) {
    Words const options = wordsOf(GetParam());
    bool const isLow = has(GetParam().options, "low");
    writePicture(at("ramp.exr"), ramp(64, 48));
    render("ramp.exr", "out.exr", options);
    done(joined({"map", "ramp.exr", "-o", "st.exr"}, options));
    done(joined({"map", "ramp.exr", "--matrix", "-o", "m.json"}, options));
    Json const json = Json::parse(bytesOf("m.json"));
    auto const toFrame = json["frames"][0]["matrix"].get<PlaneMatrix>(),
               toLayer = json["frames"][0]["inverse"].get<PlaneMatrix>();
    auto const out = readPicture<float>(at("out.exr")), st = readPicture<float>(at("st.exr"));
    int const margin = (out.width - st.width) / 2;  // of Grow Bounds
    int inside = 0;
    for (int y = 0; y < st.height; ++y)
        for (int x = 0; x < st.width; ++x) {
            SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
            auto const of = [&](int c) { return out.at(x + margin, y + margin, c); };
            if (margin == 0) {
                ASSERT_EQ(st.at(x, y, 3), of(3));
            }
            if (st.at(x, y, 3) < 1 || of(3) < 1) continue;
            auto const p = mapped(toLayer, {x + 0.5, y + 0.5}).value();
            auto const back = mapped(toFrame, p).value();
            ASSERT_NEAR(back.x, x + 0.5, 1e-6);
            ASSERT_NEAR(back.y, y + 0.5, 1e-6);
            ASSERT_NEAR(st.at(x, y, 0) * 64, p.x, 1e-3);
            ASSERT_NEAR((1 - st.at(x, y, 1)) * 48, p.y, 1e-3);
            bool const isOwn = p.x > 1.5 && p.x < 62.5 && p.y > 1.5 && p.y < 46.5;
            if (!isOwn) continue;
            ++inside;
            for (auto const& [value, exact] : {std::pair(of(0), p.x), {of(1), p.y}}) {
                if (isLow)
                    ASSERT_NEAR(value, exact, 0.5 + 1e-3);
                else
                    ASSERT_NEAR(value, exact, 1e-3);
            }
        }
    EXPECT_GT(inside, 300);
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, Maps,
    ::testing::Values(
        MapCase{"OwnFrame", ""}, MapCase{"MemoryRoad", "--road memory"},
        MapCase{"OtherSize", "--size 80x52"}, MapCase{"Low", "--quality low"},
        MapCase{"LowOtherSize", "--quality low --size 80x52"}, MapCase{"FromPins", "--view from"},
        MapCase{"FromPinsOtherSize", "--view from --size 80x52"},
        MapCase{"ToPins", "--view to --size 80x52"}, MapCase{"Original", "--view original"},
        // The image between two passes is bilinear too: a parallelogram keeps it a ramp.
        MapCase{"Crop", "--set crop-to-pins=on --from 3,2_50,4_6,44_53,46 --size 80x52"},
        MapCase{"Offsets", "--set to-upper-left-offset-x=4 --set from-lower-right-offset-y=-5"},
        MapCase{"Reposition", "--set rotate=20 --set scale-x=0.8 --set translate-y=7"},
        MapCase{"Grown", "--grow 6"}, MapCase{"GrownLow", "--grow 6 --quality low"}),
    [](auto const& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace zelk_test

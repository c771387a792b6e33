// Maps against pictures: where the renderer takes each pixel from, as matrices and as ST maps.
#include <cmath>
#include <nlohmann/json.hpp>

#include "tests/support/zelk_process.h"
#include "zelk/render/quad_map.h"

namespace zelk_test {
namespace {

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

/// With a quad on each side and bilinear, where they don't say otherwise.
Words wordsOf(std::string text) {
    text += " --to 9,5_55,2_4,40_60,44";
    if (!has(text, "--from")) text += " --from 3,2_50,4_6,44_55,41";
    if (!has(text, "--quality")) text += " --quality medium";
    Words words = split(text, ' ');
    std::erase(words, "");
    for (std::string& word : words) std::replace(word.begin(), word.end(), '_', ' ');
    return words;
}

class Maps : public ZelkTest, public ::testing::WithParamInterface<char const*> {};

// Rendered positions are bilinear in a ramp, so exact but for rounding wherever all four pixels
// are the layer's own; those of Low are whole pixels.
TEST_P(Maps, AreWhereTheRendererLooks) {
    Words const options = wordsOf(GetParam());
    double const tolerancePx = has(GetParam(), "low") ? 0.5 + 1e-3 : 1e-3;
    writePicture(at("ramp.exr"), ramp(64, 48));
    render("ramp.exr", "out.exr", options);
    done(joined({"map", "ramp.exr", "-o", "st.exr"}, options));
    done(joined({"map", "ramp.exr", "--matrix", "-o", "m.json"}, options));
    auto const json = nlohmann::json::parse(bytesOf("m.json"))["frames"][0];
    auto const toFrame = json["matrix"].get<PlaneMatrix>(),
               toLayer = json["inverse"].get<PlaneMatrix>();
    auto const out = readPicture<float>(at("out.exr")), st = readPicture<float>(at("st.exr"));
    int const margin = (out.width - st.width) / 2;  // of Grow Bounds
    int inside = 0;
    for (int y = 0; y < st.height; ++y)
        for (int x = 0; x < st.width; ++x) {
            auto const of = [&](int c) { return out.at(x + margin, y + margin, c); };
            ASSERT_TRUE(margin > 0 || st.at(x, y, 3) == of(3));
            if (st.at(x, y, 3) < 1 || of(3) < 1) continue;
            auto const p = mapped(toLayer, {x + 0.5, y + 0.5}).value();
            auto const back = mapped(toFrame, p).value();
            ASSERT_LT(std::hypot(back.x - x - 0.5, back.y - y - 0.5), 1e-6);
            ASSERT_NEAR(st.at(x, y, 0) * 64, p.x, 1e-3);
            ASSERT_NEAR((1 - st.at(x, y, 1)) * 48, p.y, 1e-3);
            if (p.x < 1.5 || p.x > 62.5 || p.y < 1.5 || p.y > 46.5) continue;
            ++inside;
            ASSERT_NEAR(of(0), p.x, tolerancePx);
            ASSERT_NEAR(of(1), p.y, tolerancePx);
        }
    EXPECT_GT(inside, 300);
}

// In own frames and others, views, offsets and margins; `_` is a blank within a word. The image
// between the passes of Crop is bilinear too: a parallelogram keeps it a ramp.
INSTANTIATE_TEST_SUITE_P(
    Scenes, Maps,
    ::testing::Values("", "--road memory", "--size 80x52", "--quality low",
                      "--quality low --size 80x52", "--view from --size 80x52", "--view to",
                      "--view original",
                      "--set crop-to-pins=on --from 3,2_50,4_6,44_53,46 --size 80x52",
                      "--set to-upper-left-offset-x=4 --set from-lower-right-offset-y=-5",
                      "--set rotate=20 --set scale-x=0.8 --set translate-y=7",
                      "--grow 6 --quality low"));

}  // namespace
}  // namespace zelk_test

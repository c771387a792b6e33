// Pictures taken out of what they were laid over: the same bits as by quads that were exchanged by
// hand, whatever set the pins.
#include "tests/support/zelk_process.h"
#include "zelk/render/frame_renderer.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"

namespace zelk_test {
namespace {

class Inverted : public ZelkTest {
protected:
    void SetUp() override { writePicture(at("plate.exr"), noise<float>(70, 50, 4, 31)); }
    /// The pictures that a command line's words make, without a name for the output.
    Picture<float> made(Words const& words, std::string const& out = "made.exr") const {
        done(joined({"render", "--quality", "medium", "-o", out}, words));
        return readPicture<float>(at(out == "made.exr" ? out : "made.0002.exr"));
    }
};

// Natural size: the longest sides, sqrt(40^2 + 2^2) and sqrt(5^2 + 30^2), rounded.
TEST_F(Inverted, IsThePinWithExchangedQuads) {
    std::string const quad = "9,6 47,4 4,36 44,34";
    auto const expected =
        made({"plate.exr", "--size", "40x30", "--from", quad, "--to", "0,0 40,0 0,30 40,30"});
    for (Words const& words : {Words{"plate.exr"},
                               {"--over", "plate.exr"},
                               {"none.png", "--over", "plate.exr"},
                               {"--size", "40x30", "--over", "plate.exr"}})
        EXPECT_EQ(made(joined({"--invert", "--to", quad}, words)), expected);

    // What a renderer settles renders the same, without anything inverted.
    zelk::Scene scene;
    for (auto const& [name, value] :
         {std::pair("invert", std::string("on")), {"over", at("plate.exr").string()}, {"to", quad}})
        zelk::sceneEdit(name).apply(scene, name, value);
    zelk::FrameRenderer renderer(scene);
    renderer.begin({0});
    zelk::Scene settled = renderer.settledScene();
    zelk::writeScene(settled, at("settled.zelk.json"), true);
    EXPECT_FALSE(zelk::readScene(at("settled.zelk.json")).isInverted);
    EXPECT_EQ(made({"--project", "settled.zelk.json"}), expected);
}

// Keys, offsets, a Reposition and a view that are the sign's; all frames have one size, that of
// the largest quad, here of frame 3.
TEST_F(Inverted, FollowsKeysAndTracksOverOneSize) {
    put("s.zelk.json", R"({"schema": "zelk-project", "version": 1, "layer": "none.png",
        "comp": {"width": 70, "height": 50, "rate": 25, "startFrame": 1, "duration": 3},
        "plate": "plate.exr", "render": {"invert": true, "mode": "add"}, "parameters": {
        "view-mode": {"value": "To Pins"}, "rotate": {"value": 30},
        "corner-pin-opacity": {"value": 20}, "from-upper-left": {"value": [1, 1]},
        "to-upper-left": {"keys": [{"frame": 1, "value": [10, 10]}, {"frame": 3, "value": [0, 10]}]},
        "to-upper-right": {"value": [40, 10]}, "to-lower-left": {"value": [10, 30]},
        "to-lower-right": {"value": [40, 30]}, "to-lower-left-offset-y": {"value": 10}}})");
    put("t.csv", "1,10,10,40,10,10,35,40,30\n2,5,10,40,10,10,35,40,30\n3,0,10,40,10,10,35,40,30\n");
    auto const expected = made({"plate.exr", "--size", "40x27", "--from", "5,10 40,10 10,35 40,30",
                                "--to", "0,0 40,0 0,27 40,27"});
    EXPECT_EQ(made({"--project", "s.zelk.json"}, "made.#.exr"), expected);
    EXPECT_EQ(made({"plate.exr", "--invert", "--track", "t.csv"}, "made.#.exr"), expected);
}

// The plate's space is the picture's; the sign's, its mattes, outline and lens play no part.
TEST_F(Inverted, KeepsThePlatesColorsAndDropsTheSignsFinish) {
    Words const work = {"--work-color", "linear", "--to"};
    std::string const quad = "9,6 47,4 4,36 44,34", corners = "0,0 40,0 0,30 40,30";
    auto const expected =
        made(joined({"plate.exr", "--size", "40x30", "--from", quad, "--layer-color", "KodakLog"},
                    joined(work, {corners})));
    Words const inverted = joined({"--invert"}, joined(work, {quad}));
    EXPECT_EQ(made(joined({"none.png", "--over", "plate.exr", "--plate-color", "KodakLog",
                           "--layer-color", "sRGB"},
                          inverted)),
              expected);
    put("s.zelk.json", R"({"schema": "zelk-project", "version": 1, "layer": "none.png",
        "comp": {"width": 70, "height": 50, "rate": 25, "startFrame": 0, "duration": 1},
        "plate": "plate.exr", "color": {"layer": "sRGB", "plate": "KodakLog"},
        "matte": {"file": "none.exr"}, "holdout": {"file": "none.exr"}, "stMap": "none.mov",
        "render": {"edges": "exact", "feather": 3, "choke": 2}, "parameters": {}})");
    EXPECT_EQ(made(joined({"--project", "s.zelk.json"}, inverted)), expected);
}

}  // namespace
}  // namespace zelk_test

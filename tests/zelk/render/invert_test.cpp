// Pictures taken out of what they were laid over: the same bits as by quads that were exchanged by
// hand, whatever set the pins.
#include <nlohmann/json.hpp>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

class Inverted : public ZelkTest {
protected:
    void SetUp() override {
        writePicture(at("plate.exr"), noise<float>(70, 50, 4, 31));
        writePicture(at("sign.png"), noise<std::uint8_t>(9, 8, 4, 32));
    }
    std::vector<float> values(std::string const& name) const {
        return readPicture<float>(at(name)).values;
    }
};

// Natural size: the longest sides, sqrt(40^2 + 2^2) and sqrt(5^2 + 30^2), rounded.
TEST_F(Inverted, IsThePinWithExchangedQuads) {
    std::string const quad = "9,6 47,4 4,36 44,34", own = "0,0 40,0 0,30 40,30";
    render("plate.exr", "hand.exr", {"--size", "40x30", "--from", quad, "--to", own});
    auto const expected = values("hand.exr");
    int round = 0;
    for (Words const& words : {Words{"plate.exr"},
                               {"--over", "plate.exr"},
                               {"sign.png", "--over", "plate.exr"},
                               {"plate.exr", "--size", "40x30"},
                               {"--size", "40x30", "--over", "plate.exr"}}) {
        std::string const out = "out" + std::to_string(++round) + ".exr";
        done(joined({"render", "-o", out, "--invert", "--to", quad}, words));
        auto const picture = readPicture<float>(at(out));
        EXPECT_EQ(std::pair(picture.width, picture.height), std::pair(40, 30));
        EXPECT_EQ(picture.values, expected);
    }
    done({"map", "plate.exr", "--invert", "--to", quad, "--matrix", "-o", "m.json"});
    auto const map = nlohmann::json::parse(bytesOf("m.json"))["frames"][0]["inverse"];
    EXPECT_NEAR(map[2].get<double>(), 9, 1e-4);  // of 0,0
    EXPECT_NEAR(map[5].get<double>(), 6, 1e-4);
}

// Keys, offsets, a Reposition and a view that are the sign's; all frames have one size, that of
// the largest quad.
TEST_F(Inverted, FollowsKeysAndTracksOverOneSize) {
    put("s.zelk.json", R"({"schema": "zelk-project", "version": 1, "layer": "sign.png",
        "comp": {"width": 70, "height": 50, "rate": 25, "startFrame": 1, "duration": 3},
        "plate": "plate.exr", "render": {"invert": true, "mode": "add"}, "parameters": {
        "view-mode": {"value": "To Pins"}, "rotate": {"value": 30}, "corner-pin-opacity": {"value": 20},
        "from-upper-left": {"value": [1, 1]},
        "to-upper-left": {"keys": [{"frame": 1, "value": [10, 10]}, {"frame": 3, "value": [0, 10]}]},
        "to-upper-right": {"value": [40, 10]}, "to-lower-left": {"value": [10, 30]},
        "to-lower-right": {"value": [40, 30]}, "to-lower-left-offset-y": {"value": 10}}})");
    ASSERT_EQ(run({"project", "check", "s.zelk.json"}).err, "");
    done({"render", "--project", "s.zelk.json", "-o", "key.#.exr", "--quality", "medium"});
    put("t.csv", "1,10,10,40,10,10,35,40,30\n2,5,10,40,10,10,35,40,30\n3,0,10,40,10,10,35,40,30\n");
    done({"render", "plate.exr", "--invert", "--track", "t.csv", "--frames", "1-3", "-o",
          "track.#.exr", "--quality", "medium"});
    for (int frame = 1; frame <= 3; ++frame) {
        std::string const left = std::to_string(15 - 5 * frame),
                          name = std::to_string(10000 + frame).substr(1);
        render("plate.exr", "hand.exr",
               {"--size", "40x27", "--quality", "medium", "--from", left + ",10 40,10 10,35 40,30",
                "--to", "0,0 40,0 0,27 40,27"});
        EXPECT_EQ(values("key." + name + ".exr"), values("hand.exr")) << frame;
        EXPECT_EQ(values("track." + name + ".exr"), values("hand.exr")) << frame;
    }
}

}  // namespace
}  // namespace zelk_test

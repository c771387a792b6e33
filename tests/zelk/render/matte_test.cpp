// Mattes of the layer and holdouts of the frame: their arithmetic on random pictures, the channels
// that they come from, many frames of them, and what is refused.
#include <cmath>

#include "tests/support/zelk_process.h"
#include "zelk/scene/file.h"

namespace zelk_test {
namespace {

struct Mattes : ZelkTest {
    /// R, G, B and one more, in [0, 1].
    Picture<float> const layer = noise<float>(20, 16, 4, 1), plate = noise<float>(20, 16, 4, 2),
                         matte = noise<float>(20, 16, 1, 3), holdout = noise<float>(20, 16, 4, 4);
    void SetUp() override {
        writePicture(at("l.exr"), layer);
        writePicture(at("p.exr"), plate);
        writePicture(at("m.exr"), matte);
        writePicture(at("h.exr"), holdout);
    }
    /// The layer as it is, laid over the plate.
    std::string over(Words const& options) const {
        return copy("l.exr", "o.exr", joined({"--over", "p.exr"}, options));
    }
};

// f m (1 - h) + p (1 - its alpha), in the order in which it is computed.
TEST_F(Mattes, MultiplyAndHoldOutTheLayerOverThePlate) {
    for (int which = 0; which < 4; ++which) {
        Words options;
        if (which & 1) options = {"--matte", "m.exr"};
        if (which & 2) options = joined(options, {"--holdout", "h.exr"});
        over(options);
        auto const out = readPicture<float>(at("o.exr"));
        for (int i = 0; i < 20 * 16; ++i) {
            float const m = which & 1 ? matte.at(i, 0, 0) : 1;
            float const rest = which & 2 ? 1 - holdout.at(i, 0, 3) : 1;
            for (int c = 0; c < 4; ++c) {
                float const f = layer.at(i, 0, c) * m * rest, a = layer.at(i, 0, 3) * m * rest;
                // Straightened and associated again by the pipeline, twice rounded.
                ASSERT_NEAR(out.at(i, 0, c), f + plate.at(i, 0, c) * (1 - a), 4e-7) << which;
            }
        }
    }
}

// Straight colour stays; alpha is rounded once by each, to nearest.
TEST_F(Mattes, OnTheModuleRoadAlphaIsRoundedOnceInTheLayersDepth) {
    auto const in = noise<std::uint8_t>(20, 16, 4, 5);
    writePicture(at("l.png"), in);
    for (Words const& more : {Words(), {"--grow", "3"}, {"--host", "PrMr"}, {"--plain"}}) {
        copy("l.png", "m.png", joined(more, {"--matte", "m.exr"}));
        copy("l.png", "h.png", joined(more, {"--holdout", "h.exr:A"}));
        auto const matted = readPicture<std::uint8_t>(at("m.png"));
        auto const held = readPicture<std::uint8_t>(at("h.png"));
        int const left = (matted.width - 20) / 2;
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 20; ++x)
                for (int c = 0; c < 4; ++c) {
                    int const value = in.at(x, y, c);
                    double const m = c < 3 ? 1 : matte.at(x, y, 0),
                                 h = c < 3 ? 0 : holdout.at(x, y, 3);
                    ASSERT_EQ(matted.at(x + left, y + left, c), std::floor(value * m + 0.5));
                    ASSERT_EQ(held.at(x + left, y + left, c), std::floor(value * (1 - h) + 0.5));
                }
    }
}

// A matte moves with the layer, as its own alpha would, reduced or not; a holdout stays.
TEST_F(Mattes, AMatteIsPinnedAndAHoldoutIsNot) {
    Picture<float> own = layer;
    for (std::size_t i = 0; i < own.values.size(); ++i) own.values[i] *= matte.values[i / 4];
    writePicture(at("own.exr"), own);
    for (Words const& more : {Words{"--over", "p.exr", "--set", "rotate=20"},
                              {"--size", "31x17"},
                              {"--downsample", "3"}}) {
        Words const options = joined(more, {"--to", "3,2 17,1 2,15 18,12"});
        render("own.exr", "a.exr", options);
        render("l.exr", "b.exr", joined(options, {"--matte", "m.exr:Y"}));
        auto const a = readPicture<float>(at("a.exr")), b = readPicture<float>(at("b.exr"));
        for (std::size_t i = 0; i < a.values.size(); ++i)
            ASSERT_NEAR(a.values[i], b.values[i], 1e-5);
    }
    writeValues(at("white.exr"), OIIO::ImageSpec(20, 16, 1, OIIO::TypeHalf), {1});
    over({"--to", "3,2 17,1 2,15 18,12", "--holdout", "white.exr"});
    EXPECT_EQ(readPicture<float>(at("o.exr")).values, plate.values);
}

TEST_F(Mattes, ComeFromTheChannelThatIsNamed) {
    OIIO::ImageSpec spec(20, 16, 4, OIIO::TypeFloat);
    writeValues(at("rgba.exr"), spec, [] {
        std::vector<float> values(20 * 16 * 4);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = std::array{0.25f, 0.5f, 1.5f, 0.75f}[i % 4];
        return values;
    }());
    spec.channelnames = {"R", "G", "B", "id.mask"};
    spec.alpha_channel = -1;
    writeValues(at("id.exr"), spec, {0.125f});
    OIIO::ImageSpec part(20, 16, 1, OIIO::TypeHalf);
    OIIO::ImageSpec const both[] = {part, part};
    const_cast<OIIO::ImageSpec&>(both[1]).channelnames = {"near"};
    const_cast<OIIO::ImageSpec&>(both[0]).attribute("oiio:subimagename", "beauty");
    const_cast<OIIO::ImageSpec&>(both[1]).attribute("oiio:subimagename", "roto");
    auto const writer = OIIO::ImageOutput::create("parts.exr");
    std::vector<float> const dark(20 * 16, 0.0f), light(20 * 16, 0.625f);
    ASSERT_TRUE(writer->open(at("parts.exr").string(), 2, both));
    ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, dark.data()));
    ASSERT_TRUE(writer->open(at("parts.exr").string(), both[1], OIIO::ImageOutput::AppendSubimage));
    ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, light.data()) && writer->close());
    std::filesystem::copy(at("m.exr"), at("odd:R.exr"));
    writeValues(at("grey.png"), OIIO::ImageSpec(20, 16, 1, OIIO::TypeUInt8), {0.2f});
    writePicture(at("l.exr"), Picture<float>{20, 16, 4, std::vector<float>(20 * 16 * 4, 1), {}});
    float const luminance = 0.2126f * 0.25f + 0.7152f * 0.5f + 0.0722f * 1.5f;
    for (auto const& [name, value] : {std::pair("rgba.exr", 0.75f),
                                      {"rgba.exr:R", 0.25f},
                                      {"rgba.exr:g", 0.5f},
                                      {"rgba.exr:B", 1.0f},  // limited
                                      {"rgba.exr:A", 0.75f},
                                      {"rgba.exr:Y", luminance},
                                      {"id.exr:id.mask", 0.125f},
                                      {"parts.exr:near", 0.625f},
                                      {"parts.exr:roto.near", 0.625f},
                                      {"grey.png", 0.2f},
                                      {"odd:R.exr", matte.values[0]}}) {
        copy("l.exr", "o.exr", {"--road", "memory", "--matte", name});
        EXPECT_NEAR(readPicture<float>(at("o.exr")).values[3], value, 1e-7) << name;
        copy("l.exr", "o.exr", {"--holdout", name});
        EXPECT_NEAR(readPicture<float>(at("o.exr")).values[3], 1 - value, 1e-7) << name;
    }
    Words const render = "render l.exr -o o.exr --matte"_words;
    for (auto const& [name, told] : {std::pair("rgba.exr:depth", "\"depth\""),
                                     {"none.exr:R", "none.exr: no such file"},
                                     {"parts.exr:A", "\"A\""}})
        for (std::string const how : {"--in-place", "--dry-run"}) {
            Outcome const outcome = run(joined(render, {name, how}));
            EXPECT_TRUE(outcome.exitCode == 3 && has(outcome.err, told)) << name << outcome.err;
        }
    expectRefusal(joined(render, {"m.exr:"}), 2, {"--matte", "FILE:CHANNEL"});
    expectRefusal("render l.exr -o m.exr --matte m.exr"_words, 2, {"matte", "--in-place"});
    writePicture(at("small.exr"), noise<float>(19, 16, 1, 6));
    for (std::string const kind : {"matte", "holdout"})
        expectRefusal({"render", "l.exr", "-o", "o.exr", "--" + kind, "small.exr"}, 3,
                      {"small.exr: a " + kind + " of 19x16", "20x16"});
}

// The rules of layer and plate: a hole ends the run, or is held, left out or black, which hides
// the layer under a matte and nothing by a holdout.
TEST_F(Mattes, MayBeNumberedWithHoles) {
    writeValues(at("l.exr"), OIIO::ImageSpec(20, 16, 4, OIIO::TypeFloat), {1});
    for (int frame : {1, 2, 4})
        writeValues(at("m." + std::to_string(frame) + ".exr"),
                    OIIO::ImageSpec(20, 16, 1, OIIO::TypeFloat), {float(frame) / 8});
    for (auto const& [kind, black] : {std::pair("matte", 0.0f), {"holdout", 1.0f}})
        for (std::string const missing : {"stop", "hold", "skip", "black"}) {
            Outcome const outcome = run({"render", "l.exr", "-o", "o.#.exr", "--frames", "1-4",
                                         std::string("--") + kind, "m.%d.exr:Y", "--view",
                                         "original", "--missing", missing});
            EXPECT_EQ(outcome.exitCode, missing == "stop" ? 3 : 0) << outcome.err;
            EXPECT_EQ(has(outcome.err, "m.3.exr"), missing == "stop");
            auto const value = [&](int frame) {
                auto const picture =
                    readPicture<float>(at("o.000" + std::to_string(frame) + ".exr"));
                return picture.width ? picture.values[3] : -1;
            };
            auto const of = [&](float m) { return std::string(kind) == "matte" ? m : 1 - m; };
            EXPECT_EQ(value(2), of(0.25f));
            EXPECT_EQ(value(3), missing == "hold" ? of(0.25f) : missing == "black" ? black : -1);
            for (int frame = 1; frame <= 4; ++frame)
                std::filesystem::remove(at("o.000" + std::to_string(frame) + ".exr"));
        }
    std::string const plan = run({"render", "l.exr", "-o", "o.#.exr", "--matte", "m.%d.exr",
                                  "--holdout", "m.1.exr:Y", "--dry-run"})
                                 .out;
    EXPECT_TRUE(has(plan, "4: read l.exr, matte m.4.exr, holdout m.1.exr, write")) << plan;
    std::string const told =
        run({"render", "l.exr", "-o", "o.exr", "--matte", "m.1.exr:Y", "--explain"}).out;
    EXPECT_TRUE(has(told, "matte     m.1.exr:Y\n")) << told;
}

// A holdout lies at the display window of a plate with overscan, or covers it all.
TEST_F(Mattes, AHoldoutKnowsThePlatesWindows) {
    OIIO::ImageSpec spec(24, 18, 4, OIIO::TypeFloat);
    spec.x = -3, spec.y = -1;
    spec.set_roi_full({0, 20, 0, 16, 0, 1, 0, 4});
    auto const wide = noise<float>(24, 18, 4, 9);
    writeValues(at("p.exr"), spec, wide.values);
    writeValues(at("l.exr"), OIIO::ImageSpec(2, 2, 3, OIIO::TypeFloat), {0});
    auto const whole = noise<float>(24, 18, 1, 10);
    writePicture(at("whole.png"), whole, "uint16");
    for (std::string const name : {"h.exr", "whole.png"}) {
        render("l.exr", "o.exr",
               {"--over", "p.exr", "--to", "-9,-9 40,-9 -9,40 40,40", "--holdout", name});
        auto const out = readPicture<float>(at("o.exr"));
        ASSERT_EQ(out.width, 24);
        for (int y = 0; y < 18; ++y)
            for (int x = 0; x < 24; ++x) {
                bool const isInside = x >= 3 && x < 23 && y >= 1 && y < 17;
                float const h = name == "whole.png" ? whole.at(x, y, 0)
                                : isInside          ? holdout.at(x - 3, y - 1, 3)
                                                    : 0;
                // The clip box leaves 5/512 of the last column open.
                double const open = x == 23 ? (1 - h) * 5 / 512 : 0;
                ASSERT_NEAR(out.at(x, y, 1), wide.at(x, y, 1) * (h + open), 2e-5)
                    << name << x << "," << y;
            }
    }
}

TEST_F(Mattes, StandInAProject) {
    put("s.zelk.json", R"({"schema": "zelk-project", "version": 1,
        "comp": {"width": 20, "height": 16, "rate": 25}, "layer": "l.exr",
        "matte": {"file": "m.####.exr", "channel": "id.mask"}, "holdout": {"file": "h.exr"},
        "render": {"orientation": "raw", "overscan": "drop", "channels": "rgb"}})");
    zelk::Scene const scene = zelk::readScene(at("s.zelk.json"));
    EXPECT_EQ(scene.matte->file.file.written + scene.matte->channel, "m.####.exrid.mask");
    EXPECT_TRUE(scene.keepsOrientation && scene.dropsOverscan && scene.channels == "rgb");
    writeScene(scene, at("t.zelk.json"), false);
    EXPECT_EQ(sceneText(zelk::readScene(at("t.zelk.json"))), sceneText(scene));
    put("s.zelk.json", R"({"schema": "zelk-project", "version": 1, "layer": "l.exr",
        "comp": {"width": 20, "height": 16, "rate": 25}, "matte": {"channel": "A"}})");
    expectRefusal("project check s.zelk.json"_words, 3, {"s.zelk.json", "matte.file"});
}

}  // namespace
}  // namespace zelk_test

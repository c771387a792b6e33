// Mattes of the layer and holdouts of the frame: their arithmetic on random pictures, the channels
// that they come from, many frames of them, and what is refused.
#include <cmath>

#include "tests/support/zelk_process.h"

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
    bool onDisk(std::string const& name) const { return std::filesystem::exists(at(name)); }
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
    for (int margin : {0, 3}) {
        Words const more = {"--host", "PrMr", "--grow", std::to_string(margin)};
        copy("l.png", "m.png", joined(more, {"--matte", "m.exr"}));
        copy("l.png", "h.png", joined(more, {"--holdout", "h.exr:A"}));
        auto const matted = readPicture<std::uint8_t>(at("m.png")),
                   held = readPicture<std::uint8_t>(at("h.png"));
        for (int i = 0; i < 20 * 16 * 4; ++i) {
            int const c = i % 4, x = i / 4 % 20, y = i / 80, value = in.values[std::size_t(i)];
            double const m = c < 3 ? 1 : matte.at(x, y, 0), h = c < 3 ? 0 : holdout.at(x, y, 3);
            ASSERT_EQ(matted.at(x + margin, y + margin, c), std::floor(value * m + 0.5));
            ASSERT_EQ(held.at(x + margin, y + margin, c), std::floor(value * (1 - h) + 0.5));
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
    OIIO::ImageSpec spec(20, 16, 4, OIIO::TypeFloat), part(20, 16, 1, OIIO::TypeHalf);
    spec.channelnames = {"R", "G", "B", "id.mask"};
    spec.alpha_channel = -1;
    part.channelnames = {"near"};
    part.attribute("oiio:subimagename", "roto");
    writeParts(at("id.exr"), {spec, part}, holdout.values);
    auto const h = [this](int c) { return holdout.values[std::size_t(c)]; };
    std::filesystem::copy(at("m.exr"), at("odd:R.exr"));
    writeValues(at("grey.png"), OIIO::ImageSpec(20, 16, 1, OIIO::TypeUInt8), {0.2f});
    writePicture(at("l.exr"), Picture<float>{20, 16, 4, std::vector<float>(20 * 16 * 4, 1), {}});
    float const luminance = 0.2126f * h(0) + 0.7152f * h(1) + 0.0722f * h(2);
    for (auto const& [name, value] : {std::pair("h.exr", h(3)),
                                      {"h.exr:R", h(0)},
                                      {"h.exr:g", h(1)},
                                      {"h.exr:A", h(3)},
                                      {"h.exr:Y", luminance},
                                      {"id.exr", luminance},
                                      {"id.exr:id.mask", h(3)},
                                      {"id.exr:near", h(0)},
                                      {"id.exr:roto.near", h(0)},
                                      {"grey.png", 0.2f},
                                      {"odd:R.exr", matte.values[0]}}) {
        copy("l.exr", "o.exr", {"--road", "memory", "--matte", name});
        EXPECT_NEAR(readPicture<float>(at("o.exr")).values[3], value, 1e-7) << name;
        copy("l.exr", "o.exr", {"--holdout", name});
        EXPECT_NEAR(readPicture<float>(at("o.exr")).values[3], 1 - value, 1e-7) << name;
    }
    // Alpha that says nothing, where grey was meant.
    writePicture(at("opaque.png"),
                 Picture<std::uint8_t>{20, 16, 4, std::vector<std::uint8_t>(20 * 16 * 4, 255), {}});
    for (std::string const kind : {"--matte", "--holdout"}) {
        EXPECT_TRUE(has(run(joined("render l.exr -o o.exr"_words, {kind, "opaque.png"})).err,
                        "opaque.png:R"));
        EXPECT_EQ(run(joined("render l.exr -o o.exr"_words, {kind, "opaque.png:A"})).err, "");
    }
    Words const render = "render l.exr -o o.exr --matte"_words;
    for (auto const& [name, told] : {std::pair("h.exr:depth", "\"depth\""),
                                     {"none.exr:R", "none.exr: no such file"},
                                     {"id.exr:A", "\"A\""}})
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
    Words const plan = "render l.exr -o o.%d.exr --matte m.%d.exr --holdout m.1.exr:Y"_words;
    for (auto const& [kind, held, black] :
         {std::tuple("--matte", 0.25f, 0.0f), {"--holdout", 0.75f, 1.0f}})
        for (std::string const missing : {"skip", "stop", "hold", "black"}) {
            Outcome const outcome =
                run({"render", "l.exr", "-o", "o.%d.exr", "--frames", "1-4", kind, "m.%d.exr",
                     "--view", "original", "--missing", missing});
            EXPECT_EQ(has(outcome.err, "m.3.exr"), missing == "stop") << outcome.err;
            EXPECT_EQ(readPicture<float>(at("o.2.exr")).values[3], held);
            bool const isThere = std::filesystem::remove(at("o.2.exr")) && onDisk("o.3.exr");
            ASSERT_EQ(isThere, missing == "hold" || missing == "black");
            if (!isThere) continue;
            EXPECT_EQ(readPicture<float>(at("o.3.exr")).values[3],
                      missing == "hold" ? held : black);
            std::filesystem::remove(at("o.3.exr"));
        }
    EXPECT_TRUE(has(run(joined(plan, {"--dry-run"})).out,
                    "4: read l.exr, matte m.4.exr, holdout m.1.exr, write"));
    EXPECT_TRUE(has(run("render l.exr -o o.exr --matte m.1.exr:Y --explain"_words).out,
                    "matte     m.1.exr:Y\n"));
}

// A holdout lies at the display window of a plate with overscan, where nothing else is held out.
TEST_F(Mattes, AHoldoutKnowsThePlatesWindows) {
    OIIO::ImageSpec spec(24, 18, 4, OIIO::TypeFloat);
    spec.x = -3, spec.y = -1;
    spec.set_roi_full({0, 20, 0, 16, 0, 1, 0, 4});
    auto const wide = noise<float>(24, 18, 4, 9);
    writeValues(at("p.exr"), spec, wide.values);
    writeValues(at("l.exr"), OIIO::ImageSpec(2, 2, 3, OIIO::TypeFloat), {0});
    render("l.exr", "o.exr",
           {"--over", "p.exr", "--to", "-9,-9 40,-9 -9,40 40,40", "--holdout", "h.exr"});
    auto const out = readPicture<float>(at("o.exr"));
    for (int y = 0; y < 18; ++y)
        for (int x = 0; x < 23; ++x) {  // the clip leaves some of the last column open
            bool const isInside = x >= 3 && x < 23 && y >= 1 && y < 17;
            float const h = isInside ? holdout.at(x - 3, y - 1, 3) : 0;
            ASSERT_NEAR(out.at(x, y, 1), wide.at(x, y, 1) * h, 2e-5) << x << "," << y;
        }
}

}  // namespace
}  // namespace zelk_test

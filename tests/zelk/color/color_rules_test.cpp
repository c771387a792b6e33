// Which space counts: configurations and their file rules, options, projects, tags of what is
// written, refusals; and what alpha does to a conversion.
#include <cmath>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

constexpr char const* kConfig = R"(ocio_profile_version: 2
roles:
  scene_linear: lin
  default: lin
file_rules:
  - !<Rule> {name: Cameras, extension: "*", pattern: "*cam*", colorspace: square}
  - !<Rule> {name: Default, colorspace: default}
displays:
  screen:
    - !<View> {name: Cube, colorspace: cube}
    - !<View> {name: Square, colorspace: square}
colorspaces:
  - !<ColorSpace> {name: lin}
  - !<ColorSpace>
    name: square
    aliases: [sq]
    to_scene_reference: !<ExponentTransform> {value: [2, 2, 2, 1]}
  - !<ColorSpace>
    name: cube
    from_scene_reference: !<ExponentTransform> {value: [0.333333333, 0.333333333, 0.333333333, 1]}
)";

class ColorRules : public ZelkTest {
protected:
    void SetUp() override {
        unsetenv("OCIO");
        put("config.ocio", kConfig);
        for (char const* name : {"half.png", "cam.png"})
            writeValues(at(name), OIIO::ImageSpec(8, 8, 3, OIIO::TypeUInt16), {0.5f});
        writeValues(at("plate.exr"), OIIO::ImageSpec(8, 8, 3, OIIO::TypeFloat), {0.25f});
        writeValues(at("clear.png"), OIIO::ImageSpec(8, 8, 4, OIIO::TypeUInt8), {0});
    }
    void TearDown() override {
        unsetenv("OCIO");
        ZelkTest::TearDown();
    }
    double center(std::string const& file, int channel = 0) const {
        auto const picture = readPicture<float>(at(file));
        bool const isThere = picture.width > 0;
        return isThere ? picture.at(picture.width / 3, picture.height / 2, channel) : -1;
    }
    /// A layer over the linear plate, or the plate itself where nothing is laid over it.
    double over(std::string const& layer, Words const& more, std::string const& out = "out.exr",
                std::string const& plate = "plate.exr") const {
        render(layer, out, joined({"--over", plate, "--quality", "medium"}, more));
        return center(out);
    }
};

constexpr double kHalf = 32768. / 65535;  // 0.5 in 16 bits
double const kLight = std::pow((kHalf + 0.055) / 1.055, 2.4);

TEST_F(ColorRules, OptionsBeatFileRulesWhichBeatWhatFilesMean) {
    Words const config = {"--ocio", "config.ocio"};
    EXPECT_NEAR(over("half.png", {}), kLight, 1e-6);
    EXPECT_NEAR(over("half.png", config), kLight, 1e-6);  // the default rule says nothing
    EXPECT_NEAR(over("cam.png", config), kHalf * kHalf, 1e-6);
    EXPECT_NEAR(over("half.png", joined(config, {"--layer-color", "SQ"})), kHalf * kHalf, 1e-6);
    EXPECT_NEAR(over("cam.png", joined(config, {"--layer-color", "linear"})), kHalf, 1e-6);
    EXPECT_NEAR(over("cam.png", {"--layer-color", "gamma3"}), std::pow(kHalf, 3), 1e-6);
    setenv("OCIO", at("config.ocio").c_str(), 1);
    EXPECT_NEAR(over("cam.png", {"--output-color", "cube"}), std::cbrt(kHalf * kHalf), 1e-6);
    EXPECT_NEAR(over("cam.png", {"--color", "raw"}), kHalf, 1e-6);
}

TEST_F(ColorRules, TheWorkingSpaceIsWhereLayersMix) {
    // Half of white over black: half the light is 0.735 in sRGB, half the value 0.5.
    writeValues(at("white.png"), OIIO::ImageSpec(8, 8, 3, OIIO::TypeUInt8), {1});
    writeValues(at("black.png"), OIIO::ImageSpec(8, 8, 3, OIIO::TypeUInt8), {0});
    auto const mixed = [&](Words const& more) {
        return over("white.png", joined({"--opacity", "50"}, more), "out.png", "black.png");
    };
    EXPECT_NEAR(mixed({}), 0.5, 0.51 / 255);
    EXPECT_NEAR(mixed({"--work-color", "linear"}), 1.055 * std::pow(0.5, 1 / 2.4) - 0.055,
                0.5 / 255);
}

// Alpha stays, colour is converted straight, and colour where alpha is 0 passes as stored.
TEST_F(ColorRules, ColorIsStraightAroundACurve) {
    OIIO::ImageSpec const spec(8, 8, 4, OIIO::TypeFloat);
    for (float const alpha : {0.25f, 0.0f}) {
        std::vector<float> values;
        for (int i = 0; i < 64; ++i) values.insert(values.end(), {0.1f, 0.1f, 0.1f, alpha});
        writeValues(at("glow.exr"), spec, values);
        render("clear.png", "out.exr",
               {"--over", "glow.exr", "--output-color", "gamma2", "--depth", "float"});
        EXPECT_EQ(center("out.exr", 3), alpha);
        EXPECT_NEAR(center("out.exr"), alpha > 0 ? std::sqrt(0.4) * 0.25 : 0.1, 1e-6);
    }
}

// The module's own steps take a level of 8 bits; what is written of them is rounded once.
TEST_F(ColorRules, TheModuleRoadConvertsLayerAndResult) {
    render("half.png", "out.exr", {"--depth", "float"});
    EXPECT_NEAR(center("out.exr"), kLight, 1e-5);
    render("plate.exr", "out.png");
    EXPECT_NEAR(center("out.png"), 1.055 * std::pow(0.25, 1 / 2.4) - 0.055, 0.6 / 255);
    render("half.png", "out.png", {"--work-color", "linear", "--depth", "float"});
    EXPECT_NEAR(center("out.png"), kHalf, 1e-4);
}

TEST_F(ColorRules, FilesAreTaggedAsWhatTheyAre) {
    for (auto const& [in, out, space, hasProfile] :
         {std::tuple("plate.exr", "o.png", "sRGB", false),
          {"plate.exr", "o.tif", "linear", true},
          {"plate.exr", "o.dpx", "Rec709", false},
          {"half.png", "o.exr", "linear", false}}) {
        SCOPED_TRACE(out);
        std::string const name = out;
        Words options = name == "o.tif"   ? Words{"--output-color", "linear", "--depth", "16"}
                        : name == "o.dpx" ? Words{"--output-color", "rec709"}
                                          : Words{};
        render(in, out, options);
        OIIO::ImageSpec const spec = specOf(at(out));
        EXPECT_EQ(spec.find_attribute("ICCProfile") != nullptr, hasProfile);
        EXPECT_EQ(spec.find_attribute("chromaticities") != nullptr, name == "o.exr");
        if (!hasProfile) {
            EXPECT_STRCASEEQ(spec.get_string_attribute("oiio:ColorSpace").c_str(), space);
        } else {
            over("clear.png", {}, "back.exr", out);  // the profile is read as what it says
            EXPECT_NEAR(center("back.exr"), 0.25, 0.001);
        }
    }
}

TEST_F(ColorRules, MoviesAreTagged) {
    for (char const* movie : {"o.mov", "o.mp4", "o.mkv"})
        for (std::string const space : {"", "sRGB"}) {
            SCOPED_TRACE(movie + space);
            render("clear.png", movie,
                   joined({"--over", "half.png", "--frames", "0"},
                          space.empty() ? Words{} : Words{"--output-color", space}));
            std::string const probe =
                "ffprobe -v error -show_entries stream=color_transfer -of csv " +
                at(movie).string() + " > " + at("tags").string();
            ASSERT_EQ(std::system(probe.c_str()), 0);
            if (std::string(movie) != "o.mov") {
                EXPECT_TRUE(has(bytesOf("tags"), space.empty() ? "bt709" : "iec61966-2-1"))
                    << bytesOf("tags");
                continue;
            }
            std::string const bytes = bytesOf(movie);
            auto const frame = bytes.find("icpf"), container = bytes.find("nclc");
            ASSERT_TRUE(frame != bytes.npos && container != bytes.npos);
            EXPECT_EQ(bytes[frame + 18], 1);  // of the frame's header: primaries, transfer
            EXPECT_EQ(bytes[frame + 19], space.empty() ? 1 : 0);  // which has no word for sRGB
            EXPECT_EQ(bytes[container + 7], space.empty() ? 1 : 13);
        }
}

TEST_F(ColorRules, AProjectAndTheOverlayKnowThemToo) {
    done({"project", "new", "p.zelk.json", "--layer", "cam.png", "--plate", "plate.exr"});
    std::string text = bytesOf("p.zelk.json");
    text.replace(text.find("\"parameters\""), 0,
                 R"("color": {"config": "config.ocio", "layer": "sq", "output": "cube"}, )");
    put("p.zelk.json", text);
    done({"render", "--project", "p.zelk.json", "-o", "out.exr", "--frames", "0", "--quality",
          "medium"});
    EXPECT_NEAR(center("out.exr"), std::cbrt(kHalf * kHalf), 1e-6);

    writeValues(at("big.exr"), OIIO::ImageSpec(96, 96, 3, OIIO::TypeFloat), {0.25f});
    auto const shown = [&](Words const& more) {
        done(joined({"overlay", "big.exr", "-o", "panel.png", "--margin", "0"}, more));
        return center("panel.png");
    };
    Words const view = {"--ocio", "config.ocio", "--display-view"};
    EXPECT_NEAR(shown({}), 1.055 * std::pow(0.25, 1 / 2.4) - 0.055, 0.7 / 255);
    EXPECT_NEAR(shown(view), std::cbrt(0.25), 0.7 / 255);
    EXPECT_NEAR(shown(joined(view, {"Square"})), 0.5, 0.7 / 255);
    EXPECT_NEAR(shown({"--color", "raw"}), 0.25, 0.7 / 255);
}

TEST_F(ColorRules, UnknownNamesAndConfigurationsAreRefused) {
    Words const base = {"render", "half.png", "-o", "out.exr"};
    put("broken.ocio", "ocio_profile_version: [");
    for (auto const& [more, code, fragments] :
         {std::tuple(Words{"--layer-color", "sRGBB"}, 2,
                     Words{"--layer-color", "sRGBB", "\"sRGB\""}),
          {Words{"--plate-color", "sRGB"}, 2, Words{"--plate-color", "needs a plate", "--over"}},
          {Words{"--ocio", "config.ocio", "--work-color", "squar"}, 2,
           Words{"--work-color", "\"square\""}},
          {Words{"--ocio", "broken.ocio"}, 3, Words{"--ocio", "broken.ocio", "OpenColorIO"}},
          {Words{"--ocio", "none.ocio"}, 3, Words{"none.ocio: no such file", "--ocio"}},
          {Words{"--color", "row"}, 2, Words{"--color", "raw or managed"}}})
        expectRefusal(joined(base, more), code, fragments);
    setenv("OCIO", "/none.ocio", 1);
    expectRefusal(base, 3, {"/none.ocio: no such file", "$OCIO"});
    EXPECT_FALSE(std::filesystem::exists(at("out.exr")));
}

}  // namespace
}  // namespace zelk_test

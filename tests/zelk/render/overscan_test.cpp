// What a plate has beside its picture: data outside the display window, further channels and
// parts, its compression; and the channels that an output is asked for.
#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

struct Overscan : ZelkTest {
    struct Part {
        OIIO::ImageSpec spec;
        std::vector<float> values;
    };
    Part partOf(std::string const& file, int number) const {
        auto const input = OIIO::ImageInput::open(at(file).string());
        Part part{input->spec(number, 0), {}};
        part.values.resize(part.spec.image_pixels() * std::size_t(part.spec.nchannels));
        EXPECT_TRUE(input->read_image(number, 0, 0, -1, OIIO::TypeFloat, part.values.data()));
        return part;
    }
    /// Data from (-3, -2) to (21, 18) of a display window of 16 x 14 at (0, 0).
    void writePlate(std::string const& compression, bool hasParts) const {
        OIIO::ImageSpec spec(24, 20, 7, OIIO::TypeHalf);
        spec.channelnames = {"R", "G", "B", "A", "Z", "N.x", "id"};
        spec.channelformats.assign(7, OIIO::TypeHalf);
        spec.channelformats[4] = OIIO::TypeFloat;
        spec.channelformats[6] = OIIO::TypeUInt32;
        spec.x = -3, spec.y = -2;
        spec.attribute("compression", compression);
        spec.attribute("oiio:subimagename", "beauty");
        OIIO::ImageSpec mask(5, 4, 2, OIIO::TypeFloat);
        mask.channelnames = {"near.x", "far"};
        mask.x = 2, mask.y = 1;
        mask.attribute("oiio:subimagename", "mask");
        mask.attribute("compression", "dwaa");
        mask.attribute("studio", "on a roof");
        spec.set_roi_full({0, 16, 0, 14, 0, 1, 0, 7});
        mask.set_roi_full({0, 16, 0, 14, 0, 1, 0, 2});
        std::vector<OIIO::ImageSpec> specs = {spec, mask};
        if (!hasParts) specs.pop_back();
        writeParts(at("p.exr"), specs, noise<float>(24, 20, 7, 3).values);
    }
    void SetUp() override { writePicture(at("l.exr"), noise<float>(9, 7, 4, 4)); }
    Words const pins = {"--over", "p.exr", "--to", "2.5,2 14,1 3,12 18,13", "--depth", "float"};
};

// In the display window all is as without overscan, whatever moves the pins; around it lies the
// plate, and the layer that reaches there.
TEST_F(Overscan, IsRenderedAroundADisplayWindowThatStaysAsItIs) {
    writePlate("zip", false);
    for (std::string const more : {"--quality medium", "--set rotate=25",
                                   "--set to-upper-left-offset-x=7 --set "
                                   "to-lower-right-offset-y=-9",
                                   "--set translate-x=10 --set rotate=-40 --quality low",
                                   "--view original", "--view from --set from-upper-left=1,1"}) {
        Words const options = joined(pins, split(more, ' '));
        EXPECT_FALSE(has(render("l.exr", "whole.exr", options), "overscan"));
        render("l.exr", "cut.exr", joined(options, {"--overscan", "drop"}));
        OIIO::ImageSpec const spec = specOf(at("whole.exr"));
        ASSERT_EQ(spec.roi(), OIIO::ROI(-3, 21, -2, 18, 0, 1, 0, 7));
        ASSERT_EQ(spec.roi_full(), OIIO::ROI(0, 16, 0, 14, 0, 1, 0, 7));
        auto const whole = readPicture<float>(at("whole.exr")),
                   cut = readPicture<float>(at("cut.exr"));
        auto const plate = readPicture<float>(at("p.exr"));
        ASSERT_EQ(cut.width, 16);
        int beside = 0;
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 24; ++x)
                for (int c = 0; c < 4; ++c) {
                    bool const isInside = x >= 3 && x < 19 && y >= 2 && y < 16;
                    // Fractions of another image are rounded otherwise: positions are off by some
                    // 2^-22 pixels, and coverage by a cell of 1/8192 in each of 16 sub-rows.
                    // A smaller image's clip runs through its last column and cuts edges there.
                    if (x == 18) continue;
                    if (isInside) {
                        ASSERT_NEAR(whole.at(x, y, c), cut.at(x - 3, y - 2, c), 16.0 / 8192)
                            << more << x << "," << y;
                    } else if (x < 3) {
                        ASSERT_EQ(whole.at(x, y, c), plate.at(x, y, c)) << more;
                    } else {
                        beside += whole.at(x, y, c) != plate.at(x, y, c);
                    }
                }
        EXPECT_EQ(beside > 0, !has(more, "view")) << more;
    }
    EXPECT_TRUE(has(render("l.exr", "o.png", pins), "overscan outside the display window dropped"));
    EXPECT_EQ(specOf(at("o.png")).width, 16);
}

// Values, types, names and metadata; the plate's compression unless packing again would change
// what goes along. Without overscan the channels are cut with the picture.
TEST_F(Overscan, FurtherChannelsAndPartsGoAlong) {
    for (auto const& [compression, kept] :
         {std::pair("zips", "zips"), {"pxr24", "pxr24"}, {"dwaa", "zip"}})
        for (std::string const overscan : {"keep", "drop"}) {
            writePlate(compression, true);
            std::string const said =
                render("l.exr", "o.exr", joined(pins, {"--overscan", overscan}));
            EXPECT_FALSE(has(said, "channels") || has(said, "several")) << said;
            Part const plate = partOf("p.exr", 0), out = partOf("o.exr", 0);
            EXPECT_EQ(out.spec.get_string_attribute("compression"), kept);
            EXPECT_EQ(out.spec.format, OIIO::TypeFloat);
            ASSERT_EQ(out.spec.channelnames, plate.spec.channelnames);
            ASSERT_EQ(out.spec.width, overscan == "keep" ? 24 : 16);
            for (int c = 4; c < 7; ++c) {
                EXPECT_EQ(out.spec.channelformat(c), plate.spec.channelformat(c));
                for (int y = 0; y < out.spec.height; ++y)
                    for (int x = 0; x < out.spec.width; ++x)
                        ASSERT_EQ(out.values[std::size_t((y * out.spec.width + x) * 7 + c)],
                                  plate.values[std::size_t(
                                      ((y + out.spec.y + 2) * 24 + x + out.spec.x + 3) * 7 + c)]);
            }
            Part const mask = partOf("p.exr", 1), copied = partOf("o.exr", 1);
            EXPECT_EQ(copied.values, mask.values);
            EXPECT_EQ(copied.spec.channelnames, mask.spec.channelnames);
            EXPECT_EQ(copied.spec.get_string_attribute("oiio:subimagename"), "mask");
            EXPECT_EQ(copied.spec.get_string_attribute("studio"), "on a roof");
        }
    render("l.exr", "a.exr", joined(pins, {"--no-metadata"}));
    EXPECT_EQ(partOf("a.exr", 1).spec.get_string_attribute("studio"), "");
    std::string const said = render("l.exr", "o.tif", pins);
    EXPECT_TRUE(has(said, "channels dropped: \"Z") && has(said, "first of several")) << said;
}

// Alpha as grey, associated colours, or both; the layer's compression within its format.
TEST_F(Overscan, AnOutputHasTheChannelsThatItIsAskedFor) {
    OIIO::ImageSpec spec(9, 7, 4, OIIO::TypeUInt16);
    spec.attribute("compression", "lzw");
    spec.attribute("oiio:UnassociatedAlpha", 1);
    writeValues(at("in.tif"), spec, noise<float>(9, 7, 4, 8).values);
    auto const in = readPicture<float>(at("in.tif"));
    for (std::string const out : {"o.png", "o.exr", "o.tif"})
        for (auto const& [channels, count] : {std::pair("a", 1), {"rgb", 3}, {"rgba", 4}}) {
            EXPECT_EQ(copy("in.tif", out, {"--channels", channels, "--color", "raw"}), "");
            auto const picture = readPicture<float>(at(out));
            ASSERT_EQ(picture.channels, count) << out;
            for (int i = 0; i < 9 * 7 * count; ++i) {
                int const c = count == 1 ? 3 : i % count;
                bool const isKept = c == 3 || (count == 4 && out != "o.exr");
                float const alpha = isKept ? 1 : in.at(i / count, 0, 3);
                // Files of 16 bits in the host's 32768 steps.
                ASSERT_NEAR(picture.values[std::size_t(i)], in.at(i / count, 0, c) * alpha, 4e-5);
            }
        }
    EXPECT_EQ(specOf(at("o.tif")).get_string_attribute("compression"), "lzw");
    writePicture(at("p3.png"), noise<std::uint8_t>(9, 7, 3, 8));
    render("in.tif", "o.png", {"--over", "p3.png", "--channels", "rgba"});
    EXPECT_EQ(readPicture<float>(at("o.png")).channels, 4);
    expectRefusal("render in.tif -o o.jpg --channels rgba"_words, 4,
                  {"o.jpg", "\"rgba\"", "alpha"});
    expectRefusal("render in.tif -o o.mov --channels a"_words, 2, {"--channels", "movie"});
}

}  // namespace
}  // namespace zelk_test

// What a plate has beside its picture: data outside the display window, further channels and
// parts, its compression; and the channels that an output is asked for.
#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

struct Overscan : ZelkTest {
    /// A part of an OpenEXR file as it is stored.
    struct Part {
        OIIO::ImageSpec spec;
        std::vector<unsigned char> bytes;
    };
    Part partOf(std::string const& file, int number) const {
        auto const input = OIIO::ImageInput::open(at(file).string());
        Part part;
        if (!input || !input->seek_subimage(number, 0)) return part;
        part.spec = input->spec();
        part.bytes.resize(part.spec.image_bytes(true));
        EXPECT_TRUE(input->read_image(number, 0, 0, -1, OIIO::TypeUnknown, part.bytes.data()));
        return part;
    }
    /// One channel's bytes at a position of the file's space.
    static std::string valueOf(Part const& part, std::string const& channel, int x, int y) {
        int const c = part.spec.channelindex(channel);
        if (c < 0 || !part.spec.roi().contains(x, y)) return {};
        std::size_t const at =
            part.spec.pixel_bytes(true) *
                std::size_t((y - part.spec.y) * part.spec.width + (x - part.spec.x)) +
            part.spec.pixel_bytes(0, c, true);
        return {reinterpret_cast<char const*>(&part.bytes[at]), part.spec.channelformat(c).size()};
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
        OIIO::ImageSpec const windowed[] = {inWindow(spec), inWindow(mask)};
        auto const writer = OIIO::ImageOutput::create("p.exr");
        auto const values = noise<float>(24, 20, 7, 3).values;
        ASSERT_TRUE(writer->open(at("p.exr").string(), hasParts ? 2 : 1, windowed));
        ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, values.data()));
        if (hasParts) {
            ASSERT_TRUE(
                writer->open(at("p.exr").string(), windowed[1], OIIO::ImageOutput::AppendSubimage));
            ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, values.data()));
        }
        ASSERT_TRUE(writer->close());
    }
    static OIIO::ImageSpec inWindow(OIIO::ImageSpec spec) {
        spec.set_roi_full({0, 16, 0, 14, 0, 1, 0, spec.nchannels});
        return spec;
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
                                   "--set translate-x=10 --set rotate=-40 --quality super",
                                   "--view original", "--view from --from 1,1,8,0,0,6,9,7"}) {
        Words const options = joined(pins, split(more, ' '));
        EXPECT_FALSE(has(render("l.exr", "whole.exr", options), "overscan"));
        render("l.exr", "cut.exr", joined(options, {"--overscan", "drop"}));
        OIIO::ImageSpec const spec = specOf(at("whole.exr"));
        ASSERT_EQ(spec.roi().xbegin, -3);
        ASSERT_EQ(std::tuple(spec.y, spec.width, spec.height), std::tuple(-2, 24, 20));
        ASSERT_EQ(std::tuple(spec.full_x, spec.full_width, spec.full_height),
                  std::tuple(0, 16, 14));
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
                    // 2^-22 pixels, and coverage by a cell of 1/8192 where that crosses its border.
                    // A smaller image is clipped within its last column, of which 507/512 count,
                    // and where that cuts an edge the new corner rounds to a sub-row.
                    double const most = x == 18 ? 1.0 / 16 + 2 * 5.0 / 512 : 3.0 / 8192;
                    if (isInside) {
                        ASSERT_NEAR(whole.at(x, y, c), cut.at(x - 3, y - 2, c), most)
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
            ASSERT_EQ(out.spec.nchannels, 7);
            ASSERT_EQ(out.spec.width, overscan == "keep" ? 24 : 16);
            for (int y = out.spec.y; y < out.spec.y + out.spec.height; ++y)
                for (int x = out.spec.x; x < out.spec.x + out.spec.width; ++x)
                    for (char const* channel : {"Z", "N.x", "id"})
                        ASSERT_EQ(valueOf(out, channel, x, y), valueOf(plate, channel, x, y))
                            << channel << x << "," << y;
            Part const mask = partOf("p.exr", 1), copied = partOf("o.exr", 1);
            EXPECT_EQ(copied.bytes, mask.bytes);
            EXPECT_EQ(copied.spec.channelnames, mask.spec.channelnames);
            EXPECT_EQ(copied.spec.get_string_attribute("oiio:subimagename"), "mask");
            EXPECT_EQ(copied.spec.get_string_attribute("studio"), "on a roof");
        }
    render("l.exr", "a.exr", joined(pins, {"--no-metadata"}));
    EXPECT_EQ(partOf("a.exr", 1).spec.get_string_attribute("studio"), "");
    std::string const said = render("l.exr", "o.tif", pins);
    EXPECT_TRUE(has(said, "channels dropped: \"Z") && has(said, "first of several")) << said;
}

TEST_F(Overscan, ALayersCompressionStaysOnItsOwnRoad) {
    for (auto const& [file, compression] :
         {std::pair("a.exr", "piz"), {"a.exr", "dwab"}, {"a.tif", "lzw"}, {"a.tif", "none"}}) {
        OIIO::ImageSpec spec(9, 7, 4, OIIO::TypeHalf);
        if (std::string(file) == "a.tif") spec.format = OIIO::TypeUInt8;
        spec.attribute("compression", compression);
        writeValues(at(file), spec, {0.5f});
        for (std::string const out : {"o.exr", "o.tif"}) {
            copy(file, out);
            bool const isSame = out.back() == std::string(file).back();
            EXPECT_EQ(specOf(at(out)).get_string_attribute("compression"),
                      isSame ? compression : "zip");
        }
    }
}

// Alpha as grey, associated colours, or both, in 8 bits and float, exactly.
TEST_F(Overscan, AnOutputHasTheChannelsThatItIsAskedFor) {
    writePicture(at("in.png"), noise<std::uint8_t>(9, 7, 4, 8));
    auto const in = readPicture<float>(at("in.png"));
    for (std::string const out : {"o.png", "o.exr", "o.tif"})
        for (auto const& [channels, count] : {std::pair("a", 1), {"rgb", 3}, {"rgba", 4}}) {
            EXPECT_EQ(copy("in.png", out, {"--depth", "float", "--channels", channels}), "");
            auto const picture = readPicture<float>(at(out));
            ASSERT_EQ(picture.channels, count) << out;
            bool const isStraight = count == 4 && out != "o.exr";
            for (int i = 0; i < 9 * 7; ++i)
                for (int c = 0; c < count; ++c) {
                    float const alpha = in.at(i, 0, 3);
                    bool const isAlpha = count == 1 || c == 3;
                    float const expected =
                        isAlpha ? alpha : in.at(i, 0, c) * (isStraight ? 1 : alpha);
                    ASSERT_NEAR(picture.at(i, 0, c), expected, 1 / 65535.0) << out << channels;
                }
        }
    writePicture(at("p3.png"), noise<std::uint8_t>(9, 7, 3, 8));
    render("in.png", "o.png", {"--over", "p3.png", "--channels", "rgba"});
    EXPECT_EQ(readPicture<float>(at("o.png")).channels, 4);
    expectRefusal("render in.png -o o.jpg --channels rgba"_words, 4,
                  {"o.jpg", "\"rgba\"", "alpha"});
    expectRefusal("render in.png -o o.mov --channels a"_words, 2, {"--channels", "movie"});
    expectRefusal("render in.png -o o.png --channels rg"_words, 2, {"a, rgb or rgba"});
}

}  // namespace
}  // namespace zelk_test

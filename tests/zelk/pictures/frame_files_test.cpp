// Files in and out of `zelk render`: what each format keeps of a picture (samples, alpha, colour
// profile, time code, pixel aspect), and files that break off.
#include <algorithm>
#include <cmath>
#include <random>
#include <string_view>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

/// The smallest profile that readers accept: a header for a display of colour space `space`.
std::vector<std::uint8_t> colorProfile(char const* space) {
    using namespace std::string_literals;
    std::string text = "\0\0\2\0\0\0\0\0\2\0\0\0mntr"s + space + "XYZ ";
    // 512 bytes, version 2, one tag: name, offset 144, length 368
    for (auto const& [place, bytes] : {std::pair(36u, "acsp"s),
                                       {68u, "\0\0\xF6\xD6\0\1\0\0\0\0\xD3\x2D"s},
                                       {128u, "\0\0\0\1cprt\0\0\0\x90\0\0\1\x70text\0\0\0\0"s}}) {
        text.resize(place);
        text += bytes;
    }
    std::mt19937 random(3);  // readers mistrust a profile that compresses well
    while (text.size() < 512) text += static_cast<char>(random() & 0x7F);
    return {text.begin(), text.end()};
}

void setProfile(OIIO::ImageSpec& spec, std::vector<std::uint8_t> const& profile) {
    OIIO::TypeDesc const bytes(OIIO::TypeDesc::UINT8, static_cast<int>(profile.size()));
    spec.attribute("ICCProfile", bytes, profile.data());
}

void setTimeCodeAndAspect(OIIO::ImageSpec& spec) {
    int const timeCode[2] = {0x01020304, 0};
    spec.attribute("smpte:TimeCode", OIIO::TypeTimeCode, timeCode);
    spec.attribute("PixelAspectRatio", 2.0f);
}

struct Kept {
    bool profile, timeCode, aspect;
    bool operator==(Kept const&) const = default;
};

/// OpenImageIO tells the pixel aspect of JPEG upside down: 72 x 144 dots as 0.5.
Kept keptBy(std::filesystem::path const& file) {
    OIIO::ImageSpec const spec = specOf(file);
    float const aspect = file.extension() == ".jpg" ? 0.5f : 2.0f;
    return {spec.find_attribute("ICCProfile") != nullptr,
            spec.find_attribute("smpte:TimeCode") != nullptr,
            std::abs(spec.get_float_attribute("PixelAspectRatio", 1) - aspect) < 0.01f};
}

int bitsOf(std::filesystem::path const& file) {
    return specOf(file).get_int_attribute("oiio:BitsPerSample", 0);
}

/// A file format, what a picture of it has, and what a round trip keeps.
struct Format {
    char const* name;
    char const* extension;
    char const* type;  ///< of the samples, which stays
    int bits;          ///< of a sample; 0 for those of the type
    int channels;
    bool hasAlpha;  ///< after a round trip
    Kept kept;
    double tolerance;  ///< of a value, in 65535 of white
};
void PrintTo(Format const& format, std::ostream* out) { *out << format.name; }

// Tolerances. 16 bits pass through 32768 steps: 1. A float divided and multiplied is rounded twice:
// 65535 * 2^-23 < 0.01; of half that is less than half a step. JPEG at quality 98 rounds each of
// its 64 coefficients by at most a step or two; a smooth ramp stays within 2 of 255.
constexpr Format kFormats[] = {
    {"Png8", ".png", "uint8", 0, 4, true, {true, false, true}, 0},
    {"Png16", ".png", "uint16", 0, 4, true, {true, false, true}, 1},
    {"Tiff16", ".tif", "uint16", 0, 4, true, {true, false, true}, 1},
    {"TiffFloat", ".tif", "float", 0, 4, true, {true, false, true}, 0},
    {"ExrHalf", ".exr", "half", 0, 4, true, {false, true, true}, 0},
    {"ExrFloat", ".exr", "float", 0, 4, true, {false, true, true}, 0.01},
    {"Jpeg", ".jpg", "uint8", 0, 3, false, {true, false, true}, 514},
    {"Dpx10", ".dpx", "uint16", 10, 3, true, {false, true, true}, 0},
    {"Tga", ".tga", "uint8", 0, 4, true, {false, false, true}, 0},
    {"WebP", ".webp", "uint8", 0, 3, false, {false, false, false}, 0},
};

/// Noise with colour where alpha is 0, float beyond white and below black; a ramp for JPEG and
/// WebP, whose writers thin colour out. All metadata.
void writeFormat(std::filesystem::path const& file, Format const& format, int width, int height) {
    OIIO::ImageSpec spec(width, height, format.channels, OIIO::TypeDesc(format.type));
    spec.attribute("oiio:UnassociatedAlpha", 1);
    if (format.bits) spec.attribute("oiio:BitsPerSample", format.bits);
    setProfile(spec, colorProfile("RGB "));
    setTimeCodeAndAspect(spec);
    auto values = noise<float>(width, height, format.channels, 77).values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        int const at = static_cast<int>(i), x = at / format.channels % width;
        if (!format.hasAlpha) values[i] = static_cast<float>(x + at % format.channels) / 64;
        if (format.channels == 4 && i % 80 == 7) values[i] = 0;
    }
    if (spec.format.is_floating_point()) values[0] = 7.5f, values[1] = -0.25f, values[3] = 1;
    writeValues(file, spec, values);
}

/// Of the channels that both have.
double mostApart(Picture<float> const& a, Picture<float> const& b) {
    double most = 0;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            for (int c = 0; c < std::min(a.channels, b.channels); ++c)
                most = std::max(most, std::abs(double{a.at(x, y, c)} - b.at(x, y, c)));
    return most;
}

class Formats : public ZelkTest, public testing::WithParamInterface<Format> {};

TEST_P(Formats, KeepWhatTheyCanHold) {
    Format const& format = GetParam();
    std::string const in = std::string("in") + format.extension, out = "out" + in;
    writeFormat(at(in), format, 24, 17);
    EXPECT_EQ(copy(in, out), "");
    auto const before = readPicture<float>(at(in)), after = readPicture<float>(at(out));
    ASSERT_EQ(std::pair(before.width, before.height), std::pair(after.width, after.height));
    EXPECT_EQ(after.format, format.type);
    EXPECT_EQ(after.channels == 4, format.hasAlpha);
    EXPECT_EQ(bitsOf(at(out)), bitsOf(at(in)));
    EXPECT_EQ(keptBy(at(out)), format.kept);
    EXPECT_LE(65535 * mostApart(before, after), format.tolerance);
}

TEST_P(Formats, CutFilesAreRefusedAndTheOutputStays) {
    Format const& format = GetParam();
    std::string const in = std::string("in") + format.extension, out = "out" + in, cut = "cut" + in;
    writeFormat(at(in), format, 64, 65);
    copy(in, out);
    auto const expected = readPicture<float>(at(out));
    std::string const whole = bytesOf(in);
    for (std::size_t twentieths = 0; twentieths < 20; ++twentieths) {
        put(cut, whole.substr(0, whole.size() * twentieths / 20));
        put(out, "kept");
        Outcome const outcome = run({"render", cut, "-o", out, "--view", "original"});
        SCOPED_TRACE(std::to_string(twentieths) + " of 20: " + outcome.err);
        if (outcome.exitCode == 0) {  // a cut that loses nothing
            EXPECT_EQ(readPicture<float>(at(out)), expected);
            continue;
        }
        EXPECT_EQ(outcome.exitCode, 3);
        EXPECT_EQ(lines(outcome.err), 1);
        EXPECT_TRUE(bytesOf(out) == "kept") << out;
    }
}

INSTANTIATE_TEST_SUITE_P(Table, Formats, testing::ValuesIn(kFormats),
                         testing::PrintToStringParamName());

using FrameFiles = ZelkTest;

/// 12 x 8 of one value, with attributes that the helpers don't set.
template <class Set>
void writeWith(std::filesystem::path const& file, int channels, OIIO::TypeDesc type, Set set) {
    OIIO::ImageSpec spec(12, 8, channels, type);
    set(spec);
    writeValues(file, spec, {0.5f});
}

TEST_F(FrameFiles, MetadataThatNoLongerFitsIsDroppedAndTheRestIsAddedTo) {
    writeWith(at("in.tif"), 1, OIIO::TypeUInt8, [&](OIIO::ImageSpec& spec) {
        setProfile(spec, colorProfile("GRAY"));
        spec.attribute("Orientation", 6);
    });
    for (char const* out : {"out.png", "out.tif"}) {
        std::string const said = copy("in.tif", out);
        EXPECT_TRUE(has(said, "colour profile dropped") && lines(said) == 1) << said;
        EXPECT_FALSE(keptBy(at(out)).profile);
    }
    EXPECT_EQ(specOf(at("out.tif")).get_int_attribute("Orientation"), 1);
    writeWith(at("in.exr"), 4, OIIO::TypeHalf, [](OIIO::ImageSpec& spec) {
        setTimeCodeAndAspect(spec);
        spec.attribute("project", "a farm");
        spec.attribute("Exif:ImageHistory", "shot on a roof");
    });
    render("in.exr", "$a b.exr", {"--to", "0,0 9,0 0,9 9,9"});
    OIIO::ImageSpec const kept = specOf(at("$a b.exr"));
    std::string const again = R"(zelk render in.exr -o '$a b.exr' --to '0,0 9,0 0,9 9,9')";
    EXPECT_EQ(kept.get_string_attribute("Exif:ImageHistory"), "shot on a roof\n" + again);
    EXPECT_EQ(kept.get_string_attribute("project"), "a farm");
    std::string const software = kept.get_string_attribute("Software");
    EXPECT_TRUE(software.starts_with("zelk ") && software.ends_with(" : " + again)) << software;
    render("in.exr", "bare.exr", {"--no-metadata"});
    EXPECT_EQ(keptBy(at("bare.exr")), Kept());
    // The clock's date would make two runs two files.
    for (char const* name : {"Exif:ImageHistory", "project", "DateTime"})
        EXPECT_EQ(specOf(at("bare.exr")).get_string_attribute(name), "");
}

// What names a space that can be used is converted and not told.
TEST_F(FrameFiles, AColourProfileThatCantBeUsedIsToldOnce) {
    writeWith(at("a.png"), 3, OIIO::TypeUInt8,
              [](auto& spec) { setProfile(spec, colorProfile("RGB ")); });
    for (float red : {0.64f, 0.7f})
        writeWith(at(red < 0.7f ? "a.exr" : "b.exr"), 3, OIIO::TypeHalf, [&](auto& spec) {
            float const chroma[8] = {red, 0.33f, 0.3f, 0.6f, 0.15f, 0.06f, 0.3127f, 0.329f};
            spec.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8), chroma);
        });
    EXPECT_EQ(render("a.exr", "out.exr", {"--over", "b.exr"}), "");
    std::string const said = render("a.png", "out.exr", {"--over", "a.exr"});
    EXPECT_TRUE(has(said, "a.png: its colour profile can't be used") && lines(said) == 1) << said;
}

// From float with half alpha. Files of 8 bits are off by a step, HEIF is lossy.
TEST_F(FrameFiles, EachFormatGetsTheDeepestSamplesAndTheAlphaThatItHolds) {
    Picture<float> in{64, 64, 4, std::vector<float>(64 * 64 * 4, 0.25f), {}};
    for (std::size_t i = 3; i < in.values.size(); i += 4) in.values[i] = 0.5f;
    writePicture(at("in.exr"), in);
    for (auto const& [file, type, holdsAlpha, warnings] : {std::tuple("o.jp2", "uint16", true, 0),
                                                           {"o.iff", "uint8", true, 1},
                                                           {"o.heic", "uint8", true, 0},
                                                           {"o.ppm", "uint8", false, 2},
                                                           {"o.fits", "float", false, 1}}) {
        std::string const said = copy("in.exr", file, {"--color", "raw"});
        EXPECT_NE(has(said, "over black"), holdsAlpha) << said;
        EXPECT_EQ(lines(said), warnings) << said;
        EXPECT_EQ(readPicture<float>(at(file)).format, type) << file;
        copy(file, "b.exr", {"--color", "raw"});
        auto const back = readPicture<float>(at("b.exr")).values;
        EXPECT_NEAR(back[0], 0.25, 2 / 255.0) << file;
        EXPECT_NEAR(back[3], holdsAlpha ? 0.5 : 1, 2 / 255.0) << file;
    }
}

TEST_F(FrameFiles, ASecondPictureIsToldAndADroppedChannelSetsNoDepth) {
    OIIO::ImageSpec const first(12, 8, 3, OIIO::TypeUInt8), second(3, 2, 3, OIIO::TypeUInt8);
    writeParts(at("in.tif"), {first, second}, std::vector<float>(12 * 8 * 3, 0.4f));
    EXPECT_TRUE(has(copy("in.tif", "out.png"), "the first of several pictures"));
    EXPECT_EQ(readPicture<std::uint8_t>(at("out.png")).width, 12);
    writeWith(at("deep.exr"), 4, OIIO::TypeFloat, [](OIIO::ImageSpec& mixed) {
        mixed.channelnames = {"R", "G", "B", "Z"};
        mixed.channelformats = {OIIO::TypeHalf, OIIO::TypeHalf, OIIO::TypeHalf, OIIO::TypeFloat};
    });
    render("deep.exr", "out.exr");
    EXPECT_EQ(readPicture<float>(at("out.exr")).format, "half");
}

// Only OpenEXR has a display window; other formats' positions move no pixel of the picture.
TEST_F(FrameFiles, PositionsOfOtherFormatsCropNothing) {
    writeWith(at("in.exr"), 4, OIIO::TypeHalf, [](OIIO::ImageSpec& spec) {
        spec.x = spec.full_x = 100;
        spec.y = spec.full_y = -50;
    });
    copy("in.exr", "out.tif");
    EXPECT_EQ(copy("out.tif", "again.exr"), "");
    EXPECT_EQ(readPicture<float>(at("again.exr")).values, std::vector<float>(12 * 8 * 4, 0.5f));
    for (char const* name : {"o.webp", "o.gif", "o.bmp", "o.iff", "o.fits"}) copy("in.exr", name);
}

// Associated colour, OpenEXR's always and TIFF's at times, is divided for the effect and stays what
// it is: a half red (0.5, 0, 0, 0.5) is full red.
TEST_F(FrameFiles, AssociatedColourIsDividedAndMultiplied) {
    std::vector<float> const stored = {0.5f, 0, 0.25f, 0.5f, 0.75f, 1, 0, 1};
    for (auto const& [file, type] :
         {std::pair("byte.tif", "uint8"), {"float.tif", "float"}, {"float.exr", "float"}}) {
        std::string const out = std::string("out") + file;
        writeValues(at(file), OIIO::ImageSpec(2, 1, 4, OIIO::TypeDesc(type)), stored);
        for (char const* road : {"module", "memory"}) {
            copy(file, out, {"--road", road});
            EXPECT_EQ(specOf(at(out)).get_int_attribute("oiio:UnassociatedAlpha"), 0);
            EXPECT_EQ(readPicture<float>(at(file)), readPicture<float>(at(out))) << file << road;
        }
    }
}

// The library's writer of WebP divides colour by alpha in linear light: 0.5 / 0.5^(1/2.2) here.
TEST_F(FrameFiles, WebpGivesStraightColour) {
    writeWith(at("in.webp"), 4, OIIO::TypeUInt8,
              [](OIIO::ImageSpec& spec) { spec.attribute("compression", "lossless"); });
    copy("in.webp", "out.png");
    auto const straight = readPicture<std::uint8_t>(at("out.png"));
    // 8 bits of linear light and of the curve on writing, times alpha in 8 bits on reading: at most
    // 1 step each here, the last divided by 0.5.
    EXPECT_NEAR(straight.values[0], 255 * std::pow(0.5, 1 - 1 / 2.2), 4);
    EXPECT_EQ(straight.values[3], 128);
}

}  // namespace
}  // namespace zelk_test

// Files in and out of `zelk render`: what each format keeps of a picture (samples, alpha, colour
// profile, time code, pixel aspect), files that break off, plates, full disks.
//
// All runs that must change nothing use the view Original.
#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/apps/zelk_process.h"

namespace {

using zelk_test::noise;
using zelk_test::Outcome;
using zelk_test::Picture;
using zelk_test::readPicture;
using zelk_test::writePicture;
using Words = std::vector<std::string>;

std::ptrdiff_t lines(std::string const& text) { return std::count(text.begin(), text.end(), '\n'); }

/// The smallest profile that readers accept: a header for a display of colour space `space`.
std::vector<std::uint8_t> colorProfile(char const* space) {
    std::vector<std::uint8_t> profile(512, 0);
    std::mt19937 random(3);  // readers mistrust a profile that compresses well
    std::generate(profile.begin() + 152, profile.end(), [&] { return random() & 0x7F; });
    profile[2] = 2;  // 512 bytes, version 2, one tag: name, offset 144, length 368
    profile[8] = 2;
    profile[131] = 1;
    profile[139] = 144;
    profile[142] = 1;
    profile[143] = 112;
    auto const put = [&](std::size_t at, char const* word) { std::memcpy(&profile[at], word, 4); };
    put(12, "mntr");
    put(16, space);
    put(20, "XYZ ");
    put(36, "acsp");
    put(132, "cprt");
    put(144, "text");
    std::uint8_t const d50[] = {0, 0, 0xF6, 0xD6, 0, 1, 0, 0, 0, 0, 0xD3, 0x2D};
    std::copy(std::begin(d50), std::end(d50), &profile[68]);
    return profile;
}

constexpr int kTimeCode[2] = {0x01020304, 0};

/// A file format, what a picture of it has, and what a round trip keeps.
struct Format {
    char const* name;
    char const* file;
    char const* type;  ///< of the samples
    int bits;          ///< of a sample; 0 for those of the type
    int channels;
    char const* outType;  ///< after a round trip
    bool hasAlpha;        ///< after a round trip
    bool keepsProfile, keepsTimeCode, keepsAspect;
    double tolerance;  ///< of a value, in 65535 of white
};

// Tolerances. 16 bits pass through 32768 steps: 1. A float divided and multiplied is rounded twice:
// 65535 * 2^-23 < 0.01; of half that is less than half a step. JPEG at quality 98 rounds each of
// its 64 coefficients by at most a step or two; a smooth ramp stays within 2 of 255.
constexpr Format kFormats[] = {
    {"PNG 8", "png8.png", "uint8", 0, 4, "uint8", true, true, false, true, 0},
    {"PNG 16", "png16.png", "uint16", 0, 4, "uint16", true, true, false, true, 1},
    {"TIFF 8", "tiff8.tif", "uint8", 0, 4, "uint8", true, true, false, true, 0},
    {"TIFF 16", "tiff16.tif", "uint16", 0, 4, "uint16", true, true, false, true, 1},
    {"TIFF half", "tiffh.tif", "half", 0, 4, "half", true, true, false, true, 0},
    {"TIFF float", "tifff.tif", "float", 0, 4, "float", true, true, false, true, 0},
    {"EXR half", "exrh.exr", "half", 0, 4, "half", true, false, true, true, 0},
    {"EXR float", "exrf.exr", "float", 0, 4, "float", true, false, true, true, 0.01},
    {"JPEG", "jpeg.jpg", "uint8", 0, 3, "uint8", false, true, false, true, 514},
    {"DPX 10", "dpx10.dpx", "uint16", 10, 3, "uint16", true, false, true, true, 0},
    {"TGA", "tga.tga", "uint8", 0, 4, "uint8", true, false, false, true, 0},
    {"WebP", "webp.webp", "uint8", 0, 3, "uint8", false, false, false, false, 0},
};

class FrameFiles : public zelk_test::ZelkTest {
protected:
    /// A picture of the format with a smooth ramp in each channel, and all metadata.
    void writeFormat(Format const& format, int width = 24, int height = 17) const {
        OIIO::ImageSpec spec(width, height, format.channels, OIIO::TypeDesc(format.type));
        spec.attribute("oiio:UnassociatedAlpha", 1);
        spec.attribute("tiff:half", 1);
        if (format.bits) spec.attribute("oiio:BitsPerSample", format.bits);
        auto const profile = colorProfile("RGB ");
        OIIO::TypeDesc const profileType(OIIO::TypeDesc::UINT8, static_cast<int>(profile.size()));
        spec.attribute("ICCProfile", profileType, profile.data());
        spec.attribute("smpte:TimeCode", OIIO::TypeTimeCode, kTimeCode);
        spec.attribute("PixelAspectRatio", 2.0f);
        std::vector<float> values;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < format.channels; ++c)
                    values.push_back(c == 3 ? static_cast<float>(16 - y % 17) / 16
                                            : static_cast<float>(x + c) / 64);
        auto const writer = OIIO::ImageOutput::create(at(format.file).string());
        ASSERT_TRUE(writer && writer->open(at(format.file).string(), spec)) << format.name;
        ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, values.data()) && writer->close());
    }
    std::string extension(Format const& format) const {
        return std::filesystem::path(format.file).extension();
    }
};

struct Kept {
    bool profile, timeCode, aspect;
    int bits;
};

/// OpenImageIO tells the pixel aspect of JPEG upside down: 72 x 144 dots as 0.5.
Kept keptBy(std::string const& file) {
    auto const input = OIIO::ImageInput::open(file);
    OIIO::ImageSpec const& spec = input->spec();
    float const told = spec.get_float_attribute("PixelAspectRatio", 1.0f);
    float const aspect = std::string_view(input->format_name()) == "jpeg" ? 1 / told : told;
    return {spec.find_attribute("ICCProfile") != nullptr,
            spec.find_attribute("smpte:TimeCode") != nullptr, std::abs(aspect - 2.0f) < 0.01f,
            spec.get_int_attribute("oiio:BitsPerSample", 0)};
}

/// Of the colours, and of alpha where both have it.
double mostApart(Picture<float> const& a, Picture<float> const& b) {
    double most = 0;
    auto const n = static_cast<std::size_t>(a.width * a.height);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t c = 0; c < static_cast<std::size_t>(std::min(a.channels, b.channels)); ++c)
            most = std::max(most, std::abs(double{a.values[i * std::size_t(a.channels) + c]} -
                                           b.values[i * std::size_t(b.channels) + c]));
    return most;
}

TEST_F(FrameFiles, EachFormatKeepsWhatItCanHold) {
    std::printf("%-11s %-10s %-10s %4s %5s %5s %4s %6s %9s\n", "format", "in", "out", "bits",
                "alpha", "ICC", "time", "aspect", "off/65535");
    for (Format const& format : kFormats) {
        SCOPED_TRACE(format.name);
        writeFormat(format);
        std::string const out = "out" + extension(format);
        Outcome const outcome = run({"render", format.file, "-o", out, "--view", "original"});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        auto const before = readPicture<float>(at(format.file)),
                   after = readPicture<float>(at(out));
        Kept const had = keptBy(at(format.file)), kept = keptBy(at(out));
        ASSERT_EQ(std::pair(before.width, before.height), std::pair(after.width, after.height));
        double const most = 65535 * mostApart(before, after);
        auto const told = [](bool has, bool keeps) { return keeps ? "yes" : has ? "LOST" : "-"; };
        std::printf("%-11s %-10s %-10s %4d %5s %5s %4s %6s %9.2f\n", format.name,
                    before.format.c_str(), after.format.c_str(), kept.bits,
                    after.channels == 4 ? "yes" : "-", told(had.profile, kept.profile),
                    told(had.timeCode, kept.timeCode), told(had.aspect, kept.aspect), most);
        EXPECT_EQ(after.format, format.outType);
        EXPECT_EQ(after.channels == 4, format.hasAlpha);
        EXPECT_EQ(kept.bits, had.bits);
        EXPECT_EQ(kept.profile, format.keepsProfile);
        EXPECT_EQ(kept.timeCode, format.keepsTimeCode);
        EXPECT_EQ(kept.aspect, format.keepsAspect);
        EXPECT_LE(most, format.tolerance);
    }
}

class CutFiles : public FrameFiles, public testing::WithParamInterface<Format> {};

TEST_P(CutFiles, AreRefusedAndTheOutputStays) {
    Format const& format = GetParam();
    writeFormat(format, 64, 65);
    std::string const whole = bytesOf(format.file), out = "out" + extension(format);
    ASSERT_EQ(run({"render", format.file, "-o", out, "--view", "original"}).exitCode, 0);
    auto const expected = readPicture<float>(at(out));
    for (std::size_t cut = 0; cut < 20; ++cut) {
        std::size_t const length = whole.size() * cut / 20;
        put("cut" + extension(format), whole.substr(0, length));
        put(out, "kept");
        Outcome const outcome =
            run({"render", "cut" + extension(format), "-o", out, "--view", "original"});
        SCOPED_TRACE(std::to_string(length) + " of " + std::to_string(whole.size()) + ": " +
                     outcome.err);
        if (outcome.exitCode == 0) {  // a cut that loses nothing
            EXPECT_EQ(readPicture<float>(at(out)), expected);
            continue;
        }
        EXPECT_EQ(outcome.exitCode, 3);
        EXPECT_EQ(lines(outcome.err), 1);
        EXPECT_TRUE(bytesOf(out) == "kept") << out;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, CutFiles, testing::ValuesIn(kFormats), [](auto const& which) {
    std::string name = which.param.name;
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    return name;
});

// Straight colour as stored, associated colour divided and multiplied: nothing is lost, colour
// where alpha is 0 included.
TEST_F(FrameFiles, TheOriginalViewGivesBackEveryBit) {
    struct Case {
        char const *file, *type, *depth, *road;
        int tolerance;
    };
    constexpr Case kCases[] = {{"a.png", "uint8", "", "module", 0},
                               {"b.png", "uint16", "float", "module", 0},
                               {"c.png", "uint16", "16", "module", 1},
                               {"d.tif", "float", "", "module", 0},
                               {"f.exr", "half", "", "module", 0}};
    for (Case const& c : kCases) {
        auto picture = noise<float>(31, 17, 4, 77);
        for (std::size_t i = 3; i < picture.values.size(); i += 20) picture.values[i] = 0;
        writePicture(at(c.file), picture, c.type);
        std::string const out = std::string("out-") + c.file;
        Words words = {"render", c.file, "-o", out, "--view", "original", "--road", c.road};
        if (*c.depth) words.insert(words.end(), {"--depth", c.depth});
        Outcome const outcome = run(words);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
        auto const before = readPicture<float>(at(c.file)), after = readPicture<float>(at(out));
        EXPECT_EQ(after.format, c.type) << c.file;
        ASSERT_EQ(after.channels, 4);
        EXPECT_LE(std::lround(65535 * mostApart(before, after)), c.tolerance) << c.file;
        if (c.tolerance == 0) {
            EXPECT_EQ(before.values, after.values) << c.file;
        }
    }
}

// Every value of 10 bits comes back, whichever way it went.
TEST_F(FrameFiles, TenBitsStayTenBits) {
    OIIO::ImageSpec spec(32, 32, 3, OIIO::TypeUInt16);
    spec.attribute("oiio:BitsPerSample", 10);
    std::vector<float> values;
    for (int i = 0; i < 1024; ++i)
        for (int c = 0; c < 3; ++c)
            values.push_back(static_cast<float>((i + c * 300) % 1024) / 1023);
    auto const writer = OIIO::ImageOutput::create("dpx");
    ASSERT_TRUE(writer->open(at("in.dpx").string(), spec));
    ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, values.data()) && writer->close());
    writePicture(at("clear.png"),
                 Picture<std::uint8_t>{4, 4, 4, std::vector<std::uint8_t>(64), {}});
    auto const before = readPicture<std::uint16_t>(at("in.dpx"));
    for (Words const& words : {Words{"render", "in.dpx", "--view", "original"},
                               Words{"render", "clear.png", "--over", "in.dpx"}}) {
        Words all = words;
        all.insert(all.end(), {"-o", "out.dpx"});
        Outcome const outcome = run(all);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(keptBy(at("out.dpx")).bits, 10);
        auto const after = readPicture<std::uint16_t>(at("out.dpx"));
        for (std::size_t i = 0; i < 1024; ++i)
            for (std::size_t c = 0; c < 3; ++c)
                ASSERT_EQ(before.values[i * 3 + c],
                          after.values[i * static_cast<std::size_t>(after.channels) + c]);
    }
}

/// Writes with attributes that the helpers don't set.
template <class Set>
void writeWith(std::filesystem::path const& file, int channels, OIIO::TypeDesc type, Set set,
               float value = 0.5f) {
    OIIO::ImageSpec spec(12, 8, channels, type);
    set(spec);
    auto const writer = OIIO::ImageOutput::create(file.string());
    std::vector<float> const values(static_cast<std::size_t>(12 * 8 * channels), value);
    ASSERT_TRUE(writer && writer->open(file.string(), spec)) << file;
    ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, values.data()) && writer->close());
}

TEST_F(FrameFiles, MetadataThatNoLongerFitsIsDroppedAndTheRestIsAddedTo) {
    auto const grey = colorProfile("GRAY");
    auto const broken = std::vector<std::uint8_t>(512, 7);
    for (auto const* profile : {&grey, &broken}) {
        writeWith(at("in.tif"), 1, OIIO::TypeUInt8, [&](OIIO::ImageSpec& spec) {
            OIIO::TypeDesc const bytes(OIIO::TypeDesc::UINT8, 512);
            spec.attribute("ICCProfile", bytes, profile->data());
            spec.attribute("Orientation", 6);
        });
        for (char const* out : {"out.png", "out.tif", "out.jpg"}) {
            Outcome const outcome = run({"render", "in.tif", "-o", out, "--view", "original"});
            ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
            EXPECT_NE(outcome.err.find("colour profile dropped"), std::string::npos) << out;
            EXPECT_EQ(lines(outcome.err), 1) << outcome.err;
            EXPECT_FALSE(keptBy(at(out)).profile);
        }
        auto const input = OIIO::ImageInput::open(at("out.tif").string());
        EXPECT_EQ(input->spec().get_int_attribute("Orientation"), 6);
    }
    writeWith(at("in.exr"), 4, OIIO::TypeHalf,
              [](OIIO::ImageSpec& spec) { spec.attribute("Exif:ImageHistory", "shot on a roof"); });
    ASSERT_EQ(run({"render", "in.exr", "-o", "$a b.exr", "--to", "0,0 9,0 0,9 9,9"}).exitCode, 0);
    auto const input = OIIO::ImageInput::open(at("$a b.exr").string());
    std::string const again = R"(zelk render in.exr -o "\$a b.exr" --to "0,0 9,0 0,9 9,9")";
    EXPECT_EQ(input->spec().get_string_attribute("Exif:ImageHistory"), "shot on a roof\n" + again);
    std::string const software = input->spec().get_string_attribute("Software");
    EXPECT_TRUE(software.starts_with("zelk ") && software.ends_with(" : " + again)) << software;
}

TEST_F(FrameFiles, ColoursThatTwoFilesDeclareAsDifferentAreToldOnce) {
    auto profile = colorProfile("RGB ");
    float chroma[8] = {0.64f, 0.33f, 0.3f, 0.6f, 0.15f, 0.06f, 0.3127f, 0.329f};
    for (std::string const name : {"a", "b"}) {
        for (char const* extension : {".png", ".exr"})
            writeWith(at(name + extension), 3, OIIO::TypeUInt8, [&](OIIO::ImageSpec& spec) {
                OIIO::TypeDesc const bytes(OIIO::TypeDesc::UINT8, 512);
                spec.attribute("ICCProfile", bytes, profile.data());
                spec.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8), chroma);
            });
        ++profile[200];
        chroma[0] = 0.7f;
    }
    for (auto const& [layer, plate, told] :
         {std::tuple("a.png", "b.png", "a colour profile"), std::tuple("a.png", "a.png", ""),
          std::tuple("a.exr", "b.exr", "chromaticities"), std::tuple("a.exr", "a.exr", ""),
          std::tuple("a.png", "a.exr", "colour space \"sRGB\"")}) {
        Outcome const outcome = run({"render", layer, "--over", plate, "-o", "out.exr"});
        EXPECT_EQ(lines(outcome.err), *told ? 1 : 0) << outcome.err;
        EXPECT_NE(outcome.err.find(told), std::string::npos) << outcome.err;
    }
}

// From float with half alpha. Files of 8 bits are off by a step, HEIF is lossy.
TEST_F(FrameFiles, EachFormatGetsTheDeepestSamplesAndTheAlphaThatItHolds) {
    Picture<float> in{64, 64, 4, std::vector<float>(64 * 64 * 4, 0.25f), {}};
    for (std::size_t i = 3; i < in.values.size(); i += 4) in.values[i] = 0.5f;
    writePicture(at("in.exr"), in);
    for (auto const& [file, type, holdsAlpha] :
         {std::tuple("o.sgi", "uint16", true), std::tuple("o.jp2", "uint16", true),
          std::tuple("o.iff", "uint8", true), std::tuple("o.heic", "uint8", true),
          std::tuple("o.ppm", "uint8", false), std::tuple("o.gif", "uint8", false),
          std::tuple("o.fits", "float", false)}) {
        Outcome const outcome = run({"render", "in.exr", "-o", file, "--view", "original"});
        EXPECT_EQ(outcome.err.find("over black") == std::string::npos, holdsAlpha) << outcome.err;
        EXPECT_EQ(readPicture<float>(at(file)).format, type) << file;
        ASSERT_EQ(run({"render", file, "-o", "b.exr", "--view", "original"}).exitCode, 0) << file;
        auto const back = readPicture<float>(at("b.exr")).values;
        EXPECT_NEAR(back[0], 0.25, 2 / 255.0) << file;
        EXPECT_NEAR(back[3], holdsAlpha ? 0.5 : 1, 2 / 255.0) << file;
    }
}

TEST_F(FrameFiles, ASecondPictureIsToldAndADroppedChannelSetsNoDepth) {
    OIIO::ImageSpec const spec(12, 8, 3, OIIO::TypeUInt8), both[] = {spec, spec};
    std::vector<std::uint8_t> const values(12 * 8 * 3, 99);
    for (char const* file : {"in.tif", "in.gif", "in.exr"}) {
        auto const writer = OIIO::ImageOutput::create(file);
        ASSERT_TRUE(writer->open(at(file).string(), 2, both)) << file;
        ASSERT_TRUE(writer->write_image(OIIO::TypeUInt8, values.data()));
        ASSERT_TRUE(writer->open(at(file).string(), spec, OIIO::ImageOutput::AppendSubimage));
        ASSERT_TRUE(writer->write_image(OIIO::TypeUInt8, values.data()) && writer->close());
        Outcome const outcome = run({"render", file, "-o", "out.png", "--view", "original"});
        EXPECT_NE(outcome.err.find("the first of several pictures"), std::string::npos) << file;
        EXPECT_NEAR(readPicture<std::uint8_t>(at("out.png")).values[0], 99, 1) << file;
    }
    writeWith(at("deep.exr"), 4, OIIO::TypeFloat, [](OIIO::ImageSpec& mixed) {
        mixed.channelnames = {"R", "G", "B", "Z"};
        mixed.channelformats = {OIIO::TypeHalf, OIIO::TypeHalf, OIIO::TypeHalf, OIIO::TypeFloat};
    });
    ASSERT_EQ(run({"render", "deep.exr", "-o", "out.exr"}).exitCode, 0);
    EXPECT_EQ(readPicture<float>(at("out.exr")).format, "half");
}

// Only OpenEXR has a display window; other formats' positions move no pixel of the picture.
TEST_F(FrameFiles, PositionsOfOtherFormatsCropNothing) {
    writeWith(at("in.exr"), 4, OIIO::TypeHalf, [](OIIO::ImageSpec& spec) {
        spec.x = spec.full_x = 100;
        spec.y = spec.full_y = -50;
    });
    for (char const* file : {"out.png", "out.tif", "out.dpx", "out.tga", "out.jpg"}) {
        ASSERT_EQ(run({"render", "in.exr", "-o", file, "--depth", "8"}).exitCode, 0) << file;
        Outcome const outcome = run({"render", file, "-o", "again.exr", "--view", "original"});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "") << file;
        auto const again = readPicture<float>(at("again.exr"));
        EXPECT_EQ(std::pair(again.width, again.height), std::pair(12, 8));
        EXPECT_NEAR(again.values.back(), file == std::string("out.jpg") ? 1 : 0.5, 0.01) << file;
    }
}

// A TIFF of associated colour is divided for the effect and stays associated.
TEST_F(FrameFiles, AssociatedTiffStaysAssociated) {
    for (char const* type : {"uint8", "float"}) {
        writeWith(at("in.tif"), 4, OIIO::TypeDesc(type), [](OIIO::ImageSpec&) {});
        for (char const* road : {"module", "memory"}) {
            ASSERT_EQ(
                run({"render", "in.tif", "-o", "out.tif", "--view", "original", "--road", road})
                    .exitCode,
                0);
            auto const input = OIIO::ImageInput::open(at("out.tif").string());
            EXPECT_EQ(input->spec().get_int_attribute("oiio:UnassociatedAlpha"), 0);
            EXPECT_EQ(readPicture<float>(at("in.tif")).values,
                      readPicture<float>(at("out.tif")).values);
        }
        ASSERT_EQ(run({"render", "in.tif", "-o", "out.png", "--depth", "8"}).exitCode, 0);
        EXPECT_EQ(readPicture<std::uint8_t>(at("out.png")).values[12 * 4 * 4 + 24], 255);
    }
}

// WebP is read as any other; an output says that it has no alpha. The library's writer divides the
// colour by alpha in linear light: its file's colour is 0.5 / 0.5^(1/2.2).
TEST_F(FrameFiles, WebpGivesStraightColourAndTakesNoAlpha) {
    writeWith(at("in.webp"), 4, OIIO::TypeUInt8,
              [](OIIO::ImageSpec& spec) { spec.attribute("compression", "lossless"); });
    for (char const* road : {"module", "memory"}) {
        ASSERT_EQ(run({"render", "in.webp", "-o", "out.png", "--view", "original", "--road", road})
                      .exitCode,
                  0);
        auto const straight = readPicture<std::uint8_t>(at("out.png"));
        // 8 bits of linear light and of the curve on writing, times alpha in 8 bits on reading: at
        // most 1 step each here, the last divided by 0.5.
        EXPECT_NEAR(straight.values[0], 255 * std::pow(0.5, 1 - 1 / 2.2), 4) << road;
        EXPECT_EQ(straight.values[3], 128) << road;
    }
    Outcome const outcome = run({"render", "out.png", "-o", "out.webp", "--view", "original"});
    ASSERT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(lines(outcome.err), 1) << outcome.err;
    EXPECT_NE(outcome.err.find("over black"), std::string::npos) << outcome.err;
}

// An opaque layer at whole pixels covers its square exactly, and what is beside is the plate's, of
// infinite light here; the plate's windows are the output's.
TEST_F(FrameFiles, AnOpaqueLayerCoversThePlateInItsOwnWindow) {
    constexpr float kEndless = std::numeric_limits<float>::infinity();
    writePicture(at("layer.png"),
                 Picture<std::uint8_t>{6, 4, 3, std::vector<std::uint8_t>(72, 51), {}});
    writeWith(
        at("plate.exr"), 3, OIIO::TypeFloat,
        [](OIIO::ImageSpec& spec) {
            spec.x = 30;
            spec.y = 41;
            spec.full_x = 28;
            spec.full_y = 40;
            spec.full_width = 20;
            spec.full_height = 12;
        },
        kEndless);
    Outcome const outcome = run({"render", "layer.png", "--over", "plate.exr", "-o", "out.exr",
                                 "--to", "9,5 15,5 9,9 15,9", "--quality", "low"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    auto const input = OIIO::ImageInput::open(at("out.exr").string());
    OIIO::ImageSpec const& spec = input->spec();
    EXPECT_EQ(std::tuple(spec.full_x, spec.full_y, spec.full_width, spec.full_height),
              std::tuple(28, 40, 20, 12));
    auto const out = readPicture<float>(at("out.exr"));
    ASSERT_EQ(out.channels, 3);
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 20; ++x) {
            bool const isLayer = x >= 9 && x < 15 && y >= 5 && y < 9;
            bool const isPlate = x >= 2 && x < 14 && y >= 1 && y < 9;
            ASSERT_EQ(out.values[static_cast<std::size_t>(y * 20 + x) * 3], isLayer   ? 51 / 255.0f
                                                                            : isPlate ? kEndless
                                                                                      : 0.0f)
                << x << ", " << y;
        }
}

// 64 KB of disk, and noise that no compression fits in.
TEST_F(FrameFiles, AFullDiskLeavesTheEarlierFile) {
    std::filesystem::create_directory(at("disk"));
    if (::mount("tmpfs", at("disk").c_str(), "tmpfs", 0, "size=64k") != 0) {
        std::printf("no file system can be mounted here: nothing tested\n");
        return;
    }
    writePicture(at("in.png"), noise<std::uint8_t>(300, 200, 4, 5));
    for (char const* name : {"o.png", "o.tif", "o.exr", "o.jpg", "o.dpx", "o.tga", "o.webp",
                             "o.bmp", "o.ppm", "o.sgi"}) {
        std::string const out = std::string("disk/") + name;
        put(out, "kept");
        Outcome const outcome = run({"render", "in.png", "-o", out, "--view", "original"});
        EXPECT_EQ(outcome.exitCode, 4) << out << outcome.err;
        EXPECT_EQ(lines(outcome.err), 1) << outcome.err;
        EXPECT_TRUE(bytesOf(out) == "kept") << out;
        auto const left = std::filesystem::directory_iterator(at("disk"));
        EXPECT_EQ(std::distance(begin(left), end(left)), 1) << out;
        std::filesystem::remove(at(out));
    }
    EXPECT_EQ(::umount(at("disk").c_str()), 0);
}

}  // namespace

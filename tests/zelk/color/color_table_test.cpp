// Colour through whole runs of the program: what comes out of each kind of file in each kind of
// file, against the formulas of the standards, written down here once more and in double.
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

using Rgb = std::array<double, 3>;

// ---- The standards.

/// A profile holds a power in 256ths.
constexpr double kGamma = 1.875;

enum class Space { kLinear, kSrgb, kRec709, kLog, kP3, kPower };

double decoded(Space space, double v) {
    double const a = std::abs(v);
    switch (space) {
        case Space::kLinear:
            return v;
        case Space::kRec709:
            return std::copysign(a < 0.081 ? a / 4.5 : std::pow((a + 0.099) / 1.099, 1 / 0.45), v);
        case Space::kPower:
            return std::copysign(std::pow(a, kGamma), v);
        case Space::kLog: {
            auto const density = [](double code) {
                return std::pow(10, (code - 685) * 0.002 / 0.6);
            };
            return (density(1023 * v) - density(95)) / (1 - density(95));
        }
        default:
            return std::copysign(a <= 0.04045 ? a / 12.92 : std::pow((a + 0.055) / 1.055, 2.4), v);
    }
}

/// By bisection: no second set of formulas.
double encoded(Space space, double light) {
    if (space == Space::kLinear) return light;
    double low = -20, high = 20;
    for (int i = 0; i < 80; ++i) {
        double const middle = (low + high) / 2;
        (decoded(space, middle) < light ? low : high) = middle;
    }
    return low;
}

/// Rows of the matrices between Display P3's primaries and BT.709's, both with white D65.
constexpr double kFromP3[3][3] = {{1.2249401763, -0.2249401763, 0},
                                  {-0.0420569547, 1.0420569547, 0},
                                  {-0.0196375546, -0.0786360456, 1.0982736001}};
constexpr double kToP3[3][3] = {{0.8224619687, 0.1775380313, 0},
                                {0.0331941989, 0.9668058011, 0},
                                {0.0170826307, 0.0723974407, 0.9105199286}};

Rgb times(double const (&m)[3][3], Rgb const& v) {
    Rgb result{};
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c) result[r] += m[r][c] * v[c];
    return result;
}

Rgb converted(Rgb v, Space from, Space to) {
    if (from == to) return v;
    for (double& e : v) e = decoded(from, e);
    if (from == Space::kP3 && to != Space::kP3) v = times(kFromP3, v);
    if (to == Space::kP3 && from != Space::kP3) v = times(kToP3, v);
    for (double& e : v) e = encoded(to, e);
    return v;
}

// ---- Files.

std::vector<unsigned char> profileOf(double gamma, bool isP3) {
    cmsCIExyY const white = {0.3127, 0.3290, 1};
    cmsCIExyYTRIPLE const rec709 = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    cmsCIExyYTRIPLE const p3 = {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}};
    double const srgb[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    cmsToneCurve* const curve =
        gamma > 0 ? cmsBuildGamma(nullptr, gamma) : cmsBuildParametricToneCurve(nullptr, 4, srgb);
    cmsToneCurve* const curves[3] = {curve, curve, curve};
    cmsHPROFILE const profile = cmsCreateRGBProfile(&white, isP3 ? &p3 : &rec709, curves);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::vector<unsigned char> bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    return bytes;
}

struct Input {
    char const* file;
    OIIO::TypeDesc type;
    Space space;
    char const* attribute = "";  ///< oiio:ColorSpace
    int bits = 0;
    bool hasProfile = false;
};
void PrintTo(Input const& input, std::ostream* out) { *out << input.file; }

Input const kInputs[] = {{"s8.png", OIIO::TypeUInt8, Space::kSrgb},
                         {"s16.png", OIIO::TypeUInt16, Space::kSrgb},
                         {"icc.jpg", OIIO::TypeUInt8, Space::kSrgb, "", 0, true},
                         {"p3.jpg", OIIO::TypeUInt8, Space::kP3, "", 0, true},
                         {"power.png", OIIO::TypeUInt16, Space::kPower, "", 0, true},
                         {"light.exr", OIIO::TypeFloat, Space::kLinear},
                         {"log.dpx", OIIO::TypeUInt16, Space::kLog, "KodakLog", 10},
                         {"video.mov", OIIO::TypeUInt16, Space::kRec709},
                         {"video.mp4", OIIO::TypeUInt16, Space::kRec709}};

bool isMovieName(std::string const& file) {
    return file.ends_with(".mov") || file.ends_with(".mp4");
}

/// What each output keeps of a plate of that space; `isLight` of a float one.
Space keptOf(Space space, std::string const& extension, bool isLight) {
    bool const isDisplay = space != Space::kLinear && space != Space::kLog;
    if (extension == "exr" || (extension == "tif" && isLight)) return Space::kLinear;
    if (extension == "dpx")
        return space == Space::kLinear || space == Space::kLog ? space : Space::kRec709;
    if (extension == "mov" || extension == "mp4") return Space::kRec709;
    return isDisplay ? space : Space::kSrgb;
}

constexpr int kPatch = 16;  // pixels: whole blocks of JPEG and of video
constexpr Rgb kColors[] = {{0.5, 0.5, 0.5}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

class ColorTable : public ZelkTest, public testing::WithParamInterface<Input> {
protected:
    void SetUp() override {
        unsetenv("OCIO");
        OIIO::ImageSpec clear(4 * kPatch, kPatch, 4, OIIO::TypeUInt8);
        writeValues(at("clear.png"), clear, {0});
        OIIO::ImageSpec grey(4 * kPatch, kPatch, 3, OIIO::TypeFloat);
        writeValues(at("grey.exr"), grey, {0.2f});
        if (!isMovieName(GetParam().file)) return write(GetParam());
        write(kInputs[0]);
        render("clear.png", GetParam().file, {"--over", kInputs[0].file, "--frames", "0"});
    }

    void write(Input const& input) const {
        OIIO::ImageSpec spec(4 * kPatch, kPatch, 3, input.type);
        if (*input.attribute) spec.attribute("oiio:ColorSpace", input.attribute);
        if (input.bits) spec.attribute("oiio:BitsPerSample", input.bits);
        if (input.hasProfile) {
            auto const bytes =
                profileOf(input.space == Space::kPower ? kGamma : 0, input.space == Space::kP3);
            spec.attribute("ICCProfile",
                           OIIO::TypeDesc(OIIO::TypeDesc::UINT8, static_cast<int>(bytes.size())),
                           bytes.data());
        }
        std::vector<float> values;
        for (int y = 0; y < kPatch; ++y)
            for (int x = 0; x < 4 * kPatch; ++x)
                for (double const v : kColors[x / kPatch]) values.push_back(static_cast<float>(v));
        writeValues(at(input.file), spec, values);
    }

    /// The patches as a file stores them; a movie's by way of a file of 16 bits, unconverted.
    std::array<Rgb, 4> patches(std::string const& file) const {
        bool const isMovie = isMovieName(file);
        if (isMovie) {
            OIIO::ImageSpec clear(4 * kPatch, kPatch, 4, OIIO::TypeUInt16);
            writeValues(at("clear16.png"), clear, {0});
            done({"render", "clear16.png", "--over", file, "-o", "back.png", "--frames", "0",
                  "--color", "raw"});
        }
        auto const picture = readPicture<float>(at(isMovie ? "back.png" : file));
        std::array<Rgb, 4> found;
        for (int i = 0; i < 4; ++i)
            for (int c = 0; c < 3; ++c)
                found[i][c] = picture.at(i * kPatch + kPatch / 2, kPatch / 2, c);
        return found;
    }

    /// Largest difference, in half steps of the output: at most 1 where values are right.
    double worst(std::array<Rgb, 4> const& stored, std::string const& out, Space from,
                 Space to) const {
        auto const found = patches(out);
        OIIO::ImageSpec const spec =
            isMovieName(out) ? OIIO::ImageSpec(1, 1, 3, OIIO::TypeUInt8) : specOf(at(out));
        int const bits = spec.get_int_attribute("oiio:BitsPerSample", 0);
        double const steps = bits > 0 && bits < 16             ? (1 << bits) - 1
                             : spec.format == OIIO::TypeUInt16 ? 65535
                                                               : 255;
        double worst = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            Rgb const expected = converted(stored[i], from, to);
            for (std::size_t c = 0; c < 3; ++c) {
                double step = 1 / steps, value = std::clamp(expected[c], 0., 1.);
                if (spec.format == OIIO::TypeHalf || spec.format == OIIO::TypeFloat) {
                    value = expected[c];
                    // Conversions are made in float: 24 bits, a few roundings each, on values up
                    // to 1.
                    step = spec.format == OIIO::TypeHalf ? std::abs(value) / 1024 + 1e-6 : 1e-5;
                }
                // A profile's matrix is rounded to 2^-16: three entries are off by 2^-17 each, and
                // sRGB takes light near black times 12.92.
                double const slack = from == Space::kPower && from != to ? 12.92 * 3 / 131072 : 0;
                double const off = std::max(std::abs(found[i][c] - value) - slack, 0.);
                worst = std::max(worst, off / (step / 2));
            }
        }
        return worst;
    }

    /// What a codec may lose besides: JPEG and H.264 store luma and chroma of 8 bits, video levels
    /// have 219 steps where 255 are counted; each of three rounded channels adds to red or blue by
    /// up to 1.86. ProRes quantizes its coefficients; 10 bits and its loss stay within one step
    /// of 8.
    static double allowed(std::string const& out) {
        if (out.ends_with(".jpg")) return 3.5;
        if (out.ends_with(".mp4")) return 10;
        if (out.ends_with(".mov")) return 2;
        return 1.02;  // float's own rounding beside the half step of 16 bits
    }
};

TEST_P(ColorTable, AsLayerAndPlateInEachOutput) {
    Input const& input = GetParam();
    std::string const in = input.file;
    std::vector<std::string> outputs = {"png", "jpg", "exr", "tif", "dpx", "mov", "mp4"};
    auto const stored = patches(in);
    for (bool const isPlate : {false, true})
        for (bool const isRaw : {false, true})
            for (std::string const& extension : outputs) {
                if (isRaw && !isPlate) continue;
                std::string const out = "out." + extension;
                SCOPED_TRACE((isPlate ? "plate " : "layer ") + out + (isRaw ? " raw" : ""));
                bool const isMovie = isMovieName(out) || isMovieName(in);
                Words more = isMovie ? Words{"--frames", "0"} : Words{};
                if (isRaw) more = joined(more, {"--color", "raw"});
                render(isPlate ? "clear.png" : in, out,
                       joined(more, {"--over", isPlate ? in : "grey.exr", "--quality", "medium"}));
                bool const isLight = !isPlate || input.space == Space::kLinear;
                Space const from = isPlate ? input.space : Space::kLinear;
                Space const to = isRaw ? input.space : keptOf(from, extension, isLight);
                EXPECT_LE(worst(stored, out, input.space, to), allowed(out));
            }
}

INSTANTIATE_TEST_SUITE_P(All, ColorTable, testing::ValuesIn(kInputs), [](auto const& each) {
    std::string name = each.param.file;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
});

}  // namespace
}  // namespace zelk_test

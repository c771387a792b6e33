// Quality "best" beside the effect's own qualities, OpenCV, and ImageMagick and oiiotool where the
// machine has them: how sharp it leaves a picture that grows, how clean one that shrinks, and time.
//
//   footprint_bench PICTURE FOLDER [RUNS]
//
// Sharpness: PICTURE is pinned and taken back; the peak signal to noise ratio of what comes back,
// in decibels, without a rim of ten pixels. Cleanness: a zone plate up to one wave a pixel pair,
// and a checker of eight pixels, against the mean of 8 by 8 bilinear samples a pixel; RMS of 255,
// over the pixels that lie wholly inside the quad. "horizon" counts the rows in which the picture
// shrinks to a half and less. FOLDER receives the pictures, a row a program, the reference first.
#include <fmt/format.h>
#include <omp.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <string>
#include <vector>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "bench/medians.h"
#include "host/PluginHost_Memory_Impl.h"
#include "zelk/pictures/reader.h"
#include "zelk/pictures/writer.h"

namespace {

using zelk::PixelSize;
using zelk_bench::median;
using zelk_bench::millisecondsOf;

/// Corners in frame pixels: upper left, upper right, lower left, lower right.
using Quad = std::array<cv::Point2f, 4>;

struct Case {
    char const* name;
    PixelSize frame;
    Quad quad;
    bool isHorizon = false;
};
constexpr int kPatternPx = 1024;
const Case kShrinks[] = {
    {"a fifth", {220, 220}, {{{5, 6}, {209.8f, 6}, {5, 210.8f}, {209.8f, 210.8f}}}},
    {"turned, 0.3", {420, 420}, {{{200, 30}, {395, 205}, {20, 190}, {210, 380}}}},
    {"strong", {480, 270}, {{{180, 24}, {312, 36}, {12, 258}, {468, 240}}}},
    {"horizon", {480, 270}, {{{234, 12}, {241, 12}, {-360, 264}, {840, 264}}}, true},
};
const Quad kTrips[] = {
    {{{40, 30}, {560, 60}, {20, 380}, {590, 340}}},
    {{{0, 0}, {600, 10}, {20, 400}, {580, 390}}},
    {{{60, 20}, {640, 0}, {0, 420}, {600, 400}}},
};

Quad cornersOf(PixelSize size) {
    auto const w = static_cast<float>(size.width), h = static_cast<float>(size.height);
    return {{{0, 0}, {w, 0}, {0, h}, {w, h}}};
}

/// Of pixel centres at whole numbers, as OpenCV counts.
cv::Mat matrixOf(Quad from, Quad to) {
    for (int i = 0; i < 4; ++i) from[i] -= cv::Point2f(.5f, .5f), to[i] -= cv::Point2f(.5f, .5f);
    return cv::getPerspectiveTransform(from.data(), to.data());
}

PluginHost_API::RasterInfo describe(cv::Mat& picture) {
    return {picture.data,
            kFormatARGB32,
            picture.cols,
            picture.rows,
            static_cast<int>(picture.step),
            16,
            1.0f,
            1.0f,
            0};
}

/// A way to draw a picture into a frame.
struct Program {
    std::string name;
    std::function<void(cv::Mat& picture, cv::Mat& frame, Quad const& from, Quad const& to)> draw;
};

Program ours(char const* name, int filter, bool integrates) {
    return {name, [=](cv::Mat& picture, cv::Mat& frame, Quad const& from, Quad const& to) {
                auto const source = describe(picture), destination = describe(frame);
                PluginHost_Memory_Impl host(source, destination);
                ResampleOptions options;
                options.integratesFootprint = integrates;
                RenderSettings settings;
                settings.resample = &options;
                settings.srcRight = source.width - 1, settings.srcBottom = source.height - 1;
                settings.dstRight = frame.cols - 1, settings.dstBottom = frame.rows - 1;
                CoreRenderArguments core;
                core.quadMode = kQuadFromToTo;
                core.filter = filter;
                constexpr int kCornerOfPin[4] = {0, 2, 1, 3};
                for (int i = 0; i < 4; ++i) {
                    cv::Point2f const a = from[kCornerOfPin[i]], b = to[kCornerOfPin[i]];
                    core.fromPins[i] = {double{a.x} / source.width, double{a.y} / source.height};
                    core.toPins[i] = {double{b.x} / frame.cols, double{b.y} / frame.rows};
                }
                CommonRender_CoreTransformRender(&host, core, source, destination, true, false,
                                                 &settings, true, false);
            }};
}

Program openCv(char const* name, int interpolation) {
    return {name, [=](cv::Mat& picture, cv::Mat& frame, Quad const& from, Quad const& to) {
                cv::warpPerspective(picture, frame, matrixOf(from, to), frame.size(), interpolation,
                                    cv::BORDER_REPLICATE);
            }};
}

const Program kPrograms[] = {ours("high", kFilterParzen, false), ours("best", 1, true),
                             openCv("OpenCV linear", cv::INTER_LINEAR),
                             openCv("OpenCV cubic", cv::INTER_CUBIC),
                             openCv("OpenCV Lanczos", cv::INTER_LANCZOS4)};

cv::Mat matOf(zelk::PictureReader picture) {
    cv::Mat mat(picture.height(), picture.width(), CV_32FC4);
    picture.readAssociated([&mat](int y, float const* rgba) {
        float* const row = mat.ptr<float>(y);
        // Alpha first, as the engine has it.
        for (int i = 0; i < 4 * mat.cols; ++i) row[i] = rgba[i / 4 * 4 + (i + 3) % 4];
    });
    return mat;
}

void write(cv::Mat const& mat, std::filesystem::path const& file) {
    zelk::World world({mat.cols, mat.rows, zelk::Depth::kFloat});
    for (int y = 0; y < mat.rows; ++y)
        std::copy_n(mat.ptr<float>(y), 4 * mat.cols, world.rowAs<float>(y));
    zelk::WriteRequest request;
    request.form = zelk::AlphaForm::kAssociated;
    request.opaque = true;
    zelk::writePicture(world, file, request);
}

// ---- Sharpness

void printSharpness(std::filesystem::path const& file) {
    cv::Mat picture = matOf(zelk::PictureReader(file));
    const Quad whole = cornersOf({picture.cols, picture.rows});
    const cv::Rect inner(10, 10, picture.cols - 20, picture.rows - 20);
    fmt::print("{} there and back, decibels\n", file.filename().string());
    for (Program const& program : kPrograms) {
        fmt::print("{:16}", program.name);
        for (Quad const& quad : kTrips) {
            cv::Mat frame(420, 640, CV_32FC4), back(picture.size(), CV_32FC4);
            program.draw(picture, frame, whole, quad);
            program.draw(frame, back, quad, whole);
            double const squares = cv::norm(picture(inner), back(inner), cv::NORM_L2SQR);
            // Alpha is the same throughout.
            fmt::print("{:8.2f}", 10 * std::log10(3.0 * inner.area() / squares));
        }
        fmt::print("\n");
    }
}

// ---- Cleanness

cv::Mat pattern(bool isZone) {
    cv::Mat mat(kPatternPx, kPatternPx, CV_32FC4);
    for (int y = 0; y < mat.rows; ++y)
        for (int x = 0; x < mat.cols; ++x) {
            double const dx = x + 0.5 - kPatternPx / 2, dy = y + 0.5 - kPatternPx / 2;
            double const zone = 0.5 + 0.5 * std::cos(CV_PI * (dx * dx + dy * dy) / kPatternPx);
            auto const value = static_cast<float>(isZone ? zone : (x / 8 + y / 8) % 2);
            mat.at<cv::Vec4f>(y, x) = {1, value, value, value};
        }
    return mat;
}

/// The mean of 8 by 8 samples a pixel, and which pixels count.
struct Reference {
    cv::Mat mean, counts;
};

Reference referenceOf(cv::Mat const& picture, Case const& each) {
    cv::Mat inverse = cv::Mat(matrixOf(cornersOf({kPatternPx, kPatternPx}), each.quad)).inv();
    auto const at = [&](int row, double x, double y) {
        double const* const m = inverse.ptr<double>(row);
        return m[0] * x + m[1] * y + m[2];
    };
    Reference reference{cv::Mat(each.frame.height, each.frame.width, CV_32F, cv::Scalar(0)),
                        cv::Mat(each.frame.height, each.frame.width, CV_8U, cv::Scalar(0))};
    for (int y = 0; y < each.frame.height; ++y)
        for (int x = 0; x < each.frame.width; ++x) {
            double sum = 0;
            bool isInside = true;
            for (int k = 0; k < 64 && isInside; ++k) {
                double const sx = x - 0.5 + (k % 8 + 0.5) / 8, sy = y - 0.5 + (k / 8 + 0.5) / 8;
                double const w = at(2, sx, sy), u = at(0, sx, sy) / w, v = at(1, sx, sy) / w;
                isInside = w > 0 && u >= 0 && v >= 0 && u < kPatternPx - 1 && v < kPatternPx - 1;
                if (!isInside) break;
                int const i = static_cast<int>(u), j = static_cast<int>(v);
                double const fx = u - i, fy = v - j;
                auto const value = [&](int a, int b) {
                    return double{picture.at<cv::Vec4f>(j + b, i + a)[1]};
                };
                sum += (value(0, 0) * (1 - fx) + value(1, 0) * fx) * (1 - fy) +
                       (value(0, 1) * (1 - fx) + value(1, 1) * fx) * fy;
            }
            // Rows of source in a row of the frame.
            auto const rowOf = [&](double sy) { return at(1, x, sy) / at(2, x, sy); };
            bool const shrinks = rowOf(y + 0.5) - rowOf(y - 0.5) >= 3;
            if (!isInside || (each.isHorizon && !shrinks)) continue;
            reference.mean.at<float>(y, x) = static_cast<float>(sum / 64);
            reference.counts.at<unsigned char>(y, x) = 255;
        }
    return reference;
}

double rmsOf(cv::Mat const& frame, Reference const& reference) {
    double squares = 0;
    for (int y = 0; y < frame.rows; ++y)
        for (int x = 0; x < frame.cols; ++x) {
            if (!reference.counts.at<unsigned char>(y, x)) continue;
            double const apart = frame.at<cv::Vec4f>(y, x)[1] - reference.mean.at<float>(y, x);
            squares += apart * apart;
        }
    return 255 * std::sqrt(squares / cv::countNonZero(reference.counts));
}

/// A program of its own that reads `in` and writes `out`, as `command` says it; nothing where the
/// machine has none or it takes longer than 100 seconds.
std::optional<cv::Mat> byCommand(std::string const& command, std::filesystem::path const& out,
                                 cv::Size size) {
    std::filesystem::remove(out);
    if (std::system(("timeout 100 " + command + " >/dev/null 2>&1").c_str()) != 0)
        return std::nullopt;
    cv::Mat frame = matOf(zelk::PictureReader(out));
    if (frame.size() != size) return std::nullopt;
    return frame;
}

std::string imageMagick(Case const& each, std::string const& in, std::string const& out) {
    std::string points;
    for (int i = 0; i < 4; ++i) {
        cv::Point2f const a = cornersOf({kPatternPx, kPatternPx})[i], b = each.quad[i];
        points += fmt::format("{},{} {},{} ", a.x, a.y, b.x, b.y);
    }
    return fmt::format(
        "convert {} -virtual-pixel edge -set option:distort:viewport {}x{}+0+0 -distort "
        "Perspective "
        "'{}' {}",
        in, each.frame.width, each.frame.height, points, out);
}

std::string oiioTool(Case const& each, std::string const& in, std::string const& out) {
    Quad const corners = cornersOf({kPatternPx, kPatternPx});
    cv::Mat const m = cv::getPerspectiveTransform(corners.data(), each.quad.data());
    std::string rows;  // it multiplies rows
    for (int i = 0; i < 9; ++i)
        rows += fmt::format("{}{}", i ? "," : "", m.at<double>(i % 3, i / 3));
    return fmt::format("oiiotool {} --warp {} --crop {}x{}+0+0 --fullpixels -o {}", in, rows,
                       each.frame.width, each.frame.height, out);
}

void printCleanness(std::filesystem::path const& folder, int runs) {
    fmt::print("\nagainst 8 x 8 samples, RMS of 255; zone plate / checker; milliseconds\n{:16}",
               "");
    for (Case const& each : kShrinks) fmt::print("{:>24}", each.name);
    fmt::print("\n");
    cv::Mat patterns[] = {pattern(true), pattern(false)};
    for (int p = 0; p < 2; ++p) write(patterns[p], folder / fmt::format("pattern-{}.png", p));
    auto const row = [&](std::string const& name, auto const& draw) {
        fmt::print("{:16}", name);
        int number = 0;
        for (Case const& each : kShrinks) {
            double rms[2] = {NAN, NAN}, time = 0;
            for (int p = 0; p < 2; ++p) {
                const std::optional<cv::Mat> frame = draw(each, patterns[p], p, time);
                if (!frame) continue;
                rms[p] = rmsOf(*frame, referenceOf(patterns[p], each));
                write(*frame, folder / fmt::format("{}-{}-{}.png", number, p, name));
            }
            ++number;
            fmt::print("{:>8.2f} / {:5.2f} {:6.1f} ", rms[0], rms[1], time);
            std::fflush(stdout);
        }
        fmt::print("\n");
    };
    for (Program const& program : kPrograms)
        row(program.name, [&](Case const& each, cv::Mat& picture, int, double& time) {
            cv::Mat frame(each.frame.height, each.frame.width, CV_32FC4);
            std::vector<double> times;
            for (int i = 0; i < runs; ++i)
                times.push_back(millisecondsOf([&] {
                    program.draw(picture, frame, cornersOf({kPatternPx, kPatternPx}), each.quad);
                }));
            time = median(times);
            return std::optional<cv::Mat>(frame);
        });
    using Words = std::string (*)(Case const&, std::string const&, std::string const&);
    for (auto const& [name, words] :
         {std::pair<char const*, Words>{"ImageMagick", imageMagick}, {"oiiotool", oiioTool}})
        row(name, [&, words = words](Case const& each, cv::Mat&, int p, double& time) {
            auto const in = (folder / fmt::format("pattern-{}.png", p)).string();
            auto const out = (folder / "command.png").string();
            std::optional<cv::Mat> frame;
            time = millisecondsOf([&] {
                frame = byCommand(words(each, in, out), out, {each.frame.width, each.frame.height});
            });
            return frame;
        });
}

// ---- Time

void printTimes(int runs) {
    cv::Mat picture(1080, 1920, CV_32FC4), frame(1080, 1920, CV_32FC4);
    cv::randu(picture, 0, 1);
    const Quad whole = cornersOf({1920, 1080});
    const Quad ordinary = {{{100, 60}, {1850, 20}, {30, 1050}, {1800, 990}}};
    fmt::print("\n1920 x 1080 float, an ordinary quad, one thread, milliseconds\n");
    std::vector<double> times[std::size(kPrograms)];
    for (int i = 0; i < runs; ++i)
        for (std::size_t k = 0; k < std::size(kPrograms); ++k)
            times[k].push_back(
                millisecondsOf([&] { kPrograms[k].draw(picture, frame, whole, ordinary); }));
    for (std::size_t k = 0; k < std::size(kPrograms); ++k)
        fmt::print("{:16}{:8.2f}\n", kPrograms[k].name, median(times[k]));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        fmt::print(stderr, "usage: footprint_bench PICTURE FOLDER [RUNS]\n");
        return 1;
    }
    int const runs = argc > 3 ? std::max(1, std::atoi(argv[3])) : 5;
    omp_set_num_threads(1);
    cv::setNumThreads(1);
    std::filesystem::create_directories(argv[2]);
    printSharpness(argv[1]);
    printCleanness(argv[2], runs);
    printTimes(runs);
}

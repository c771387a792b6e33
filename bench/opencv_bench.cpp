// The engine beside OpenCV's warpPerspective: the same quad, frames of 1920 by 1080 with four
// channels, on one thread and on two. Both clear what the quad does not cover.
//
//   opencv_bench [RUNS]      runs of each, 11 if left out
//
// The runs are interleaved, so that other work of the machine meets both alike; figures are medians
// in milliseconds and OpenCV's time over ours. `memcpy` is a copy of the frame, the least that any
// of them could take. Where the pixels are whole numbers of the same kernel, the pictures are held
// against each other first: a quad that OpenCV would see otherwise makes the program fail.
#include <fmt/format.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "Transform/Common/Transform_Core_Render/CoreTransformRender.h"
#include "bench/medians.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

using zelk_bench::median;
using zelk_bench::millisecondsOf;

constexpr int kWidth = 1920, kHeight = 1080;

struct Format {
    char const* name;
    QV_RasterFormat code;
    int pixelBytes, type;
    FormatFunctions functions;
};
template <class Trait>
constexpr Format formatOf(char const* name, int type) {
    return {name, Trait::kFormat, Trait::kPixelBytes, type, formatFunctionsOf<Trait>()};
}
constexpr Format kFormats[] = {formatOf<PIXEL_ARGB8>("8 bit", CV_8UC4),
                               formatOf<PIXEL_ARGB15>("16 bit", CV_16UC4),
                               formatOf<PIXEL_ARGB32>("float", CV_32FC4)};

struct Quality {
    char const* name;
    int filter, sizeIndex, peer;
};
constexpr Quality kQualities[] = {{"nearest", 0, 0, cv::INTER_NEAREST},
                                  {"bilinear", 1, 0, cv::INTER_LINEAR},
                                  {"4 x 4", 4, 0, cv::INTER_CUBIC},
                                  {"8 x 8", 12, 2, cv::INTER_LANCZOS4}};

/// To pins as fractions of the frame: upper left, lower left, upper right, lower right.
struct Quad {
    char const* name;
    QV_UnitPoint pins[4];
};
constexpr Quad kQuads[] = {
    {"tilted", {{-0.02, -0.03}, {-0.05, 1.06}, {1.04, -0.01}, {1.02, 1.02}}},
    {"strong", {{-0.02, -0.9}, {-0.05, 1.8}, {1.04, -0.05}, {1.02, 1.04}}},
};

/// Smooth waves with some noise: every channel within the format's range.
cv::Mat makePicture(Format const& format) {
    cv::Mat picture(kHeight, kWidth, format.type);
    int const channelBytes = format.pixelBytes / 4;
    std::uint32_t state = 12345;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < 4 * kWidth; ++x) {
            state = state * 1664525u + 1013904223u;
            double const value = 0.5 + 0.45 * std::sin(x * 0.01) * std::cos(y * 0.02) +
                                 0.05 * (static_cast<double>(state >> 16) / 65535.0 - 0.5);
            if (channelBytes == 1)
                picture.ptr<unsigned char>(y)[x] = static_cast<unsigned char>(value * 255);
            else if (channelBytes == 2)
                picture.ptr<unsigned short>(y)[x] = static_cast<unsigned short>(value * 32768);
            else
                picture.ptr<float>(y)[x] = static_cast<float>(value);
        }
    return picture;
}

PluginHost_API::RasterInfo describe(cv::Mat& picture, Format const& format) {
    PluginHost_API::RasterInfo info{};
    info.data = picture.data;
    info.format = format.code;
    info.width = picture.cols;
    info.height = picture.rows;
    info.rowBytes = static_cast<int>(picture.step);
    info.pixelBytes = format.pixelBytes;
    info.pixelAspect = info.rangeScale = 1.0f;
    return info;
}

/// What the program times: ours, the peer's, and a copy.
struct Contest {
    Format const& format;
    Quality const& quality;
    Quad const& quad;
    cv::Mat source, ours, theirs;
    cv::Mat matrix;

    Contest(Format const& f, Quality const& q, Quad const& pins)
        : format(f), quality(q), quad(pins), source(makePicture(f)) {
        ours.create(kHeight, kWidth, f.type);
        theirs.create(kHeight, kWidth, f.type);
        // The engine's pixel centres lie at whole numbers of the source and halves of the frame.
        std::vector<cv::Point2f> from, to;
        constexpr double kCorners[4][2] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}};
        for (int i = 0; i < 4; ++i) {
            from.emplace_back(static_cast<float>(kCorners[i][0] * (kWidth - 1)),
                              static_cast<float>(kCorners[i][1] * (kHeight - 1)));
            to.emplace_back(static_cast<float>(pins.pins[i].x * kWidth - 0.5),
                            static_cast<float>(pins.pins[i].y * kHeight - 0.5));
        }
        matrix = cv::getPerspectiveTransform(from, to);
    }

    void render() {
        auto const src = describe(source, format), dst = describe(ours, format);
        PluginHost_Memory_Impl host(src, dst);
        CoreRenderArguments core;
        core.quadMode = kQuadFromToTo;
        core.filter = quality.filter;
        core.sizeIndex = quality.sizeIndex;
        std::copy(std::begin(quad.pins), std::end(quad.pins), core.toPins);
        coreTransformRender({&host, core, src, dst, true, false, nullptr, true, false},
                            format.functions);
    }

    void renderPeer() {
        cv::warpPerspective(source, theirs, matrix, theirs.size(), quality.peer,
                            cv::BORDER_CONSTANT);
    }

    void copy() { std::memcpy(theirs.data, source.data, source.total() * source.elemSize()); }

    /// Mean difference of a channel in the inner half of the frame, as a share of white.
    double difference() {
        render();
        renderPeer();
        const cv::Rect inner(kWidth / 4, kHeight / 4, kWidth / 2, kHeight / 2);
        cv::Mat apart;
        cv::absdiff(ours(inner), theirs(inner), apart);
        const cv::Scalar mean = cv::mean(apart);
        double const white = format.pixelBytes == 4 ? 255 : format.pixelBytes == 8 ? 32768 : 1;
        return (mean[0] + mean[1] + mean[2] + mean[3]) / 4 / white;
    }
};

/// A row of the table; false where the two pictures are not the same map's.
bool contest(Quad const& quad, Format const& format, Quality const& quality, int threads,
             int runs) {
    omp_set_num_threads(threads);
    cv::setNumThreads(threads);
    Contest c(format, quality, quad);
    double const difference = c.difference();
    std::vector<double> ours, theirs, copies;
    for (int i = 0; i < runs; ++i) {
        theirs.push_back(millisecondsOf([&] { c.renderPeer(); }));
        ours.push_back(millisecondsOf([&] { c.render(); }));
        copies.push_back(millisecondsOf([&] { c.copy(); }));
    }
    fmt::print("{:7} {:7} {:9} {:7}  {:8.2f} {:8.2f} {:8.2f}   {:6.2f}\n", quad.name, format.name,
               quality.name, threads, median(theirs), median(ours), median(copies),
               median(theirs) / median(ours));
    constexpr double kSameMap = 0.02;
    if (difference < kSameMap) return true;
    fmt::print(stderr, "the pictures differ by {:.1f} % of white on average\n", difference * 100);
    return false;
}

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown processor";
}

}  // namespace

int main(int argc, char** argv) {
    int const runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 11;
    fmt::print("{}, GCC {}, line functions {}, OpenCV {}; medians of {} runs, milliseconds\n",
               processor(), __VERSION__, lineFuncSimdTarget(), CV_VERSION, runs);
    fmt::print("{:7} {:7} {:9} {:7}  {:>8} {:>8} {:>8}   {:>6}\n", "quad", "format", "quality",
               "threads", "OpenCV", "ours", "memcpy", "ratio");
    bool same = true;
    for (Quad const& quad : kQuads)
        for (Format const& format : kFormats)
            for (Quality const& quality : kQualities)
                for (int threads : {1, 2})
                    same = contest(quad, format, quality, threads, runs) && same;
    return same ? 0 : 1;
}

// Figures as pictures: motion blur's error over its samples, and the tent blur against a direct sum
// in result and cost. Usage: zelk_charts FOLDER, which is made when it isn't there.
//
// Both call the function that they measure, and no chart shows a frame: the moving edge needs pins
// that are an exact function of time and float values that no file has rounded, the blur one line.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <random>
#include <stdexcept>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurLine.h"
#include "apps/drawing/chart.h"
#include "effect/Render.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/memory_controls.h"
#include "zelk/pictures/writer.h"

namespace {

using zelk::CanvasColor;
using zelk::Chart;
using zelk::Curve;
using zelk::GuardedRaster;

constexpr CanvasColor kBlue{40, 100, 200}, kRed{200, 60, 40}, kGray{150, 150, 150};

void write(Chart const& chart, std::filesystem::path const& file) {
    zelk::writePicture(zelk::drawChart(chart).toWorld(), file, {});
    std::printf("%s\n", file.c_str());
}

// ---- A white layer that moves by 12 pixels a frame with an open shutter: its alpha should be the
// box integral of the moving edge's coverage.

constexpr int kWidth = 64, kHeight = 9, kSpeed = 12, kLeft = 10, kRight = 40;

/// Alpha of the middle row.
std::vector<double> movingEdge(int samples, int quality) {
    GuardedRaster input(kFormatARGB32, kWidth, kHeight), output(kFormatARGB32, kWidth, kHeight);
    input.paint([](int, int, int) { return 1; });
    PluginHost_Memory_Impl host(input.info(), output.info());
    zelk::setDefaultControls(host);
    constexpr int kFrame = 1 << 20;  // time units
    host.setTime({0, kFrame, 24u << 20});
    host.setPopup(kParamMotionBlur, 1);
    host.setPopup(kParamQuality, quality);
    host.setFloat(kParamSamples, samples);
    for (int i = 0; i < 4; ++i)
        host.setAnimated(kParamToUpperLeft + i, [i](PluginHost_API::TimeObject const& at) {
            const double x = (i % 2 ? kRight : kLeft) + kSpeed * (at.time / double(kFrame));
            return PluginHost_Memory_Impl::Value{x / kWidth, double(i / 2)};
        });
    if (Render(&host) != 0) throw std::runtime_error("the moving edge was not rendered");
    std::vector<double> alpha(kWidth);
    for (int x = 0; x < kWidth; ++x) alpha[x] = output.get(x, kHeight / 2, 0);
    return alpha;
}

/// Integral of max(0, min(t, kSpeed) - 0) from `a` to `b` over kSpeed: what a shutter sees of the
/// half plane left of an edge that runs from 0 to kSpeed.
double passed(double a, double b) {
    auto const integral = [](double t) {
        const double inside = std::clamp(t, 0.0, double(kSpeed));
        return inside * inside / 2 + std::max(0.0, t - kSpeed) * kSpeed;
    };
    return (integral(b) - integral(a)) / kSpeed;
}

Chart movingEdgeChart() {
    Chart chart{"A moving edge against the box integral of its coverage",
                {"samples", 2},
                {"error of alpha", 10},
                {{"largest", kRed, {}}, {"mean", kBlue, {}}, {"1 / samples", kGray, {}, false}}};
    for (int const samples : {2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96, 128}) {
        const std::vector<double> alpha = movingEdge(samples, 2);
        double largest = 0, sum = 0;
        for (int x = 0; x < kWidth; ++x) {
            // Bright from the left edge, which uncovers, to the right one, which covers.
            double const exact =
                passed(x - kLeft, x + 1 - kLeft) - passed(x - kRight, x + 1 - kRight);
            double const error = std::fabs(alpha[x] - exact);
            largest = std::max(largest, error);
            sum += error;
        }
        // N samples make stairs of height 1 / N that start on the ramp.
        if (largest > 1.0 / samples + 1e-6)
            throw std::runtime_error("the moving edge is off by more than a stair");
        chart.curves[0].points.push_back({double(samples), largest});
        chart.curves[1].points.push_back({double(samples), sum / (2 * kSpeed)});
        chart.curves[2].points.push_back({double(samples), 1.0 / samples});
        std::printf("  %3d samples: largest %.5f, mean over the blurred pixels %.5f\n", samples,
                    largest, sum / (2 * kSpeed));
    }
    return chart;
}

// ---- The tent blur of random lines.

constexpr int kLength = 16000;

/// Values of every magnitude from 2^-45 to 1: their sums don't fit into a double, so that what
/// running sums lose can be seen.
std::vector<float> randomLine(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> mantissa(0.5, 1), exponent(-45, 0);
    std::vector<float> line(kLength);
    for (float& v : line) v = static_cast<float>(mantissa(random) * std::exp2(exponent(random)));
    return line;
}

template <class Sum>
std::vector<Sum> direct(std::vector<float> const& line, int radius) {
    int const n = radius + 1;
    std::vector<Sum> out(kLength);
    for (int i = 0; i < kLength; ++i) {
        Sum sum = 0;
        for (int d = -radius; d <= radius; ++d)
            sum += Sum(n - std::abs(d)) * Sum(line[std::clamp(i + d, 0, kLength - 1)]);
        out[i] = sum / (Sum(n) * Sum(n));
    }
    return out;
}

std::vector<float> running(std::vector<float> line, int radius) {
    std::vector<float> out(kLength);
    tentBlurLine<float, 1>({line.data(), 1}, {out.data(), 1}, kLength, radius);
    return out;
}

/// Nanoseconds a pixel, the best of three.
template <class Blur>
double costOf(Blur blur) {
    double best = 1e300;
    for (int i = 0; i < 3; ++i) {
        auto const start = std::chrono::steady_clock::now();
        blur();
        const std::chrono::duration<double, std::nano> taken =
            std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count() / kLength);
    }
    return best;
}

/// TentBlurLine.h's bound for values up to 1, and half a unit of a float below 1.
double driftBound(int radius) {
    double const n = radius + 1, length = kLength;
    return std::ldexp(3 + n + length * (3 + 2 / n) + length * length * (7 + 2 * n) / (2 * n * n),
                      -53) +
           0x1p-25;
}

void blurCharts(std::filesystem::path const& folder) {
    Chart error{"Running sums against a direct sum, 8 random lines of 16,000 floats up to 1",
                {"radius, pixels", 2},
                {"largest error", 10},
                {{"measured", kRed, {}}, {"bound", kGray, {}, false}}};
    Chart cost{"Cost of a blurred line of 16,000 floats over its radius",
               {"radius, pixels", 2},
               {"nanoseconds a pixel", 10},
               {{"running sums", kRed, {}}, {"direct sum", kBlue, {}}}};
    for (int radius = 1; radius <= 1024; radius *= 2) {
        double worst = 0;
        for (unsigned seed = 0; seed < 8; ++seed) {
            const std::vector<float> line = randomLine(seed), fast = running(line, radius);
            auto const exact = direct<long double>(line, radius);
            for (int i = 0; i < kLength; ++i)
                worst = std::max(worst, std::fabs(double(fast[i] - exact[i])));
        }
        double const bound = driftBound(radius);
        if (worst > bound) throw std::runtime_error("the blur is off by more than its bound");
        error.curves[0].points.push_back({double(radius), worst});
        error.curves[1].points.push_back({double(radius), bound});
        const std::vector<float> line = randomLine(1);
        double const ours = costOf([&] { running(line, radius); });
        double const plain = costOf([&] { direct<double>(line, radius); });
        cost.curves[0].points.push_back({double(radius), ours});
        cost.curves[1].points.push_back({double(radius), plain});
        std::printf(
            "  radius %4d: error %.3g (bound %.3g), %.2f ns a pixel, direct %.2f (%.2f x)\n",
            radius, worst, bound, ours, plain, plain / ours);
    }
    write(error, folder / "blur-error.png");
    write(cost, folder / "blur-cost.png");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: zelk_charts FOLDER\n");
        return 2;
    }
    try {
        std::filesystem::create_directories(argv[1]);
        write(movingEdgeChart(), std::filesystem::path(argv[1]) / "moving-edge.png");
        blurCharts(argv[1]);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "zelk_charts: %s\n", error.what());
        return 1;
    }
}

// How a render's time grows, as pictures: with the frame's size, with the share of it that the quad
// covers, and with the quad's size. Usage: zelk_growth_charts FOLDER, which is made when it isn't
// there.
//
// Time follows what is drawn: nanoseconds a pixel stay level over the frame's size, and a quad of a
// million pixels a side costs what its visible part costs. 8 bits, four channels, all threads; the
// best of five. The program fails where the largest quad takes three times as long as one that just
// fills the frame.
#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "Transform/Common/Transform_Core_Render/CoreTransformRender.h"
#include "apps/drawing/chart.h"
#include "host/PluginHost_Memory_Impl.h"
#include "zelk/pictures/writer.h"

namespace {

using zelk::CanvasColor;
using zelk::Chart;

struct Quality {
    char const* name;
    CanvasColor color;
    int filter, sizeIndex;
};
constexpr Quality kQualities[] = {{"nearest", {150, 150, 150}, 0, 0},
                                  {"bilinear", {40, 100, 200}, 1, 0},
                                  {"4 x 4", {200, 60, 40}, 9, 0},
                                  {"8 x 8", {40, 140, 60}, 12, 2}};

/// A square frame and a picture of its size.
class Frame {
public:
    explicit Frame(int side)
        : m_source(static_cast<std::size_t>(side) * side * 4), m_target(m_source.size()) {
        for (std::size_t i = 0; i < m_source.size(); ++i)
            m_source[i] = static_cast<unsigned char>(i * 7);
        m_info.format = kFormatARGB8;
        m_info.width = m_info.height = side;
        m_info.pixelBytes = 4;
        m_info.rowBytes = 4 * side;
        m_info.pixelAspect = m_info.rangeScale = 1;
    }

    /// Milliseconds of a square quad, `share` of the frame's side, a little tilted, around its
    /// centre.
    double millisecondsOf(Quality const& quality, double share) {
        double const half = share / 2, tilt = 0.02 * share;
        double best = 1e300;
        for (int i = 0; i < 5; ++i) {
            auto source = m_info, target = m_info;
            source.data = m_source.data();
            target.data = m_target.data();
            CoreRenderArguments core;
            core.quadMode = kQuadFromToTo;
            core.filter = quality.filter;
            core.sizeIndex = quality.sizeIndex;
            core.toPins[0] = {0.5 - half, 0.5 - half + tilt};
            core.toPins[1] = {0.5 - half + tilt, 0.5 + half};
            core.toPins[2] = {0.5 + half - tilt, 0.5 - half};
            core.toPins[3] = {0.5 + half, 0.5 + half - tilt};
            auto const start = std::chrono::steady_clock::now();
            PluginHost_Memory_Impl host(source, target);
            coreTransformRender({&host, core, source, target, true, false, nullptr, true, false},
                                formatFunctionsOf<PIXEL_ARGB8>());
            const std::chrono::duration<double, std::milli> taken =
                std::chrono::steady_clock::now() - start;
            best = std::min(best, taken.count());
        }
        return best;
    }

private:
    std::vector<unsigned char> m_source, m_target;
    PluginHost_API::RasterInfo m_info{};
};

/// A curve a quality: `measure` gives the value at each x.
template <class Measure>
void draw(Chart chart, std::vector<double> const& xs, std::filesystem::path const& file,
          Measure measure) {
    for (Quality const& quality : kQualities) {
        zelk::Curve curve{quality.name, quality.color, {}};
        std::printf("  %-9s", quality.name);
        for (double const x : xs) {
            curve.points.push_back({x, measure(quality, x)});
            std::printf(" %9.3f", curve.points.back().y);
        }
        std::printf("\n");
        chart.curves.push_back(std::move(curve));
    }
    zelk::writePicture(zelk::drawChart(chart).toWorld(), file, {});
    std::printf("%s\n", file.c_str());
}

void drawAll(std::filesystem::path const& folder) {
    std::filesystem::create_directories(folder);
    char threads[40];
    std::snprintf(threads, sizeof threads, "%d threads, line functions %s", omp_get_max_threads(),
                  lineFuncSimdTarget());
    draw({std::string("Time over the frame's size, ") + threads,
          {"side, pixels", 2},
          {"nanoseconds a pixel", 10},
          {}},
         {64, 128, 256, 512, 1024, 2048, 4096, 8192}, folder / "growth-frame.png",
         [](Quality const& quality, double side) {
             return Frame(static_cast<int>(side)).millisecondsOf(quality, 1.1) * 1e6 /
                    (side * side);
         });
    Frame frame(2048);
    draw({"Time over the covered share of 2048 x 2048 pixels",
          {"share of the frame", 0},
          {"milliseconds", 0},
          {}},
         {0.01, 0.1, 0.2, 0.4, 0.6, 0.8, 0.96}, folder / "growth-cover.png",
         [&frame](Quality const& quality, double share) {
             return frame.millisecondsOf(quality, std::sqrt(share));
         });
    draw({"Time over the quad's side, around a frame of 2048 x 2048 pixels",
          {"side of the quad, frames", 10},
          {"milliseconds", 10},
          {}},
         {1.1, 2, 5, 10, 50, 100, 500}, folder / "growth-quad.png",
         [&frame](Quality const& quality, double share) {
             double const ours = frame.millisecondsOf(quality, share);
             if (ours > 3 * frame.millisecondsOf(quality, 1.1))
                 throw std::runtime_error("time grows with the quad beyond the frame");
             return ours;
         });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: zelk_growth_charts FOLDER\n");
        return 2;
    }
    try {
        drawAll(argv[1]);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "zelk_growth_charts: %s\n", error.what());
        return 1;
    }
}

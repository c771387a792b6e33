// The roads around the engine: one frame through the effect module in our host, and through the
// pipeline in memory, beside the engine alone on the same quad and formats.
//
//   frame_bench [WIDTH HEIGHT [RUNS [CASE]]]      1920 1080, 11 and all cases if left out
//
// Figures are medians of interleaved runs, milliseconds; `x` is a road's time over the engine's.
// `empty` is a frame that the quad does not reach, in copies of the frame. The last column is the
// most memory that the process has had so far, so that formats stand in the order of their size.
// The layer is made anew for each run, outside of what is timed.
#include <fmt/format.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/Transform_Core_Render/PassPlan.h"
#include "bench/medians.h"
#include "host/PluginHost_Memory_Impl.h"
#include "hostkit/fixed_point.h"
#include "hostkit/host.h"
#include "zelk/render/memory_road.h"
#include "zelk/render/module_road.h"
#include "zelk/scene/parameter_names.h"

namespace {

using namespace zelk;
using zelk_bench::median;
using zelk_bench::millisecondsOf;

struct Size {
    int width = 1920, height = 1080;
};

/// To pins as fractions of the frame: upper left, upper right, lower left, lower right.
using Pins = double[4][2];
constexpr Pins kFills = {{-0.02, -0.03}, {1.04, -0.01}, {-0.05, 1.06}, {1.02, 1.02}};
constexpr Pins kInset = {{0.2, 0.25}, {0.7, 0.3}, {0.25, 0.8}, {0.75, 0.7}};
constexpr Pins kAway = {{2.1, 2.1}, {3.1, 2.1}, {2.1, 3.1}, {3.1, 3.1}};

void setParameters(Host& host, Size size, Pins const& pins, QualityEntry quality) {
    host.resetParameters(size.width, size.height);
    auto& parameters = host.parameters();
    for (int i = 0; i < 4; ++i) {
        PF_PointDef& point = parameterIn(parameters, kToPins + i).current.u.td;
        point.x_value = realToFixed(pins[i][0] * size.width);
        point.y_value = realToFixed(pins[i][1] * size.height);
    }
    parameterIn(parameters, kParamQuality).current.u.pd.value = hostEntry(quality);
}

/// Waves, with alpha from 0 to white.
World makeLayer(WorldSpec const& spec) {
    World world(spec);
    auto const fill = [&](auto white) {
        using Channel = decltype(white);
        for (int y = 0; y < spec.height; ++y) {
            Channel* const row = world.rowAs<Channel>(y);
            for (int x = 0; x < 4 * spec.width; ++x)
                row[x] =
                    static_cast<Channel>(white * static_cast<float>((x * 7 + y * 3) % 257) / 256);
        }
    };
    if (spec.depth == Depth::k8)
        fill(static_cast<unsigned char>(255));
    else if (spec.depth == Depth::k16)
        fill(static_cast<unsigned short>(32768));
    else
        fill(1.0f);
    return world;
}

World copyOf(World const& from) {
    World to(from.spec());
    for (int y = 0; y < from.height(); ++y)
        std::memcpy(to.row(y), from.row(y), static_cast<std::size_t>(from.rowBytes()));
    return to;
}

PluginHost_API::RasterInfo describe(World& world) {
    constexpr QV_RasterFormat kFormats[] = {kFormatARGB8, kFormatARGB15, kFormatARGB32};
    PluginHost_API::RasterInfo info{};
    info.data = world.row(0);
    info.format = kFormats[static_cast<int>(world.depth())];
    info.width = world.width();
    info.height = world.height();
    info.rowBytes = world.rowBytes();
    info.pixelBytes = pixelBytes(world.depth());
    info.pixelAspect = info.rangeScale = 1.0f;
    return info;
}

void renderByEngine(World& layer, World& frame, Pins const& pins, QualityEntry quality) {
    auto const src = describe(layer), dst = describe(frame);
    PluginHost_Memory_Impl host(src, dst);
    CoreRenderArguments core;
    core.quadMode = kQuadFromToTo;
    core.filter = filterOfQuality(quality);
    constexpr int kPinOrder[4] = {0, 2, 1, 3};  // upper left, lower left, upper right, lower right
    for (int i = 0; i < 4; ++i) core.toPins[i] = {pins[kPinOrder[i]][0], pins[kPinOrder[i]][1]};
    CommonRender_CoreTransformRender(&host, core, src, dst, true, false, nullptr, true, false);
}

double peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

struct Case {
    char const* name;
    Pins const& pins;
    QualityEntry quality;
};
constexpr Case kCases[] = {{"medium", kFills, kQualityMedium},
                           {"high", kFills, kQualityHigh},
                           {"inset", kInset, kQualityHigh},
                           {"empty", kAway, kQualityHigh}};

void measure(Host& host, Size size, Depth depth, Case const& c, int runs) {
    setParameters(host, size, c.pins, c.quality);
    FrameRequest const moment = frameRequest(host.comp(), 0);
    ModuleRender const ask{"bench", {size.width, size.height}, depth, 1, false};
    const World layer = makeLayer(host.worldSpec(size.width, size.height, depth));
    World target(layer.spec());
    std::vector<double> engine, module, memory, copies;
    for (int i = 0; i < runs; ++i) {
        World fresh = copyOf(layer);
        engine.push_back(millisecondsOf([&] { renderByEngine(fresh, target, c.pins, c.quality); }));
        copies.push_back(millisecondsOf([&] {
            std::memcpy(target.row(0), fresh.row(0),
                        static_cast<std::size_t>(fresh.rowBytes()) * size.height);
        }));
        World frame;
        module.push_back(millisecondsOf([&] { frame = renderByModule(host, fresh, ask, moment); }));
        if (depth != Depth::kFloat) continue;
        fresh = copyOf(layer);
        frame = World(layer.spec(), PixelMemory::Start::kAnything);
        memory.push_back(millisecondsOf([&] {
            renderInMemory(host.parameters(), fresh, frame,
                           {{size.width, size.height}, {size.width, size.height}}, moment, "bench");
        }));
    }
    constexpr char const* kDepths[] = {"8 bit", "16 bit", "float"};
    double const unit = &c.pins == &kAway ? median(copies) : median(engine);
    fmt::print("{:7} {:7} {:8.2f} {:8.2f} {:5.2f} ", kDepths[static_cast<int>(depth)], c.name, unit,
               median(module), median(module) / unit);
    if (memory.empty())
        fmt::print("{:14} ", "");
    else
        fmt::print("{:8.2f} {:5.2f} ", median(memory), median(memory) / unit);
    fmt::print("{:8.0f}\n", peakMegabytes());
}

}  // namespace

int main(int argc, char** argv) {
    Size size;
    if (argc > 2) size = {std::atoi(argv[1]), std::atoi(argv[2])};
    int const runs = argc > 3 ? std::max(1, std::atoi(argv[3])) : 11;
    Host host(ZELK_MODULE);
    Comp comp;
    comp.width = size.width, comp.height = size.height;
    host.setComp(comp);
    fmt::print("frames of {} x {}, medians of {} runs, milliseconds\n", size.width, size.height,
               runs);
    fmt::print("{:7} {:7} {:>8} {:>8} {:>5} {:>8} {:>5} {:>8}\n", "format", "quality", "engine",
               "module", "x", "memory", "x", "peak MB");
    for (Depth depth : {Depth::k8, Depth::k16, Depth::kFloat})
        for (Case const& c : kCases)
            if (argc <= 4 || std::string_view(argv[4]) == c.name)
                measure(host, size, depth, c, runs);
}

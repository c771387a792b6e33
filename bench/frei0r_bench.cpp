// The cost of a door: a frame through the frei0r plug-ins, loaded as a host does, beside the memory
// road from the same 8-bit pixels, and from floats, which is what it computes in.
//
//   frei0r_bench [WIDTH HEIGHT [RUNS]]      1920 1080, 15
//
// Medians of interleaved runs, milliseconds; `x` is the plug-in's time over the column before it.
// The memory road's frame stays in float; the plug-in's is 8-bit again.
#include <dlfcn.h>
#include <fmt/format.h>
#include <frei0r.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Transform/Common/PopupEntries.h"
#include "bench/medians.h"
#include "hostkit/fixed_point.h"
#include "hostkit/host.h"
#include "zelk/pictures/buffer_input.h"
#include "zelk/pictures/reader.h"
#include "zelk/pictures/row_values.h"
#include "zelk/render/memory_road.h"
#include "zelk/render/module_road.h"
#include "zelk/scene/parameter_names.h"

namespace {

using namespace zelk;
using zelk_bench::median;
using zelk_bench::millisecondsOf;

constexpr double kPins[8] = {0.1, 0.1, 0.9, 0.05, 0.05, 0.9, 0.95, 0.95};

struct Quality {
    char const* word;
    QualityEntry entry;
};
constexpr Quality kQualities[] = {
    {"low", kQualityLow}, {"medium", kQualityMedium}, {"high", kQualityHigh}};

class Plugin {
public:
    explicit Plugin(char const* file) : m_library(::dlopen(file, RTLD_NOW)) {
        if (!m_library) throw std::runtime_error(::dlerror());
    }
    template <class Function>
    Function* at(char const* name) const {
        return reinterpret_cast<Function*>(::dlsym(m_library, name));
    }

private:
    void* m_library;
};

/// A layer with alpha from 0 to white, or an opaque plate, as most are.
std::vector<std::uint8_t> makePixels(int width, int height, bool isOpaque) {
    std::vector<std::uint8_t> values;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < 4 * width; ++x)
            values.push_back(isOpaque && x % 4 == 3
                                 ? std::uint8_t{255}
                                 : static_cast<std::uint8_t>((x * 7 + y * 3) % 256));
    return values;
}

/// The same in associated float.
World worldOf(std::vector<std::uint8_t> const& pixels, WorldSpec const& spec) {
    World world(spec);
    std::size_t const row = 4 * static_cast<std::size_t>(spec.width);
    for (int y = 0; y < spec.height; ++y)
        vectorRows().fromStraightBytes(&pixels[row * std::size_t(y)], row / 4,
                                       world.rowAs<float>(y));
    return world;
}

/// As the program reads a picture in memory.
PictureReader readerOf(std::vector<std::uint8_t> const& pixels, int width, int height) {
    auto picture = std::make_shared<PictureBuffer>();
    picture->size = {width, height};
    picture->pixels = {std::make_shared<int>(), pixels.data()};
    return PictureReader("bench", -1, inputOf(std::move(picture)));
}

void setParameters(Host& host, int width, int height, QualityEntry quality) {
    host.resetParameters(width, height);
    auto& parameters = host.parameters();
    for (int i = 0; i < 4; ++i) {
        PF_PointDef& point = parameterIn(parameters, kToPins + i).current.u.td;
        point.x_value = realToFixed(kPins[2 * i] * width);
        point.y_value = realToFixed(kPins[2 * i + 1] * height);
    }
    parameterIn(parameters, kParamQuality).current.u.pd.value = hostEntry(quality);
}

void measure(Host& host, int width, int height, bool hasPlate, Quality const& quality, int runs) {
    Plugin const plugin(hasPlate ? ZELK_MIXER : ZELK_FILTER);
    f0r_instance_t const instance =
        plugin.at<decltype(f0r_construct)>("f0r_construct")(unsigned(width), unsigned(height));
    auto* const set = plugin.at<decltype(f0r_set_param_value)>("f0r_set_param_value");
    for (int i = 0; i < 8; ++i) {
        double value = kPins[i];
        set(instance, &value, i);
    }
    char const* word = quality.word;
    set(instance, &word, 8);
    auto* const update = plugin.at<decltype(f0r_update2)>("f0r_update2");
    auto const layer = makePixels(width, height, false), plate = makePixels(width, height, true);
    auto const pixels = [](auto const& values) {
        return reinterpret_cast<std::uint32_t const*>(values.data());
    };
    std::vector<std::uint32_t> out(layer.size() / 4);
    setParameters(host, width, height, quality.entry);
    FrameRequest const moment = frameRequest(host.comp(), 0);
    WorldSpec const spec = host.worldSpec(width, height, Depth::kFloat);
    World floatLayer = worldOf(layer, spec);
    const World floatPlate = worldOf(plate, spec);
    ResampleOptions options;
    if (hasPlate) options.edges = EdgeCoverage::kExact;
    auto const renderLayer = [&](World& from) {
        World frame(spec, PixelMemory::Start::kAnything);
        renderInMemory(host.parameters(), from, frame, {{width, height}, {width, height}}, moment,
                       "bench", options);
        return frame;
    };
    std::vector<double> door, bytes, floats;
    for (int i = 0; i <= runs; ++i) {
        double const through = millisecondsOf([&] {
            if (hasPlate)
                update(instance, 0, pixels(plate), pixels(layer), nullptr, out.data());
            else
                update(instance, 0, pixels(layer), nullptr, nullptr, out.data());
        });
        double const fromBytes = millisecondsOf([&] {
            auto reader = readerOf(layer, width, height);
            World read = readAssociatedWorld(reader);
            World frame = renderLayer(read);
            if (!hasPlate) return;
            auto under = readerOf(plate, width, height);
            layOver(frame, under, nullptr, PF_Xfer_IN_FRONT);
        });
        double const fromFloats = millisecondsOf([&] {
            World frame = renderLayer(floatLayer);
            if (hasPlate) layOver(frame, floatPlate, PF_Xfer_IN_FRONT);
        });
        if (i == 0) continue;  // memory is touched, threads are there
        door.push_back(through);
        bytes.push_back(fromBytes);
        floats.push_back(fromFloats);
    }
    plugin.at<decltype(f0r_destruct)>("f0r_destruct")(instance);
    fmt::print("{:22} {:7} {:8.2f} {:8.2f} {:5.2f} {:8.2f} {:5.2f}\n",
               hasPlate ? "zelk_corner_pin_over" : "zelk_corner_pin", quality.word, median(door),
               median(bytes), median(door) / median(bytes), median(floats),
               median(door) / median(floats));
}

}  // namespace

int main(int argc, char** argv) {
    int const width = argc > 2 ? std::atoi(argv[1]) : 1920,
              height = argc > 2 ? std::atoi(argv[2]) : 1080;
    int const runs = argc > 3 ? std::max(1, std::atoi(argv[3])) : 15;
    Host host(ZELK_MODULE);
    Comp comp;
    comp.width = width, comp.height = height;
    host.setComp(comp);
    fmt::print(
        "frames of {} x {}, medians of {} runs, milliseconds\n{:22} {:7} {:>8} {:>8} {:>5} {:>8} "
        "{:>5}\n",
        width, height, runs, "plug-in, 8 bit", "quality", "plug-in", "bytes", "x", "floats", "x");
    for (bool const hasPlate : {false, true})
        for (Quality const& quality : kQualities)
            measure(host, width, height, hasPlate, quality, runs);
}

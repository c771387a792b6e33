// What the OpenFX door costs: one frame through the plug-in in our small host, beside the pipeline
// in memory on the same pixels, in one run.
//
//   openfx_bench [WIDTH HEIGHT [RUNS]]      1920 1080 and 21 if left out
//
// Figures are medians of interleaved runs, milliseconds. Where both keep the same samples the
// results are compared, bit for bit. Shorts and halves stand beside the 15-bit and float frames
// that they are rendered as, plates beside the float frame without one: what more they take is the
// way of their samples and the plate.
#include <fmt/format.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/RowBands.h"
#include "Transform/Common/Transform_Core_Render/PlateRows.h"
#include "bench/medians.h"
#include "bindings/common/effect_controls.h"
#include "effect/Render.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/openfx/ofx_host.h"
#include "tests/openfx/ofx_picture.h"
#include "tests/support/memory_controls.h"

namespace {

using namespace zelk_ofx;

struct Size {
    int width = 1920, height = 1080;
};

constexpr double kPins[4][2] = {{0.01, 0.02}, {0.98, 0.005}, {0.03, 0.96}, {0.99, 0.98}};

struct Case {
    char const* name;
    char const* depth;
    char const* alpha;
    bool hasPlate;
};
constexpr Case kCases[] = {{"byte, straight", kOfxBitDepthByte, kOfxImageUnPreMultiplied, false},
                           {"byte, premultiplied", kOfxBitDepthByte, kOfxImagePreMultiplied, false},
                           {"short, straight", kOfxBitDepthShort, kOfxImageUnPreMultiplied, false},
                           {"half", kOfxBitDepthHalf, kOfxImagePreMultiplied, false},
                           {"float", kOfxBitDepthFloat, kOfxImagePreMultiplied, false},
                           {"float over plate", kOfxBitDepthFloat, kOfxImagePreMultiplied, true},
                           {"byte over plate", kOfxBitDepthByte, kOfxImageUnPreMultiplied, true}};

bool isByte(Case const& c) { return std::string(c.depth) == kOfxBitDepthByte; }
bool isFloat(Case const& c) { return std::string(c.depth) == kOfxBitDepthFloat; }

/// The pipeline on images like those of a host: of ordinary memory, but with rows from the top.
class InMemory {
public:
    InMemory(Size size, Case const& c)
        : m_case(c),
          m_layer({0, 0, size.width, size.height}, samples(), kOfxImageComponentRGBA, {0, false}),
          m_frame({0, 0, size.width, size.height}, samples(), kOfxImageComponentRGBA, {0, false}),
          m_plate({0, 0, size.width, size.height}, samples()) {}

    void take(PictureBuffer const& layer, PictureBuffer const& plate) {
        forEachRow([&](int y, std::size_t bytes) {
            std::memcpy(m_layer.at(0, y), layer.at(0, y), bytes);
            std::memcpy(m_plate.at(0, y), plate.at(0, y), bytes);
            return true;
        });
    }
    bool equals(PictureBuffer const& picture) {
        return forEachRow([&](int y, std::size_t bytes) {
            return std::memcmp(m_frame.at(0, y), picture.at(0, y), bytes) == 0;
        });
    }
    void render() {
        PluginHost_Memory_Impl host(describe(m_layer), describe(m_frame), family());
        ResampleOptions options;
        options.edges = format() == kFormatBGRA32 ? EdgeCoverage::kExact : EdgeCoverage::kGrid;
        host.setResampleOptions(&options);
        host.setLendsInput(true);
        zelk::setDefaultControls(host);
        for (int i = 0; i < 4; ++i) host.setPoint(kParamToUpperLeft + i, kPins[i][0], kPins[i][1]);
        if (Render(&host)) std::abort();
        if (m_case.hasPlate) layOverPlate();
    }

private:
    /// As the memory road lays a plate of floats.
    void layOverPlate() {
        OfxRectI const& b = m_frame.view().bounds;
        ::forEachRow(b.y2, std::int64_t{32} * b.x2, [&](int y) {
            layOverPlateNormally(reinterpret_cast<float*>(m_frame.at(0, y)),
                                 reinterpret_cast<float const*>(m_plate.at(0, y)), b.x2, 3);
        });
    }

    QV_RasterFormat format() const {
        if (m_case.hasPlate || isFloat(m_case)) return kFormatBGRA32;
        if (isByte(m_case)) return kFormatBGRA8;
        return m_case.depth == kOfxBitDepthShort ? kFormatARGB15 : kFormatBGRA32;
    }
    char const* samples() const {
        return format() == kFormatBGRA32  ? kOfxBitDepthFloat
               : format() == kFormatBGRA8 ? kOfxBitDepthByte
                                          : kOfxBitDepthShort;
    }
    MemoryHostFamily family() const {
        if (format() == kFormatBGRA32) return MemoryHostFamily::kFXPLUG;
        return m_case.alpha == kOfxImageUnPreMultiplied ? MemoryHostFamily::kStraight
                                                        : MemoryHostFamily::kNone;
    }
    QV_RasterInfo describe(PictureBuffer const& picture) const {
        OfxRectI const& b = picture.view().bounds;
        int const pixelBytes = 4 * channelBytes(samples());
        return {picture.at(0, b.y2 - 1),
                format(),
                b.x2,
                b.y2,
                -b.x2 * pixelBytes,
                pixelBytes,
                1.0f,
                1.0f,
                0};
    }
    template <class Body>
    bool forEachRow(Body const& body) const {
        OfxRectI const& b = m_layer.view().bounds;
        auto const bytes = static_cast<std::size_t>(b.x2 * 4 * channelBytes(samples()));
        bool all = true;
        for (int y = 0; y < b.y2; ++y) all &= body(y, bytes);
        return all;
    }

    Case const& m_case;
    PictureBuffer m_layer, m_frame, m_plate;
};

/// Waves, with alpha from 0 to white; premultiplied colour is below alpha.
void fill(PictureBuffer& picture) {
    picture.fill([](int x, int y, int c) {
        double const alpha = (x * 5 + y * 3) % 257 / 256.0;
        return c == 3 ? alpha : alpha * ((x * 7 + y * 3 + c * 50) % 257) / 256.0;
    });
}

class InHost {
public:
    InHost(Host& host, Size size, Case const& c)
        : m_bounds{0, 0, size.width, size.height},
          m_layer(m_bounds, c.depth),
          m_plate(m_bounds, c.depth),
          m_frame(m_bounds, c.depth) {
        fill(m_layer);
        fill(m_plate);
        std::map<std::string, ClipInput> clips = {{"Source", still(m_layer.view(), c.alpha)}};
        if (c.hasPlate) clips["Plate"] = still(m_plate.view(), c.alpha);
        SavedParams setup;
        constexpr char const* kNames[] = {"to-upper-left", "to-upper-right", "to-lower-left",
                                          "to-lower-right"};
        for (int i = 0; i < 4; ++i)
            setup[kNames[i]].constant.number = {kPins[i][0] * size.width,
                                                (1 - kPins[i][1]) * size.height};
        Project const project = {{double(size.width), double(size.height)}, {}};
        m_instance = host.create(kOfxImageEffectContextGeneral, clips, project, setup);
        if (!m_instance) std::abort();
    }
    void render() {
        if (m_instance->renderAction({m_frame.view(), m_bounds, 0, {1, 1}, kOfxImageFieldNone}))
            std::abort();
    }

    PictureBuffer const& layer() const { return m_layer; }
    PictureBuffer const& plate() const { return m_plate; }
    PictureBuffer const& frame() const { return m_frame; }

private:
    OfxRectI m_bounds;
    PictureBuffer m_layer, m_plate, m_frame;
    std::unique_ptr<Instance> m_instance;
};

void measure(Host& host, Size size, Case const& c, int runs) {
    InHost door(host, size, c);
    InMemory memory(size, c);
    bool const isTwin = isFloat(c) || (!c.hasPlate && isByte(c));
    if (isTwin) memory.take(door.layer(), door.plate());
    std::vector<double> doors, memories;
    for (int i = 0; i < runs; ++i) {
        memories.push_back(zelk_bench::millisecondsOf([&] { memory.render(); }));
        doors.push_back(zelk_bench::millisecondsOf([&] { door.render(); }));
    }
    char const* const check = !isTwin ? "" : memory.equals(door.frame()) ? "equal" : "NOT EQUAL";
    double const own = zelk_bench::median(doors), base = zelk_bench::median(memories);
    fmt::print("{:<20} {:>9.2f} {:>9.2f} {:>7.2f}  {}\n", c.name, base, own, own / base, check);
}

}  // namespace

int main(int argc, char** argv) {
    Size size;
    if (argc > 2) size = {std::atoi(argv[1]), std::atoi(argv[2])};
    int const runs = argc > 3 ? std::atoi(argv[3]) : 21;
    Host host(hostChoice("tree"), ZELK_OFX_BINARY);
    if (host.prepare(kOfxImageEffectContextGeneral)) return 1;
    fmt::print("{}x{}, Quality High, {} runs, two threads granted\n", size.width, size.height,
               runs);
    fmt::print("{:<20} {:>9} {:>9} {:>7}\n", "frame", "memory", "OpenFX", "ratio");
    for (Case const& c : kCases) measure(host, size, c, runs);
    return 0;
}

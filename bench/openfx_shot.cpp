// A shot through the OpenFX plug-in in our small host, beside the command line's own frames: one
// line that says whether they are equal, to the bit. Part of `./run hosts`, which makes the frames.
//
//   openfx_shot BINARY LAYER FRAMES byte|float COUNT X,Y ... (eight: first four pins, final four)
//
// The command line keeps pins in units of 1/65536 pixel, a host in double: keys whose distance is a
// whole number over a power of two of frames have the same pins in between.
// FRAMES is a pattern with %d. Bytes are straight, floats premultiplied. The pins have keys at the
// first and the last frame, which the host joins by lines; pins are upper left, upper right, lower
// left, lower right, in pixels from the upper left.
#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <memory>
#include <vector>

#include "tests/openfx/ofx_picture.h"
#include "zelk/pictures/reader.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/render/memory_road.h"

namespace {

using namespace zelk_ofx;

constexpr char const* kNames[4] = {"to-upper-left", "to-upper-right", "to-lower-left",
                                   "to-lower-right"};

zelk::World readWorld(std::string const& file, bool isFloat) {
    zelk::PictureReader picture(file);
    return isFloat ? zelk::readAssociatedWorld(picture) : zelk::readStraightWorld(picture);
}

/// Rows of red, green, blue, alpha from the bottom, as a host has them.
std::unique_ptr<PictureBuffer> hostPicture(zelk::World const& world, bool isFloat) {
    int const width = world.width(), height = world.height();
    auto picture = std::make_unique<PictureBuffer>(OfxRectI{0, 0, width, height},
                                                   isFloat ? kOfxBitDepthFloat : kOfxBitDepthByte);
    for (int y = 0; y < height; ++y) {
        unsigned char* const row = picture->at(0, height - 1 - y);
        if (isFloat) {
            std::vector<float> rgba(4 * static_cast<std::size_t>(width));
            zelk::getRow(world, y, rgba.data());
            std::memcpy(row, rgba.data(), rgba.size() * sizeof(float));
        } else {
            zelk::getRow(world, y, row);
        }
    }
    return picture;
}

/// In steps of a byte, or of white 1.
double largestDifference(std::vector<unsigned char> const& a, std::vector<unsigned char> const& b,
                         bool isFloat) {
    double largest = 0;
    for (std::size_t i = 0; i < a.size(); i += isFloat ? 4 : 1) {
        float x = a[i], y = b[i];
        if (isFloat) {
            std::memcpy(&x, &a[i], 4);
            std::memcpy(&y, &b[i], 4);
        }
        largest = std::max(largest, std::abs(static_cast<double>(x) - y));
    }
    return largest;
}

SavedParams pinsOf(char** argv, int last, int height) {
    SavedParams pins;
    for (int i = 0; i < 8; ++i) {
        double x = 0, y = 0;
        if (std::sscanf(argv[i], "%lf,%lf", &x, &y) != 2)
            throw std::runtime_error(fmt::format("\"{}\": expected X,Y", argv[i]));
        Value value;
        value.number = {x, height - y};
        pins[kNames[i % 4]].keys[i < 4 ? 0 : last] = value;
        if (last == 0) pins[kNames[i % 4]].constant = value;
    }
    if (last == 0)
        for (auto& [name, pin] : pins) pin.keys.clear();
    return pins;
}

int run(char** argv) {
    bool const isFloat = std::string(argv[4]) == "float";
    int const count = std::atoi(argv[5]);
    auto const layer = hostPicture(readWorld(argv[2], isFloat), isFloat);
    OfxRectI const frame = layer->view().bounds;
    // In a time line all regions are the frame, as on the command line.
    char const* const kind = std::getenv("ZELK_OFX_HOST");
    Host host(hostChoice(kind ? kind : "time_line"), argv[1]);
    if (host.prepare()) throw std::runtime_error("the plug-in can't be described");
    char const* const alpha = isFloat ? kOfxImagePreMultiplied : kOfxImageUnPreMultiplied;
    Project const project = {.size = {double(frame.x2), double(frame.y2)}};
    auto const instance =
        host.create(kOfxImageEffectContextFilter, {{"Source", still(layer->view(), alpha)}},
                    project, pinsOf(argv + 6, count - 1, frame.y2));
    if (!instance) throw std::runtime_error("the plug-in made no instance");
    int different = 0;
    double largest = 0;
    for (int i = 0; i < count; ++i) {
        PictureBuffer output(frame, layer->view().depth);
        if (instance->render({.output = output.view(), .window = frame, .time = double(i)}))
            throw std::runtime_error(fmt::format("frame {} failed", i));
        auto const own = readWorld(fmt::sprintf(argv[3], i), isFloat);
        auto const made = output.bytes(frame), wanted = hostPicture(own, isFloat)->bytes(frame);
        different += made != wanted;
        largest = std::max(largest, largestDifference(made, wanted, isFloat));
    }
    std::string const label =
        fmt::format("OpenFX host, {}, {}", argv[4], count > 1 ? "moving" : "still");
    if (different)
        fmt::print("{:<34} DIFFERENT in {} of {} frame(s), by {:.3g} at most\n", label, different,
                   count, largest);
    else
        fmt::print("{:<34} the same {} frame(s), to the bit\n", label, count);
    return different ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 14) return 2;
    try {
        return run(argv);
    } catch (std::exception const& error) {
        fmt::print(stderr, "openfx_shot: {}\n", error.what());
        return 1;
    }
}

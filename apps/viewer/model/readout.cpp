// See readout.h.
#include "apps/viewer/model/readout.h"

#include <fmt/format.h>

#include <cmath>
#include <cstring>

#include "zelk/text/errors.h"

namespace zelk {
namespace {

constexpr char const* kNames[4][4] = {{"Y"}, {"Y", "A"}, {"R", "G", "B"}, {"R", "G", "B", "A"}};

/// IEEE binary16.
double halfValue(std::uint16_t bits) {
    int const exponent = bits >> 10 & 31, fraction = bits & 1023;
    double const sign = bits & 0x8000 ? -1 : 1;
    if (exponent == 31) return fraction ? NAN : sign * INFINITY;
    if (exponent == 0) return sign * std::ldexp(fraction, -24);
    return sign * std::ldexp(1024 + fraction, exponent - 25);
}

template <class Sample>
Sample sampleAt(std::byte const* pixel, int channel) {
    Sample sample;
    std::memcpy(&sample, pixel + channel * std::ptrdiff_t{sizeof(Sample)}, sizeof(Sample));
    return sample;
}

double valueAt(SampleType type, std::byte const* pixel, int channel) {
    switch (type) {
        case SampleType::kUint8:
            return sampleAt<std::uint8_t>(pixel, channel);
        case SampleType::kUint16:
            return sampleAt<std::uint16_t>(pixel, channel);
        case SampleType::kHalf:
            return halfValue(sampleAt<std::uint16_t>(pixel, channel));
        case SampleType::kFloat:
            break;
    }
    return sampleAt<float>(pixel, channel);
}

int bytesOf(SampleType type) {
    return type == SampleType::kUint8 ? 1 : type == SampleType::kFloat ? 4 : 2;
}

std::string positionText(char const* of, PanelPoint at) {
    return fmt::format("{} {:.1f}, {:.1f}", of, at.x, at.y);
}

}  // namespace

std::optional<StoredValues> storedValues(PictureBuffer const& picture, int x, int y) {
    if (!picture.pixels || x < 0 || y < 0 || x >= picture.size.width || y >= picture.size.height)
        return std::nullopt;
    std::ptrdiff_t const pixelBytes = std::ptrdiff_t{picture.channels} * bytesOf(picture.type);
    auto const* pixel =
        static_cast<std::byte const*>(picture.pixels.get()) + y * rowStep(picture) + x * pixelBytes;
    StoredValues values;
    values.count = picture.channels;
    values.isWhole = picture.type == SampleType::kUint8 || picture.type == SampleType::kUint16;
    for (int i = 0; i < values.count; ++i)
        values.channels[static_cast<std::size_t>(i)] = valueAt(picture.type, pixel, i);
    return values;
}

std::string readoutText(StoredValues const& values) {
    std::string text;
    for (int i = 0; i < values.count; ++i) {
        double const value = values.channels[static_cast<std::size_t>(i)];
        text += fmt::format(
            "{}{} {}", i ? "  " : "", kNames[values.count - 1][i],
            values.isWhole ? fmt::format("{:.0f}", value) : fmt::format("{:.5f}", value));
    }
    return text;
}

std::string placesText(Document const& document, ShownPicture shows, PanelPoint at) {
    bool const isLayer = shows == ShownPicture::kLayer;
    bool const isPlate = shows == ShownPicture::kPlate && document.scene().isInverted;
    std::string text = positionText(isLayer ? "layer" : isPlate ? "plate" : "frame", at);
    if (document.scene().isInverted) return text;
    QuadMap map;
    try {
        map = document.mapHere();
    } catch (UserError const&) {
        return text;  // what is wrong is told where the picture is
    }
    if (!map.isDrawn) return text;
    auto const other = mapped(isLayer ? map.toFrame : map.toLayer, {at.x, at.y});
    if (!other) return text;
    return text + "   " + positionText(isLayer ? "frame" : "layer", {other->x, other->y});
}

std::string valuesText(ShownFrame const& frame, PicturePlace const& place, PanelPoint at) {
    PanelPoint const own = place.toOwn(at);
    int const x = static_cast<int>(std::floor(own.x)), y = static_cast<int>(std::floor(own.y));
    if (auto const values = storedValues(frame.stored, x, y)) return "   " + readoutText(*values);
    World const& display = frame.display;
    if (x < 0 || y < 0 || x >= display.width() || y >= display.height()) return {};
    if (display.depth() != Depth::k8) return {};
    auto const* pixel = display.rowAs<std::uint8_t>(y) + 4 * std::ptrdiff_t{x};
    constexpr int kBgra[] = {2, 1, 0, 3}, kArgb[] = {1, 2, 3, 0};  // red, green, blue, alpha
    StoredValues values{{}, 4, true};
    for (std::size_t c = 0; c < 4; ++c)
        values.channels[c] = pixel[display.spec().bgra ? kBgra[c] : kArgb[c]];
    return "   screen " + readoutText(values);
}

}  // namespace zelk

// Slow plain blurs to compare with: every output pixel is a sum over its kernel, every level of the
// pyramid an image of its own, one thread.
//
// Pictures are held as doubles, which keep every channel type's values. Random floats are 0 or from
// 0.25 to 1: for radii up to 25 all sums of two passes then fit into 53 bits, whatever the order,
// so that running and direct sums have to agree to the bit in the float formats too.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/QV_Poly/PlanePrimitives.h"
#include "host/PluginHost_Memory_Impl.h"

namespace blur_reference {

using Raster = PluginRaster_Memory_Impl;

struct FormatFacts {
    QV_RasterFormat code;
    int alpha, white;
    bool isFloat;
};
template <class P>
constexpr FormatFacts facts() {
    return {P::kFormat, P::kAlpha, P::kWhite, P::kIsFloat};
}
constexpr FormatFacts kFormats[] = {
    facts<PIXEL_ARGB8>(),  facts<PIXEL_BGRA8>(),  facts<PIXEL_RGBA8>(),  facts<PIXEL_ARGB15>(),
    facts<PIXEL_ARGB14>(), facts<PIXEL_BGRA14>(), facts<PIXEL_ARGB16>(), facts<PIXEL_RGBA16>(),
    facts<PIXEL_ARGB32>(), facts<PIXEL_RGBA32>(), facts<PIXEL_BGRA32>()};

/// Which channels a blur works on.
struct Channels {
    int first, count;
};
constexpr Channels kAll{0, 4};

struct Picture {
    int width, height;
    bool isFloat;
    std::vector<double> values;

    Picture(int w, int h, bool floats)
        : width(w), height(h), isFloat(floats), values(std::size_t(w) * h * 4) {}
    double& at(int x, int y, int c) { return values[(std::size_t(y) * width + x) * 4 + c]; }
    double at(int x, int y, int c) const { return values[(std::size_t(y) * width + x) * 4 + c]; }
    /// At a position limited to the picture.
    double near(int x, int y, int c) const {
        return at(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1), c);
    }
    double stored(double v) const { return isFloat ? double(float(v)) : std::trunc(v); }
};

inline Picture randomPicture(FormatFacts const& f, int width, int height, std::mt19937& random) {
    Picture p(width, height, f.isFloat);
    std::uniform_int_distribution<int> whole(0, f.white);
    std::uniform_real_distribution<float> real(0.25f, 1.0f);
    for (double& v : p.values) {
        v = f.isFloat ? double(real(random)) : double(whole(random));
        const auto dice = random() % 16;
        if (dice < 2) v = dice == 0 ? 0 : f.white;
        if (dice == 2 && f.white > 255) v = 65535;  // above the white of 14 and 15 bits
    }
    return p;
}

/// Calls visit(channel as a T&, its value) with the raster's channel type for all channels.
template <class Visit>
void visitChannels(Raster const& r, Picture& p, Visit visit) {
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x)
            for (int c = 0; c < 4; ++c) {
                unsigned char* pixel = r.pixel(x, y);
                double& v = p.at(x, y, c);
                if (p.isFloat)
                    visit(reinterpret_cast<float*>(pixel)[c], v);
                else if (r.info().pixelBytes == 8)
                    visit(reinterpret_cast<unsigned short*>(pixel)[c], v);
                else
                    visit(pixel[c], v);
            }
}
inline void write(Picture p, Raster const& r) {
    visitChannels(r, p, [](auto& channel, double v) {
        channel = static_cast<std::remove_reference_t<decltype(channel)>>(v);
    });
}
inline Picture read(Raster const& r, bool isFloat) {
    Picture p(r.info().width, r.info().height, isFloat);
    visitChannels(r, p, [](auto& channel, double& v) { v = channel; });
    return p;
}

// ---- Tent

/// A line blurred by a direct sum over the kernel.
inline std::vector<double> tentLine(std::vector<double> const& p, int radius, bool isFloat) {
    const int length = int(p.size());
    if (length <= 2 * radius + 2) radius = length / 2 - 2;
    if (radius <= 0) return p;
    const double n = radius + 1;
    std::vector<double> out;
    for (int i = 0; i < length; ++i) {
        double sum = 0;
        for (int d = -radius; d <= radius; ++d)
            sum += (n - std::abs(d)) * p[std::clamp(i + d, 0, length - 1)];
        const double v = sum * (1.0 / (n * n));
        out.push_back(isFloat ? double(float(v)) : std::trunc(v));
    }
    return out;
}

inline void blurLineOf(Picture& p, int i, bool vertical, int radius, int c) {
    std::vector<double> line;
    const int length = vertical ? p.height : p.width;
    for (int k = 0; k < length; ++k) line.push_back(vertical ? p.at(i, k, c) : p.at(k, i, c));
    line = tentLine(line, radius, p.isFloat);
    for (int k = 0; k < length; ++k) (vertical ? p.at(i, k, c) : p.at(k, i, c)) = line[k];
}

inline void tentPass(Picture& p, Channels channels, int radius, bool vertical, bool ramp,
                     int kind) {
    if (kind == (vertical ? -11 : -10)) return;
    const int length = vertical ? p.height : p.width, count = vertical ? p.width : p.height;
    if (length <= 2 * radius + 2) radius = length / 2 - 2;
    for (int i = 0; i < count && radius > 0; ++i) {
        float t = count == 1 ? 1.0f : 1.0f - float(i) / float(count - 1);
        if (kind == 3) t = t * t;
        if (kind == 4) t = t * t < 1e-5f ? 0.0f : 1.0f / (t * t);
        const int r = ramp ? int(std::min(t * float(radius), 1e6f)) : radius;
        for (int c = channels.first; c < channels.first + channels.count; ++c)
            blurLineOf(p, i, vertical, r, c);
    }
}

inline void wholeBlur(Picture& p, Channels channels, double radius, double factor, bool ramp,
                      int kind) {
    if (std::fabs(radius) <= 1e-5) return;
    tentPass(p, channels, int(radius), false, ramp, kind);
    tentPass(p, channels, int((ramp ? radius / 2 : radius) * factor), true, false, kind);
}

/// Replaces the channels of `larger` by the mix of two whole radii.
inline void mix(Picture const& smaller, Picture& larger, Channels channels, float f) {
    const float g = 1.0f - f;
    for (std::size_t i = 0; i < larger.values.size(); ++i) {
        const int c = int(i % 4);
        if (c < channels.first || c >= channels.first + channels.count) continue;
        const float a = float(smaller.values[i]) * g, b = float(larger.values[i]) * f;
        larger.values[i] = larger.isFloat ? double(a + b) : std::trunc(double(a + 0.5f + b));
    }
}

inline void blur(Picture& p, Channels channels, double radius, double factor, bool ramp, int kind) {
    if (std::fabs(radius) <= 1e-5) return;
    const double whole = std::floor(radius);
    const float f = float(radius - whole);
    if (1.0f - f <= 1e-5f) return wholeBlur(p, channels, radius, factor, ramp, kind);
    Picture smaller = p;
    wholeBlur(smaller, channels, whole, factor, ramp, kind);
    wholeBlur(p, channels, whole + 1, factor, ramp, kind);
    mix(smaller, p, channels, f);
}

inline void interpolatedBlur(Picture& p, double first, double last, bool columns) {
    const int count = columns ? p.width : p.height;
    for (int i = 0; i < count; ++i) {
        const double t = count == 1 ? 0.0 : double(i) / (count - 1);
        const double radius = (1.0 - t) * first + t * last;
        if (std::fabs(radius) <= 1e-5) continue;
        const int whole = int(std::floor(radius));
        const float f = float(radius - whole);
        Picture smaller = p, larger = p;
        for (int c = 0; c < 4; ++c) {
            blurLineOf(smaller, i, columns, whole, c);
            blurLineOf(larger, i, columns, whole + 1, c);
        }
        if (1.0f - f > 1e-5f) mix(smaller, larger, kAll, f);
        Picture const& chosen = 1.0f - f > 1e-5f ? larger : smaller;
        for (int k = 0; k < (columns ? p.height : p.width); ++k)
            for (int c = 0; c < 4; ++c)
                (columns ? p.at(i, k, c) : p.at(k, i, c)) =
                    columns ? chosen.at(i, k, c) : chosen.at(k, i, c);
    }
}

// ---- Fade

inline void fade(Picture& p, Channels channels, float start, float end, int curve) {
    for (int y = 0; y < p.height; ++y) {
        const float t = p.height == 1 ? 1.0f : 1.0f - float(y) * (1.0f / float(p.height - 1));
        float k = 1.0f - (t - start) / (end - start);
        k = curve == 1 ? k * k : curve == 2 ? std::sqrt(k) : k;
        if (start < t && t >= end) k = 0.0f;
        if (start >= t || (t < end && std::fabs(end - start) < 1e-5f)) continue;
        for (int x = 0; x < p.width; ++x)
            for (int c = channels.first; c < channels.first + channels.count; ++c)
                p.at(x, y, c) = p.stored(double(float(p.at(x, y, c)) * k));
    }
}

// ---- Pyramid

inline Picture smoothed(Picture const& p) {
    Picture out = p;
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x)
            for (int c = 0; c < 4; ++c) {
                double sum = 0;
                for (int j = -1; j <= 1; ++j)
                    for (int i = -1; i <= 1; ++i)
                        sum += (2 - std::abs(i)) * (2 - std::abs(j)) * p.near(x + i, y + j, c);
                out.at(x, y, c) = p.stored(sum / 16);
            }
    return out;
}

inline Picture halved(Picture const& p) {
    Picture out((p.width + 1) / 2, (p.height + 1) / 2, p.isFloat);
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x)
            for (int c = 0; c < 4; ++c)
                out.at(x, y, c) =
                    p.stored((p.near(2 * x, 2 * y, c) + p.near(2 * x + 1, 2 * y, c) +
                              p.near(2 * x, 2 * y + 1, c) + p.near(2 * x + 1, 2 * y + 1, c)) /
                             4);
    return out;
}

inline std::vector<Picture> pyramid(Picture const& p) {
    const int longer = std::max(p.width, p.height);
    const int levels =
        longer <= 2 ? 1 : std::min(10, 1 + int(std::ceil(std::log2(double(longer - 1)))));
    std::vector<Picture> all{p};
    while (int(all.size()) < levels) {
        Picture next = all.size() == 1 ? p : halved(all.back());
        all.push_back(next.width > 2 && next.height > 2 ? smoothed(next) : next);
    }
    return all;
}

inline float lerp(float a, float b, float t) { return a * (1.0f - t) + b * t; }

inline float readLevel(Picture const& p, int shift, int x, int y, int c) {
    if (shift == 0) return float(p.at(x, y, c));
    const int size = 1 << shift;
    const int x0 = std::max(x - size / 2, 0), y0 = std::max(y - size / 2, 0);
    const int cx = std::min(x0 / size, p.width - 1), cy = std::min(y0 / size, p.height - 1);
    const float fx = float(x0 - cx * size) / float(size), fy = float(y0 - cy * size) / float(size);
    const auto cell = [&](int i, int j) { return float(p.near(cx + i, cy + j, c)); };
    return float(p.stored(
        double(lerp(lerp(cell(0, 0), cell(1, 0), fx), lerp(cell(0, 1), cell(1, 1), fx), fy))));
}

inline void growingBlur(Picture& p, Channels channels, FormatFacts const& format,
                        QV_Line2D const& line, float amount) {
    const auto levels = pyramid(p);
    const int count = int(levels.size());
    const double d0 = line.distance(0, 0), dX = line.distance(1, 0) - d0,
                 dY = line.distance(0, 1) - d0;
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x) {
            const double d = x * dX + y * dY + d0;
            float mask = float(p.at(x, y, format.alpha)) * (1.0f / float(format.white));
            if (!p.isFloat) mask = std::min(mask, 1.0f);
            if (d < 0 || mask == 0) continue;
            long v = long(d * double(amount) * 65536.0), u = v;
            int level = 0;
            while (v > 0x10000) {
                v /= 2;
                ++level;
                u = 2 * v - 0x10000;
            }
            const float t = std::clamp(float(u) / 65536.0f, 0.0f, 1.0f);
            for (int c = channels.first; c < channels.first + channels.count; ++c) {
                double v2 = 0;
                if (level < count) {
                    const float a = readLevel(levels[level], std::max(level - 1, 0), x, y, c);
                    const float b =
                        level + 1 < count ? readLevel(levels[level + 1], level, x, y, c) : 0.0f;
                    v2 = double((level + 1 < count ? lerp(a, b, t) : a * (1.0f - t)) * mask);
                }
                p.at(x, y, c) = p.stored(v2);
            }
        }
}

// ---- Driver

/// The arguments of the driver that a case varies.
struct Call {
    int kind;
    float radius, aspect;
    bool alphaPlane = false;
    float fadeStart = 0, fadeLength = 1;
    int curve = 0;
    QV_Line2D line{0, 0, 1, 1, false};
};

inline void drive(Picture& p, FormatFacts const& format, Call const& call, double scale) {
    const Channels alpha{format.alpha, 1}, chosen = call.alphaPlane ? alpha : kAll;
    const double radius = call.radius, aspect = call.aspect;
    if (call.kind == -11 || call.kind == -10)
        return interpolatedBlur(p, radius, aspect, call.kind == -10);
    if (call.kind == -1 || call.kind == -2)
        return blur(p, call.kind == -2 ? alpha : chosen, radius, aspect, false, call.kind);
    const double start = call.fadeStart, end = start + call.fadeLength;
    fade(p, chosen, float(start * 0.01), float(end * 0.01), call.curve);
    if (call.kind == 1) return growingBlur(p, chosen, format, call.line, call.radius);
    const double shorter = std::min(p.width, p.height);
    const double r = std::min(radius * p.height * 0.5 / 1000.0 * shorter, shorter) * scale;
    blur(p, chosen, std::trunc(r), aspect, true, call.kind);
}

}  // namespace blur_reference

// Slow plain blurs to compare with: every output pixel is a sum over its kernel, every level of the
// pyramid an image of its own, one channel at a time. Planes hold doubles, which keep every channel
// type's values.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "Transform/Common/QV_Poly/PlanePrimitives.h"
#include "tests/support/guarded_raster.h"

namespace blur_reference {

using Line = std::vector<double>;

/// One channel of an image.
struct Plane {
    int width, height;
    bool isFloat;
    std::vector<double> values = std::vector<double>(std::size_t(width) * height);

    /// At a position limited to the plane.
    double near(int x, int y) const {
        return values[std::clamp(y, 0, height - 1) * width + std::clamp(x, 0, width - 1)];
    }
    double stored(double v) const { return isFloat ? double(float(v)) : std::trunc(v); }
    /// Sets every pixel to value(x, y).
    template <class Value>
    void fill(Value value) {
        for (int i = 0; i < width * height; ++i) values[i] = value(i % width, i / width);
    }
    /// Replaces row, or column, i of `count` by blurred(line, i, count).
    template <class Blurred>
    void fillLines(bool vertical, Blurred blurred) {
        int const count = vertical ? width : height;
        for (int i = 0; i < count; ++i) {
            Line line(vertical ? height : width);
            auto const at = [&](std::size_t k) -> double& {
                return values[vertical ? k * width + i : i * width + k];
            };
            for (std::size_t k = 0; k < line.size(); ++k) line[k] = at(k);
            line = blurred(line, i, count);
            for (std::size_t k = 0; k < line.size(); ++k) at(k) = line[k];
        }
    }
};
using Picture = std::vector<Plane>;  // four

// ---- Tent

inline int limitedRadius(int radius, int length) {
    return std::max(length <= 2 * radius + 2 ? length / 2 - 2 : radius, 0);
}

inline Line tentLine(Line const& p, int wanted, bool isFloat) {
    int const length = int(p.size()), radius = limitedRadius(wanted, length);
    if (radius == 0) return p;
    double const n = radius + 1;
    Line out;
    for (int i = 0; i < length; ++i) {
        double sum = 0;
        for (int d = -radius; d <= radius; ++d)
            sum += (n - std::abs(d)) * p[std::clamp(i + d, 0, length - 1)];
        double const v = sum * (1.0 / (n * n));
        out.push_back(isFloat ? double(float(v)) : std::trunc(v));
    }
    return out;
}

inline void tentPass(Plane& p, int wanted, bool vertical, bool ramp, int kind) {
    if (kind == (vertical ? -11 : -10)) return;
    int const radius = limitedRadius(wanted, vertical ? p.height : p.width);
    p.fillLines(vertical, [&](Line const& line, int i, int count) {
        float t = count == 1 ? 1.0f : 1.0f - float(i) / float(count - 1);
        if (kind == 3) t = t * t;
        if (kind == 4) t = t * t < 1e-5f ? 0.0f : 1.0f / (t * t);
        const int r = ramp ? int(std::min(t * float(radius), 1e6f)) : radius;
        return tentLine(line, r, p.isFloat);
    });
}

/// Calls `whole` for the whole radii beside `radius` on copies of `values`, and mixes the two.
template <class WholeBlur>
Line fractional(Line const& values, double radius, bool isFloat, WholeBlur whole) {
    if (!std::isfinite(radius) || std::fabs(radius) <= 1e-5) return values;
    float const f = float(radius - std::floor(radius)), g = 1.0f - f;
    auto const smaller = whole(values, std::floor(radius));
    if (g <= 1e-5f) return smaller;
    auto larger = whole(values, std::floor(radius) + 1);
    for (std::size_t i = 0; i < values.size(); ++i) {
        float const a = float(smaller[i]) * g, b = float(larger[i]) * f;
        larger[i] = isFloat ? double(a + b) : std::trunc(double(a + 0.5f + b));
    }
    return larger;
}

inline void blur(Plane& p, double radius, double factor, bool ramp, int kind) {
    p.values = fractional(p.values, radius, p.isFloat, [&](Line const& values, double whole) {
        Plane copy = p;
        copy.values = values;
        // A radius next below a whole one is cut down to it, but its half is not.
        const double full = std::ceil(radius) - radius <= 1e-5 ? radius : whole;
        tentPass(copy, int(full), false, ramp, kind);
        tentPass(copy, int((ramp ? full / 2 : full) * factor), true, false, kind);
        return copy.values;
    });
}

inline void interpolatedBlur(Plane& p, double first, double last, bool columns) {
    auto const whole = [&](Line const& values, double radius) {
        return tentLine(values, int(radius), p.isFloat);
    };
    p.fillLines(columns, [&](Line const& line, int i, int count) {
        const double t = count == 1 ? 0.0 : double(i) / (count - 1);
        return fractional(line, (1.0 - t) * first + t * last, p.isFloat, whole);
    });
}

// ---- Fade

inline void fade(Plane& p, float start, float end, int curve) {
    p.fill([&, before = p](int x, int y) {
        const float t = p.height == 1 ? 1.0f : 1.0f - float(y) * (1.0f / float(p.height - 1));
        float k = 1.0f - (t - start) / (end - start);
        k = curve == 1 ? k * k : curve == 2 ? std::sqrt(k) : k;
        if (start < t && t >= end) k = 0.0f;
        if (start >= t || (t < end && std::fabs(end - start) < 1e-5f)) k = 1.0f;
        return p.stored(double(float(before.near(x, y)) * k));
    });
}

// ---- Pyramid

inline Plane smoothed(Plane p) {
    p.fill([&, before = p](int x, int y) {
        double sum = 0;
        for (int k = 0; k < 9; ++k) {
            const int i = k % 3 - 1, j = k / 3 - 1;
            sum += (2 - std::abs(i)) * (2 - std::abs(j)) * before.near(x + i, y + j);
        }
        return p.stored(sum / 16);
    });
    return p;
}

inline Plane halved(Plane const& p) {
    Plane out{(p.width + 1) / 2, (p.height + 1) / 2, p.isFloat};
    out.fill([&](int x, int y) {
        return p.stored((p.near(2 * x, 2 * y) + p.near(2 * x + 1, 2 * y) +
                         p.near(2 * x, 2 * y + 1) + p.near(2 * x + 1, 2 * y + 1)) /
                        4);
    });
    return out;
}

inline Picture pyramid(Plane const& p) {
    int const longer = std::max({p.width, p.height, 2});
    const std::size_t levels = std::min(10, 1 + int(std::ceil(std::log2(longer - 1.0))));
    Picture all{p};
    while (all.size() < levels) {
        const Plane next = all.size() == 1 ? p : halved(all.back());
        all.push_back(next.width > 2 && next.height > 2 ? smoothed(next) : next);
    }
    return all;
}

inline float lerp(float a, float b, float t) { return a * (1.0f - t) + b * t; }

/// A level that was halved `shift` times, at pixel (x, y) of the picture.
inline float readLevel(Plane const& p, int shift, int x, int y) {
    if (shift == 0) return float(p.near(x, y));
    int const size = 1 << shift;
    int const x0 = std::max(x - size / 2, 0), y0 = std::max(y - size / 2, 0);
    int const cx = std::min(x0 / size, p.width - 1), cy = std::min(y0 / size, p.height - 1);
    float const fx = float(x0 - cx * size) / float(size), fy = float(y0 - cy * size) / float(size);
    auto const row = [&](int j) {
        return lerp(float(p.near(cx, cy + j)), float(p.near(cx + 1, cy + j)), fx);
    };
    return float(p.stored(double(lerp(row(0), row(1), fy))));
}

inline void growingBlur(Plane& p, Plane const& alpha, double white, QV_Line2D const& line,
                        float amount) {
    if (std::fabs(amount) < 1e-5f) return;
    auto const levels = pyramid(p);
    double const d0 = line.distance(0, 0);
    double const dX = line.distance(1, 0) - d0, dY = line.distance(0, 1) - d0;
    // Past the last level lies nothing.
    auto const read = [&](std::size_t level, int x, int y) {
        if (level >= levels.size()) return 0.0f;
        return readLevel(levels[level], std::max(int(level) - 1, 0), x, y);
    };
    p.fill([&](int x, int y) {
        const double d = x * dX + y * dY + d0;
        float mask = float(alpha.near(x, y)) * (1.0f / float(white));
        if (!p.isFloat) mask = std::min(mask, 1.0f);
        if (d < 0 || mask == 0) return levels[0].near(x, y);
        long v = long(d * double(amount) * 65536.0), u = v;
        std::size_t level = 0;
        for (; v > 0x10000; ++level) {
            v /= 2;
            u = 2 * v - 0x10000;
        }
        const float t = std::clamp(float(u) / 65536.0f, 0.0f, 1.0f);
        return p.stored(double(lerp(read(level, x, y), read(level + 1, x, y), t) * mask));
    });
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
    int shiftX = 0, shiftY = 0;  ///< of the line, by the settings
};

/// `alphaAt` is alpha's place in a pixel.
inline void drive(Picture& picture, int alphaAt, double white, Call const& call, double scale) {
    double const radius = call.radius, start = call.fadeStart, end = start + call.fadeLength;
    auto const isChosen = [&](int c) {
        return call.kind <= -10 || c == alphaAt || (!call.alphaPlane && call.kind != -2);
    };
    for (int c = 0; c < 4 && call.kind >= 0; ++c)
        if (isChosen(c)) fade(picture[c], float(start * 0.01), float(end * 0.01), call.curve);
    const Plane alpha = picture[alphaAt];
    double const shorter = std::min(alpha.width, alpha.height);
    double const relative = std::min(radius * alpha.height * 0.5 / 1000.0 * shorter, shorter);
    for (int c = 0; c < 4; ++c) {
        Plane& p = picture[c];
        if (!isChosen(c)) continue;
        if (call.kind <= -10)
            interpolatedBlur(p, radius, call.aspect, call.kind == -10);
        else if (call.kind == 1)
            growingBlur(p, alpha, white, call.line.translated(call.shiftX, call.shiftY),
                        call.radius);
        else
            blur(p, call.kind < 0 ? radius : std::trunc(relative * scale), call.aspect,
                 call.kind >= 0, call.kind);
    }
}

}  // namespace blur_reference

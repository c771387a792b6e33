// The transfer modes once more: slowly, in double, by mode number.
//
// Integer formats: doubles that hold whole numbers, so every product, shift (as a floor) and
// quotient (truncated) below is exact. Float: the formula without rounding. W is white.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>

/// Red, green, blue, alpha. Of a colour alpha means nothing.
using RefPixel = std::array<double, 4>;

class TransferReference {
public:
    explicit TransferReference(double white) : W(white), whole(white > 1) {}

    /// `fa` and `ba` have their opacity in them. Hue and its kin are truncated `nudge` channel
    /// units off, which shows what an error of that size could do.
    RefPixel blend(int mode, RefPixel f, RefPixel b, double fa, double ba, double nudge) const {
        if (mode == 1 && ba == W) return b;
        RefPixel m = mode == 1 ? f : b;
        if ((mode == 1 ? ba : fa) != 0) {
            for (int i = 0; i < 3 && !whole; ++i)
                f[i] = std::max(f[i], 0.0), b[i] = std::max(b[i], 0.0);
            m = mode == 4 || mode == 12 ? sumOrDifference(mode == 4, f, b, fa, ba)
                                        : overlaid(mode, f, b, fa, ba, nudge);
            for (double& c : m) c = limit(c);
        }
        m[3] = united(fa, ba);
        return m;
    }

    /// Mode(f, b) before any coverage.
    RefPixel mix(int mode, RefPixel const& f, RefPixel const& b, double nudge = 0) const {
        if (mode == 3 || (mode >= 13 && mode <= 16)) return hueKin(mode, f, b, nudge);
        RefPixel m{};
        for (int i = 0; i < 3; ++i) m[i] = channel(mode, f[i], b[i]);
        return m;
    }

private:
    double W;  // white
    bool whole;

    double half() const { return W == 255 ? 127 : W / 2; }
    double limit(double x) const { return whole ? std::min(std::max(x, 0.0), W) : x; }
    double quotient(double x, double y) const {
        return y == 0 ? 0 : whole ? std::trunc(x / y) : x / y;
    }
    double mul(double x, double y) const {
        double const over = W == 255 ? 256 : W;
        return whole ? std::floor((x * y + over / 2) / over) : x * y;
    }
    double united(double fa, double ba) const { return limit(fa + ba - mul(fa, ba)); }

    RefPixel overlaid(int mode, RefPixel const& f, RefPixel const& b, double fa, double ba,
                      double nudge) const {
        if (ba == 0) return f;
        RefPixel m = mode == 1 ? b : mix(mode, f, b, nudge);
        double const w = mul(ba, W - fa), t = w + fa;
        bool const seeThrough = whole ? fa < W : fa != 1;
        for (int i = 0; i < 3; ++i) {
            if (mode == 1 || ba < W) m[i] = mul(f[i], W - ba) + mul(m[i], ba);
            if (seeThrough) m[i] = quotient((mul(m[i], fa) + mul(b[i], w)) * W, t);
        }
        return m;
    }

    RefPixel sumOrDifference(bool add, RefPixel const& f, RefPixel const& b, double fa,
                             double ba) const {
        if (ba == 0) return f;
        double const ra = united(fa, ba);
        RefPixel m{};
        for (int i = 0; i < 3; ++i) {
            double const x = fa == W ? f[i] : mul(f[i], fa), y = ba == W ? b[i] : mul(b[i], ba);
            double const sum = whole ? std::min(ra, x + y) : x + y;
            m[i] = quotient((add ? sum : std::fabs(y - x)) * W, ra);
        }
        return m;
    }

    double channel(int mode, double f, double b) const {
        if (mode == 2) return f;
        if (mode == 5) return mul(b, f);
        if (mode == 6 || mode == 35) return W - mul(W - b, W - f);
        if (mode == 7) return b < half() ? mul(2 * b, f) : mul(W - b, 2 * f - W) + b;
        if (mode == 8) return mul(W - 2 * f, mul(b, b) - b) + b;
        if (mode == 9) return f < half() ? mul(2 * f, b) : W - mul(2 * (W - f), W - b);
        if (mode == 10) return std::min(f, b);
        if (mode == 11) return std::max(f, b);
        if (mode == 23) return f >= W ? f : quotient(b * W, W - f);
        if (mode != 24) return mul(W - 2 * b, f) + b;  // Exclusion and its other numbers
        double const burnt = f == 0 ? 0 : W - quotient((W - b) * W, f);
        return whole ? std::max(burnt, 0.0) : burnt;
    }

    struct Parts {
        double hue, saturation, luma;
    };
    static double luma(RefPixel const& c) { return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]; }
    Parts parts(RefPixel c) const {
        for (double& x : c) x /= W;
        double const mx = std::max({c[0], c[1], c[2]}), mn = std::min({c[0], c[1], c[2]});
        double const d = mx - mn;
        if (mx < 0.0001) return {0, 0, 0};
        if (d < 0.0001) return {0, 0, luma(c)};
        double hue = 4 + (c[0] - c[1]) / d;
        if (mx == c[1]) hue = 2 + (c[2] - c[0]) / d;
        if (mx == c[0]) hue = (c[1] - c[2]) / d;
        return {hue < 0 ? hue + 6 : hue, d / (mx + mn >= 1 ? 2 - d : mx + mn) / 2, luma(c)};
    }

    /// Red, green and blue are the same trapezium around the hue circle, two sectors apart.
    RefPixel hueKin(int mode, RefPixel const& f, RefPixel const& b, double nudge) const {
        const Parts pf = parts(f), pb = parts(b);
        double const hue = (mode == 14 || mode == 16 ? pb : pf).hue;
        double const hi = 0.5 + (mode == 14 || mode == 15 ? pf : pb).saturation, lo = 1 - hi;
        double const wanted = (mode == 16 ? pf : pb).luma;
        RefPixel m{};
        for (int i = 0; i < 3; ++i) {
            double const from = std::fabs(std::remainder(hue - 2 * i, 6.0));
            m[i] = lo + (hi - lo) * std::clamp(2 - from, 0.0, 1.0);
        }
        double const l = luma(m);
        for (double& c : m) {
            c = l < wanted ? 1 - (1 - c) * (1 - wanted) / (1 - l) : c * wanted / l;
            c = whole ? std::trunc(c * W + nudge) : c;
        }
        return m;
    }
};

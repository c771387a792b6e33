// Seeded random quads and numbers for the geometry and engine tests. A test prints the seed it used
// (SCOPED_TRACE), so that a failure can be repeated.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <string>

namespace zelk {

/// Four corners x0, y0, ... x3, y3 in Z order: images of (0,0), (1,0), (0,1), (1,1).
using Quad = std::array<double, 8>;
constexpr Quad kUnitSquare = {0, 0, 1, 0, 0, 1, 1, 1};

/// What a product or sum in double may be off, as a share of it: twice the rounding.
constexpr double kEps = 0x1p-52;

/// A quad as the engine's four pins: upper left, lower left, upper right, lower right.
template <class Pin>
void setPins(Pin (&pins)[4], Quad const& quad) {
    constexpr int kPinOfCorner[4] = {0, 2, 1, 3};
    for (int i = 0; i < 4; ++i) pins[kPinOfCorner[i]] = {quad[2 * i], quad[2 * i + 1]};
}

/// Of another seed each time, which a failure prints.
class FreshRandom : public std::mt19937 {
public:
    explicit FreshRandom(unsigned seed = std::random_device{}())
        : std::mt19937(seed), m_told(__FILE__, __LINE__, "seed " + std::to_string(seed)) {}
    int below(int n) { return static_cast<int>((*this)() % static_cast<unsigned>(n)); }

private:
    testing::ScopedTrace m_told;
};

class Random {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}
    double uniform(double lo, double hi) {
        return std::uniform_real_distribution<double>(lo, hi)(m_engine);
    }
    int integer(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_engine); }
    bool flip() { return integer(0, 1) == 1; }

private:
    std::mt19937_64 m_engine;
};

/// The unit square with every coordinate moved by up to 0.2, mirrored half of the time, then turned
/// by any angle about its centre. Always convex: a corner would have to move 0.25 to flatten one.
inline Quad randomConvexQuad(Random& random) {
    Quad quad = kUnitSquare;
    double const mirror = random.flip() ? -1 : 1, angle = random.uniform(0.0, 6.283185307179586);
    double const s = std::sin(angle), c = std::cos(angle);
    for (int i = 0; i < 8; i += 2) {
        double const x = mirror * (quad[i] + random.uniform(-0.2, 0.2) - 0.5);
        double const y = quad[i + 1] + random.uniform(-0.2, 0.2) - 0.5;
        quad[i] = c * x - s * y + 0.5;
        quad[i + 1] = s * x + c * y + 0.5;
    }
    return quad;
}

}  // namespace zelk

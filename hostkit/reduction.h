// Reduction: how many times smaller than full resolution a picture is, each way. Mostly a whole
// number, such as a host's preview at half resolution; else the ratio of two sizes, as of a picture
// that has just the pixels of a screen.
#pragma once

#include <algorithm>

#include "platform/effect_api/effect_types.h"

namespace zelk {

class Reduction {
public:
    Reduction(int times = 1) : m_isWhole(true), m_x{1, times}, m_y{1, times} {}
    /// Of `full` pixels to `own`, at most as many.
    struct Side {
        int own, full;
    };
    Reduction(Side x, Side y) : m_isWhole(false), m_x(x), m_y(y) {}

    /// By a whole number of times.
    bool isWhole() const { return m_isWhole; }
    /// Full pixels to one of its own.
    double x() const { return double(m_x.full) / m_x.own; }
    double y() const { return double(m_y.full) / m_y.own; }
    double larger() const { return std::max(x(), y()); }
    double smaller() const { return std::min(x(), y()); }
    /// Of so many full pixels, truncated.
    int width(int full) const { return truncated(full, m_x); }
    int height(int full) const { return truncated(full, m_y); }
    /// As a host names it: 1/2 at half resolution.
    PF_RationalScale scaleX() const { return scale(m_x); }
    PF_RationalScale scaleY() const { return scale(m_y); }

private:
    /// Who multiplies the full size by it and truncates has its own size, not one less by rounding:
    /// so it is a little more than the ratio of two sizes.
    PF_RationalScale scale(Side side) const {
        constexpr int kFine = 1024;
        if (m_isWhole) return {1, static_cast<A_u_long>(side.full)};
        return {side.own * kFine + 1, static_cast<A_u_long>(side.full * kFine)};
    }
    int truncated(int full, Side side) const {
        if (m_isWhole) return full / side.full;
        PF_RationalScale const ratio = scale(side);
        return static_cast<int>(full * (double(ratio.num) / ratio.den));
    }

    bool m_isWhole;
    Side m_x, m_y;
};

}  // namespace zelk

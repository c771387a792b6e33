// Frames along the timeline, in pixels: x = (frame - left) * pxPerFrame.
//
//     |  1001  |  1002  |      a frame has a cell; its moment, where keys lie, is the cell's middle
//          ^ key of frame 1001
#pragma once

#include <algorithm>
#include <cmath>

namespace zelk {

struct TimeScale {
    double left = 0;         ///< the frame at x = 0, fractions allowed
    double pxPerFrame = 10;  ///< above 0

    double toX(double frame) const { return (frame - left) * pxPerFrame; }
    double toFrame(double x) const { return left + x / pxPerFrame; }
    double momentX(double frame) const { return toX(frame + 0.5); }
    int frameAt(double x) const { return static_cast<int>(std::floor(toFrame(x))); }

    /// The frame at `x` stays there.
    void zoomAt(double x, double factor) {
        constexpr double kLeast = 0.01, kMost = 200;
        double const frame = toFrame(x);
        pxPerFrame = std::clamp(pxPerFrame * factor, kLeast, kMost);
        left = frame - x / pxPerFrame;
    }
    /// From `first` to the end of `last` within `widthPx`, with a margin.
    void fit(int first, int last, double widthPx) {
        constexpr double kMarginPx = 12;
        double const room = std::max(widthPx - 2 * kMarginPx, 1.);
        pxPerFrame = room / (double(last) - first + 1);
        left = first - kMarginPx / pxPerFrame;
    }
    /// Moves as little as shows a frame's cell within `widthPx`.
    void reveal(double frame, double widthPx) {
        double const last = frame + 1 - widthPx / pxPerFrame;
        left = std::clamp(left, std::min(last, frame), frame);
    }
    /// Frames between labels, 1, 2 or 5 times a power of ten, that lie `leastPx` apart or more.
    int labelStep(double leastPx) const {
        for (int decade = 1;; decade *= 10)
            for (int const part : {1, 2, 5})
                if (part * decade * pxPerFrame >= leastPx) return part * decade;
    }
};

}  // namespace zelk

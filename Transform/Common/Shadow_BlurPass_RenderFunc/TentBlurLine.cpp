// The running sums of the tent blur: see TentBlurLine.h for the recurrence and its drift.
//
// The line is walked in three stretches, so that the middle one reads without limits: up to R the
// left pixel is the line's first, in the last R + 2 the right one is the line's last.
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurLine.h"

#include <algorithm>

namespace {

template <class T, int Count>
class RunningTent {
public:
    /// The sums of output pixel 0; the line is longer than 2 radius + 2.
    RunningTent(ChannelLine<T> line, int radius)
        : m_scale(1.0 / (double(radius + 1) * (radius + 1))) {
        T const* first = line.pixel(0);
        T const* beyond = line.pixel(radius + 1);
        for (int c = 0; c < Count; ++c) {
            double const p0 = first[c];
            m_sum[c] = (radius + 1) * p0;
            m_slope[c] = static_cast<double>(beyond[c]) - p0;
        }
        for (int k = 0; k < radius; ++k) {
            T const* next = line.pixel(k + 1);
            for (int c = 0; c < Count; ++c) {
                double const p0 = first[c], p = next[c];
                m_sum[c] += (k + 1) * p0 + (radius - k) * p;
                m_slope[c] += p - p0;
            }
        }
    }

    /// Writes a pixel and moves on by one; the three pixels are p(i + R + 2), p(i + 1), p(i - R).
    void step(T* out, T const* right, T const* middle, T const* left) {
        for (int c = 0; c < Count; ++c) {
            out[c] = toChannel<T>(m_sum[c] * m_scale);
            m_sum[c] += m_slope[c];
            m_slope[c] += static_cast<double>(right[c]) - 2.0 * static_cast<double>(middle[c]) +
                          static_cast<double>(left[c]);
        }
    }

private:
    double m_scale;
    double m_sum[Count], m_slope[Count];
};

}  // namespace

int limitedTentRadius(int radius, int length) {
    if (radius >= (length - 1) / 2) radius = (length >> 1) - 2;  // length <= 2 radius + 2
    return std::max(radius, 0);
}

template <class T, int Count>
void tentBlurLine(ChannelLine<T> source, ChannelLine<T> dest, int length, int radius) {
    int const r = limitedTentRadius(radius, length);
    if (r == 0) {
        copyLine<T, Count>(source, dest, length);
        return;
    }
    RunningTent<T, Count> tent(source, r);
    T const* const first = source.pixel(0);
    T const* const last = source.pixel(length - 1);
    int i = 0;
    for (; i <= r; ++i)
        tent.step(dest.pixel(i), source.pixel(i + r + 2), source.pixel(i + 1), first);
    for (; i <= length - r - 3; ++i)
        tent.step(dest.pixel(i), source.pixel(i + r + 2), source.pixel(i + 1), source.pixel(i - r));
    for (; i < length; ++i)
        tent.step(dest.pixel(i), last, source.pixel(std::min(i + 1, length - 1)),
                  source.pixel(i - r));
}

#define INSTANCES(T)                                                                          \
    template void tentBlurLine<T, 4>(ChannelLine<T>, ChannelLine<T>, int length, int radius); \
    template void tentBlurLine<T, 1>(ChannelLine<T>, ChannelLine<T>, int length, int radius);
INSTANCES(unsigned char)
INSTANCES(unsigned short)
INSTANCES(float)

// Building and reading the blur pyramid. Loops over rows run in parallel; each row is written by
// one thread and read from the level before or from a copy.
#include "Transform/Common/Transform_Core_Render/RampedBlurPyramid.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

/// What sums of pixels are kept in.
template <class T>
using Wide = std::conditional_t<sizeof(T) == 1, int, double>;

/// sum / 2^Shift; integer channels are cut down.
template <int Shift, class T>
T scaledDown(Wide<T> sum) {
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(sum * (1.0 / (1 << Shift)));
    else
        return static_cast<T>(static_cast<std::int32_t>(sum) >> Shift);
}

// ---- Smoothing

constexpr int weights[3][3] = {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}};

/// One pixel from the rows above, at and below it, and the columns left, at and right of it.
template <class T, int Count>
void smoothPixel(ChannelPlane<T> const& from, int const (&rows)[3], int const (&columns)[3],
                 T* out) {
    Wide<T> sum[Count] = {};
    for (int j = 0; j < 3; ++j) {
        ChannelLine<T> const row = from.row(rows[j]);
        for (int i = 0; i < 3; ++i) {
            T const* p = row.pixel(columns[i]);
            for (int c = 0; c < Count; ++c)
                sum[c] += static_cast<Wide<T>>(weights[j][i]) * static_cast<Wide<T>>(p[c]);
        }
    }
    for (int c = 0; c < Count; ++c) out[c] = scaledDown<4, T>(sum[c]);
}

template <class T, int Count>
void smoothInterior(ChannelPlane<T> const& from, ChannelPlane<T> const& to) {
#pragma omp parallel for schedule(dynamic, 1)
    for (int y = 1; y < to.height - 1; ++y)
        for (int x = 1; x < to.width - 1; ++x)
            smoothPixel<T, Count>(from, {y - 1, y, y + 1}, {x - 1, x, x + 1}, to.row(y).pixel(x));
}

template <class T, int Count>
void smoothBorderPixel(ChannelPlane<T> const& from, ChannelPlane<T> const& to, int x, int y) {
    int const up = std::max(y - 1, 0), down = std::min(y + 1, to.height - 1);
    int const left = std::max(x - 1, 0), right = std::min(x + 1, to.width - 1);
    smoothPixel<T, Count>(from, {up, y, down}, {left, x, right}, to.row(y).pixel(x));
}

template <class T, int Count>
void smoothBorder(ChannelPlane<T> const& from, ChannelPlane<T> const& to) {
#pragma omp parallel for schedule(dynamic, 1)
    for (int y = 0; y < to.height; ++y) {
        bool const whole = y == 0 || y == to.height - 1;
        int const step = whole ? 1 : std::max(to.width - 1, 1);
        for (int x = 0; x < to.width; x += step) smoothBorderPixel<T, Count>(from, to, x, y);
    }
}

// ---- Levels

template <class T, int Count>
void averageBlocks(ChannelPlane<T> const& from, ChannelPlane<T> const& to) {
#pragma omp parallel for schedule(dynamic, 1)
    for (int y = 0; y < to.height; ++y) {
        ChannelLine<T> const near = from.row(2 * y);
        ChannelLine<T> const far = from.row(std::min(2 * y + 1, from.height - 1));
        for (int x = 0; x < to.width; ++x) {
            int const right = std::min(2 * x + 1, from.width - 1);
            T const *a = near.pixel(2 * x), *b = near.pixel(right);
            T const *c = far.pixel(2 * x), *d = far.pixel(right);
            T* out = to.row(y).pixel(x);
            for (int i = 0; i < Count; ++i)
                out[i] = scaledDown<2, T>(static_cast<Wide<T>>(a[i]) + b[i] + c[i] + d[i]);
        }
    }
}

/// One axis of a bilinear read of cells of 2^shift pixels: two cells and how far it is between.
struct CellAxis {
    int cell, next;
    float fraction;

    CellAxis(int pixel, int shift, int cells) {
        int const fromCentre = std::max(pixel - (1 << (shift - 1)), 0);
        cell = std::min(fromCentre >> shift, cells - 1);
        next = std::min(cell + 1, cells - 1);
        fraction =
            static_cast<float>(fromCentre - (cell << shift)) / static_cast<float>(1 << shift);
    }
};

float between(float a, float b, float t) { return a * (1.0f - t) + b * t; }

}  // namespace

// ---- HostBuffer

HostBuffer::~HostBuffer() {
    if (m_data) m_host->unlockMemory(m_handle);
    if (m_handle) m_host->deallocMemory(m_handle);
}

bool HostBuffer::allocate(PluginHost_API* host, int width, int height, int channelBytes) {
    const std::int64_t bytes = std::int64_t{width} * height * channelBytes * kChannelsPerPixel;
    if (bytes > std::numeric_limits<int>::max()) return false;
    m_host = host;
    m_handle = host->allocMemory(static_cast<int>(bytes));
    if (m_handle) m_data = host->lockMemory(m_handle);
    return m_data != nullptr;
}

// ---- gauss1

template <class T, int Count>
bool gauss1(PluginHost_API* host, ChannelPlane<T> const& plane) {
    HostBuffer buffer;
    if (!buffer.allocate(host, plane.width, plane.height, sizeof(T))) return false;
    ChannelPlane<T> const copy{static_cast<T*>(buffer.data()),
                               std::ptrdiff_t{plane.width} * kChannelsPerPixel, plane.width,
                               plane.height};
    copyPlane<T, Count>(plane, copy);
    smoothInterior<T, Count>(copy, plane);
    smoothBorder<T, Count>(copy, plane);
    return true;
}

// ---- BlurPyramid

int pyramidLevels(int longerSide) {
    int levels = 1;
    for (int reach = 1; reach < longerSide - 1 && levels < BlurPyramid<float, 1>::kMostLevels;
         reach *= 2)
        ++levels;
    return levels;
}

template <class T, int Count>
BlurPyramid<T, Count>::BlurPyramid(PluginHost_API* host, ChannelPlane<T> const& image)
    : m_host(host), m_levels(pyramidLevels(std::max(image.width, image.height))) {
    m_planes[0] = image;
    m_shifts[0] = 0;
}

template <class T, int Count>
bool BlurPyramid<T, Count>::makeLevel(int level) {
    ChannelPlane<T> const& before = m_planes[level - 1];
    bool const copied = level == 1;
    int const width = copied ? before.width : (before.width + 1) >> 1;
    int const height = copied ? before.height : (before.height + 1) >> 1;
    if (!m_buffers[level].allocate(m_host, width, height, sizeof(T))) return false;
    m_planes[level] = {static_cast<T*>(m_buffers[level].data()),
                       std::ptrdiff_t{width} * kChannelsPerPixel, width, height};
    m_shifts[level] = level - 1;
    if (copied)
        copyPlane<T, Count>(before, m_planes[level]);
    else
        averageBlocks<T, Count>(before, m_planes[level]);
    return width <= 2 || height <= 2 || gauss1<T, Count>(m_host, m_planes[level]);
}

template <class T, int Count>
bool BlurPyramid<T, Count>::build() {
    for (int level = 1; level < m_levels; ++level)
        if (!makeLevel(level)) return false;
    return true;
}

template <class T, int Count>
void BlurPyramid<T, Count>::sample(int level, int x, int y, T* out) const {
    ChannelPlane<T> const& plane = m_planes[level];
    int const shift = m_shifts[level];
    if (shift == 0) {
        T const* p = plane.row(y).pixel(x);
        for (int c = 0; c < Count; ++c) out[c] = p[c];
        return;
    }
    const CellAxis across(x, shift, plane.width), down(y, shift, plane.height);
    T const* a = plane.row(down.cell).pixel(across.cell);
    T const* b = plane.row(down.cell).pixel(across.next);
    T const* p = plane.row(down.next).pixel(across.cell);
    T const* q = plane.row(down.next).pixel(across.next);
    for (int c = 0; c < Count; ++c) {
        float const upper =
            between(static_cast<float>(a[c]), static_cast<float>(b[c]), across.fraction);
        float const lower =
            between(static_cast<float>(p[c]), static_cast<float>(q[c]), across.fraction);
        out[c] = toChannel<T>(between(upper, lower, down.fraction));
    }
}

#define INSTANCES(T)                                                     \
    template bool gauss1<T, 4>(PluginHost_API*, ChannelPlane<T> const&); \
    template bool gauss1<T, 1>(PluginHost_API*, ChannelPlane<T> const&); \
    template class BlurPyramid<T, 4>;                                    \
    template class BlurPyramid<T, 1>;
INSTANCES(unsigned char)
INSTANCES(unsigned short)
INSTANCES(float)

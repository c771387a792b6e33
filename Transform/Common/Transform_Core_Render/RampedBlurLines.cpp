// The line loop of the interpolated blur: lines go out to packed scratch lines, are blurred there
// once or twice, and come back. Columns go in groups, so that memory is read in rows.
#include "Transform/Common/Transform_Core_Render/RampedBlurLines.h"

#include <omp.h>

#include <algorithm>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/ScratchRaster.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurSimd.h"

namespace {

constexpr int kColumnsAtOnce = 16;
constexpr int kBlurredLines = 2;  // by radius R and R + 1
constexpr int kMostThreads = 16;

/// Copies pixels between lines `first` to `first + count` - 1 of the image and packed lines.
template <class T>
void exchangeLines(ChannelPlane<T> const& image, bool columns, int first, int count,
                   ChannelPlane<T> const& packed, bool inwards) {
    auto const exchange = [inwards](T* pixel, T* packedPixel, int pixels) {
        T* const from = inwards ? packedPixel : pixel;
        std::copy_n(from, 4 * pixels, inwards ? pixel : packedPixel);
    };
    if (!columns) {
        for (int j = 0; j < count; ++j)
            exchange(image.row(first + j).first, packed.row(j).first, image.width);
        return;
    }
    for (int y = 0; y < image.height; ++y)
        for (int j = 0; j < count; ++j)
            exchange(image.row(y).pixel(first + j), packed.row(j).pixel(y), 1);
}

/// Blurs a packed line in place.
template <class T>
void blurLine(ChannelLine<T> line, int length, double radiusPx, ChannelLine<T> smaller,
              ChannelLine<T> larger) {
    const FractionalRadius radius(radiusPx);
    tentBlurLinesSimd(line, smaller, 1, length, wholeRadius(radius.whole));
    if (radius.isWhole()) {
        copyLine<T, kChannelsPerPixel>(smaller, line, length);
        return;
    }
    tentBlurLinesSimd(line, larger, 1, length, wholeRadius(radius.whole + 1));
    mixRowSimd(smaller.first, larger.first, 4 * length, radius);
    copyLine<T, kChannelsPerPixel>(larger, line, length);
}

}  // namespace

template <class T>
int interpolatedBlur(PluginHost_API* host, PluginHost_API::RasterInfo& raster, double radiusFirst,
                     double radiusLast, bool columns) {
    if (raster.width <= 0 || raster.height <= 0) return 0;
    int const group = columns ? kColumnsAtOnce : 1;
    int const linesAThread = group + kBlurredLines;
    auto const image = channelPlane<T>(raster, 0);
    bool const isLarge = isWorthATeam(image.height, std::int64_t{8} * sizeof(T) * image.width);
    int const count = columns ? raster.width : raster.height;
    // Each thread has lines of its own, in memory that the host counts.
    int const useful = std::min((count + group - 1) / group, kMostThreads);
    int const threads = isLarge ? std::min(omp_get_max_threads(), useful) : 1;
    ScratchRaster scratch(host);
    if (int const error =
            scratch.allocate(raster, std::max(raster.width, raster.height), threads * linesAThread))
        return error;
    auto const work = channelPlane<T>(scratch.info(), 0);
    int const length = columns ? raster.height : raster.width;
#pragma omp parallel for schedule(dynamic, 1) num_threads(threads)
    for (int first = 0; first < count; first += group) {
        ChannelPlane<T> lines = work;
        lines.first = work.row(omp_get_thread_num() * linesAThread).first;
        int const here = std::min(group, count - first);
        exchangeLines(image, columns, first, here, lines, false);
        for (int j = 0; j < here; ++j) {
            double const t = count > 1 ? (first + j) / static_cast<double>(count - 1) : 0.0;
            double const radius = (1.0 - t) * radiusFirst + t * radiusLast;
            if (isRadius(radius))
                blurLine(lines.row(j), length, radius, lines.row(group), lines.row(group + 1));
        }
        exchangeLines(image, columns, first, here, lines, true);
    }
    return 0;
}

#define INSTANCE(T) \
    template int interpolatedBlur<T>(PluginHost_API*, QV_RasterInfo&, double, double, bool);
INSTANCE(unsigned char)
INSTANCE(unsigned short)
INSTANCE(float)

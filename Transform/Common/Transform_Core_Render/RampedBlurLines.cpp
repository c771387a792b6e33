// The line loop of the interpolated blur: a line goes out to a packed scratch line, is blurred
// there once or twice, and comes back.
#include "Transform/Common/Transform_Core_Render/RampedBlurLines.h"

#include <algorithm>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/FractionalRadius.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/ScratchRaster.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurLine.h"

namespace {

constexpr int kWorkLines = 3;  // the line itself, and its blurs by radius R and R + 1

template <class T>
void blurLine(ChannelLine<T> line, int length, double radiusPx, ChannelPlane<T> const& work) {
    constexpr int kAll = kChannelsPerPixel;
    const FractionalRadius radius(radiusPx);
    auto const packed = work.row(0), smaller = work.row(1), larger = work.row(2);
    copyLine<T, kAll>(line, packed, length);
    tentBlurLine<T, kAll>(packed, smaller, length, wholeRadius(radius.whole));
    if (radius.isWhole()) {
        copyLine<T, kAll>(smaller, line, length);
        return;
    }
    tentBlurLine<T, kAll>(packed, larger, length, wholeRadius(radius.whole + 1));
    for (int i = 0; i < length; ++i)
        for (int c = 0; c < kAll; ++c)
            line.pixel(i)[c] = radius.mix(smaller.pixel(i)[c], larger.pixel(i)[c]);
}

}  // namespace

template <class T>
int interpolatedBlur(PluginHost_API* host, PluginHost_API::RasterInfo& raster, double radiusFirst,
                     double radiusLast, bool columns) {
    if (raster.width <= 0 || raster.height <= 0) return 0;
    ScratchRaster scratch(host);
    if (int const error =
            scratch.allocate(raster, std::max(raster.width, raster.height), kWorkLines))
        return error;
    auto const image = channelPlane<T>(raster, 0);
    auto const work = channelPlane<T>(scratch.info(), 0);
    int const count = columns ? raster.width : raster.height;
    int const length = columns ? raster.height : raster.width;
    for (int i = 0; i < count; ++i) {
        double const t = count > 1 ? i / static_cast<double>(count - 1) : 0.0;
        double const radius = (1.0 - t) * radiusFirst + t * radiusLast;
        if (isRadius(radius)) blurLine(image.line(i, columns), length, radius, work);
    }
    return 0;
}

#define INSTANCE(T) \
    template int interpolatedBlur<T>(PluginHost_API*, QV_RasterInfo&, double, double, bool);
INSTANCE(unsigned char)
INSTANCE(unsigned short)
INSTANCE(float)

// The order of the passes, and the mix of two radii over a whole image.
#include "Transform/Common/Shadow_BlurPass_RenderFunc/BlurFilter.h"

#include "Transform/Common/Shadow_BlurPass_RenderFunc/FractionalRadius.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/ScratchRaster.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurSimd.h"

namespace {

bool hasPixels(PluginHost_API::RasterInfo const& raster) {
    return raster.width > 0 && raster.height > 0;
}

BlurFilterOptions withRadius(BlurFilterOptions options, double radius) {
    options.radius = radius;
    return options;
}

template <class T, int Count>
void mixPlanes(ChannelPlane<T> const& smaller, ChannelPlane<T> const& larger,
               FractionalRadius const& radius) {
    forEachRow(larger.height, std::int64_t{12} * sizeof(T) * larger.width, [&](int y) {
        T const* a = smaller.row(y).first;
        T* b = larger.row(y).first;
        if constexpr (Count == 4)
            mixRowSimd(a, b, 4 * larger.width, radius);
        else
            for (int x = 0; x < larger.width; ++x) b[4 * x] = radius.mix(a[4 * x], b[4 * x]);
    });
}

}  // namespace

template <class T, int Count>
int wholeRadiusBlur(PluginHost_API* host, PluginHost_API::RasterInfo& raster, int firstChannel,
                    BlurFilterOptions const& options) {
    if (!isRadius(options.radius) || !hasPixels(raster)) return 0;
    ScratchRaster scratch(host);
    if (int const error = scratch.allocate(raster, raster.width, raster.height)) return error;
    auto const image = channelPlane<T>(raster, firstChannel);
    auto const between = channelPlane<T>(scratch.info(), firstChannel);
    tentBlurPass<T, Count>(image, between,
                           {wholeRadius(options.radius), false, options.ramp, options.kind});
    double const radius = options.ramp ? options.radius * 0.5 : options.radius;
    tentBlurPass<T, Count>(
        between, image, {wholeRadius(radius * options.verticalFactor), true, false, options.kind});
    return 0;
}

template <class T, int Count>
int fractionalRadiusBlur(PluginHost_API* host, PluginHost_API::RasterInfo& raster, int firstChannel,
                         BlurFilterOptions const& options) {
    // Without this a float image would still be mixed with a trace of its blur by radius 1.
    if (!isRadius(options.radius) || !hasPixels(raster)) return 0;
    const FractionalRadius radius(options.radius);
    if (radius.isWhole()) return wholeRadiusBlur<T, Count>(host, raster, firstChannel, options);

    ScratchRaster copy(host);
    if (int const error = copy.allocate(raster, raster.width, raster.height)) return error;
    auto const image = channelPlane<T>(raster, firstChannel);
    auto const smaller = channelPlane<T>(copy.info(), firstChannel);
    copyPlane<T, Count>(image, smaller);
    int error = wholeRadiusBlur<T, Count>(host, copy.info(), firstChannel,
                                          withRadius(options, radius.whole));
    if (!error)
        error = wholeRadiusBlur<T, Count>(host, raster, firstChannel,
                                          withRadius(options, radius.whole + 1));
    if (!error) mixPlanes<T, Count>(smaller, image, radius);
    return error;
}

#define INSTANCES(T)                                                              \
    template int wholeRadiusBlur<T, 4>(PluginHost_API*, QV_RasterInfo&, int,      \
                                       BlurFilterOptions const&);                 \
    template int wholeRadiusBlur<T, 1>(PluginHost_API*, QV_RasterInfo&, int,      \
                                       BlurFilterOptions const&);                 \
    template int fractionalRadiusBlur<T, 4>(PluginHost_API*, QV_RasterInfo&, int, \
                                            BlurFilterOptions const&);            \
    template int fractionalRadiusBlur<T, 1>(PluginHost_API*, QV_RasterInfo&, int, \
                                            BlurFilterOptions const&);
INSTANCES(unsigned char)
INSTANCES(unsigned short)
INSTANCES(float)

// The pixel loop of the growing blur: which levels a distance stands for, and the masked mix.
#include "Transform/Common/Transform_Core_Render/RampedBlurGrowing.h"

#include <algorithm>
#include <cmath>

#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurPyramid.h"

namespace {

/// Signed distance in pixels, linear over the image.
struct DistancePlane {
    double d0, dX, dY;

    explicit DistancePlane(QV_Line2D const& line)
        : d0(line.distance(0, 0)), dX(line.distance(1, 0) - d0), dY(line.distance(0, 1) - d0) {}
    double at(int x, int y) const { return x * dX + y * dY + d0; }
};

/// A level and how far it is to the next one, 0 to 1.
struct LevelPosition {
    int level;
    float t;
};

/// Levels by shifts in 16.16, so that no pixel takes a logarithm.
LevelPosition levelPosition(double fixed16) {
    constexpr int kOne = 0x10000;
    constexpr double kFar = 1 << 30;  // far past the last level
    int v = fixed16 < kFar ? static_cast<int>(std::max(fixed16, -kFar)) : 1 << 30;
    int level = 0, u = v;
    if (v > kOne) {
        for (; v > kOne; v >>= 1) ++level;
        u = 2 * v - kOne;
    }
    return {level, std::clamp(static_cast<float>(u) * 1.5258789e-05f, 0.0f, 1.0f)};
}

/// Alpha as a weight. Integer alpha above white counts as white, so that a product stays within
/// the channel type.
template <class T>
float opacity(T alpha, AlphaScale const& scale) {
    float const a = static_cast<float>(alpha) * scale.toOpacity;
    if constexpr (std::is_floating_point_v<T>)
        return a;
    else
        return std::min(a, 1.0f);
}

template <class T, int Count>
void blurPixel(BlurPyramid<T, Count> const& pyramid, LevelPosition at, int x, int y, float mask,
               T* out) {
    if (at.level >= pyramid.levels()) {
        for (int c = 0; c < Count; ++c) out[c] = T(0);
        return;
    }
    // Past the last level lies nothing: the blur fades out.
    T sharper[Count], softer[Count] = {};
    pyramid.sample(at.level, x, y, sharper);
    if (at.level < pyramid.levels() - 1) pyramid.sample(at.level + 1, x, y, softer);
    for (int c = 0; c < Count; ++c) {
        float const sample =
            static_cast<float>(sharper[c]) * (1.0f - at.t) + static_cast<float>(softer[c]) * at.t;
        out[c] = toChannel<T>(sample * mask);
    }
}

}  // namespace

template <class T, int Count>
int blurFromLine(PluginHost_API* host, QV_Line2D& line, float amount,
                 PluginHost_API::RasterInfo const& raster, int firstChannel,
                 AlphaScale const& alpha) {
    if (auto const* settings = static_cast<RenderSettings const*>(host->getUserData()))
        line.translate(settings->lineShiftX, settings->lineShiftY);
    const DistancePlane distance(line);
    if (!std::isfinite(amount) || std::fabs(amount) < 1e-5f || raster.width <= 0 ||
        raster.height <= 0)
        return 0;

    auto const image = channelPlane<T>(raster, firstChannel);
    BlurPyramid<T, Count> pyramid(host, image);
    if (!pyramid.build()) return 1;
    int const alphaStep = alpha.channel - firstChannel;
#pragma omp parallel for schedule(dynamic, 1)
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            double const d = distance.at(x, y);
            if (!(d >= 0.0)) continue;
            T* pixel = image.row(y).pixel(x);
            float const mask = opacity(pixel[alphaStep], alpha);
            if (mask == 0.0f) continue;
            blurPixel(pyramid, levelPosition(d * static_cast<double>(amount) * 65536.0), x, y, mask,
                      pixel);
        }
    }
    return 0;
}

#define INSTANCES(T)                                                                               \
    template int blurFromLine<T, 4>(PluginHost_API*, QV_Line2D&, float, QV_RasterInfo const&, int, \
                                    AlphaScale const&);                                            \
    template int blurFromLine<T, 1>(PluginHost_API*, QV_Line2D&, float, QV_RasterInfo const&, int, \
                                    AlphaScale const&);
INSTANCES(unsigned char)
INSTANCES(unsigned short)
INSTANCES(float)

// The rows of a fade.
#include "Transform/Common/Transform_Core_Render/ProgressiveBlurFade.h"

#include <cmath>
#include <optional>

namespace {

/// Factor of a row at height t; none where the row stays as it is.
std::optional<float> rowFactor(float t, FadeRamp const& ramp) {
    if (ramp.start >= t) return std::nullopt;
    if (t >= ramp.end) return 0.0f;
    float const extent = ramp.end - ramp.start;
    if (std::fabs(extent) < 1e-5f) return std::nullopt;
    float const k = 1.0f - (t - ramp.start) / extent;
    if (ramp.curve == kFadeCurveSquare) return k * k;
    return ramp.curve == kFadeCurveRoot ? std::sqrt(k) : k;
}

}  // namespace

template <class T, int Count>
void fadeRows(ChannelPlane<T> const& plane, FadeRamp const& ramp) {
    float const step = plane.height > 1 ? 1.0f / static_cast<float>(plane.height - 1) : 0.0f;
    forEachRow(plane.height, std::int64_t{4} * sizeof(T) * plane.width, [&](int y) {
        const std::optional<float> factor = rowFactor(1.0f - static_cast<float>(y) * step, ramp);
        if (!factor) return;
        for (int x = 0; x < plane.width; ++x) {
            T* pixel = plane.row(y).pixel(x);
            for (int c = 0; c < Count; ++c)
                pixel[c] = *factor == 0.0f ? T(0)  // whatever stood there, infinities too
                                           : toChannel<T>(static_cast<float>(pixel[c]) * *factor);
        }
    });
}

#define INSTANCES(T)                                                       \
    template void fadeRows<T, 4>(ChannelPlane<T> const&, FadeRamp const&); \
    template void fadeRows<T, 1>(ChannelPlane<T> const&, FadeRamp const&);
INSTANCES(unsigned char)
INSTANCES(unsigned short)
INSTANCES(float)

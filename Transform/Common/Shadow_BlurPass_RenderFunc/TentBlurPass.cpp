// The parallel loop over the lines of a tent blur pass, and the radius of a line under a ramp.
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurPass.h"

#include <algorithm>
#include <cmath>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/FractionalRadius.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurSimd.h"

namespace {

constexpr int kColumnsAtOnce = 16;

/// Radius of line i of `count`, not yet limited: kind 4 asks for more than the full one.
int rampedRadius(int i, int count, TentBlurPassOptions const& options) {
    // A single line is the first one: t = 1.
    float t = count > 1 ? 1.0f - static_cast<float>(i) / static_cast<float>(count - 1) : 1.0f;
    if (options.kind == kBlurKindSquareRamp) {
        t = t * t;
    } else if (options.kind == kBlurKindInverseSquareRamp) {
        float const square = t * t;
        t = std::fabs(square) < 1e-5f ? 0.0f : 1.0f / square;
    }
    return wholeRadius(t * static_cast<float>(options.radius));
}

bool leavesOut(TentBlurPassOptions const& options) {
    return options.kind == (options.vertical ? kBlurKindNoVertical : kBlurKindNoHorizontal);
}

}  // namespace

template <class T, int Count>
void tentBlurPass(ChannelPlane<T> const& source, ChannelPlane<T> const& dest,
                  TentBlurPassOptions const& options) {
    int const length = options.vertical ? source.height : source.width;
    int const count = options.vertical ? source.width : source.height;
    TentBlurPassOptions limited = options;
    limited.radius = limitedTentRadius(options.radius, length);
    if (limited.radius == 0 || leavesOut(options)) {
        copyPlane<T, Count>(source, dest);
        return;
    }
    // Columns of one radius go side by side.
    int const group = Count == 4 && limited.vertical && !limited.ramp ? kColumnsAtOnce : 1;
    bool const isLarge = isWorthATeam(count, std::int64_t{8} * sizeof(T) * length);
#pragma omp parallel for schedule(dynamic, 1) if (isLarge)
    for (int i = 0; i < count; i += group) {
        int const radius = limited.ramp ? rampedRadius(i, count, limited) : limited.radius;
        auto const from = source.line(i, limited.vertical), to = dest.line(i, limited.vertical);
        if constexpr (Count == 4)
            tentBlurLinesSimd(from, to, std::min(group, count - i), length, radius);
        else
            tentBlurLine<T, Count>(from, to, length, radius);
    }
}

#define INSTANCES(T)                                                                 \
    template void tentBlurPass<T, 4>(ChannelPlane<T> const&, ChannelPlane<T> const&, \
                                     TentBlurPassOptions const&);                    \
    template void tentBlurPass<T, 1>(ChannelPlane<T> const&, ChannelPlane<T> const&, \
                                     TentBlurPassOptions const&);
INSTANCES(unsigned char)
INSTANCES(unsigned short)
INSTANCES(float)

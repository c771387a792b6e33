// The parallel loop over the lines of a tent blur pass, and the radius of a line under a ramp.
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurPass.h"

#include <cmath>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/FractionalRadius.h"

namespace {

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
#pragma omp parallel for schedule(dynamic, 1)
    for (int i = 0; i < count; ++i) {
        int const radius = limited.ramp ? rampedRadius(i, count, limited) : limited.radius;
        tentBlurLine<T, Count>(source.line(i, limited.vertical), dest.line(i, limited.vertical),
                               length, radius);
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

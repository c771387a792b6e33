// Super sampled line functions: nine 4 by 4 samples around each pixel, at the offsets and with the
// weights of the settings. The weights are applied as they are: a sum other than 1 scales the
// image.
#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/PixelSampling.h"

namespace {

using namespace pixel_sampling;

/// Sums of the nine samples, four channels: each product in float, added up in double.
template <class T>
void sumSuperSamples(RenderSettings const& s, SourcePosition at, double (&sums)[4]) {
    for (double& sum : sums) sum = 0.0;
    for (int k = 0; k < kSuperSamples; ++k) {
        const SourcePosition moved = {static_cast<float>(at.u + s.ssOffsetX[k]),
                                      static_cast<float>(at.v + s.ssOffsetY[k])};
        auto const weight = static_cast<float>(s.ssWeight[k]);
        float sample[4];
        sample4x4<T, 4, Outside::kRepeatBorder>(s, moved, sample);
        for (int c = 0; c < 4; ++c) sums[c] += static_cast<double>(sample[c] * weight);
    }
}

}  // namespace

template <class T>
void LineFuncCP<T>::biCubicFunc_4x4_ss(void* settings, LineRenderStruct* line) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    forEachPixel<T, 4>(*line, [&s](SourcePosition at, T* out, int) {
        double sums[4];
        sumSuperSamples<T>(s, at, sums);
        for (int c = 0; c < 4; ++c) out[c] = roundThenLimit<T>(s, sums[c]);
    });
}

template <class T>
void LineFuncCP<T>::edgeBiCubicFunc_4x4_ss(void* settings, LineRenderStruct* line) {
    biCubicFunc_4x4_ss(settings, line);
    T* out = static_cast<T*>(line->dest);
    for (int i = 0; i < line->count; ++i, out += 4)
        for (int c = 0; c < 4; ++c) out[c] = coverRounding(out[c], line->coverage[i]);
}

#define ZELK_INSTANTIATE(T)                                                    \
    template void LineFuncCP<T>::biCubicFunc_4x4_ss(void*, LineRenderStruct*); \
    template void LineFuncCP<T>::edgeBiCubicFunc_4x4_ss(void*, LineRenderStruct*);
ZELK_INSTANTIATE(unsigned char)
ZELK_INSTANTIATE(unsigned short)
ZELK_INSTANTIATE(float)
#undef ZELK_INSTANTIATE

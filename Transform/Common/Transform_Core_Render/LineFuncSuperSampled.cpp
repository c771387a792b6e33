// Super sampled line functions: nine 4 by 4 samples around each pixel, at the offsets and with the
// weights of the settings. The weights are applied as they are: a sum other than 1 scales the
// image.
#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/PixelSampling.h"

using namespace pixel_sampling;

template <class T>
void LineFuncCP<T>::biCubicFunc_4x4_ss(void* settings, LineRenderStruct* line) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    forEachPixel<T, 4>(*line, [&s](SourcePosition at, T* out, int) {
        double sums[4];
        sampleSuperSampled<T, 4>(s, at, sums);
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

// Bilinear line functions: the interior of quality 1, and the edges of every filtered quality.
#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/PixelSampling.h"

namespace {

using namespace pixel_sampling;

template <class T, int C>
void bilinearRun(void* settings, LineRenderStruct* line) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    forEachPixel<T, C>(*line,
                       [&s](SourcePosition at, T* out, int) { sampleBilinear<T, C>(s, at, out); });
}

template <class T, int C, T (*Cover)(T, float)>
void coveredBilinearRun(void* settings, LineRenderStruct* line) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    float const* coverage = line->coverage;
    forEachPixel<T, C>(*line, [&s, coverage](SourcePosition at, T* out, int i) {
        sampleBilinear<T, C>(s, at, out);
        for (int c = 0; c < C; ++c) out[c] = Cover(out[c], coverage[i]);
    });
}

}  // namespace

template <class T>
void LineFuncCP<T>::bilinearFunc(void* settings, LineRenderStruct* line) {
    bilinearRun<T, 4>(settings, line);
}

template <class T>
void LineFuncCP<T>::bilinearFunc_1(void* settings, LineRenderStruct* line) {
    bilinearRun<T, 1>(settings, line);
}

template <class T>
void LineFuncCP<T>::edgeBilinearFunc(void* settings, LineRenderStruct* line) {
    coveredBilinearRun<T, 4, coverTruncating<T>>(settings, line);
}

template <class T>
void LineFuncCP<T>::edgeBilinearFunc_1(void* settings, LineRenderStruct* line) {
    coveredBilinearRun<T, 1, coverRounding<T>>(settings, line);
}

template <class T>
void LineFuncCP<T>::edge_noOp_edgeBilinearFunc_1(void* settings, LineRenderStruct* line) {
    bilinearRun<T, 1>(settings, line);
}

#define ZELK_INSTANTIATE(T)                                                    \
    template void LineFuncCP<T>::bilinearFunc(void*, LineRenderStruct*);       \
    template void LineFuncCP<T>::bilinearFunc_1(void*, LineRenderStruct*);     \
    template void LineFuncCP<T>::edgeBilinearFunc(void*, LineRenderStruct*);   \
    template void LineFuncCP<T>::edgeBilinearFunc_1(void*, LineRenderStruct*); \
    template void LineFuncCP<T>::edge_noOp_edgeBilinearFunc_1(void*, LineRenderStruct*);
ZELK_INSTANTIATE(unsigned char)
ZELK_INSTANTIATE(unsigned short)
ZELK_INSTANTIATE(float)
#undef ZELK_INSTANTIATE

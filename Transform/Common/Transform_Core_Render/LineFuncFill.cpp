// Fill line functions: the polygon's shape as alpha, without sampling the source.
#include <algorithm>

#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/PixelSampling.h"

namespace {

using namespace pixel_sampling;

RenderSettings const& settingsOf(void* settings) {
    return *static_cast<RenderSettings const*>(settings);
}

/// First value of the run; only the plain scan has pixels to skip.
template <class T>
T* firstValue(LineRenderStruct const& line, int channels) {
    return static_cast<T*>(line.dest) + static_cast<std::ptrdiff_t>(line.skipLeft) * channels;
}

/// Multiplies every `stride`-th value by its pixel's coverage.
template <class T>
void coverValues(T* value, int stride, LineRenderStruct const& line) {
    for (int i = 0; i < line.count; ++i, value += stride)
        *value = coverRounding(*value, line.coverage[i]);
}

}  // namespace

template <class T>
void LineFuncCP<T>::fillPolygonFunc(void* settings, LineRenderStruct* line) {
    if (line->count < 1) return;
    RenderSettings const& s = settingsOf(settings);
    T* alpha = firstValue<T>(*line, 4) + s.alphaOffset;
    for (int i = 0; i < line->count; ++i, alpha += 4) *alpha = static_cast<T>(s.maxValue);
    advance(*line);
}

template <class T>
void LineFuncCP<T>::fillPolygonFunc_1(void* settings, LineRenderStruct* line) {
    if (line->count < 1) return;
    std::fill_n(firstValue<T>(*line, 1), line->count,
                static_cast<T>(settingsOf(settings).maxValue));
    advance(*line);
}

template <class T>
void LineFuncCP<T>::edgePolygonFunc(void* settings, LineRenderStruct* line) {
    fillPolygonFunc(settings, line);
    coverValues(firstValue<T>(*line, 4) + settingsOf(settings).alphaOffset, 4, *line);
}

template <class T>
void LineFuncCP<T>::edgePolygonFunc_1(void* settings, LineRenderStruct* line) {
    fillPolygonFunc_1(settings, line);
    coverValues(firstValue<T>(*line, 1), 1, *line);
}

#define ZELK_INSTANTIATE(T)                                                   \
    template void LineFuncCP<T>::fillPolygonFunc(void*, LineRenderStruct*);   \
    template void LineFuncCP<T>::fillPolygonFunc_1(void*, LineRenderStruct*); \
    template void LineFuncCP<T>::edgePolygonFunc(void*, LineRenderStruct*);   \
    template void LineFuncCP<T>::edgePolygonFunc_1(void*, LineRenderStruct*);
ZELK_INSTANTIATE(unsigned char)
ZELK_INSTANTIATE(unsigned short)
ZELK_INSTANTIATE(float)
#undef ZELK_INSTANTIATE

// Kernel table line functions: 4 by 4 taps, and any number of taps.
//
// The two families differ in what they read outside the source and in how they round; see
// LineFuncCP.h and PixelSampling.h.
#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/PixelSampling.h"

namespace {

using namespace pixel_sampling;

/// Coverage of pixel i, or none.
struct NoCoverage {
    float apply(float sum, int) const { return sum; }
};
struct RunCoverage {
    float const* values;
    float apply(float sum, int i) const { return sum * values[i]; }
};

template <class T, int C, Outside Policy, class Coverage>
void run4x4(void* settings, LineRenderStruct* line, Coverage coverage) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    forEachPixel<T, C>(*line, [&s, coverage](SourcePosition at, T* out, int i) {
        float sum[C];
        sample4x4<T, C, Policy>(s, at, sum);
        for (int c = 0; c < C; ++c) out[c] = roundThenLimit<T>(s, coverage.apply(sum[c], i));
    });
}

template <class T, int C, class Coverage>
void runTaps(void* settings, LineRenderStruct* line, Coverage coverage) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    forEachPixel<T, C>(*line, [&s, coverage](SourcePosition at, T* out, int i) {
        float sum[C];
        sampleTaps<T, C>(s, at, sum);
        for (int c = 0; c < C; ++c) out[c] = limitThenRound<T>(s, coverage.apply(sum[c], i));
    });
}

}  // namespace

template <class T>
void LineFuncCP<T>::biCubicFunc(void* settings, LineRenderStruct* line) {
    runTaps<T, 4>(settings, line, NoCoverage{});
}

template <class T>
void LineFuncCP<T>::biCubicFunc_1(void* settings, LineRenderStruct* line) {
    runTaps<T, 1>(settings, line, NoCoverage{});
}

template <class T>
void LineFuncCP<T>::biCubicFunc_4x4(void* settings, LineRenderStruct* line) {
    run4x4<T, 4, Outside::kRepeatBorder>(settings, line, NoCoverage{});
}

template <class T>
void LineFuncCP<T>::biCubicFunc_4x4_1(void* settings, LineRenderStruct* line) {
    run4x4<T, 1, Outside::kBlack>(settings, line, NoCoverage{});
}

template <class T>
void LineFuncCP<T>::edge_biCubicFunc(void* settings, LineRenderStruct* line) {
    runTaps<T, 4>(settings, line, RunCoverage{line->coverage});
}

template <class T>
void LineFuncCP<T>::edge_biCubicFunc_1(void* settings, LineRenderStruct* line) {
    runTaps<T, 1>(settings, line, RunCoverage{line->coverage});
}

template <class T>
void LineFuncCP<T>::edge_biCubicFunc_4x4(void* settings, LineRenderStruct* line) {
    run4x4<T, 4, Outside::kRepeatBorder>(settings, line, RunCoverage{line->coverage});
}

template <class T>
void LineFuncCP<T>::edge_biCubicFunc_4x4_1(void* settings, LineRenderStruct* line) {
    run4x4<T, 1, Outside::kBlack>(settings, line, RunCoverage{line->coverage});
}

template <class T>
void LineFuncCP<T>::edge_noOp_edge_biCubicFunc_1(void* settings, LineRenderStruct* line) {
    biCubicFunc_1(settings, line);
}

template <class T>
void LineFuncCP<T>::edge_noOp_biCubicFunc_4x4_1(void* settings, LineRenderStruct* line) {
    biCubicFunc_4x4_1(settings, line);
}

#define ZELK_INSTANTIATE(T)                                                              \
    template void LineFuncCP<T>::biCubicFunc(void*, LineRenderStruct*);                  \
    template void LineFuncCP<T>::biCubicFunc_1(void*, LineRenderStruct*);                \
    template void LineFuncCP<T>::biCubicFunc_4x4(void*, LineRenderStruct*);              \
    template void LineFuncCP<T>::biCubicFunc_4x4_1(void*, LineRenderStruct*);            \
    template void LineFuncCP<T>::edge_biCubicFunc(void*, LineRenderStruct*);             \
    template void LineFuncCP<T>::edge_biCubicFunc_1(void*, LineRenderStruct*);           \
    template void LineFuncCP<T>::edge_biCubicFunc_4x4(void*, LineRenderStruct*);         \
    template void LineFuncCP<T>::edge_biCubicFunc_4x4_1(void*, LineRenderStruct*);       \
    template void LineFuncCP<T>::edge_noOp_edge_biCubicFunc_1(void*, LineRenderStruct*); \
    template void LineFuncCP<T>::edge_noOp_biCubicFunc_4x4_1(void*, LineRenderStruct*);
ZELK_INSTANTIATE(unsigned char)
ZELK_INSTANTIATE(unsigned short)
ZELK_INSTANTIATE(float)
#undef ZELK_INSTANTIATE

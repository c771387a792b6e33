// The vector twin of LineFuncKernel.cpp: interior runs of four channels and of one, 4 by 4 taps and
// 6, 8 or 10 a side. Any other number of taps goes to the scalar function.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/LineFuncKernel_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/LineFuncKernel-inl.h"
#include "Transform/Common/Transform_Core_Render/LineFuncSlots.h"

HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

#if ZELK_LINE_FUNC_SCALAR

template <class T>
void kernel4x4(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc_4x4(settings, line);
}
template <class T>
void kernel4x4Plane(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc_4x4_1(settings, line);
}
template <class T>
void kernelTaps(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc(settings, line);
}
template <class T>
void kernelTapsPlane(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc_1(settings, line);
}

#else

template <class T, int C>
HWY_INLINE void runTaps(void* settings, LineRenderStruct* line, QV_LineFunc otherwise) {
    switch (static_cast<RenderSettings const*>(settings)->taps) {
        case 6:
            return run<T, Kernel<T, C, 6> >(settings, line);
        case 8:
            return run<T, Kernel<T, C, 8> >(settings, line);
        case 10:
            return run<T, Kernel<T, C, 10> >(settings, line);
        default:
            otherwise(settings, line);
    }
}

template <class T>
void kernel4x4(void* settings, LineRenderStruct* line) {
    run<T, Kernel<T, 4, 4> >(settings, line);
}
template <class T>
void kernel4x4Plane(void* settings, LineRenderStruct* line) {
    run<T, Kernel<T, 1, 4> >(settings, line);
}
template <class T>
void kernelTaps(void* settings, LineRenderStruct* line) {
    runTaps<T, 4>(settings, line, LineFuncCP<T>::biCubicFunc);
}
template <class T>
void kernelTapsPlane(void* settings, LineRenderStruct* line) {
    runTaps<T, 1>(settings, line, LineFuncCP<T>::biCubicFunc_1);
}

#endif  // ZELK_LINE_FUNC_SCALAR

ZELK_PLAIN_FUNCTIONS(kernel4x4)
ZELK_PLAIN_FUNCTIONS(kernel4x4Plane)
ZELK_PLAIN_FUNCTIONS(kernelTaps)
ZELK_PLAIN_FUNCTIONS(kernelTapsPlane)
char const* targetName() { return hwy::TargetName(HWY_TARGET); }

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace line_simd {
HWY_EXPORT(targetName);
}  // namespace line_simd

#define ZELK_SETTINGS_TAPS static_cast<RenderSettings const*>(settings)->taps
ZELK_SLOT(biCubicFunc_4x4, 4, kernel4x4)
ZELK_SLOT(biCubicFunc_4x4_1, 4, kernel4x4Plane)
ZELK_SLOT(biCubicFunc, ZELK_SETTINGS_TAPS, kernelTaps)
ZELK_SLOT(biCubicFunc_1, ZELK_SETTINGS_TAPS, kernelTapsPlane)
#undef ZELK_SETTINGS_TAPS

char const* lineFuncSimdTarget() { return HWY_DYNAMIC_DISPATCH(line_simd::targetName)(); }
#endif  // HWY_ONCE

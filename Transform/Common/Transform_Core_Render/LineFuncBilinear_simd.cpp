// The vector twin of LineFuncBilinear.cpp: interior runs of four channels, two pixels at once, and
// of one channel.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/LineFuncBilinear_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncBilinear-inl.h"
#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/LineFuncSlots.h"

HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

#if ZELK_LINE_FUNC_SCALAR

template <class T>
void bilinear(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::bilinearFunc(settings, line);
}
template <class T>
void bilinearPlane(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::bilinearFunc_1(settings, line);
}

#else

template <class T>
void bilinear(void* settings, LineRenderStruct* line) {
    run<T, Bilinear<T> >(settings, line);
}
template <class T>
void bilinearPlane(void* settings, LineRenderStruct* line) {
    run<T, BilinearPlane<T> >(settings, line);
}

#endif  // ZELK_LINE_FUNC_SCALAR

ZELK_PLAIN_FUNCTIONS(bilinear)
ZELK_PLAIN_FUNCTIONS(bilinearPlane)

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
ZELK_SLOT(bilinearFunc, 2, bilinear)
ZELK_SLOT(bilinearFunc_1, 2, bilinearPlane)
#endif  // HWY_ONCE

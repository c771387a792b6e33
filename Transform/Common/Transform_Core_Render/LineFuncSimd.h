// LineFuncSimd<T>: vector twins of the members of LineFuncCP<T> that a render samples with, and
// that of nearest neighbour. The contract is that of LineFuncCP.h, to the bit: the scalar member is
// the truth.
//
// Each picks, at run time, the widest instruction set that this processor and Highway share. Where
// there is none, or the source is smaller than one sample, it is the scalar member itself.
#pragma once

#include "Transform/Common/RenderRecords.h"

/// T is unsigned char, unsigned short or float.
template <class T>
class LineFuncSimd {
public:
    static void bilinearFunc(void* settings, LineRenderStruct* line);
    static void bilinearFunc_1(void* settings, LineRenderStruct* line);
    static void edgeBilinearFunc(void* settings, LineRenderStruct* line);
    static void edgeBilinearFunc_1(void* settings, LineRenderStruct* line);
    static void biCubicFunc(void* settings, LineRenderStruct* line);
    static void biCubicFunc_1(void* settings, LineRenderStruct* line);
    static void biCubicFunc_4x4(void* settings, LineRenderStruct* line);
    static void biCubicFunc_4x4_1(void* settings, LineRenderStruct* line);
    static void biCubicFunc_4x4_ss(void* settings, LineRenderStruct* line);
    static void edgeBiCubicFunc_4x4_ss(void* settings, LineRenderStruct* line);
};

/// The vector twin of lineFunc, nearest neighbour.
void lineFuncSimd(void* settings, LineRenderStruct* line);

/// Highway's name of the instruction set that runs now, such as "AVX2"; "EMU128" and "SCALAR" stand
/// for the scalar members.
char const* lineFuncSimdTarget();

namespace line_simd {

/// Whether a sample of `taps` a side, from the first pixel on, lies within the source.
inline bool hasRoom(void const* settings, int taps) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    return s.srcMinX >= 0 && s.srcMinY >= 0 && s.srcMaxX - s.srcMinX >= taps - 1 &&
           s.srcMaxY - s.srcMinY >= taps - 1;
}

}  // namespace line_simd

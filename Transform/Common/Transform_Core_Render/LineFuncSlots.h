// From a function template of a vector twin, over the channel type, to members of LineFuncSimd.
#pragma once

#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/LineFuncSimd.h"

// clang-format off
/// The plain functions that run-time dispatch wants, inside line_simd::HWY_NAMESPACE.
#define ZELK_PLAIN_FUNCTIONS(function)                                                              \
    void function##_8(void* s, LineRenderStruct* line) { function<unsigned char>(s, line); }        \
    void function##_16(void* s, LineRenderStruct* line) { function<unsigned short>(s, line); }      \
    void function##_float(void* s, LineRenderStruct* line) { function<float>(s, line); }
// clang-format on

/// The three members, outside of all namespaces and once. A source smaller than one sample of
/// `taps` a side goes to the scalar member.
#define ZELK_SLOT(member, taps, function)                     \
    ZELK_SLOT_OF(unsigned char, member, taps, function##_8)   \
    ZELK_SLOT_OF(unsigned short, member, taps, function##_16) \
    ZELK_SLOT_OF(float, member, taps, function##_float)

#define ZELK_SLOT_OF(T, member, taps, function)                            \
    namespace line_simd {                                                  \
    HWY_EXPORT(function);                                                  \
    }                                                                      \
    template <>                                                            \
    void LineFuncSimd<T>::member(void* settings, LineRenderStruct* line) { \
        if (line_simd::hasRoom(settings, taps))                            \
            HWY_DYNAMIC_DISPATCH(line_simd::function)(settings, line);     \
        else                                                               \
            LineFuncCP<T>::member(settings, line);                         \
    }

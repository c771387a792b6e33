// LineFuncCP<T>: the line functions of one channel type, unsigned char, unsigned short or float.
//
// Contract of every member: the first argument is the RenderSettings, read only; a run whose count
// is below 1 is left untouched; otherwise `count` pixels are written from `dest` on and x, y, w
// advance by count steps, so that the next run of the row goes on from the same record. Members may
// run on several threads at once on records of their own. They cannot fail.
//
//   no suffix      four interleaved channels     _4x4   4 by 4 taps; others read `taps`
//   _1             one channel a pixel           _ss    nine samples a pixel
//   edge, edge_    multiplied by `coverage`      edge_noOp_  coverage ignored
//
// Outside the source: bilinear members, biCubicFunc_4x4 and the _ss members repeat the border;
// biCubicFunc, biCubicFunc_1 and biCubicFunc_4x4_1 read black.
#pragma once

#include "Transform/Common/RenderRecords.h"

template <class T>
class LineFuncCP {
public:
    // Fill: `maxValue` into the alpha channel, or into every value; nothing is sampled.
    static void fillPolygonFunc(void* settings, LineRenderStruct* line);
    static void fillPolygonFunc_1(void* settings, LineRenderStruct* line);
    static void edgePolygonFunc(void* settings, LineRenderStruct* line);
    static void edgePolygonFunc_1(void* settings, LineRenderStruct* line);

    static void bilinearFunc(void* settings, LineRenderStruct* line);
    static void bilinearFunc_1(void* settings, LineRenderStruct* line);
    /// Integer types truncate the product with coverage ...
    static void edgeBilinearFunc(void* settings, LineRenderStruct* line);
    /// ... and here round it.
    static void edgeBilinearFunc_1(void* settings, LineRenderStruct* line);
    static void edge_noOp_edgeBilinearFunc_1(void* settings, LineRenderStruct* line);

    static void biCubicFunc(void* settings, LineRenderStruct* line);
    static void biCubicFunc_1(void* settings, LineRenderStruct* line);
    static void biCubicFunc_4x4(void* settings, LineRenderStruct* line);
    static void biCubicFunc_4x4_1(void* settings, LineRenderStruct* line);
    // Coverage multiplies the sum of taps, before it is rounded and limited.
    static void edge_biCubicFunc(void* settings, LineRenderStruct* line);
    static void edge_biCubicFunc_1(void* settings, LineRenderStruct* line);
    static void edge_biCubicFunc_4x4(void* settings, LineRenderStruct* line);
    static void edge_biCubicFunc_4x4_1(void* settings, LineRenderStruct* line);
    static void edge_noOp_edge_biCubicFunc_1(void* settings, LineRenderStruct* line);
    static void edge_noOp_biCubicFunc_4x4_1(void* settings, LineRenderStruct* line);

    /// Nine 4 by 4 samples at the pattern of the settings, summed in double.
    static void biCubicFunc_4x4_ss(void* settings, LineRenderStruct* line);
    static void edgeBiCubicFunc_4x4_ss(void* settings, LineRenderStruct* line);
};

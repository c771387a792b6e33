// The numbered filter list and the weight table that turns a kernel into 256 rows of taps.
//
// Row p stands for the signed fraction 2 p / 255 - 1 of a source coordinate. The taps of a row span
// three kernel units, from -1 to 2, whatever their number: more taps stretch the kernel over more
// source pixels. Rows are normalised to a sum of 1 and packed N floats apart.
//
// Spread so, more than four taps stand over their pixels at fraction 1/2 alone, and a picture jumps
// by (N - 4) / 3 pixels from the end of a source pixel to the start of the next. A kernel of
// ResampleOptions is stretched as much about the sample's own position instead.
//
//  0 box       4 catrom   8 rifman    12 lanczos3  16 sinc      20 mitchell
//  1 triangle  5 cubic    9 parzen    13 gaussian  17 hanning   21 kaiser
//  2 triangle  6 keys    10 lanczos   14 normal    18 hamming
//  3 quadratic 7 simon   11 lanczos2  15 bessel    19 blackman
#pragma once

#include "Transform/Common/RenderRecords.h"

constexpr int kFilterCount = 22;
/// Asks for the super sampled line functions; no entry of the list.
constexpr int kFilterSuperSampled = 22;
/// These two are not looked up in the list but choose the nearest and the bilinear functions.
constexpr int kFilterNearest = 0;
constexpr int kFilterBilinear = 1;
constexpr int kFilterParzen = 9;
constexpr int kFilterMitchell = 20;
constexpr int kFilterKaiser = 21;

/// The kernel of a number; null above 21.
QV_KernelFunc getInterpLineFunc(int filter);

/// Chooses `taps` for a size index (0 to 3: 4, 6, 8, 10 taps) at a render scale (1.0 is full
/// resolution). A scale too small for the index sets `taps` to 1 and `quality` to 0: the render
/// falls to nearest neighbour.
void setKernelTransformSize(RenderSettings* settings, int sizeIndex, float scale);

/// Sets up kernels and parameters for one render and, when `buildTable`, fills the table.
/// `paramB` and `paramC` are B and C of filter_mitchell; `paramB` is alpha of filter_kaiser,
/// limited to -700..700, where the window's I0 is finite. `filter` and `sharpenFilter` are numbers
/// from 0 to 21.
void setInterpLineFunc(RenderSettings* settings, double paramB, double paramC, int filter,
                       bool sharpen, int sharpenFilter, double sharpenMix, bool sharpenClamp,
                       double sharpenParamB, double sharpenParamC, double sharpenAmount,
                       bool clampNegative, bool buildTable);

/// Fills `lut` from `kernelFunc`, with `taps` weights a row, at least 4 and at most 32. Negative
/// weights become 0 first when `clampNegative`. A row whose weights sum to less than 1e-5 in
/// magnitude stays as it is.
void calculateLut(RenderSettings* settings, bool clampNegative);

/// The seven coefficients of filter_mitchell for B and C.
void mitchell_init(double* coefficients, double B, double C);

/// The super sampling pattern for callers who have none of their own: nine offsets on a 3 by 3
/// grid over one source pixel, at -1/3, 0 and 1/3 along each axis, row by row, each of weight 1/9.
void setDefaultSuperSamplePattern(RenderSettings* settings);

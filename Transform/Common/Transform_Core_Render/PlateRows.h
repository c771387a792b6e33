// Laying a rendered row over a plate of its own: a picture in a frame of another size has no source
// layer to lie over.
//
// Float pixels, colour associated on both sides and in the result. Normal is
//
//   c = f + p (1 - a)       of each channel; f alone where a is 1 but for the rounding of weights
//
// Other modes blend straight colour by the transfer modes' own arithmetic; where `pixels` are
// transparent the plate stays as it is.
#pragma once

/// What the rounding of weights may leave of an opaque layer's alpha: eight products of weights and
/// as many sums, each within 2^-24.
constexpr float kWeightRounding = 0x1p-20f;

/// Normal, with alpha at channel 0 or 3 of both. The result is in `pixels`. Safe on any thread. The
/// scalar form is the truth; the other one has its bits.
void layOverPlateNormally(float* pixels, float const* plate, int width, int alpha);
void layOverPlateNormallyScalar(float* pixels, float const* plate, int width, int alpha);

/// `mode` is a PF_Xfer_* number that has a mode; alpha comes first.
void layOverPlate(float* pixels, float const* plate, int width, int mode);

// Rows of Premult and UnPremult in vector code, with the bits of Premult.h's scalar arithmetic.
#pragma once

/// Multiplies the colour of `count` packed pixels by their alpha, which is channel 0 or 3 of four,
/// or divides it. T is unsigned char, unsigned short with white at 32768, or float. Safe on any
/// thread.
template <class T>
void premultRowSimd(T* pixels, int count, int alpha, bool divides);

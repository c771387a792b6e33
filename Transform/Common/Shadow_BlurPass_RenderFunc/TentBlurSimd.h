// The tent blur of lines of four channels in vector code, with the bits of TentBlurLine.cpp, and
// the mix of two radii with those of FractionalRadius.
//
// T is unsigned char, unsigned short or float. Safe on any thread.
#pragma once

#include "Transform/Common/Shadow_BlurPass_RenderFunc/ChannelPlane.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/FractionalRadius.h"

/// Blurs `count` lines that stand side by side: a row, whose pixels follow each other, or columns,
/// whose pixels are a row apart. As tentBlurLine does each.
template <class T>
void tentBlurLinesSimd(ChannelLine<T> source, ChannelLine<T> dest, int count, int length,
                       int radius);

/// larger = smaller g + larger f over `channels` packed channels; see FractionalRadius.
template <class T>
void mixRowSimd(T const* smaller, T* larger, int channels, FractionalRadius const& radius);

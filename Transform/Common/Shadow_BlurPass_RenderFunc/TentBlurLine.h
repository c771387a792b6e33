// The tent blur of one line of pixels, at a cost that does not depend on the radius.
//
// The kernel of whole radius R has the weight (n - |d|) / n^2 at offset d, n = R + 1; a pixel
// beyond an end of the line has the value of the end pixel. Per channel, with S the weighted sum
// times n^2 and D its slope, both double:
//
//   out(i) = S (1 / n^2),  S += D,  D += p(i + R + 2) - 2 p(i + 1) + p(i - R)
//
// Drift. Integer channels have none: every sum is a whole number far below 2^53. On a float line
// of L pixels of magnitude M at most, roundings in D add up linearly and in S quadratically; out(i)
// is off by at most
//
//   M 2^-53 (3 + n + L (3 + 2/n) + L^2 (7 + 2n) / (2 n^2))
//
// beside the narrowing to float. At L = 16,000 that is 3.9e-8 M for R = 1, below the half unit
// 6.0e-8 M of a float of magnitude M, and falls with the radius: 2.9e-10 M for R = 99. It is
// relative to the line's largest value: a dark stretch after a very bright one carries the bright
// one's error.
#pragma once

#include "Transform/Common/Shadow_BlurPass_RenderFunc/ChannelPlane.h"

/// The radius that a line of `length` pixels takes: where 2 radius + 2 reaches the length it is
/// (length >> 1) - 2. 0 stands for no blur: also for negative radii, and for lines of 4 pixels or
/// fewer at any radius.
int limitedTentRadius(int radius, int length);

/// Blurs `Count` channels of `length` pixels from `source` to `dest`, which must not overlap. The
/// radius is limited as above; at 0 the line is copied. Instances: Count 4 and 1 of each channel
/// type.
template <class T, int Count>
void tentBlurLine(ChannelLine<T> source, ChannelLine<T> dest, int length, int radius);

/// One pass along one packed line of four-channel pixels, as tentBlurLine does it.
template <class Trait, class Channel, class Wide, class Weight, class Format>
void LineTentBlurPass_RGBA(Channel* source, Channel* dest, int length, int radius) {
    tentBlurLine<Channel, kChannelsPerPixel>({source, kChannelsPerPixel}, {dest, kChannelsPerPixel},
                                             length, radius);
}

// Normal by itself, other modes by the transfer modes' rows; see PlateRows.h.
#include "Transform/Common/Transform_Core_Render/PlateRows.h"

#include <algorithm>
#include <cmath>

#include "Transform/Common/Transform_Core_Render/TransferModes.h"

namespace {

constexpr int kNormal = 2;  ///< number of the mode

/// Colour without alpha stays as it is, both ways.
void makeStraight(float const* pixel, float* straight) {
    float const divisor = pixel[0] == 0 ? 1 : pixel[0];
    straight[0] = pixel[0];
    for (int c = 1; c < 4; ++c) straight[c] = pixel[c] / divisor;
}

void layByMode(float* pixel, float const* plate, int width, BlendRow<PIXEL_ARGB32> blend) {
    constexpr int kAtOnce = 128;  // pixels
    float front[4 * kAtOnce], back[4 * kAtOnce];
    for (int left = 0; left < width; left += kAtOnce) {
        int const channels = 4 * std::min(kAtOnce, width - left);
        for (int i = 0; i < channels; i += 4) {
            makeStraight(pixel + i, front + i);
            makeStraight(plate + i, back + i);
        }
        blend(front, back, back, channels / 4, {});
        for (int i = 0; i < channels; i += 4) {
            float const* const result = pixel[i] == 0 ? plate + i : back + i;
            float const factor = pixel[i] == 0 || result[0] == 0 ? 1 : result[0];
            pixel[i] = result[0];
            for (int c = 1; c < 4; ++c) pixel[i + c] = result[c] * factor;
        }
        pixel += channels, plate += channels;
    }
}

}  // namespace

void layOverPlateNormallyScalar(float* pixel, float const* plate, int width, int alpha) {
    for (; width > 0; --width, pixel += 4, plate += 4) {
        float const rest = 1.0f - pixel[alpha];
        // Nothing of a hidden plate counts, not even infinity times 0, and what hides it is opaque.
        if (std::fabs(rest) <= kWeightRounding) {
            pixel[alpha] = 1;
            continue;
        }
        for (int c = 0; c < 4; ++c) pixel[c] += plate[c] * rest;
    }
}

void layOverPlate(float* pixels, float const* plate, int width, int mode) {
    if (mode == kNormal)
        layOverPlateNormally(pixels, plate, width, 0);
    else
        layByMode(pixels, plate, width, blendRowOfMode<PIXEL_ARGB32>(mode));
}

// Points of a host's panel and of the layer in it: the effect's overlay and its mouse work in whole
// pixels, the host in 16.16.
//
// Order of corners here: upper left, lower left, upper right, lower right.
#pragma once

#include <array>

#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/SaturatingCast.h"
#include "params/ParamIndex.h"
#include "platform/effect_api/effect_events.h"

/// Parameter indices of a quad's four pins.
using PinIndices = std::array<int, 4>;
constexpr PinIndices kToPins = {kParamToUpperLeft, kParamToLowerLeft, kParamToUpperRight,
                                kParamToLowerRight};
constexpr PinIndices kFromPins = {kParamFromUpperLeft, kParamFromLowerLeft, kParamFromUpperRight,
                                  kParamFromLowerRight};

/// `mode` is an OverlayModeEntry.
constexpr bool showsFromPins(int mode) { return mode == kShowFromPins || mode == kShowBothPins; }
constexpr bool showsToPins(int mode) { return mode == kShowToPins || mode == kShowBothPins; }

/// The pixel that a 16.16 number lies in: rounds toward minus infinity.
constexpr int wholePart(PF_Fixed fixed) { return fixed >> 16; }

/// A whole number as 16.16; beyond its 16 bits, the nearest that it has.
constexpr PF_Fixed fixedOfWhole(int whole) { return saturatingInt16(whole) * 65536; }

/// Moves by whole pixels and keeps the fraction; the whole part stays within 16 bits.
constexpr PF_Fixed movedBy(PF_Fixed fixed, int pixels) {
    int const fraction = fixed & 0xFFFF;
    return fixedOfWhole(wholePart(fixed) + pixels) + fraction;
}

/// The panel shows a composition.
inline bool isCompPanel(PF_EventExtra const& extra) {
    return (*extra.contextH)->w_type == PF_Window_COMP;
}

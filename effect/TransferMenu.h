// The Transfer Mode menu as the host's mode numbers.
//
// The menu's positions count its separators, which stand for Normal, as does any position that the
// menu doesn't have.
#pragma once

#include <array>
#include <cstddef>

#include "platform/effect_api/effect_types.h"

constexpr int kTransferNone = 0;  ///< first entry: the transform alone, nothing under it

/// Mode number of a menu position counted from 0. "None" has no mode of its own.
constexpr A_long transferModeOfEntry(int entry) {
    constexpr std::array<A_long, 23> kXfer = {
        PF_Xfer_IN_FRONT,     // None
        PF_Xfer_BEHIND,       //
        PF_Xfer_IN_FRONT,     // Normal
        PF_Xfer_IN_FRONT,     // separator
        PF_Xfer_ADD,          //
        PF_Xfer_MULTIPLY,     //
        PF_Xfer_SCREEN,       //
        PF_Xfer_OVERLAY,      //
        PF_Xfer_SOFT_LIGHT,   //
        PF_Xfer_HARD_LIGHT,   //
        PF_Xfer_IN_FRONT,     // separator
        PF_Xfer_COLOR_DODGE,  //
        PF_Xfer_COLOR_BURN,   //
        PF_Xfer_IN_FRONT,     // separator
        PF_Xfer_DARKEN,       //
        PF_Xfer_LIGHTEN,      //
        PF_Xfer_DIFFERENCE,   //
        PF_Xfer_EXCLUSION,    //
        PF_Xfer_IN_FRONT,     // separator
        PF_Xfer_HUE,          //
        PF_Xfer_SATURATION,   //
        PF_Xfer_COLOR,        //
        PF_Xfer_LUMINOSITY,
    };
    const bool known = entry >= 0 && static_cast<std::size_t>(entry) < kXfer.size();
    return known ? kXfer[static_cast<std::size_t>(entry)] : A_long{PF_Xfer_IN_FRONT};
}

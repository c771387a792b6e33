// The words of how a layer is laid over a plate.
#pragma once

#include <string_view>

#include "platform/effect_api/effect_types.h"
#include "zelk/text/choices.h"

namespace zelk {

/// How the pinned layer is laid over a plate, as PF_Xfer_* numbers.
inline constexpr Choice<int> kOverModes[] = {
    {"normal", PF_Xfer_IN_FRONT},
    {"behind", PF_Xfer_BEHIND},
    {"add", PF_Xfer_ADD},
    {"multiply", PF_Xfer_MULTIPLY},
    {"screen", PF_Xfer_SCREEN},
    {"overlay", PF_Xfer_OVERLAY},
    {"soft-light", PF_Xfer_SOFT_LIGHT},
    {"hard-light", PF_Xfer_HARD_LIGHT},
    {"color-dodge", PF_Xfer_COLOR_DODGE},
    {"color-burn", PF_Xfer_COLOR_BURN},
    {"darken", PF_Xfer_DARKEN},
    {"lighten", PF_Xfer_LIGHTEN},
    {"difference", PF_Xfer_DIFFERENCE},
    {"exclusion", PF_Xfer_EXCLUSION},
    {"hue", PF_Xfer_HUE},
    {"saturation", PF_Xfer_SATURATION},
    {"color", PF_Xfer_COLOR},
    {"luminosity", PF_Xfer_LUMINOSITY},
};

constexpr std::string_view overModeWord(int mode) {
    for (Choice<int> const& choice : kOverModes)
        if (choice.value == mode) return choice.word;
    return {};
}

}  // namespace zelk

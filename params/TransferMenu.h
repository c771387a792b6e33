// The Transfer Mode menu: its entries, and the host's mode number of each.
//
// The menu's positions count its separators, which stand for Normal, as does any position that the
// menu doesn't have.
#pragma once

#include <cstddef>
#include <iterator>
#include <string_view>

#include "Transform/Common/PopupEntries.h"
#include "platform/effect_api/effect_types.h"

struct TransferMenuEntry {
    std::string_view name;
    A_long mode;
};

constexpr TransferMenuEntry kTransferMenuSeparator = {"(-", PF_Xfer_IN_FRONT};
constexpr TransferMenuEntry kTransferMenu[] = {
    {"None", PF_Xfer_IN_FRONT},  // kTransferNone, which has no mode of its own
    {"Behind", PF_Xfer_BEHIND},
    {"Normal", PF_Xfer_IN_FRONT},
    kTransferMenuSeparator,
    {"Add", PF_Xfer_ADD},
    {"Multiply", PF_Xfer_MULTIPLY},
    {"Screen", PF_Xfer_SCREEN},
    {"Overlay", PF_Xfer_OVERLAY},
    {"Soft Light", PF_Xfer_SOFT_LIGHT},
    {"Hard Light", PF_Xfer_HARD_LIGHT},
    kTransferMenuSeparator,
    {"Color Dodge", PF_Xfer_COLOR_DODGE},
    {"Color Burn", PF_Xfer_COLOR_BURN},
    kTransferMenuSeparator,
    {"Darken", PF_Xfer_DARKEN},
    {"Lighten", PF_Xfer_LIGHTEN},
    {"Difference", PF_Xfer_DIFFERENCE},
    {"Exclusion", PF_Xfer_EXCLUSION},
    kTransferMenuSeparator,
    {"Hue", PF_Xfer_HUE},
    {"Saturation", PF_Xfer_SATURATION},
    {"Color", PF_Xfer_COLOR},
    {"Luminosity", PF_Xfer_LUMINOSITY},
};

/// Mode number of a menu position counted from 0.
constexpr A_long transferModeOfEntry(int entry) {
    bool const known = entry >= 0 && static_cast<std::size_t>(entry) < std::size(kTransferMenu);
    return known ? kTransferMenu[entry].mode : A_long{PF_Xfer_IN_FRONT};
}

namespace transfer_menu_detail {

constexpr std::size_t textBytes() {
    std::size_t bytes = 0;
    for (TransferMenuEntry const& entry : kTransferMenu) bytes += entry.name.size() + 1;
    return bytes;
}

struct Text {
    char bytes[textBytes()];
};

constexpr Text text() {
    Text joined{};
    std::size_t end = 0;
    for (TransferMenuEntry const& entry : kTransferMenu) {
        for (char letter : entry.name) joined.bytes[end++] = letter;
        joined.bytes[end++] = '|';
    }
    joined.bytes[end - 1] = '\0';
    return joined;
}

inline constexpr Text kText = text();

}  // namespace transfer_menu_detail

/// The entries as a popup takes them, with '|' between.
inline constexpr char const* kTransferMenuText = transfer_menu_detail::kText.bytes;

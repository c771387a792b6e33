// Acts on the keyframes of one parameter at the frame that is looked at. Each is one step of undo,
// or none where it changes nothing.
#pragma once

#include <optional>

#include "apps/viewer/model/document.h"

namespace zelk {

bool hasKeyHere(Document const& document, int index);
/// The nearest whole frame before or after the present one to a key of the parameter; nothing where
/// all keys on that side are nearest to the present one.
std::optional<int> frameOfKey(Document const& document, int index, bool isLater);

/// Without keys: a key at the frame with the value. With keys: they go, and the value that they
/// have at the frame stays.
bool toggleKeys(Document& document, int index);
/// The key at the frame, which comes or goes. With the last one its value stays.
bool toggleKeyHere(Document& document, int index);

}  // namespace zelk

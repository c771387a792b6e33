// Which corner of a quad lies where, and the option that puts each in its place.
#pragma once

#include <array>
#include <string>

#include "zelk/tracks/corners.h"

namespace zelk {

/// Of which corner each of upper left, upper right, lower left, lower right is made.
using CornerOrder = std::array<int, 4>;

/// The order in which the quad is a plain one: each corner takes the place where it lies.
CornerOrder orderByPlace(Corners const& quad);

/// "ul,ll,ur,lr": each corner once. Throws a usage error about `thing`.
CornerOrder parseCornerOrder(std::string const& thing, std::string const& text);

/// "--corners ul,ur,lr,ll"
std::string cornersOption(CornerOrder const& order);

}  // namespace zelk

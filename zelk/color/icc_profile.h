// ICC profiles by Little CMS: to light and from it, and profiles made for a curve over primaries.
#pragma once

#include <string>
#include <vector>

#include "zelk/color/color_space.h"
#include "zelk/color/color_step.h"

namespace zelk {

/// Between a profile's values and light of BT.709's primaries, by the relative colorimetric intent.
/// Nothing for bytes that are no usable profile of red, green and blue, or can't be turned round.
enum class ProfileWay { kToLight, kFromLight };
ColorStep profileStep(ProfileSpace const& profile, ProfileWay way);

/// What the profile says of itself; empty where it says nothing.
std::string descriptionOf(ProfileSpace const& profile);

/// The same bytes for the same space.
ProfileSpace profileOf(CurveSpace const& space, std::string const& description);

}  // namespace zelk

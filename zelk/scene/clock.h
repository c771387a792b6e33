// The composition's clock: frame numbers, moments, and rates as text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hostkit/comp.h"
#include "hostkit/parameters.h"

namespace zelk {

/// The moment of a frame number on the composition's clock, to the nearest unit; nothing where the
/// clock's 32 bits do not reach.
std::optional<KeyTime> keyTimeOf(Comp const& comp, double frame);
/// The longest composition that the clock holds.
int mostFramesOf(TimeBase const& clock);
/// "a frame from -214748 to 214748"
std::string clockText(Comp const& comp);
/// Throws a usage error about `thing` for a frame that the clock does not reach.
void requireOnClock(Comp const& comp, int frame, std::string const& thing);

/// The frame number at a moment.
double frameOf(Comp const& comp, KeyTime const& time);

/// "24", "23.976" or "24000/1001"; nothing for anything else.
std::optional<TimeBase> rateFromText(std::string_view text);
/// The reverse, exactly: a number where it stands for the same clock, else a fraction.
std::string rateText(TimeBase const& timeBase);
inline constexpr char const* kRateExpected =
    "frames a second such as 25, 23.976 or 24000/1001, above 0 and up to 1000000";

}  // namespace zelk

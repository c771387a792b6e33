// Frame numbers and moments of a project's composition; see scene_file.h.
#include <cmath>
#include <cstdint>
#include <limits>

#include "zelk/scene/scene_file.h"

namespace zelk {

std::optional<KeyTime> keyTimeOf(Comp const& comp, double frame) {
    double const units = std::round((frame - comp.startFrame) * comp.timeBase.step);
    constexpr double kMost = std::numeric_limits<A_long>::max();
    if (!(std::abs(units) <= kMost)) return std::nullopt;
    return KeyTime{static_cast<A_long>(units), comp.timeBase.scale};
}

double frameOf(Comp const& comp, KeyTime const& time) {
    TimeBase const& clock = comp.timeBase;
    std::int64_t const start = std::int64_t{comp.startFrame} * clock.step;
    if (time.scale == clock.scale)  // one rounding, so that the fewest digits tell it
        return static_cast<double>(start + time.value) / clock.step;
    double const units = double(time.value) * clock.scale / time.scale;
    return (static_cast<double>(start) + units) / clock.step;
}

}  // namespace zelk

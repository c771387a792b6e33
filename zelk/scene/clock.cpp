// Frames, moments and rates; see clock.h.
#include "zelk/scene/clock.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "hostkit/error.h"
#include "hostkit/time_base.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

std::optional<KeyTime> keyTimeOf(Comp const& comp, double frame) {
    double const units = std::round((frame - comp.startFrame) * comp.timeBase.step);
    constexpr double kMost = std::numeric_limits<A_long>::max();
    if (!(std::abs(units) <= kMost)) return std::nullopt;
    return KeyTime{static_cast<A_long>(units), comp.timeBase.scale};
}

int mostFramesOf(TimeBase const& clock) { return std::numeric_limits<A_long>::max() / clock.step; }

std::string clockText(Comp const& comp) {
    std::int64_t const start = comp.startFrame, most = mostFramesOf(comp.timeBase);
    return fmt::format("a frame from {} to {}", start - most, start + most);
}

void requireOnClock(Comp const& comp, int frame, std::string const& thing) {
    if (!keyTimeOf(comp, frame))
        throw UserError(
            ExitCode::kUsage,
            {thing, "beyond the composition's clock:", std::to_string(frame), clockText(comp)});
}

double frameOf(Comp const& comp, KeyTime const& time) {
    TimeBase const& clock = comp.timeBase;
    std::int64_t const start = std::int64_t{comp.startFrame} * clock.step;
    if (time.scale == clock.scale)  // one rounding, so that the fewest digits tell it
        return static_cast<double>(start + time.value) / clock.step;
    double const units = double(time.value) * clock.scale / time.scale;
    return (static_cast<double>(start) + units) / clock.step;
}

std::optional<TimeBase> rateFromText(std::string_view text) {
    auto const slash = text.find('/');
    if (slash == std::string_view::npos) {
        auto const rate = parseNumber(text);
        try {
            return rate ? std::optional(timeBaseOfRate(*rate)) : std::nullopt;
        } catch (HostError const&) {
            return std::nullopt;
        }
    }
    auto const isWhole = [](std::optional<double> const& n) {
        return n && *n == std::floor(*n) && *n >= 1 && *n <= INT32_MAX;
    };
    auto const scale = parseNumber(text.substr(0, slash)),
               step = parseNumber(text.substr(slash + 1));
    if (!isWhole(scale) || !isWhole(step)) return std::nullopt;
    // A frame has at least 1000 units, as with timeBaseOfRate.
    double const times = std::ceil(1000 / *step);
    if (*scale * times > UINT32_MAX || *scale / *step > 1e6) return std::nullopt;
    return TimeBase{static_cast<A_u_long>(*scale * times), static_cast<A_long>(*step * times)};
}

std::string rateText(TimeBase const& timeBase) {
    constexpr double kPlainStep = 1000;
    std::string const number = fmt::format("{}", timeBase.scale / kPlainStep);
    auto const again = rateFromText(number);
    bool const isSame = again && again->scale == timeBase.scale && again->step == timeBase.step;
    if (timeBase.step == kPlainStep && isSame) return number;
    return fmt::format("{}/{}", timeBase.scale, timeBase.step);
}

}  // namespace zelk

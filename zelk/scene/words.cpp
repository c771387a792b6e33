// Words to values; see words.h.
#include "zelk/scene/words.h"

#include "zelk/scene/clock.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

std::string pictureName(std::string const& thing, std::string const& text) {
    std::string const name = required(text, thing, "a picture file");
    if (name != "-") return name;
    throw UserError(ExitCode::kInput,
                    thing + ": standard input \"-\" can't be read as a picture; give a file");
}

TimeBase parseRate(std::string const& thing, std::string const& text) {
    if (auto const rate = rateFromText(text)) return *rate;
    throw UserError(ExitCode::kUsage, {thing, "not a frame rate:", text, kRateExpected});
}

PixelSize parseSize(std::string const& thing, std::string const& text) {
    auto const x = text.find_first_of("xX");
    if (x == std::string::npos || text.find_first_not_of("0123456789xX") != std::string::npos)
        throw UserError(ExitCode::kUsage, {thing, "not a size:", text, "WxH such as 1920x1080"});
    return {wholeInRange(thing, text.substr(0, x), 1, kLargestPx),
            wholeInRange(thing, text.substr(x + 1), 1, kLargestPx)};
}

}  // namespace zelk

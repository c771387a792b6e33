// Words, files, sizes and numbers; see cli_values.h.
#include "apps/zelk/cli_values.h"

#include <fmt/format.h>

#include "zelk/scene/corners.h"
#include "zelk/scene/scene_file.h"

namespace zelk {

std::string required(std::optional<std::string> const& value, char const* thing,
                     char const* expected) {
    if (value && !value->empty()) return *value;
    throw UserError(ExitCode::kUsage, {thing, "not given,", value.value_or(""), expected});
}

std::string pictureFile(std::optional<std::string> const& name, char const* thing) {
    std::string const file = required(name, thing, "a picture file");
    if (file == "-")
        throw UserError(ExitCode::kInput,
                        {thing, "standard input can't be read as a picture,", file, "a file"});
    return file;
}

PixelSize checkedSize(std::string const& text) {
    auto const x = text.find_first_of("xX");
    if (x == std::string::npos || text.find_first_not_of("0123456789xX") != std::string::npos)
        throw UserError(ExitCode::kUsage, {"--size", "not a size", text, "WxH such as 1920x1080"});
    return {wholeInRange("--size", text.substr(0, x), 1, kLargestPx),
            wholeInRange("--size", text.substr(x + 1), 1, kLargestPx)};
}

double checkedNumber(char const* option, std::string_view text, double least, double most) {
    auto const value = parseNumber(text);
    if (value && *value >= least && *value <= most) return *value;
    throw UserError(ExitCode::kUsage,
                    {option, value ? "out of range:" : "not a number:", std::string(text),
                     fmt::format("a number from {} to {}", least, most)});
}

TimeBase checkedRate(std::string const& text) {
    if (auto const rate = rateFromText(text)) return *rate;
    throw UserError(ExitCode::kUsage, {"--rate", "not a frame rate:", text, kRateExpected});
}

void refuseOption(bool isGiven, char const* option, char const* command, char const* expected) {
    if (isGiven) throw UserError(ExitCode::kUsage, {option, "does not go with", command, expected});
}

}  // namespace zelk

// Reading of pins; see corners.h.
#include "zelk/tracks/corners.h"

#include <fmt/format.h>

#include <cmath>
#include <vector>

#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

double parseCoordinate(std::string const& thing, std::string_view text) {
    auto const value = parseNumber(text);
    if (!value) {
        throw UserError(ExitCode::kUsage,
                        {thing, "not a number:", std::string(text), "pixels such as 12.5"});
    }
    if (std::abs(*value) > kLargestPx) {
        throw UserError(ExitCode::kUsage, {thing, "pin too far out:", std::string(text),
                                           fmt::format("pixels from -{0} to {0}", kLargestPx)});
    }
    return *value;
}

std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> found;
    while (!(text = trimmed(text)).empty()) {
        auto const length = text.find_first_of(" \t");
        found.push_back(text.substr(0, length));
        text.remove_prefix(found.back().size());
    }
    return found;
}

}  // namespace

Point parsePoint(std::string const& thing, std::string_view text) {
    auto const comma = text.find(',');
    if (comma == std::string_view::npos || text.find(',', comma + 1) != std::string_view::npos) {
        throw UserError(ExitCode::kUsage, {thing, "not a point", std::string(text), "x,y"});
    }
    return {parseCoordinate(thing, text.substr(0, comma)),
            parseCoordinate(thing, text.substr(comma + 1))};
}

Corners parseCorners(std::string const& thing, std::string_view text) {
    auto const points = words(text);
    Corners corners;
    if (points.size() != corners.size()) {
        throw UserError(
            ExitCode::kUsage,
            {thing, "wrong number of corners (" + std::to_string(points.size()) + ") in",
             std::string(text), "four corners \"x,y x,y x,y x,y\""});
    }
    for (std::size_t i = 0; i < corners.size(); ++i) corners[i] = parsePoint(thing, points[i]);
    return corners;
}

}  // namespace zelk

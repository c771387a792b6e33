// Looking up the effect's parameters by the names that params/ParameterNames.h lists.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "params/ParameterNames.h"

namespace zelk {

inline constexpr int kParameterCount = kParamCount;

/// Where the first of a row of parameters stands; the others follow.
inline constexpr int kToPins =
    kParamToUpperLeft;  ///< upper left, upper right, lower left, lower right
inline constexpr int kToOffsets = kParamToUpperLeftOffsetX;  ///< x, y of the same four corners
inline constexpr int kFromPins = kParamFromUpperLeft;
inline constexpr int kFromOffsets = kParamFromUpperLeftOffsetX;

inline std::string_view nameOfParameter(int index) {
    return kParameterNames[static_cast<std::size_t>(index)];
}

/// Exact, but for the case of letters.
std::optional<int> parameterIndex(std::string_view name);

/// The same; throws a usage error about `thing` for a name that is none.
int requiredParameter(std::string const& thing, std::string_view name);

/// The name with the least edit distance; the first of equals.
std::string_view nearestOf(std::string_view const* first, std::size_t count, std::string_view word);
std::string_view nearestParameterName(std::string_view word);

/// Insertions, deletions and replacements that turn one word into the other.
int editDistance(std::string_view a, std::string_view b);

}  // namespace zelk

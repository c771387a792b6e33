// Environment variables that stand for options which are not given; an empty one is none.
#pragma once

#include <optional>
#include <string>

namespace zelk {

inline constexpr char const* kThreadsVariable = "ZELK_THREADS";
inline constexpr char const* kModuleVariable = "ZELK_MODULE";

std::optional<std::string> environmentText(char const* variable);
/// What messages call it: "$ZELK_THREADS".
std::string variableName(char const* variable);

/// The table of all of them, for the program's help.
std::string environmentHelp();

}  // namespace zelk

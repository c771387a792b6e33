// See environment.h.
#include "apps/zelk/environment.h"

#include <fmt/format.h>

#include <cstdlib>

namespace zelk {

namespace {

struct Variable {
    char const *name, *option, *help;
};
constexpr Variable kVariables[] = {
    {kThreadsVariable, "--threads", "threads of the process"},
    {kModuleVariable, "--module", "the effect's module"},
    {"OCIO", "--ocio", "an OpenColorIO configuration"},
};

}  // namespace

std::optional<std::string> environmentText(char const* variable) {
    char const* const text = std::getenv(variable);
    return text && *text ? std::optional<std::string>(text) : std::nullopt;
}

std::string variableName(char const* variable) { return std::string("$") + variable; }

std::string environmentHelp() {
    std::string text = "Environment, where the option is not given:\n";
    for (Variable const& variable : kVariables)
        text += fmt::format("  {:<13} {:<10} {}\n", variable.name, variable.option, variable.help);
    return text;
}

}  // namespace zelk

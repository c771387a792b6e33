// The search for a name and for the nearest one.
#include "zelk/scene/parameter_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

std::optional<int> parameterIndex(std::string_view name) {
    auto const found = std::find(kParameterNames.begin(), kParameterNames.end(), lowered(name));
    if (found == kParameterNames.end()) return std::nullopt;
    return static_cast<int>(found - kParameterNames.begin());
}

int requiredParameter(std::string const& thing, std::string_view name) {
    if (auto const index = parameterIndex(name)) return *index;
    throw UserError(ExitCode::kUsage,
                    {thing, "unknown parameter", std::string(name),
                     fmt::format("a name that `zelk params` lists, such as \"{}\"",
                                 nearestParameterName(name))});
}

int editDistance(std::string_view a, std::string_view b) {
    std::vector<int> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < a.size(); ++i) {
        int diagonal = row[0];
        row[0] = static_cast<int>(i) + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            int const replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

std::string_view nearestOf(std::string_view const* first, std::size_t count,
                           std::string_view word) {
    std::string const small = lowered(word);
    return *std::min_element(first, first + count, [&](std::string_view a, std::string_view b) {
        return editDistance(a, small) < editDistance(b, small);
    });
}

std::string_view nearestParameterName(std::string_view word) {
    return nearestOf(kParameterNames.data(), kParameterNames.size(), word);
}

}  // namespace zelk

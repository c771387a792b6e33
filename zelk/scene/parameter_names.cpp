// The table of parameter names and the search for the nearest one.
#include "zelk/scene/parameter_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

std::array<std::string_view, kParameterCount> const kParameterNames = {
    "input-layer",
    "mocha-import",
    "view-mode",
    "overlay-mode",
    "crop-to-pins",
    "to-pins-group",
    "to-upper-left",
    "to-upper-right",
    "to-lower-left",
    "to-lower-right",
    "to-offsets-group",
    "to-upper-left-offset-x",
    "to-upper-left-offset-y",
    "to-upper-right-offset-x",
    "to-upper-right-offset-y",
    "to-lower-left-offset-x",
    "to-lower-left-offset-y",
    "to-lower-right-offset-x",
    "to-lower-right-offset-y",
    "to-offsets-group-end",
    "to-wireframe-color",
    "to-pins-group-end",
    "from-pins-group",
    "from-upper-left",
    "from-upper-right",
    "from-lower-left",
    "from-lower-right",
    "from-offsets-group",
    "from-upper-left-offset-x",
    "from-upper-left-offset-y",
    "from-upper-right-offset-x",
    "from-upper-right-offset-y",
    "from-lower-left-offset-x",
    "from-lower-left-offset-y",
    "from-lower-right-offset-x",
    "from-lower-right-offset-y",
    "from-offsets-group-end",
    "from-wireframe-color",
    "from-pins-group-end",
    "reposition-group",
    "translate-x",
    "translate-y",
    "scale-x",
    "scale-y",
    "rotate",
    "reposition-group-end",
    "transform-settings-group",
    "use-comp-camera",
    "quality",
    "super-sample-softness",
    "super-sample-edge",
    "grow-bounds",
    "wireframe",
    "transform-settings-group-end",
    "motion-blur-group",
    "motion-blur",
    "shutter-angle",
    "shutter-phase",
    "samples",
    "motion-blur-group-end",
    "source-opacity",
    "corner-pin-opacity",
    "transfer-mode",
};

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

std::string_view unitOf(int index) {
    struct Unit {
        int first, count;
        std::string_view name;
    };
    constexpr Unit kUnits[] = {
        {kToPins, 4, "px of frame"},
        {kToOffsets, 8, "% of frame"},
        {kFromPins, 4, "px of layer"},
        {kFromOffsets, 8, "% of layer"},
        {kParamTranslateX, 2, "% of quad"},
        {kParamScaleX, 2, "factor"},
        {kParamRotate, 1, "degrees"},
        {kParamSuperSampleSoftness, 1, "factor"},
        {kParamSuperSampleEdge, 1, "1/32 of layer side"},
        {kParamGrowBounds, 1, "px"},
        {kParamShutterAngle, 2, "degrees"},
        {kParamSamples, 1, "samples"},
        {kParamSourceOpacity, 2, "%"},
    };
    for (Unit const& unit : kUnits)
        if (index >= unit.first && index < unit.first + unit.count) return unit.name;
    return {};
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

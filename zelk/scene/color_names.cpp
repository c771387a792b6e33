// See color_names.h.
#include "zelk/scene/color_names.h"

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/refusal.h"

namespace zelk {

namespace {

/// `thing` named it.
ColorConfig configIn(std::filesystem::path const& file, std::string const& thing) {
    std::error_code fault;
    bool const isBuiltIn =
        file.string().starts_with("ocio://");  // the library's own, from its 2.2 on
    if (!isBuiltIn &&
        std::filesystem::status(file, fault).type() == std::filesystem::file_type::not_found)
        throw UserError(ExitCode::kInput,
                        fmt::format("{}: no such file; {} names it", file.string(), thing));
    return {file, thing};
}

/// A space that an edit names would be left out of account where nothing is converted.
void refuseSpaces(Scene const& scene) {
    using enum SceneField;
    for (SceneField const field : {kLayerColor, kPlateColor, kOutputColor, kWorkColor})
        if (scene.isSetBy(field))
            throw refusalOf(scene, field,
                            scene.isSetBy(kColor)
                                ? fmt::format("does not go with {} raw", nameOf(scene, kColor))
                                : fmt::format("does not go with {}, which is raw",
                                              besides(scene, kColor, false)));
}

}  // namespace

std::filesystem::path colorConfigFile(Scene const& scene) {
    if (scene.color.isRaw || scene.color.isBuiltIn) return {};
    if (scene.color.config) return scene.color.config->path();
    char const* const environment = std::getenv("OCIO");
    return environment ? environment : "";
}

ColorConfig colorConfigOf(Scene const& scene) {
    std::filesystem::path const file = colorConfigFile(scene);
    if (file.empty()) return {};
    return configIn(file, scene.color.config ? nameOf(scene, SceneField::kColorConfig) : "$OCIO");
}

std::string colorConfigFault(Scene const& scene) {
    try {
        colorConfigOf(scene);
        return {};
    } catch (UserError const& error) {
        return error.what();
    }
}

ColorSpace requiredSpace(Scene const& scene, ColorConfig const& config, SceneField field,
                         std::string const& name) {
    if (auto const space = config.find(name)) return *space;
    std::vector<std::string> const names = config.names();
    std::vector<std::string_view> const views(names.begin(), names.end());
    constexpr std::size_t kListed = 12;
    std::string expected =
        fmt::format("a name such as \"{}\"", nearestOf(views.data(), views.size(), name));
    if (views.size() <= kListed) expected += ", one of " + listOf(views);
    throw refusalOf(scene, field, "unknown colour space", name, expected);
}

void checkColor(Scene const& scene) {
    SceneColor const& color = scene.color;
    if (color.isRaw) return refuseSpaces(scene);
    if (color.plate && !scene.plate)
        throw refusalOf(scene, SceneField::kPlateColor,
                        "needs a plate: give " + nameOf(scene, SceneField::kPlate));
    bool const isNamed = color.layer || color.plate || color.output || color.work || color.config;
    if (!isNamed) return;
    ColorConfig const config = colorConfigOf(scene);
    auto const check = [&](SceneField field, std::optional<std::string> const& name) {
        if (name) requiredSpace(scene, config, field, *name);
    };
    check(SceneField::kLayerColor, color.layer);
    check(SceneField::kPlateColor, color.plate);
    check(SceneField::kOutputColor, color.output);
    check(SceneField::kWorkColor, color.work);
}

}  // namespace zelk

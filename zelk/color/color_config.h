// The names that users and files may give to colour spaces: those of an OpenColorIO configuration,
// or the built-in ones, and the way from any space to light and back.
//
// With a configuration its names, aliases and roles count, and "linear" is its scene_linear. A file
// rule counts where it is about the file; the default rule says nothing of a file. What files
// declare or mean ("sRGB", linear light) is looked up among its usual names, and where it has none
// of them, stays as the formulas of color_space.h have it.
//
// The configuration's light is tied to BT.709's by the first that it has: the role
// cie_xyz_d65_interchange, the role aces_interchange, a space with a usual name for linear BT.709;
// else its scene_linear is taken to have those primaries.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/color/color_space.h"
#include "zelk/color/color_step.h"

namespace zelk {

struct DisplayView {
    std::string display, view;
    /// "ACES 1.0 - SDR Video (sRGB - Display)"
    std::string name() const { return view + " (" + display + ")"; }
};

/// Files that configurations name, such as tables of values, are read once a process. From now on
/// they are read again, by configurations that are opened later. From any thread.
void forgetColorFiles();

/// May be read by several threads.
class ColorConfig {
public:
    ColorConfig() = default;  ///< the built-in names
    /// Throws an input error about `thing` for a file that is no configuration.
    ColorConfig(std::filesystem::path const& file, std::string const& thing);

    bool isBuiltIn() const { return !m_config; }
    std::optional<ColorSpace> find(std::string_view name) const;
    std::vector<std::string> names() const;  ///< to choose from
    /// By a file rule, the default one aside.
    std::optional<ColorSpace> ofFile(std::filesystem::path const& file) const;
    /// What the configuration has for a built-in space; the space itself where it has nothing.
    ColorSpace ownOf(ColorSpace const& space) const;
    ColorSpace linear() const;

    /// Straight colour from one space to another; none where nothing is to be done. Throws an input
    /// error for a space that can't be converted that way.
    std::vector<ColorStep> steps(ColorSpace const& from, ColorSpace const& to) const;
    /// The built-in space with the same values to a 1000th, of a profile or a configuration's
    /// space.
    std::optional<CurveSpace> builtInTwin(ColorSpace const& space) const;

    /// Of all displays, the default one first, and of each its default view first. Empty without a
    /// configuration.
    std::vector<DisplayView> displayViews() const;
    /// From a space to a display, through one of these.
    std::vector<ColorStep> displaySteps(ColorSpace const& from, DisplayView const& to) const;

private:
    struct Open;
    std::vector<ColorStep> toLight(ColorSpace const& space) const;
    std::vector<ColorStep> fromLight(ColorSpace const& space) const;
    /// Between two of the configuration's spaces.
    std::vector<ColorStep> within(std::string const& from, std::string const& to) const;

    std::shared_ptr<Open const> m_config;
};

}  // namespace zelk

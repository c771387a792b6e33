// The colour spaces that a scene names, looked up.
#pragma once

#include <filesystem>
#include <string_view>

#include "zelk/color/color_config.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// The scene's configuration, else that of $OCIO, else the built-in names; those too for a raw
/// scene, and with isBuiltIn. Throws an input error for one that can't be read.
ColorConfig colorConfigOf(Scene const& scene);

/// The file that it is read from; empty for the built-in names.
std::filesystem::path colorConfigFile(Scene const& scene);

/// Why that one can't be read, the sentence of colorConfigOf; empty where it can.
std::string colorConfigFault(Scene const& scene);

/// A space by the name that a field has. Throws about the field where there is none of that name.
ColorSpace requiredSpace(Scene const& scene, ColorConfig const& config, SceneField field,
                         std::string const& name);

/// Throws where a name is none, or a field doesn't go with the others.
void checkColor(Scene const& scene);

}  // namespace zelk

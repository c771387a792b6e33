// Whether a scene's parts fit together, before any file is opened.
#pragma once

#include <string>

#include "zelk/scene/scene.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Throws for the first thing that does not fit: a usage error that names the option which set it,
/// or an input error with the place in the scene's file. Values of parameters are checked by the
/// module's own ranges later (values.h).
void checkScene(Scene const& scene);

/// Throws a usage error for a scene without an output.
void requireOutput(Scene const& scene);

/// A refusal of what a field says, a sentence about the option that set it, else the file's place:
/// "--plain needs the module road".
UserError refusalOf(Scene const& scene, SceneField field, std::string const& predicate);
/// The same about its value.
UserError refusalOf(Scene const& scene, SceneField field, std::string const& wrong,
                    std::string const& value, std::string const& expected);
/// The same of a parameter.
UserError refusalOf(Scene const& scene, int parameter, std::string const& predicate);

/// Refusal of a Transfer Mode where layer and frame differ in size.
inline constexpr char const* kOwnFrameOnly =
    "lays the layer over itself in its own frame: use --mode with --over";

}  // namespace zelk

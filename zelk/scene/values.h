// A scene's values on the parameters that a module registered, and the way back.
#pragma once

#include <vector>

#include "hostkit/parameters.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Which of a scene's values: those of its file, or those that options set over them.
enum class ValuesFrom { kFile, kOptions };

/// Sets values and keyframes. Throws for what a parameter can't hold, an input error that names the
/// file's place or a usage error that names the option: the parameters are then as they were.
void setValues(Scene const& scene, ValuesFrom from, std::vector<Parameter>& parameters);

/// `base` without its tracks and edits, with the values that differ from `defaults`, the same
/// parameters as they are where nobody set any, and all keyframes, as its file has them. What a
/// record holds beyond its valid range is kept within it, a colour key is rounded to bytes, and of
/// keys that meet in one unit of the composition's clock the last stays.
Scene sceneOf(Scene base, std::vector<Parameter> const& parameters,
              std::vector<Parameter> const& defaults);

}  // namespace zelk

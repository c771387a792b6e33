// A scene's values on the parameters that a module registered, and the way back.
#pragma once

#include <optional>
#include <vector>

#include "hostkit/parameters.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Which of a scene's values: those of its file, or those that options set over them.
enum class ValuesFrom { kFile, kOptions };

/// Sets values and keyframes. Throws for what a parameter can't hold, an input error that names the
/// file's place or a usage error that names the option: the parameters are then as they were.
void setValues(Scene const& scene, ValuesFrom from, std::vector<Parameter>& parameters);

/// The From Pin whose value a To Pin has while the scene sets nothing of it. Nothing for any other
/// parameter, and where To Pins start at the frame's corners: beside a track of theirs, and in an
/// inverted scene, before and after its quads are exchanged.
std::optional<int> followedPin(Scene const& scene, int index);
/// The scene has an entry for the parameter, though it may say nothing of its value.
bool isSetIn(Scene const& scene, int index);

/// The entry that sets a parameter in the scene to what it is in `parameters`, with all of its
/// keyframes; nothing where the scene without an entry says the same. `defaults`: the same
/// parameters before anything is set, To Pins at the frame's corners. A To Pin that has an entry
/// keeps one, as it would follow its From Pin without. What a record holds beyond its valid range
/// is kept within it, a colour key is rounded to bytes, and of keys that meet in one unit of the
/// composition's clock the last stays.
std::optional<SceneParameter> entryOf(Scene const& scene, int index,
                                      std::vector<Parameter> const& parameters,
                                      std::vector<Parameter> const& defaults);

/// `base` without its tracks and edits, with the entries of all parameters.
Scene sceneOf(Scene base, std::vector<Parameter> const& parameters,
              std::vector<Parameter> const& defaults);

}  // namespace zelk

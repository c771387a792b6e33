// A scene as the edits that make it (edits.h).
#pragma once

#include <string>
#include <vector>

#include "zelk/scene/scene.h"

namespace zelk {

/// sceneEdit(name).apply(scene, thing, text) makes it again.
struct MadeEdit {
    std::string name, text;
};

/// Of what a project file has no place for: road, host, module, plain, missing pictures.
std::vector<MadeEdit> editsBesidesFile(Scene const& scene);

/// Why edits can't make a scene from nothing, in a few words, is its obstacle: "keyframes".
struct SceneAsEdits {
    std::vector<MadeEdit> edits;
    std::string obstacle = {};  ///< empty: they make it
};

/// The scene from nothing, without frames, output and a movie's codec; names start at no folder.
/// `frame` is the size of its frame, of an inverted scene that of what it is taken out of.
SceneAsEdits editsOf(Scene const& scene, PixelSize frame);

}  // namespace zelk

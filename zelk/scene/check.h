// Whether a scene's parts fit together, before any file is opened.
#pragma once

#include "zelk/scene/scene.h"

namespace zelk {

/// Throws UserError (text/errors.h) for the first thing that does not fit: a usage error that names
/// what set it, or an input error with the place in the scene's file. Values of parameters are
/// checked by the module's own ranges later, when a renderer is made.
void checkScene(Scene const& scene);

/// The same for who edits the scene: no name of a colour is refused where the configuration that it
/// belongs to can't be read (color_names.h).
void checkSceneToEdit(Scene const& scene);

/// Throws a usage error for a scene without an output, which FrameRenderer::write needs.
void requireOutput(Scene const& scene);

}  // namespace zelk

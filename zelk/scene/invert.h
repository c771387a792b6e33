// A picture taken out of what it was laid over: From and To exchange roles, so that the renderer
// that pins also unpins, in one resampling.
#pragma once

#include "zelk/scene/scene.h"

namespace zelk {

/// The scene that renders an inverted one; any other comes back as it is. The plate is the layer,
/// in its own colours, where there is one; values, offsets, keys and tracks of the To Pins are
/// those of the From Pins, and the frame fills its own corners. Of a project's other parameters
/// only Quality and Super Sample's stay, the rest being about the layer that is not there, as are
/// its mattes, outline and lens distortion; what edits set stays.
Scene invertedScene(Scene scene);

}  // namespace zelk

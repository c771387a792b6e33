// A picture taken out of what it was laid over: From and To exchange roles, so that the renderer
// that pins also unpins, in one resampling.
#pragma once

#include "zelk/scene/scene.h"

namespace zelk {

/// An inverted scene without what it has no use for; any other comes back as it is. Of a project's
/// parameters only those of the To quad, Quality and Super Sample's stay, the rest being about the
/// layer that is not there, as are its mattes, outline and lens distortion; what edits set stays.
Scene usedOfInverted(Scene scene);

/// The scene that renders an inverted one; any other comes back as it is. The plate is the layer,
/// in its own colours, where there is one; values, offsets, keys and tracks of the To Pins are
/// those of the From Pins, and the frame fills its own corners.
Scene invertedScene(Scene scene);

}  // namespace zelk

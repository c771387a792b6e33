// Edits of a scene: what an option of the command line, a viewer's control or a script's keyword
// does to it.
//
// Every edit has a name ("quality") and takes its value as text, as users type it. `thing` is what
// messages call it: "--quality" on a command line. A value that can't be read is a usage error that
// names it, and the scene is as it was; whether values fit together is checkScene's matter
// (scene_check.h). An edit wins over what a file said.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "zelk/scene/scene.h"

namespace zelk {

struct SceneEdit {
    std::string_view name;
    void (*apply)(Scene& scene, std::string const& thing, std::string const& text);
};

/// All edits that take one text, in the order in which a command line makes them, whatever order
/// they were typed in: of two that set the same parameter the later one wins.
std::span<SceneEdit const> sceneEdits();

/// The edit of that name. std::out_of_range for a name that is none.
SceneEdit const& sceneEdit(std::string_view name);

/// One parameter, over its keyframes and any track.
void setParameter(Scene& scene, int index, SceneValue value, std::string const& thing);

/// Pictures in memory as layer and plate.
void setLayer(Scene& scene, PictureBuffer layer);
void setPlate(Scene& scene, PictureBuffer plate);

/// The four pins of a quad.
void setPins(Scene& scene, TrackedPins pins, Corners const& corners, std::string const& thing);

/// "FXTC", in letters of any case.
HostIdentity hostNamed(std::string const& thing, std::string const& word);
/// A picture's file name. Pictures are read in pieces, so that none can come through a pipe: "-" is
/// an input error.
std::string pictureName(std::string const& thing, std::string const& text);
/// "25", "23.976" or "24000/1001" frames a second
TimeBase parseRate(std::string const& thing, std::string const& text);
/// "8", "16" or "float"
std::string_view depthWord(Depth depth);
/// "1920x1080"
PixelSize parseSize(std::string const& thing, std::string const& text);

}  // namespace zelk

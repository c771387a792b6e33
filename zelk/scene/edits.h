// Edits of a scene: what an option of the command line, a viewer's control or a script's keyword
// does to it.
//
// Every edit has a name ("quality") and takes its value as text, as users type it. `thing` is what
// messages call it: "--quality" on a command line. What can't be read is a UserError
// (text/errors.h) that names it, and the scene is as it was; whether values fit together is
// checkScene's matter (check.h). An edit wins over what a file said, and over a former one of the
// same name.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/scene/scene.h"

namespace zelk {

struct SceneEdit {
    std::string_view name;
    char const* value;  ///< what it takes, in short: "WxH"; in brackets what may be left out
    char const* help;   ///< one line, with the default in parentheses
    void (*apply)(Scene& scene, std::string const& thing, std::string const& text);
    /// The words that it takes, where there is a list of them; null where there is none.
    std::vector<std::string_view> (*words)() = nullptr;
};

/// All edits that take one text, in the order in which a command line makes them, whatever order
/// they were typed in: of two that set the same parameter the later one wins.
std::span<SceneEdit const> sceneEdits();

/// The edit of that name. std::out_of_range for a name that is none.
SceneEdit const& sceneEdit(std::string_view name);

/// Whether the edit "motion-blur", whose value may be left out, takes a word for one.
bool isMotionBlurText(std::string const& word);

/// One parameter by its name, over its keyframes and any track. Throws a usage error for an empty
/// `thing` and for a name that `zelk params` does not list; the value meets the parameter's own
/// kind and range when a renderer is made.
void setParameter(Scene& scene, std::string_view name, SceneValue value, std::string const& thing);

/// Pictures in memory as layer and plate. Throws an input error for one that is not sound.
void setLayer(Scene& scene, PictureBuffer layer);
void setPlate(Scene& scene, PictureBuffer plate);
/// The same as mattes, by one of their channels (SceneMatte).
void setMatte(Scene& scene, PictureBuffer matte, std::string channel = "");
void setHoldout(Scene& scene, PictureBuffer holdout, std::string channel = "");

/// The four pins of a quad, in pixels: To Pins of the frame, From Pins of the layer.
void setPins(Scene& scene, TrackedPins pins, Corners const& corners, std::string const& thing);

}  // namespace zelk

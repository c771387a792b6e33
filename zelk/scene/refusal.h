// Refusals of what a scene says, which name whatever set it: an edit by its name, or the place in
// the scene's file.
#pragma once

#include <string>
#include <string_view>

#include "zelk/scene/scene.h"
#include "zelk/text/errors.h"

namespace zelk {

/// What messages call an edit that nobody made, or a field of RunOptions: "over", "--over" on a
/// command line, or the label of a window's control (edit_titles.h).
std::string spelled(Scene const& scene, std::string_view name);
/// A word that an edit takes: "best", or "Best" in a window's popup.
std::string spelledWord(Scene const& scene, std::string_view word);
/// What is to be done: "give --quality best", or "set Render Quality to Best".
std::string toGive(Scene const& scene, std::string_view edit, std::string_view word);
/// What messages call a field: the name of the edit that set it, else as `spelled`.
std::string nameOf(Scene const& scene, SceneField field);

/// A sentence about a field: "--mode needs a plate: give --over", "s.zelk.json: render.size does
/// ...".
UserError refusalOf(Scene const& scene, SceneField field, std::string const& predicate);
/// The same about its value.
UserError refusalOf(Scene const& scene, SceneField field, std::string const& wrong,
                    std::string const& value, std::string const& expected);
/// The same of a parameter: what set it last is named.
UserError refusalOf(Scene const& scene, int parameter, std::string const& predicate);
/// Whether the file's value of a parameter is the one that counts.
bool isOfFile(Scene const& scene, int parameter);

// Predicates name other fields than their subject's; `ofFile` tells that the file is named already.

/// "--over", or "plate of s.zelk.json" for one that the file set, or "plate".
std::string besides(Scene const& scene, SceneField field, bool ofFile);
/// Of what the memory road has not: "does not go with --over".
std::string noMemoryRoad(Scene const& scene, bool ofFile);
/// Of a Transfer Mode where layer and frame differ in size.
std::string ownFrameOnly(Scene const& scene, bool ofFile);

}  // namespace zelk

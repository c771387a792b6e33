// A scene on its way to another process, or to a later one: its text with what a project file has
// no place for, in one file that is nobody's project.
//
//   {"schema":"zelk-hand-over","version":1,"file":"/shots/sign.zelk.json", ...}   one line
//   { the project's text }
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "zelk/files/file_sum.h"
#include "zelk/scene/scene.h"

namespace zelk {

struct HandedScene {
    Scene scene;
    std::filesystem::path file;        ///< of the project that it is to be saved to; empty for none
    std::optional<FileSum> seen = {};  ///< that project as it was read; nothing: unknown
};

/// Throws a usage error for a scene that is not settled, and an output error for names that no text
/// can hold.
std::string handOverText(HandedScene const& handed);
/// The scene, as readSceneToEdit has it. Throws an input error about `source` for another text.
HandedScene handedScene(std::filesystem::path const& source, std::string_view text);

}  // namespace zelk

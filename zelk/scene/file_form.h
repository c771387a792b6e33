// What a project file consists of, and how it words values; file.h reads and writes it.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "zelk/scene/scene.h"

namespace zelk {

/// A start and a duration that the file leaves out are those of the scene's `frames`.
void fitToFrames(Scene& scene);

/// As the file has it: true, 12.5, "Super Sample", [12, 40].
std::string valueText(SceneValue const& value);

/// What every file says of itself.
inline constexpr char const* kProjectSchema = "zelk-project";
inline constexpr int kProjectVersion = 1;

/// A key of one of the file's objects.
struct FileKey {
    std::string_view name;
    bool isRequired = false;
};
/// An object of the file with all keys that it may have, in the order in which they are written.
struct FileObject {
    std::string_view
        name;  ///< "project", "comp", "motionBlur", "matte", "render", "parameter", "key", "ease"
    std::span<FileKey const> keys;
};
std::span<FileObject const> fileObjects();

}  // namespace zelk

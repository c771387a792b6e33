// What a scene names on disk.
#pragma once

#include <optional>
#include <vector>

#include "zelk/files/frame_names.h"
#include "zelk/inputs/input_files.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Whether a scene is of numbered frames: it names some, or one of its inputs or its output has a
/// frame mark. A name that exists as it stands has none.
bool isSequence(Scene const& scene);

/// One of a scene's inputs, and what messages call it.
struct NamedInput {
    char const* kind;
    InputFiles const* files;
};

/// Inputs and output of a scene.
struct SceneFiles {
    explicit SceneFiles(Scene const& scene);
    /// Those that the scene names, the layer first.
    std::vector<NamedInput> inputs() const;
    /// Throws as InputFiles::requireName.
    void requireNames() const;
    /// Whether a frame's inputs are there, or something stands for them.
    bool isReadable(int frame) const;
    /// The first one that makes a frame unreadable.
    InputFiles const& missingOf(int frame) const;

    InputFiles layer;
    std::optional<InputFiles> plate, matte, holdout, stMap;
    std::optional<InputFiles> sound;  ///< gives no pixels: no frame waits for it
    SequenceName output;
};

/// The composition's rate: its own or an edit's, else the plate's where that is a movie, else the
/// layer's. It labels; which picture a frame has is a matter of numbers alone.
TimeBase rateOf(Scene const& scene, SceneFiles const& files);

/// Throws about the output where it is the very file that the frame reads as one of its inputs,
/// unless that may be.
void requireNoInput(Scene const& scene, SceneFiles const& files, bool mayBe, int frame,
                    std::filesystem::path const& output);
/// The same of one that is read as `kind` ("layer", "plate", "matte", "holdout").
void requireOtherFile(Scene const& scene, bool mayBe, std::filesystem::path const& output,
                      InputPicture const& input, char const* kind);

}  // namespace zelk

// Which frames of a render are to be made, and that none of them spoils what another reads.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zelk/render/run_options.h"
#include "zelk/scene/inputs.h"

namespace zelk {

/// Which frames are to be rendered.
struct Schedule {
    std::vector<int> frames;
    std::size_t skipped = 0;          ///< written already, or left out for want of an input
    std::optional<int> missingFrame;  ///< before which the run ends
};

/// Whether a frame's file is done already.
using IsDone = std::function<bool(std::filesystem::path const& file)>;

/// The frames that are asked for: of --frames, else of the layer's files, else of the plate's, else
/// of the ST map's, with the composition's frames between them, else all of the composition's; one
/// frame for a single picture. Throws a usage error where there are none or all would be one file,
/// an input error for a numbered input without files.
std::vector<int> framesAsked(Scene const& scene, SceneFiles const& files);
/// Those of `asked` that are neither done nor lack an input.
Schedule scheduleOf(Scene const& scene, SceneFiles const& files, std::vector<int> const& asked,
                    IsDone const& isDone);
/// The same of all frames that are asked for; done is what run.skipExisting finds by its name.
Schedule scheduleOf(Scene const& scene, RunOptions const& run, SceneFiles const& files);

/// An error where a frame's output is the very file that it reads, unless the run says that it may
/// be (requireOtherFile). A frame's file must never be what another frame reads, as which of them
/// comes first is chance; a movie is read to its end before it is replaced.
void checkOutputsAreNoInputs(Scene const& scene, RunOptions const& run, SceneFiles const& files,
                             std::vector<int> const& frames);
/// The same, and where the first of the frames, of which there is one at least, or the movie can't
/// be put in its place.
void checkOutputs(Scene const& scene, RunOptions const& run, SceneFiles const& files,
                  std::vector<int> const& frames);

/// A usage error where the run's log, which is open, is a frame's file. It goes where it is empty,
/// as it was made for the run.
void checkLogIsNoOutput(Scene const& scene, RunOptions const& run, SceneFiles const& files,
                        std::vector<int> const& frames);

/// What is missing of a frame, and what would render it all the same.
std::string missingText(Scene const& scene, SceneFiles const& files, int frame);

/// A line a frame, with its number unless it is the only picture, of what would be read and
/// written, and a sum.
std::string planText(Scene const& scene, SceneFiles const& files, Schedule const& schedule);

/// "1 frame", "12 frames"
std::string framesCounted(std::size_t count);

}  // namespace zelk

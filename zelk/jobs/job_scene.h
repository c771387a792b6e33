// The scene of a job: frozen when it is submitted, so that a project that changes later, or is
// gone, alters no frame.
//
// Values, tracks among them, stand in it as they came to; paths are absolute. Pictures stay where
// they are: they are read, not copied.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "zelk/jobs/job.h"
#include "zelk/jobs/task_log.h"
#include "zelk/scene/scene.h"

namespace zelk {

struct FrozenScene {
    Scene scene;
    std::vector<int> frames;          ///< that are asked for and have their inputs, in their order
    std::vector<int> todo;            ///< those of them to be rendered
    std::map<int, WrittenFile> kept;  ///< those that run.skipExisting leaves out
    PixelSize size;                   ///< of each of them
};

/// `scene` settled for its frames, with absolute paths and, where it names none, the OpenColorIO
/// configuration of the environment. Loads the module and opens the first inputs; throws what a
/// render would, and an input error for any input that is not there.
FrozenScene frozenScene(Scene const& scene, RunOptions const& run);

/// The job's scene for these frames.
Scene sceneOf(Job const& job, std::vector<int> const& frames);

/// The movie whose sound the frames' movie has: the plate, else the layer, where that has one.
std::optional<std::filesystem::path> soundOf(Scene const& frozen);

/// The scene that makes the job's frames, those of `frozen`, to its movie, changing no pixel.
Scene movieSceneOf(Job const& job, Scene const& frozen);

}  // namespace zelk

// The sound that a movie is given: that of the movie which it is made from, of the same frames.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zelk/movies/writer.h"
#include "zelk/scene/inputs.h"

namespace zelk {

/// Throws where the scene asks for the sound of a file that has none.
void checkSound(Scene const& scene, SceneFiles const& files);

/// That of the scene's own sound, else the plate's, else the layer's. Nothing where neither is a
/// movie with sound, and, with a warning, where frames do not follow each other or the output has
/// another rate than the movie.
std::optional<MovieSound> soundOf(Scene const& scene, SceneFiles const& files,
                                  std::vector<int> const& frames, TimeBase const& rate,
                                  std::vector<std::string>& warnings);

}  // namespace zelk

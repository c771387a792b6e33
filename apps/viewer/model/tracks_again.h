// TracksAgain: scenes whose tracking files are read again. Scenes that shared a track share the new
// one.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "zelk/scene/scene.h"

namespace zelk {

class TracksAgain {
public:
    /// The scene itself where it has no tracks. One that can't be read stays by its name, as in a
    /// project that is opened (TrackUse::fault).
    std::shared_ptr<Scene const> of(std::shared_ptr<Scene const> const& scene);

private:
    TrackUse const& read(TrackUse const& former);

    std::map<std::shared_ptr<Scene const>, std::shared_ptr<Scene const>> m_scenes;
    std::vector<TrackUse> m_uses;
};

}  // namespace zelk

// See tracks_again.h.
#include "apps/viewer/model/tracks_again.h"

#include <algorithm>

#include "zelk/scene/track_use.h"

namespace zelk {

std::shared_ptr<Scene const> TracksAgain::of(std::shared_ptr<Scene const> const& scene) {
    if (scene->tracks.empty()) return scene;
    auto& known = m_scenes[scene];
    if (known) return known;
    Scene own = *scene;
    for (TrackUse& use : own.tracks) use = read(use);
    return known = std::make_shared<Scene const>(std::move(own));
}

TrackUse const& TracksAgain::read(TrackUse const& former) {
    auto const found = std::find_if(m_uses.begin(), m_uses.end(), [&](TrackUse const& use) {
        return use.name() == former.name() && use.pins == former.pins &&
               use.reading == former.reading;
    });
    if (found != m_uses.end()) return *found;
    m_uses.push_back(readTrackUseToEdit(former.file, former.pins, former.reading));
    return m_uses.back();
}

}  // namespace zelk

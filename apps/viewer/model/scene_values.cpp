// See scene_values.h.
#include "apps/viewer/model/scene_values.h"

#include <algorithm>
#include <set>
#include <string>

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/values.h"

namespace zelk {
namespace {

std::set<int> editedOf(std::vector<ParameterState> const& before,
                       std::vector<Parameter> const& parameters) {
    std::set<int> edited;
    std::vector<ParameterState> const after = statesOf(parameters);
    for (std::size_t i = 0; i < after.size(); ++i)
        if (!(after[i] == before.at(i))) edited.insert(after[i].index);
    return edited;
}

/// Tracks set their pins after the file's values, so a track of an edited pin has to go.
void releaseTracks(Scene& scene, std::set<int>& edited) {
    std::erase_if(scene.tracks, [&](TrackUse const& use) {
        int const first = use.pins == TrackedPins::kTo ? kToPins : kFromPins;
        auto const isPin = [&](int index) { return index >= first && index < first + 4; };
        if (std::none_of(edited.begin(), edited.end(), isPin)) return false;
        for (int index = first; index < first + 4; ++index) edited.insert(index);
        return true;
    });
}

}  // namespace

Scene sceneWithEdits(Scene const& scene, std::vector<ParameterState> const& before,
                     std::vector<Parameter> const& parameters,
                     std::vector<Parameter> const& defaults) {
    std::set<int> edited = editedOf(before, parameters);
    Scene result = scene;
    releaseTracks(result, edited);
    if (edited.contains(kParamQuality)) result.isBest = false;
    Scene const settled = sceneOf(scene, parameters, defaults);
    for (int const index : edited) {
        auto const name = nameOfParameter(index);
        auto const isOwn = [&](SceneParameter const& entry) { return entry.name == name; };
        auto& entries = result.parameters;
        auto const place = std::find_if(entries.begin(), entries.end(), isOwn) - entries.begin();
        std::erase_if(entries, isOwn);
        auto const own = std::find_if(settled.parameters.begin(), settled.parameters.end(), isOwn);
        if (own == settled.parameters.end()) continue;  // back at its default
        entries.insert(entries.begin() + std::min<std::ptrdiff_t>(place, std::ssize(entries)),
                       *own);
    }
    return result;
}

}  // namespace zelk

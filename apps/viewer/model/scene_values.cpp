// See scene_values.h.
#include "apps/viewer/model/scene_values.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/values.h"

namespace zelk {
namespace {

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

/// To Pins that followed their From Pins until now stay where they are.
void holdOpenPins(Scene const& scene, std::vector<Parameter> const& parameters,
                  std::set<int>& edited) {
    for (int index = kToPins; index < kToPins + 4; ++index) {
        auto const from = followedPin(scene, index);
        if (!from || isSetIn(scene, index)) continue;
        auto const valueOf = [&](int pin) {
            return keyValueOf(parameterIn(parameters, pin).current);
        };
        if (valueOf(index) != valueOf(*from)) edited.insert(index);
    }
}

}  // namespace

Scene sceneWithEdits(Scene const& scene, std::vector<int> const& edits,
                     std::vector<Parameter> const& parameters,
                     std::vector<Parameter> const& defaults) {
    std::set<int> edited(edits.begin(), edits.end());
    Scene result = scene;
    releaseTracks(result, edited);
    holdOpenPins(result, parameters, edited);
    if (edited.contains(kParamQuality)) result.isBest = false;
    auto& entries = result.parameters;
    for (int const index : edited) {
        std::string_view const name = nameOfParameter(index);
        auto const isOwn = [name](SceneParameter const& entry) { return entry.name == name; };
        if (!isSetIn(result, index)) entries.push_back({std::string(name)});
        auto entry = entryOf(result, index, parameters, defaults);
        auto const place = std::find_if(entries.begin(), entries.end(), isOwn);
        if (entry) *place = std::move(*entry);
        entries.erase(std::remove_if(entry ? place + 1 : place, entries.end(), isOwn),
                      entries.end());
    }
    return result;
}

}  // namespace zelk

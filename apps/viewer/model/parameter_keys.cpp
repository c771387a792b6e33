// See parameter_keys.h.
#include "apps/viewer/model/parameter_keys.h"

#include <cmath>

namespace zelk {
namespace {

bool changeKeys(Document& document, int index, char const* what,
                std::function<void(Parameter&)> const& act) {
    std::string const label(document.parameter(index).displayName());
    return document.changeValues(what + label, [&](std::vector<Parameter>& parameters) {
        act(parameterIn(parameters, index));
    });
}

bool dropKeys(Document& document, int index) {
    KeyTime const moment = document.moment();
    return changeKeys(document, index, "Remove Keyframes of ", [&](Parameter& parameter) {
        parameter.current = parameter.at(moment);
        parameter.editTrack().clear();
    });
}

bool addKey(Document& document, int index) {
    KeyTime const moment = document.moment();
    return changeKeys(document, index, "Add Keyframe of ", [&](Parameter& parameter) {
        parameter.editTrack().insert(moment, keyValueOf(parameter.current));
    });
}

bool dropKeyHere(Document& document, int index) {
    if (document.parameter(index).track().size() == 1) return dropKeys(document, index);
    KeyTime const moment = document.moment();
    return changeKeys(document, index, "Remove Keyframe of ", [&](Parameter& parameter) {
        auto const keys = parameter.track().keys();
        parameter.editTrack().clear();
        for (Keyframe const& key : keys)
            if (key.time != moment) parameter.editTrack().set(key);
    });
}

}  // namespace

bool hasKeyHere(Document const& document, int index) {
    return document.parameter(index).track().find(document.moment()).has_value();
}

std::optional<int> frameOfKey(Document const& document, int index, bool isLater) {
    std::optional<int> nearest;
    for (Keyframe const& key : document.parameter(index).track().keys()) {
        int const frame = static_cast<int>(std::lround(document.frameOf(key.time)));
        if (isLater && frame > document.frame()) return frame;
        if (!isLater && frame < document.frame()) nearest = frame;
    }
    return nearest;
}

bool toggleKeys(Document& document, int index) {
    if (!document.parameter(index).canVaryInTime()) return false;
    bool const hasKeys = !document.parameter(index).track().empty();
    return hasKeys ? dropKeys(document, index) : addKey(document, index);
}

bool toggleKeyHere(Document& document, int index) {
    if (!document.parameter(index).canVaryInTime()) return false;
    return hasKeyHere(document, index) ? dropKeyHere(document, index) : addKey(document, index);
}

}  // namespace zelk

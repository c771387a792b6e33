// See parameter_keys.h.
#include "apps/viewer/model/parameter_keys.h"

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "apps/viewer/model/key_acts.h"

namespace zelk {
namespace {

bool change(Document& document, int index, char const* what,
            std::function<void(std::vector<Parameter>&)> const& act) {
    return document.changeValues(what + std::string(document.parameter(index).displayName()), act);
}

bool addKey(Document& document, int index) {
    return change(document, index, "Add Key of ",
                  [&](auto& parameters) { addKeys(parameters, {index}, document.moment()); });
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
    if (document.parameter(index).track().empty()) return addKey(document, index);
    return change(document, index, "Remove Keys of ", [&](auto& parameters) {
        deleteKeys(parameters, keysOf(parameters, {index}), document.moment());
    });
}

bool toggleKeyHere(Document& document, int index) {
    if (!document.parameter(index).canVaryInTime()) return false;
    if (!hasKeyHere(document, index)) return addKey(document, index);
    return change(document, index, "Remove Key of ", [&](auto& parameters) {
        deleteKeys(parameters, {{index, document.moment()}}, document.moment());
    });
}

}  // namespace zelk

// What a user does to keyframes: add, delete, move, copy, shape. Each acts on the parameters within
// Document::changeValues, where an exception takes everything back.
//
//     value    a to b is eased out of a and straight into b
//       |            ,--o b        ease = one side of the way between two keys;
//       |        ,-'               a way whose both sides are straight is linear
//       |  a o-''
//       +---------------- time
#pragma once

#include <compare>
#include <functional>
#include <optional>
#include <set>
#include <vector>

#include "hostkit/parameters.h"

namespace zelk {

/// One key of a scene.
struct KeyRef {
    int index = 0;  ///< of the parameter
    KeyTime time;

    friend bool operator==(KeyRef const&, KeyRef const&) = default;
    friend std::strong_ordering operator<=>(KeyRef const& a, KeyRef const& b) {
        if (auto const order = a.index <=> b.index; order != 0) return order;
        return a.time <=> b.time;
    }
};
using KeySelection = std::set<KeyRef>;

/// All keys of these parameters.
KeySelection keysOf(std::vector<Parameter> const& parameters, std::vector<int> const& indices);

/// A key at `time` with the value that is there, on each of them that may have keys; of one that
/// has a key there already, that one.
KeySelection addKeys(std::vector<Parameter>& parameters, std::vector<int> const& indices,
                     KeyTime const& time);

/// A parameter whose last key goes keeps the value that it had at `now`.
void deleteKeys(std::vector<Parameter>& parameters, KeySelection const& keys, KeyTime const& now);

/// Each key to the moment that `moved` gives for its own. Keys that stay give way to one that comes
/// to their moment. Answers where they are now.
KeySelection moveKeys(std::vector<Parameter>& parameters, KeySelection const& keys,
                      std::function<KeyTime(KeyTime const&)> const& moved);

/// A key that was copied.
struct CopiedKey {
    int index = 0;
    double framesFromFirst = 0;  ///< of the earliest key that was copied with it
    Keyframe key;
};

/// `frameOf` gives a moment's frame number.
std::vector<CopiedKey> copyKeys(std::vector<Parameter> const& parameters, KeySelection const& keys,
                                std::function<double(KeyTime const&)> const& frameOf);

/// The earliest of them at `frame`, in place of keys that are there. Answers where they are.
KeySelection pasteKeys(std::vector<Parameter>& parameters, std::vector<CopiedKey> const& copied,
                       double frame, std::function<KeyTime(double)> const& momentOf);

enum class KeyShape {
    kLinear,   ///< straight on both sides
    kHold,     ///< the value stays until the next key
    kEase,     ///< slow on both sides: speed 0
    kEaseIn,   ///< slow at its arrival
    kEaseOut,  ///< slow at its departure
};

/// Parameters that only hold stay as they are.
void shapeKeys(std::vector<Parameter>& parameters, KeySelection const& keys, KeyShape shape);

/// The ways that lead to a key and away from it.
struct KeySides {
    Ease incoming, outgoing;
};

/// As they are: a straight side has the mean speed of its way.
KeySides sidesOf(Parameter const& parameter, KeyTime const& time);

/// What changes of a side; a number that is not there stays.
struct EaseChange {
    std::optional<double> influencePercent, speed;  ///< as in Ease
    Ease of(Ease const& before) const;
    bool operator==(EaseChange const&) const = default;
};

/// Each key keeps its own numbers beside those of the changes.
void easeKeys(std::vector<Parameter>& parameters, KeySelection const& keys,
              EaseChange const& incoming, EaseChange const& outgoing);

}  // namespace zelk

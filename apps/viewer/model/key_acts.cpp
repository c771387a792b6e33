// See key_acts.h.
#include "apps/viewer/model/key_acts.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace zelk {
namespace {

using Keys = std::vector<Keyframe>;

Keys keysIn(Parameter const& parameter) {
    auto const& keys = parameter.track().keys();
    return {keys.begin(), keys.end()};
}

void replaceKeys(Parameter& parameter, Keys const& keys) {
    KeyframeTrack& track = parameter.editTrack();
    track.clear();
    for (Keyframe const& key : keys) track.set(key);
}

/// The selected keys of each parameter that has some.
std::map<int, std::set<KeyTime>> byParameter(KeySelection const& keys) {
    std::map<int, std::set<KeyTime>> sorted;
    for (KeyRef const& key : keys) sorted[key.index].insert(key.time);
    return sorted;
}

double secondsBetween(Keyframe const& from, Keyframe const& to) {
    return double(to.time.value) / to.time.scale - double(from.time.value) / from.time.scale;
}

/// The ease of a side that goes on as a line: the way's mean speed.
Ease straightEase(Keyframe const& from, Keyframe const& to, int numbers) {
    double way = to.value[0] - from.value[0];
    for (int n = 1; n < numbers; ++n)
        way = std::hypot(
            way, to.value[static_cast<std::size_t>(n)] - from.value[static_cast<std::size_t>(n)]);
    return {Ease{}.influencePercent, way / secondsBetween(from, to)};
}

enum class Side { kOutgoing, kIncoming };

/// One side of the way between two keys; nothing for a straight one.
void setSide(Keyframe& from, Keyframe& to, int numbers, Side side,
             std::optional<Ease> const& ease) {
    Ease const straight = straightEase(from, to, numbers);
    if (from.toNext != Interpolation::kBezier) from.outgoing = to.incoming = straight;
    (side == Side::kOutgoing ? from.outgoing : to.incoming) = ease.value_or(straight);
    bool const isLine = from.outgoing == straight && to.incoming == straight;
    from.toNext = isLine ? Interpolation::kLinear : Interpolation::kBezier;
    if (isLine) from.outgoing = to.incoming = Ease{};
}

/// Calls with each selected key's place among its parameter's keys, and puts them back. Keys that
/// can but hold have no sides.
void changeKeys(std::vector<Parameter>& parameters, KeySelection const& selection,
                std::function<void(Keys&, std::size_t, int numbers)> const& change) {
    for (auto const& [index, times] : byParameter(selection)) {
        Parameter& parameter = parameterIn(parameters, index);
        if (parameter.track().holdsOnly()) continue;
        Keys keys = keysIn(parameter);
        for (std::size_t i = 0; i < keys.size(); ++i)
            if (times.contains(keys[i].time)) change(keys, i, parameter.track().numbers());
        replaceKeys(parameter, keys);
    }
}

/// The way that leads to a key; one that holds stays so.
void setIncoming(Keys& keys, std::size_t i, int numbers, std::optional<Ease> const& ease) {
    if (i == 0) {
        keys[i].incoming = ease.value_or(Ease{});  // for a key that comes before it
        return;
    }
    if (keys[i - 1].toNext == Interpolation::kHold) return;
    setSide(keys[i - 1], keys[i], numbers, Side::kIncoming, ease);
}

void setOutgoing(Keys& keys, std::size_t i, int numbers, std::optional<Ease> const& ease) {
    if (i + 1 == keys.size()) {
        // It leads nowhere, until there is a key after it.
        keys[i].toNext = ease ? Interpolation::kBezier : Interpolation::kLinear;
        keys[i].outgoing = ease.value_or(Ease{});
        return;
    }
    setSide(keys[i], keys[i + 1], numbers, Side::kOutgoing, ease);
}

KeySides sidesAt(Keys const& keys, std::size_t i, int numbers) {
    KeySides sides{keys[i].incoming, keys[i].outgoing};
    if (i > 0 && keys[i - 1].toNext == Interpolation::kLinear)
        sides.incoming = straightEase(keys[i - 1], keys[i], numbers);
    if (i + 1 < keys.size() && keys[i].toNext == Interpolation::kLinear)
        sides.outgoing = straightEase(keys[i], keys[i + 1], numbers);
    return sides;
}

}  // namespace

KeySelection keysOf(std::vector<Parameter> const& parameters, std::vector<int> const& indices) {
    KeySelection keys;
    for (int const index : indices)
        for (Keyframe const& key : parameterIn(parameters, index).track().keys())
            keys.insert({index, key.time});
    return keys;
}

KeySelection addKeys(std::vector<Parameter>& parameters, std::vector<int> const& indices,
                     KeyTime const& time) {
    KeySelection added;
    for (int const index : indices) {
        Parameter& parameter = parameterIn(parameters, index);
        if (!parameter.canVaryInTime()) continue;
        parameter.editTrack().insert(time, keyValueOf(parameter.current));
        added.insert({index, time});
    }
    return added;
}

void deleteKeys(std::vector<Parameter>& parameters, KeySelection const& selection,
                KeyTime const& now) {
    for (auto const& [index, times] : byParameter(selection)) {
        Parameter& parameter = parameterIn(parameters, index);
        KeyValue const value = keyValueOf(parameter.at(now));
        Keys keys = keysIn(parameter);
        std::erase_if(keys, [&of = times](Keyframe const& key) { return of.contains(key.time); });
        replaceKeys(parameter, keys);
        if (keys.empty()) setKeyValue(parameter.current, value);
    }
}

KeySelection moveKeys(std::vector<Parameter>& parameters, KeySelection const& selection,
                      std::function<KeyTime(KeyTime const&)> const& moved) {
    KeySelection now;
    for (auto const& [index, times] : byParameter(selection)) {
        Parameter& parameter = parameterIn(parameters, index);
        Keys staying = keysIn(parameter), going;
        for (Keyframe const& key : staying)
            if (times.contains(key.time)) going.push_back(key);
        std::erase_if(staying,
                      [&of = times](Keyframe const& key) { return of.contains(key.time); });
        for (Keyframe& key : going) {
            key.time = moved(key.time);
            now.insert({index, key.time});
        }
        staying.insert(staying.end(), going.begin(), going.end());
        replaceKeys(parameter, staying);  // of two at one moment the later one stays
    }
    return now;
}

std::vector<CopiedKey> copyKeys(std::vector<Parameter> const& parameters,
                                KeySelection const& selection,
                                std::function<double(KeyTime const&)> const& frameOf) {
    std::vector<CopiedKey> copied;
    for (KeyRef const& ref : selection) {
        KeyframeTrack const& track = parameterIn(parameters, ref.index).track();
        if (auto const place = track.find(ref.time))
            copied.push_back({ref.index, frameOf(ref.time), track.keys()[*place]});
    }
    if (copied.empty()) return copied;
    double const first =
        std::min_element(copied.begin(), copied.end(), [](CopiedKey const& a, CopiedKey const& b) {
            return a.framesFromFirst < b.framesFromFirst;
        })->framesFromFirst;
    for (CopiedKey& key : copied) key.framesFromFirst -= first;
    return copied;
}

KeySelection pasteKeys(std::vector<Parameter>& parameters, std::vector<CopiedKey> const& copied,
                       double frame, std::function<KeyTime(double)> const& momentOf) {
    KeySelection pasted;
    for (CopiedKey const& from : copied) {
        Keyframe key = from.key;
        key.time = momentOf(frame + from.framesFromFirst);
        parameterIn(parameters, from.index).editTrack().set(key);
        pasted.insert({from.index, key.time});
    }
    return pasted;
}

void shapeKeys(std::vector<Parameter>& parameters, KeySelection const& selection, KeyShape shape) {
    bool const isIn = shape == KeyShape::kEase || shape == KeyShape::kEaseIn;
    bool const isOut = shape == KeyShape::kEase || shape == KeyShape::kEaseOut;
    if (isIn || isOut) {
        EaseChange const slow{Ease{}.influencePercent, Ease{}.speed};
        return easeKeys(parameters, selection, isIn ? slow : EaseChange{},
                        isOut ? slow : EaseChange{});
    }
    changeKeys(parameters, selection, [&](Keys& keys, std::size_t i, int numbers) {
        if (shape == KeyShape::kHold) {
            keys[i].toNext = Interpolation::kHold;
            return;
        }
        setIncoming(keys, i, numbers, std::nullopt);
        setOutgoing(keys, i, numbers, std::nullopt);
    });
}

KeySides sidesOf(Parameter const& parameter, KeyTime const& time) {
    Keys const keys = keysIn(parameter);
    return sidesAt(keys, *parameter.track().find(time), parameter.track().numbers());
}

Ease EaseChange::of(Ease const& before) const {
    return {influencePercent.value_or(before.influencePercent), speed.value_or(before.speed)};
}

void easeKeys(std::vector<Parameter>& parameters, KeySelection const& selection,
              EaseChange const& incoming, EaseChange const& outgoing) {
    EaseChange const none;
    changeKeys(parameters, selection, [&](Keys& keys, std::size_t i, int numbers) {
        KeySides const now = sidesAt(keys, i, numbers);
        if (incoming != none) setIncoming(keys, i, numbers, incoming.of(now.incoming));
        if (outgoing != none) setOutgoing(keys, i, numbers, outgoing.of(now.outgoing));
    });
}

}  // namespace zelk

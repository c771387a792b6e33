// The keyframes of one parameter, and the value that they give at any moment.
//
//     value
//       |            outgoing ease of b        b to c is bezier: a cubic curve in (time, value)
//       |                 ,..--o--c           whose handles reach `influence` percent of the
//       |   a-------b--o''                    interval, at `speed`
//       |    linear      incoming ease of c
//       +--------------------------------- time
//
// Units: moments are exact fractions of a second of layer time. Values are in users' units: a
// point is x, y in layer pixels at full resolution; a colour is alpha, red, green, blue from 0 to
// 255; any other kind is the one number that numberOf (hostkit/parameters.h) gives.
// Several numbers move together along the straight segment between two keys, eased by distance.
// Before the first key and after the last the value holds.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "hostkit/comp.h"
#include "platform/effect_api/effect_types.h"

namespace zelk {

/// A moment: value / scale seconds, `scale` above 0. Compared exactly: 1/2 and 2/4 are one moment.
struct KeyTime {
    A_long value = 0;
    A_u_long scale = 1;

    friend std::strong_ordering operator<=>(KeyTime const& a, KeyTime const& b) {
        return std::int64_t{a.value} * b.scale <=> std::int64_t{b.value} * a.scale;
    }
    friend bool operator==(KeyTime const& a, KeyTime const& b) { return (a <=> b) == 0; }
};

/// The numbers of a value; those beyond the track's count are not read.
using KeyValue = std::array<double, 4>;

struct Keyframe {
    KeyTime time;
    KeyValue value{};
    Interpolation toNext = Interpolation::kLinear;
    Ease incoming{};  ///< read when the key before is kBezier
    Ease outgoing{};  ///< read when this key is kBezier
    bool operator==(Keyframe const&) const = default;
};

class KeyframeTrack {
public:
    /// `numbers`: 1 to 4 in each value. A track that only holds makes every key kHold.
    explicit KeyframeTrack(int numbers = 1, bool holdsOnly = false)
        : m_numbers(numbers), m_holdsOnly(holdsOnly) {}

    int numbers() const { return m_numbers; }
    bool holdsOnly() const { return m_holdsOnly; }
    bool empty() const { return m_keys.empty(); }
    std::size_t size() const { return m_keys.size(); }
    /// In order of time, no two at one moment.
    std::deque<Keyframe> const& keys() const { return m_keys; }
    /// The index of the key at exactly that moment.
    std::optional<std::size_t> find(KeyTime const& time) const;

    /// Puts a key in its place, instead of one at the same moment, and answers its index. Constant
    /// time at the end, logarithmic at the start; elsewhere the keys up to the nearer end move.
    /// HostError for a time scale of 0, a value or speed that is not finite, or an influence out of
    /// range.
    std::size_t set(Keyframe key);
    /// A linear key at `time` with the value that the track has there, or `valueOfEmpty` when it
    /// has no keys. A key that is there already stays as it is. Answers the index; HostError as
    /// set.
    std::size_t insert(KeyTime const& time, KeyValue const& valueOfEmpty);
    /// HostError for an index out of range, or a value that is not finite.
    void setValue(std::size_t index, KeyValue const& value);
    void clear() { m_keys.clear(); }

    /// The value at a moment, `time.scale` above 0; zeros for a track without keys. Logarithmic in
    /// the number of keys. A bezier's time is solved to double precision.
    KeyValue valueAt(KeyTime const& time) const;

    bool operator==(KeyframeTrack const&) const = default;

private:
    KeyValue between(Keyframe const& from, Keyframe const& to, KeyTime const& time) const;

    std::deque<Keyframe> m_keys;
    int m_numbers;
    bool m_holdsOnly;
};

}  // namespace zelk

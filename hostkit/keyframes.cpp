// Keyframes: their order, and the curves between them.
//
// A bezier runs through P(u) = (time, value), u from 0 to 1, with the handles
//   P0 = (0, 0)   P1 = (o, o T so)   P2 = (1 - i, D - i T si)   P3 = (1, D)
// where time is a fraction of the interval, T its length in seconds, D the way from one value to
// the next, o and i the influences as fractions, so and si the speeds. With o and i in 0 to 1 the
// time never runs backwards, so each moment has one value.
#include "hostkit/keyframes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "hostkit/error.h"

namespace zelk {
namespace {

__extension__ typedef __int128 Wide;  // three 32-bit factors meet

/// From `a` to `b`, in units of 1 / (a.scale * b.scale) seconds.
Wide gap(KeyTime const& a, KeyTime const& b) {
    return Wide{b.value} * a.scale - Wide{a.value} * b.scale;
}

double secondsBetween(KeyTime const& a, KeyTime const& b) {
    return static_cast<double>(gap(a, b)) / (double(a.scale) * double(b.scale));
}

/// Where `time` lies between two moments, 0 to 1; three roundings.
double fractionOf(KeyTime const& time, KeyTime const& from, KeyTime const& to) {
    return static_cast<double>(gap(from, time) * to.scale) /
           static_cast<double>(gap(from, to) * time.scale);
}

/// The cubic with the control values 0, c1, c2, c3.
struct Cubic {
    double c1, c2, c3;

    double at(double u) const {
        double const v = 1 - u;
        return u * (3 * v * v * c1 + u * (3 * v * c2 + u * c3));
    }
    double slopeAt(double u) const {
        double const v = 1 - u;
        return 3 * (v * v * c1 + u * (2 * v * (c2 - c1) + u * (c3 - c2)));
    }
};

/// The u at which a cubic that rises from 0 to 1 is `x`: Newton's steps within a bracket that each
/// of them narrows, until it holds nothing more between its ends. Where a step leaves the bracket,
/// or the slope is 0, the middle is taken.
double solve(Cubic const& rising, double x) {
    constexpr int kMaxSteps = 200;  // a bracket halves some 60 times
    double low = 0, high = 1, u = x;
    for (int step = 0; step < kMaxSteps; ++step) {
        double const beyond = rising.at(u) - x;
        if (beyond == 0) break;
        (beyond < 0 ? low : high) = u;
        double next = u - beyond / rising.slopeAt(u);
        if (!(next > low && next < high)) next = low + (high - low) / 2;
        if (!(next > low && next < high)) break;
        u = next;
    }
    return u;
}

/// How far a bezier has come of `way` at the fraction `x` of an interval.
double travelled(Ease const& out, Ease const& in, double seconds, double way, double x) {
    double const o = out.influencePercent / 100, i = in.influencePercent / 100;
    double const u = solve({o, 1 - i, 1}, x);
    return Cubic{o * seconds * out.speed, way - i * seconds * in.speed, way}.at(u);
}

void require(bool holds, std::string const& what) {
    if (!holds) throw HostError(what);
}

void requireSound(KeyTime const& time) {
    require(time.scale > 0, "the time scale \"0\" of a keyframe, expected a number above 0");
}

void requireSound(Ease const& ease) {
    double const percent = ease.influencePercent;
    require(percent >= 0.1 && percent <= 100,
            fmt::format("the influence \"{}\" of a keyframe is out of range, expected 0.1 to 100 "
                        "percent",
                        percent));
    require(
        std::isfinite(ease.speed),
        fmt::format("the speed \"{}\" of a keyframe is not finite, expected a number", ease.speed));
}

void requireFinite(KeyValue const& value, int numbers) {
    for (std::size_t n = 0; n < static_cast<std::size_t>(numbers); ++n)
        require(std::isfinite(value[n]),
                fmt::format("the value \"{}\" of a keyframe is not finite, expected a number",
                            value[n]));
}

/// The first key at `time` or after it. Keys mostly come in order: the end is tried first.
template <class Keys>
auto placeOf(KeyTime const& time, Keys& keys) {
    if (keys.empty() || keys.back().time < time) return keys.end();
    return std::lower_bound(keys.begin(), keys.end(), time,
                            [](Keyframe const& key, KeyTime const& at) { return key.time < at; });
}

}  // namespace

std::optional<std::size_t> KeyframeTrack::find(KeyTime const& time) const {
    auto const at = placeOf(time, m_keys);
    if (at == m_keys.end() || at->time != time) return std::nullopt;
    return static_cast<std::size_t>(at - m_keys.begin());
}

std::size_t KeyframeTrack::set(Keyframe key) {
    requireSound(key.time);
    requireFinite(key.value, m_numbers);
    requireSound(key.incoming);
    requireSound(key.outgoing);
    if (m_holdsOnly) key.toNext = Interpolation::kHold;
    auto at = placeOf(key.time, m_keys);
    if (at != m_keys.end() && at->time == key.time)
        *at = key;
    else
        at = m_keys.insert(at, key);
    return static_cast<std::size_t>(at - m_keys.begin());
}

std::size_t KeyframeTrack::insert(KeyTime const& time, KeyValue const& valueOfEmpty) {
    requireSound(time);
    if (auto const there = find(time)) return *there;
    Keyframe key;
    key.time = time;
    key.value = empty() ? valueOfEmpty : valueAt(time);
    return set(key);
}

void KeyframeTrack::setValue(std::size_t index, KeyValue const& value) {
    require(index < size(), fmt::format("no keyframe \"{}\", expected one of {}", index, size()));
    requireFinite(value, m_numbers);
    m_keys[index].value = value;
}

KeyValue KeyframeTrack::valueAt(KeyTime const& time) const {
    if (m_keys.empty()) return {};
    auto const next = placeOf(time, m_keys);
    if (next == m_keys.end()) return m_keys.back().value;
    if (next == m_keys.begin() || next->time == time) return next->value;
    return between(*std::prev(next), *next, time);
}

KeyValue KeyframeTrack::between(Keyframe const& from, Keyframe const& to,
                                KeyTime const& time) const {
    if (from.toNext == Interpolation::kHold) return from.value;
    double part = fractionOf(time, from.time, to.time);
    if (from.toNext == Interpolation::kBezier) {
        double const seconds = secondsBetween(from.time, to.time);
        double way = to.value[0] - from.value[0];
        if (m_numbers == 1)
            return {from.value[0] + travelled(from.outgoing, to.incoming, seconds, way, part)};
        for (std::size_t n = 1; n < static_cast<std::size_t>(m_numbers); ++n)
            way = std::hypot(way, to.value[n] - from.value[n]);
        if (!(way > 0)) return from.value;
        part = std::clamp(travelled(from.outgoing, to.incoming, seconds, way, part) / way, 0., 1.);
    }
    KeyValue value{};
    for (std::size_t n = 0; n < static_cast<std::size_t>(m_numbers); ++n)
        value[n] = std::lerp(from.value[n], to.value[n], part);
    return value;
}

}  // namespace zelk

// Channel values of files and of the host's worlds, and the way between them.
//
// A file's white is 255, 65535 or 1.0; a world's is 255, 32768 or 1.0. A value goes over by the
// ratio of the whites, rounded once, to nearest; a value above the world's white is clamped on the
// way to an integer file. Float to float is untouched, so values beyond white and below 0 live on.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "hostkit/world.h"

namespace zelk {

/// White of a channel in a world.
template <class Channel>
inline constexpr Channel kWhite = 1;
template <>
inline constexpr std::uint8_t kWhite<std::uint8_t> = 255;
template <>
inline constexpr std::uint16_t kWhite<std::uint16_t> = 32768;

/// White of a channel in a file.
template <class Channel>
inline constexpr Channel kFileWhite = kWhite<Channel>;
template <>
inline constexpr std::uint16_t kFileWhite<std::uint16_t> = 65535;

/// Unit range (1.0 is white) to a world's channel; integers clamp, and NaN becomes 0.
template <class Channel>
Channel fromUnit(double unit) {
    if constexpr (std::is_floating_point_v<Channel>) {
        return static_cast<Channel>(unit);
    } else {
        if (!(unit > 0)) return 0;
        if (unit >= 1) return kWhite<Channel>;
        return static_cast<Channel>(std::floor(unit * kWhite<Channel> + 0.5));
    }
}

/// A file's value to a world's.
template <class Channel, class Stored>
Channel fromFile(Stored value) {
    if constexpr (std::is_same_v<Channel, float>) {
        return static_cast<float>(value) / static_cast<float>(kFileWhite<Stored>);
    } else if constexpr (std::is_same_v<Stored, float>) {
        return fromUnit<Channel>(static_cast<double>(value));
    } else {
        // 255 and 65535 are odd: no ties.
        std::uint32_t const half = kFileWhite<Stored> / 2;
        return static_cast<Channel>((static_cast<std::uint32_t>(value) * kWhite<Channel> + half) /
                                    kFileWhite<Stored>);
    }
}

/// A world's value to that of a file of the same depth.
template <class Channel>
Channel toFile(Channel value) {
    if constexpr (std::is_same_v<Channel, std::uint16_t>) {
        std::uint32_t const clamped = value < 32768 ? value : 32768u;
        return static_cast<std::uint16_t>((clamped * 65535u + 16384u) >> 15);
    } else {
        return value;
    }
}

/// Calls `body` with a value of the channel type of `depth`.
template <class Body>
decltype(auto) withChannelOf(Depth depth, Body&& body) {
    switch (depth) {
        case Depth::k8:
            return body(std::uint8_t{});
        case Depth::k16:
            return body(std::uint16_t{});
        default:
            return body(float{});
    }
}

}  // namespace zelk

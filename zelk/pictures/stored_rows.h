// A world's rows as the values that a file, or a picture in memory, keeps of them.
//
// Straight integers of the same depth go over exactly, all else in float, which is rounded once:
// between straight and associated colour, without alpha, to another depth.
#pragma once

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <type_traits>
#include <vector>

#include "hostkit/world.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/row_values.h"

namespace zelk {

/// How a world's rows are stored.
struct RowPlan {
    int channels = 4;
    bool isStraight = true;    ///< colour in the file
    bool fromStraight = true;  ///< colour in the world
    /// Colour where alpha is 0 goes over unchanged: it can't be divided, or was never multiplied.
    bool keepsUncovered = false;
    OIIO::TypeDesc type;  ///< of the file
    int bits = 0;         ///< fewer than those of the type; 0 for all
};

/// As a file of that name keeps them. Throws where the name is of no format.
struct WriteRequest;
RowPlan fileRows(std::filesystem::path const& target, WriteRequest const& request);

/// To the nearest of the file's steps; writers cut off what their samples can't hold.
inline void roundToBits(int bits, std::vector<float>& values) {
    auto const white = static_cast<float>((1 << bits) - 1);
    for (float& value : values) value = std::floor(value * white + 0.5f) / white;
}

/// One row to a file's values; `Stored` is the world's channel where nothing has to be computed.
/// Four channels of the world's own type go in vectors.
template <class Channel, class Stored>
void storeRow(Channel const* rgba, int width, RowPlan const& plan, Stored* values) {
    if constexpr (std::is_same_v<Channel, Stored>) {
        auto const pixels = static_cast<std::size_t>(width);
        if (plan.channels == 4) {
            if constexpr (std::is_same_v<Channel, std::uint16_t>)
                return vectorRows().toFile16(rgba, 4 * pixels, values);
            std::copy_n(rgba, 4 * pixels, values);
            if constexpr (std::is_same_v<Channel, float>)
                if (plan.isStraight != plan.fromStraight)
                    vectorRows().byAlpha(values, pixels, {!plan.fromStraight, plan.keepsUncovered});
            return;
        }
    }
    for (int x = 0; x < width; ++x, rgba += 4, values += plan.channels) {
        if (plan.channels == 1) {
            if constexpr (std::is_same_v<Channel, Stored> && !std::is_same_v<Stored, float>)
                values[0] = toFile(rgba[3]);
            else
                values[0] = static_cast<float>(rgba[3]) / static_cast<float>(kWhite<Channel>);
            continue;
        }
        if constexpr (std::is_same_v<Channel, Stored> && !std::is_same_v<Stored, float>) {
            for (int c = 0; c < plan.channels; ++c) values[c] = toFile(rgba[c]);
        } else {
            constexpr auto kUnit = static_cast<float>(kWhite<Channel>);
            for (int c = 0; c < plan.channels; ++c) values[c] = static_cast<float>(rgba[c]) / kUnit;
            float const alpha = static_cast<float>(rgba[3]) / kUnit;
            bool const isKept = plan.keepsUncovered && alpha == 0;
            if (plan.isStraight == plan.fromStraight || isKept) continue;
            for (int c = 0; c < 3; ++c)
                values[c] = plan.fromStraight ? values[c] * alpha : values[c] / alpha;
        }
    }
}

/// Straight integers of the file's own depth go over exactly; all else through float. Calls `body`
/// with a world's value and a stored one.
template <class Body>
decltype(auto) withStored(World const& world, RowPlan const& plan, Body&& body) {
    return withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        bool const isDirect = plan.channels == 1 || (plan.isStraight && plan.fromStraight);
        bool const isExact =
            isDirect && plan.bits == 0 && plan.type == OIIO::BaseTypeFromC<Channel>::value;
        return isExact ? body(channel, Channel()) : body(channel, 0.0f);
    });
}

}  // namespace zelk

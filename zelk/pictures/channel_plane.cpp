// Reading and reducing of planes; see channel_plane.h.
#include "zelk/pictures/channel_plane.h"

#include <algorithm>

#include "zelk/pictures/reader.h"

namespace zelk {

namespace {

/// BT.709. Grey is its own luminance, to the bit.
float luminance(float const* rgb) {
    if (rgb[0] == rgb[1] && rgb[1] == rgb[2]) return rgb[0];
    return 0.2126f * rgb[0] + 0.7152f * rgb[1] + 0.0722f * rgb[2];
}

}  // namespace

ChannelPlane readChannel(PictureReader& picture, std::string const& name) {
    picture.selectChannel(name);
    ChannelPlane plane{{picture.width(), picture.height()}, {}};
    plane.values.resize(static_cast<std::size_t>(plane.size.width) *
                        static_cast<std::size_t>(plane.size.height));
    picture.readAssociated([&plane](int y, float const* rgba) {
        float* const row = plane.row(y);
        for (int x = 0; x < plane.size.width; ++x) {
            float const value = luminance(rgba + 4 * x);
            row[x] = value > 0 ? std::min(value, 1.0f) : 0;
        }
    });
    return plane;
}

ChannelPlane boxReduced(ChannelPlane const& plane, int n) {
    if (n == 1) return plane;
    ChannelPlane small{{plane.size.width / n, plane.size.height / n}, {}};
    small.values.reserve(static_cast<std::size_t>(small.size.width) *
                         static_cast<std::size_t>(small.size.height));
    for (int y = 0; y < small.size.height; ++y)
        for (int x = 0; x < small.size.width; ++x) {
            double sum = 0;
            for (int j = 0; j < n; ++j)
                for (int i = 0; i < n; ++i) sum += plane.row(y * n + j)[x * n + i];
            small.values.push_back(static_cast<float>(sum / n / n));
        }
    return small;
}

}  // namespace zelk

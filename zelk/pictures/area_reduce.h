// Pictures made smaller to any size: each pixel is the mean of what lies under it, by area. For
// drafts that have the pixels of a screen; whole numbers of times are box_reduce.h's.
//
//   along a side: weight of pixel i in pixel j = what [i, i + 1) has of [j r, (j + 1) r), over r,
//   where r = from / to
//
// Straight colour is weighted by its alpha, as there. Sums are floats; integers are rounded to
// nearest, halves up.
#pragma once

#include <vector>

#include "hostkit/world.h"
#include "zelk/pictures/channel_plane.h"

namespace zelk {

/// What the pixels of a smaller side are made of.
class AreaSide {
public:
    /// `to` pixels of `from`, from 1 to as many.
    AreaSide(int from, int to);
    struct Span {
        int first, count;
        float const* weights;  ///< `count` of them, 1 together
    };
    Span span(int pixel) const;

private:
    struct Place {
        int first, count, weights;
    };
    std::vector<Place> m_places;
    std::vector<float> m_weights;
};

/// In the layout of `from`, no larger than it. Throws HostError where memory is not there.
World areaReduced(World const& from, PixelSize to, AlphaForm form);
ChannelPlane areaReduced(ChannelPlane const& from, PixelSize to);

}  // namespace zelk

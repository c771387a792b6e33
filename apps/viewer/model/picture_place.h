// PicturePlace: where the pixels of a rendered picture lie in what a panel shows.
//
//     shown = corner + own * scale
//
// `shown` are pixels of the frame, the layer or the plate at full resolution, from their upper left
// corner; `own` those of the picture that was rendered of it: reduced by the panel's zoom and the
// scene's Downsample, and with Grow Bounds around, so that its corner lies outside.
#pragma once

#include "apps/viewer/model/frame_cache.h"
#include "hostkit/panel.h"

namespace zelk {

struct PicturePlace {
    PanelPoint corner;
    PanelPoint scale = {1, 1};
    PixelSize size;  ///< of the whole picture, own pixels

    PanelPoint toOwn(PanelPoint shown) const;
    PanelPoint toShown(PanelPoint own) const;
    /// The own pixels that a rectangle of what is shown meets, and so many around them, as far as
    /// there are any.
    PixelRect part(PanelPoint first, PanelPoint last, int around = 0) const;
};

/// Of a picture of something of the size `shown`.
PicturePlace placeOf(ShownFrame const& frame, PixelSize shown, Document const& document);
/// Before it is rendered.
PicturePlace placeAhead(PictureView const& view, PixelSize shown, Document const& document);

}  // namespace zelk

// See picture_place.h.
#include "apps/viewer/model/picture_place.h"

#include <algorithm>
#include <cmath>

namespace zelk {
namespace {

int downsampleOf(Document const& document) { return document.scene().downsample.value_or(1); }

int scaleOf(PictureView const& view, int downsample) {
    return view.reduce * (view.shows == ShownPicture::kFrame ? downsample : 1);
}

int within(double at, int most) {
    return static_cast<int>(std::clamp(at, 0.0, static_cast<double>(most)));
}

}  // namespace

PanelPoint PicturePlace::toOwn(PanelPoint shown) const {
    return {(shown.x - corner.x) / scale, (shown.y - corner.y) / scale};
}

PanelPoint PicturePlace::toShown(PanelPoint own) const {
    return {corner.x + own.x * scale, corner.y + own.y * scale};
}

PixelRect PicturePlace::part(PanelPoint first, PanelPoint last, int around) const {
    PanelPoint const from = toOwn(first), to = toOwn(last);
    return {
        within(std::floor(from.x) - around, size.width),
        within(std::floor(from.y) - around, size.height),
        within(std::ceil(to.x) + around, size.width),
        within(std::ceil(to.y) + around, size.height),
    };
}

PicturePlace placeOf(PictureView const& view, PixelSize whole, PixelSize shown, int downsample) {
    PicturePlace place{{}, scaleOf(view, downsample), whole};
    if (view.shows != ShownPicture::kFrame) return place;
    // Grow Bounds is as wide on both sides.
    auto const corner = [&](int all, int own) {
        return -static_cast<double>(std::max(0, (all - own / place.scale) / 2) * place.scale);
    };
    place.corner = {corner(whole.width, shown.width), corner(whole.height, shown.height)};
    return place;
}

PicturePlace placeOf(ShownFrame const& frame, PixelSize shown, Document const& document) {
    return placeOf(frame.view, frame.whole, shown, downsampleOf(document));
}

PicturePlace placeAhead(PictureView const& view, PixelSize shown, Document const& document) {
    int const downsample = downsampleOf(document), scale = scaleOf(view, downsample);
    bool const mayGrow = view.shows == ShownPicture::kFrame && !document.scene().isInverted;
    PixelSize const whole = mayGrow ? document.renderedSize(view.reduce)
                                    : PixelSize{shown.width / scale, shown.height / scale};
    return placeOf(view, whole, shown, downsample);
}

}  // namespace zelk

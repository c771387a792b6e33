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

/// Beyond what is shown, by Grow Bounds. An inverted scene's frame never does: where its picture is
/// larger, it was rendered by other pins.
bool mayGrow(PictureView const& view, Document const& document) {
    return view.shows == ShownPicture::kFrame && !document.scene().isInverted;
}

int within(double at, int most) {
    return static_cast<int>(std::clamp(at, 0.0, static_cast<double>(most)));
}

/// A picture of the size `whole` of something of the size `shown`.
PicturePlace placed(PictureView const& view, PixelSize whole, PixelSize shown,
                    Document const& document) {
    PicturePlace place{{}, scaleOf(view, downsampleOf(document)), whole};
    if (!mayGrow(view, document)) return place;
    // Grow Bounds is as wide on both sides.
    auto const corner = [&](int all, int own) {
        return -static_cast<double>(std::max(0, (all - own / place.scale) / 2) * place.scale);
    };
    place.corner = {corner(whole.width, shown.width), corner(whole.height, shown.height)};
    return place;
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

PicturePlace placeOf(ShownFrame const& frame, PixelSize shown, Document const& document) {
    return placed(frame.view, frame.whole, shown, document);
}

PicturePlace placeAhead(PictureView const& view, PixelSize shown, Document const& document) {
    int const scale = scaleOf(view, downsampleOf(document));
    PixelSize const whole = mayGrow(view, document)
                                ? document.renderedSize(view.reduce)
                                : PixelSize{shown.width / scale, shown.height / scale};
    return placed(view, whole, shown, document);
}

}  // namespace zelk

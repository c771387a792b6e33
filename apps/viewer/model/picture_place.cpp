// See picture_place.h.
#include "apps/viewer/model/picture_place.h"

#include <algorithm>
#include <cmath>

namespace zelk {
namespace {

int downsampleOf(Document const& document) { return document.scene().downsample.value_or(1); }

/// Of something of the size `shown`.
Reduction reductionOf(PictureView const& view, PixelSize shown, Document const& document) {
    if (view.size) return {{view.size->width, shown.width}, {view.size->height, shown.height}};
    return view.reduce * (view.shows == ShownPicture::kFrame ? downsampleOf(document) : 1);
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
    Reduction const by = reductionOf(view, shown, document);
    PicturePlace place{{}, {by.x(), by.y()}, whole};
    if (!mayGrow(view, document)) return place;
    // Grow Bounds is as wide on both sides.
    auto const grown = [](int all, int own) { return std::max(0, (all - own) / 2); };
    place.corner = {-by.x() * grown(whole.width, by.width(shown.width)),
                    -by.y() * grown(whole.height, by.height(shown.height))};
    return place;
}

}  // namespace

PanelPoint PicturePlace::toOwn(PanelPoint shown) const {
    return {(shown.x - corner.x) / scale.x, (shown.y - corner.y) / scale.y};
}

PanelPoint PicturePlace::toShown(PanelPoint own) const {
    return {corner.x + own.x * scale.x, corner.y + own.y * scale.y};
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
    Reduction const by = reductionOf(view, shown, document);
    PixelSize const whole = mayGrow(view, document)
                                ? document.renderedSize(view.reduce, view.size)
                                : PixelSize{by.width(shown.width), by.height(shown.height)};
    return placed(view, whole, shown, document);
}

}  // namespace zelk

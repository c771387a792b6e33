// See draft_policy.h.
#include "apps/viewer/model/draft_policy.h"

#include <algorithm>
#include <cmath>

namespace zelk {

int reductionFor(double zoom, PixelSize picture) {
    int const most = std::max(1, std::min(picture.width, picture.height));
    if (!(zoom > 0)) return most;
    // 1 / zoom may come out just below a whole number.
    double const pixels = std::floor(1 / zoom + 1e-9);
    return static_cast<int>(std::clamp<double>(pixels, 1, most));
}

/// Of the reduced picture, outwards to whole pixels.
PictureView viewFor(PanelSight const& sight, bool isDraft) {
    PictureView view;
    view.shows = sight.shows;
    view.isDraft = isDraft;
    view.displayView = sight.displayView;
    view.reduce = reductionFor(sight.zoom, sight.picture);
    int const n = view.reduce;
    PixelSize const whole = {sight.picture.width / n, sight.picture.height / n};
    auto const up = [n](int a) { return (a + n - 1) / n; };
    PixelRect const part = {std::max(sight.visible.left, 0) / n, std::max(sight.visible.top, 0) / n,
                            std::min(up(std::max(sight.visible.right, 0)), whole.width),
                            std::min(up(std::max(sight.visible.bottom, 0)), whole.height)};
    bool const isAll =
        part.left == 0 && part.top == 0 && part.right == whole.width && part.bottom == whole.height;
    bool const isNone = part.left >= part.right || part.top >= part.bottom;
    if (!isAll && !isNone) view.part = part;
    return view;
}

}  // namespace zelk

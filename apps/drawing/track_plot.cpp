// The view and what is drawn in it; see track_plot.h.
#include "apps/drawing/track_plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "zelk/tracks/text.h"

namespace zelk {

namespace {

constexpr double kLongestPx = 1600, kShortestPx = 320, kLegendPx = 28, kLegendTextPx = 13;
constexpr double kLeastWidthPx = 160, kLeastHeightPx = 64;  // for the legend, and to see a line
constexpr CanvasColor kBackground = {24, 26, 30}, kFrameColor = {52, 56, 64};
constexpr CanvasColor kTextColor = {215, 218, 224}, kFirstColor = {150, 156, 168};
constexpr CanvasColor kLastColor = {245, 246, 250};

/// The part of the plane that is shown, pixels of the track, and its scale.
struct View {
    double left, top, right, bottom;
    double zoom = 1;

    CanvasPoint at(Point const& point) const {
        return {(std::clamp(point.x, left - 1e5, right + 1e5) - left) * zoom,
                (std::clamp(point.y, top - 1e5, bottom + 1e5) - top) * zoom};
    }
};

/// The frame: the one that is given, else the picture below, else what the samples span.
View frameOf(Track const& track, World const* under) {
    if (track.hasSize()) return {0, 0, double(track.width), double(track.height)};
    if (under) return {0, 0, double(under->width()), double(under->height())};
    View span = {0, 0, 1, 1};
    for (CornerTrack const& corner : track.corners)
        for (TrackSample const& sample : corner.samples) {
            span.right = std::clamp(sample.x, span.right, double(kLargestPx));
            span.bottom = std::clamp(sample.y, span.bottom, double(kLargestPx));
        }
    return span;
}

/// Widens a side of the view to `least` on both ends.
void widen(double& from, double& to, double least) {
    double const missing = std::max(least - (to - from), 0.0);
    from -= missing / 2;
    to += missing / 2;
}

View viewOf(Track const& track, View const& frame) {
    double const marginX = frame.right - frame.left, marginY = frame.bottom - frame.top;
    View view = frame;
    for (CornerTrack const& corner : track.corners)
        for (TrackSample const& sample : corner.samples) {
            view.left = std::clamp(sample.x, frame.left - marginX, view.left);
            view.right = std::clamp(sample.x, view.right, frame.right + marginX);
            view.top = std::clamp(sample.y, frame.top - marginY, view.top);
            view.bottom = std::clamp(sample.y, view.bottom, frame.bottom + marginY);
        }
    double const longest = std::max(view.right - view.left, view.bottom - view.top);
    view.zoom = std::clamp(longest, kShortestPx, kLongestPx) / longest;
    widen(view.left, view.right, kLeastWidthPx / view.zoom);
    widen(view.top, view.bottom, kLeastHeightPx / view.zoom);
    return view;
}

std::size_t countOutside(Track const& track, View const& view) {
    std::size_t count = 0;
    for (CornerTrack const& corner : track.corners)
        count += static_cast<std::size_t>(std::count_if(
            corner.samples.begin(), corner.samples.end(), [&view](TrackSample const& sample) {
                return sample.x < view.left || sample.x > view.right || sample.y < view.top ||
                       sample.y > view.bottom;
            }));
    return count;
}

int pixels(double length) { return std::max(1, static_cast<int>(std::ceil(length))); }

void drawQuad(Canvas& canvas, View const& view, Corners const& quad, Stroke stroke) {
    CanvasPoint const edge[] = {view.at(quad[0]), view.at(quad[1]), view.at(quad[3]),
                                view.at(quad[2])};
    canvas.polyline(edge, stroke, true);
}

/// The first and the last whole quad.
void drawQuads(Canvas& canvas, View const& view, Track const& track) {
    std::optional<Corners> first, last;
    eachRow(track, [&](TrackRow const& row) {
        if (!row.isWhole()) return;
        if (!first) first = row.quad();
        last = row.quad();
    });
    if (first) drawQuad(canvas, view, *first, {kFirstColor, 1.5});
    if (last) drawQuad(canvas, view, *last, {kLastColor, 2});
}

void drawPath(Canvas& canvas, View const& view, CornerTrack const& corner, CanvasColor color) {
    std::vector<CanvasPoint> path;
    for (TrackSample const& sample : inOrder(corner)) path.push_back(view.at({sample.x, sample.y}));
    if (path.empty()) return;
    canvas.polyline(path, {color, 2});
    canvas.dot(path.front(), 3, color);
    canvas.dot(path.back(), 4.5, color);
}

/// A picture of other proportions than the frame's in the frame's: pixels are the nearest ones.
World stretched(World const& picture, int width, int height) {
    World out({width, height, picture.depth(), picture.spec().bgra});
    auto const bytes = static_cast<std::size_t>(pixelBytes(picture.depth()));
    auto const nearest = [](int at, int count, int of) {
        return static_cast<int>((2LL * at + 1) * of / (2LL * count));
    };
    for (int y = 0; y < height; ++y) {
        std::byte const* const row = picture.row(nearest(y, height, picture.height()));
        for (int x = 0; x < width; ++x)
            std::memcpy(out.row(y) + static_cast<std::size_t>(x) * bytes,
                        row + static_cast<std::size_t>(nearest(x, width, picture.width())) * bytes,
                        bytes);
    }
    return out;
}

/// Lays the picture into the frame, each of its sides scaled by itself.
void drawUnder(Canvas& canvas, World const& picture, CanvasPoint corner, double width,
               double height) {
    bool const fits = std::abs(width * picture.height() / picture.width() - height) < 0.5;
    if (fits) return canvas.picture(picture, corner, width / picture.width());
    int const columns = pixels(width), rows = pixels(height);
    canvas.picture(stretched(picture, columns, rows), corner);
}

struct LegendEntry {
    std::string text;
    CanvasColor color;
    double x = 0;
    int line = 0;
};

/// Placed in lines of that width.
std::vector<LegendEntry> legendOf(double width) {
    Canvas const ruler(1, 1, kBackground);
    std::vector<LegendEntry> entries;
    for (std::size_t i = 0; i < 4; ++i)
        entries.push_back({std::string(kCornerWords[i]), kCornerColors[i]});
    entries.push_back({"first quad", kFirstColor});
    entries.push_back({"last quad", kLastColor});
    double x = 8;
    int line = 0;
    for (LegendEntry& entry : entries) {
        double const own = 14 + ruler.textWidth(entry.text, kLegendTextPx);
        bool const isBeyond = x > 8 && x + own > width - 8;
        line += isBeyond;
        if (isBeyond) x = 8;
        entry.x = x;
        entry.line = line;
        x += own + 16;
    }
    return entries;
}

void drawLegend(Canvas& canvas, std::vector<LegendEntry> const& entries, double top) {
    for (LegendEntry const& entry : entries) {
        double const base = top + kLegendPx * (0.68 + entry.line);
        canvas.dot({entry.x + 5, base - 4}, 4, entry.color);
        canvas.text({entry.x + 14, base}, entry.text, kLegendTextPx, kTextColor);
    }
}

/// Samples that the view does not show.
void drawOutside(Canvas& canvas, std::size_t count) {
    if (count == 0) return;
    canvas.text({8, 18}, fmt::format("{} sample{} outside", count, count == 1 ? "" : "s"),
                kLegendTextPx, kTextColor);
}

}  // namespace

Canvas plotTrack(Track const& track, World const* under) {
    View const frame = frameOf(track, under);
    View const view = viewOf(track, frame);
    int const columns = pixels((view.right - view.left) * view.zoom);
    double const bottom = (view.bottom - view.top) * view.zoom;
    auto const legend = legendOf(columns);
    double const legendHeight = kLegendPx * (legend.back().line + 1);
    Canvas canvas(columns, pixels(bottom + legendHeight), kBackground);
    CanvasPoint const corner = view.at({frame.left, frame.top});
    double const width = (frame.right - frame.left) * view.zoom;
    double const height = (frame.bottom - frame.top) * view.zoom;
    canvas.rectangle(corner, width, height, kFrameColor);
    if (under) drawUnder(canvas, *under, corner, width, height);
    for (std::size_t i = 0; i < 4; ++i) drawPath(canvas, view, track.corners[i], kCornerColors[i]);
    drawQuads(canvas, view, track);
    drawOutside(canvas, countOutside(track, view));
    canvas.rectangle({0, bottom}, canvas.width(), legendHeight, kBackground);
    drawLegend(canvas, legend, bottom);
    return canvas;
}

}  // namespace zelk

// The view and what is drawn in it; see track_plot.h.
#include "apps/zelk/track_plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "apps/zelk/track_text.h"

namespace zelk {

namespace {

constexpr double kLongestPx = 1600, kShortestPx = 320, kLegendPx = 28, kTextPx = 13;
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

/// The frame: the one that is told, else what the samples span.
View frameOf(Track const& track) {
    if (track.hasSize()) return {0, 0, double(track.width), double(track.height)};
    View span = {0, 0, 1, 1};
    for (CornerTrack const& corner : track.corners)
        for (TrackSample const& sample : corner.samples) {
            span.right = std::clamp(sample.x, span.right, double(kLargestPx));
            span.bottom = std::clamp(sample.y, span.bottom, double(kLargestPx));
        }
    return span;
}

View viewOf(Track const& track, View const& frame) {
    double const marginX = (frame.right - frame.left) / 2, marginY = (frame.bottom - frame.top) / 2;
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
    return view;
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

void drawLegend(Canvas& canvas, double top) {
    double x = 8;
    double const base = top + kLegendPx * 0.68;
    auto const entry = [&](std::string const& text, CanvasColor color) {
        canvas.dot({x + 5, base - 4}, 4, color);
        canvas.text({x + 14, base}, text, kTextPx, kTextColor);
        x += 14 + canvas.textWidth(text, kTextPx) + 16;
    };
    for (std::size_t i = 0; i < 4; ++i) entry(std::string(kCornerWords[i]), kCornerColors[i]);
    entry("first quad", kFirstColor);
    entry("last quad", kLastColor);
}

}  // namespace

Canvas plotTrack(Track const& track, World const* under) {
    View const frame = frameOf(track);
    View const view = viewOf(track, frame);
    double const height = (view.bottom - view.top) * view.zoom;
    Canvas canvas(pixels((view.right - view.left) * view.zoom), pixels(height + kLegendPx),
                  kBackground);
    CanvasPoint const corner = view.at({frame.left, frame.top});
    double const width = (frame.right - frame.left) * view.zoom;
    canvas.rectangle(corner, width, (frame.bottom - frame.top) * view.zoom, kFrameColor);
    if (under) canvas.picture(*under, corner, width / under->width());
    for (std::size_t i = 0; i < 4; ++i) drawPath(canvas, view, track.corners[i], kCornerColors[i]);
    drawQuads(canvas, view, track);
    canvas.rectangle({0, height}, canvas.width(), kLegendPx, kBackground);
    drawLegend(canvas, height);
    return canvas;
}

}  // namespace zelk

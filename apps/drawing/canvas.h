// Canvas: an opaque picture to draw on, with smooth lines and a real font (Cairo).
//
// Space: pixels, y down, 0,0 the outer corner of the first pixel; lines may lie anywhere and are
// cut at the border. Colours are sRGB bytes, as in an 8-bit picture.
// Everything a program draws for people to look at is drawn here: overlays, tracks, charts.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "hostkit/world.h"

namespace zelk {

struct CanvasPoint {
    double x = 0, y = 0;
};

/// 0 to 255.
struct CanvasColor {
    int red = 0, green = 0, blue = 0;
    bool operator==(CanvasColor const&) const = default;
};

struct Stroke {
    CanvasColor color;
    double widthPx = 1;
};

enum class TextAlign { kLeft, kCenter, kRight };

class Canvas {
public:
    /// Of Cairo, as loaded.
    static std::string libraryVersion();
    /// Filled with one colour. Throws HostError when a side is out of a world's range or memory is
    /// not there.
    Canvas(int width, int height, CanvasColor background);
    ~Canvas();
    Canvas(Canvas&&) noexcept;
    Canvas& operator=(Canvas&&) noexcept;

    int width() const;
    int height() const;

    /// Lays a picture, by its alpha, with its upper left corner at `corner` and each of its pixels
    /// `zoom` wide: enlarged pixels stay squares, shrunk ones are averaged. 16-bit and float
    /// channels are cut to bytes.
    void picture(World const& picture, CanvasPoint corner, double zoom = 1);
    void rectangle(CanvasPoint corner, double width, double height, CanvasColor color);
    /// Through all points; nothing for fewer than two.
    void polyline(std::span<CanvasPoint const> points, Stroke stroke, bool closed = false);
    void line(CanvasPoint from, CanvasPoint to, Stroke stroke);
    void dot(CanvasPoint center, double radiusPx, CanvasColor color);
    /// One line of UTF-8 in DejaVu Sans, `at` on its baseline; with bytes that are no UTF-8, those
    /// are drawn as question marks.
    void text(CanvasPoint at, std::string const& line, double sizePx, CanvasColor color,
              TextAlign align = TextAlign::kLeft);
    /// The length of a line of text, pixels.
    double textWidth(std::string const& line, double sizePx) const;

    /// What was drawn, 8 bits, alpha 255.
    World toWorld() const;

private:
    struct Drawing;
    std::unique_ptr<Drawing> m_drawing;
};

}  // namespace zelk

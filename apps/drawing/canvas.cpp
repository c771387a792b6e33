// Cairo surfaces of native-endian 0xAARRGGBB words, premultiplied; see canvas.h.
#include "apps/drawing/canvas.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "hostkit/error.h"

namespace zelk {

namespace {

struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;

Surface newSurface(int width, int height, cairo_format_t format) {
    Surface surface(cairo_image_surface_create(format, width, height));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        throw HostError("no memory for a drawing", PF_Err_OUT_OF_MEMORY);
    return surface;
}

std::uint32_t* rowOf(cairo_surface_t* surface, int y) {
    return reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(surface) +
                                            static_cast<std::ptrdiff_t>(y) *
                                                cairo_image_surface_get_stride(surface));
}

/// A stored value as a byte: white is `white`, to nearest.
template <class Channel>
std::uint32_t byteOf(Channel value, float white) {
    float const unit = static_cast<float>(value) / white;
    return static_cast<std::uint32_t>(std::clamp(unit, 0.0f, 1.0f) * 255.0f + 0.5f);
}

template <class Channel>
Surface surfaceOf(World const& picture, float white) {
    Surface surface = newSurface(picture.width(), picture.height(), CAIRO_FORMAT_ARGB32);
    bool const bgra = picture.spec().bgra;
    cairo_surface_flush(surface.get());
    for (int y = 0; y < picture.height(); ++y) {
        auto const* pixel = picture.rowAs<Channel>(y);
        std::uint32_t* out = rowOf(surface.get(), y);
        for (int x = 0; x < picture.width(); ++x, pixel += 4) {
            std::uint32_t const alpha = byteOf(pixel[bgra ? 3 : 0], white);
            auto const channel = [&](int straight, int reversed) {
                return (byteOf(pixel[bgra ? reversed : straight], white) * alpha + 127) / 255;
            };
            out[x] = alpha << 24 | channel(1, 2) << 16 | channel(2, 1) << 8 | channel(3, 0);
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

Surface surfaceOf(World const& picture) {
    switch (picture.depth()) {
        case Depth::k8:
            return surfaceOf<std::uint8_t>(picture, 255);
        case Depth::k16:
            return surfaceOf<std::uint16_t>(picture, 32768);
        case Depth::kFloat:
            break;
    }
    return surfaceOf<float>(picture, 1);
}

void setColor(cairo_t* pen, CanvasColor color) {
    cairo_set_source_rgb(pen, color.red / 255.0, color.green / 255.0, color.blue / 255.0);
}

/// Length of the UTF-8 character that begins at `at`; 0 for bytes that begin none.
std::size_t characterLength(std::string const& text, std::size_t at) {
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char const lead = byte(at);
    std::size_t const length = lead < 0x80                   ? 1
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || at + length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(at + i) & 0xC0) != 0x80) return 0;
    // Overlong forms, halves of surrogate pairs and values beyond the last character.
    if (length >= 3) {
        unsigned char const second = byte(at + 1);
        if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
            (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
            return 0;
    }
    return length;
}

/// Cairo turns a context that was given bad UTF-8 into one that draws nothing any more.
std::string drawable(std::string const& line) {
    std::string text;
    for (std::size_t at = 0; at < line.size();) {
        std::size_t const length = characterLength(line, at);
        if (length == 0 || line[at] == '\0')
            text += '?';
        else
            text.append(line, at, length);
        at += std::max<std::size_t>(length, 1);
    }
    return text;
}

void setFont(cairo_t* pen, double sizePx) {
    cairo_select_font_face(pen, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(pen, sizePx);
}

double advanceOf(cairo_t* pen, std::string const& drawableText) {
    cairo_text_extents_t extents;
    cairo_text_extents(pen, drawableText.c_str(), &extents);
    return extents.x_advance;
}

}  // namespace

struct Canvas::Drawing {
    Drawing(int width, int height)
        : surface(newSurface(width, height, CAIRO_FORMAT_RGB24)), pen(cairo_create(surface.get())) {
        cairo_set_line_join(pen, CAIRO_LINE_JOIN_ROUND);
        cairo_set_line_cap(pen, CAIRO_LINE_CAP_ROUND);
    }
    ~Drawing() { cairo_destroy(pen); }
    Drawing(Drawing const&) = delete;
    Drawing& operator=(Drawing const&) = delete;

    Surface surface;
    cairo_t* pen;
};

Canvas::Canvas(int width, int height, CanvasColor background) {
    if (width < 0 || height < 0 || width > kMaxWorldSide || height > kMaxWorldSide)
        throw HostError("a drawing of an impossible size", PF_Err_BAD_CALLBACK_PARAM);
    m_drawing = std::make_unique<Drawing>(width, height);
    setColor(m_drawing->pen, background);
    cairo_paint(m_drawing->pen);
}

Canvas::~Canvas() = default;
Canvas::Canvas(Canvas&&) noexcept = default;
Canvas& Canvas::operator=(Canvas&&) noexcept = default;

std::string Canvas::libraryVersion() { return cairo_version_string(); }

int Canvas::width() const { return cairo_image_surface_get_width(m_drawing->surface.get()); }
int Canvas::height() const { return cairo_image_surface_get_height(m_drawing->surface.get()); }

void Canvas::picture(World const& picture, CanvasPoint corner, double zoom) {
    Surface const source = surfaceOf(picture);
    cairo_t* const pen = m_drawing->pen;
    cairo_save(pen);
    cairo_translate(pen, corner.x, corner.y);
    cairo_scale(pen, zoom, zoom);
    cairo_set_source_surface(pen, source.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(pen),
                             zoom >= 1 ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_GOOD);
    cairo_paint(pen);
    cairo_restore(pen);
}

void Canvas::rectangle(CanvasPoint corner, double width, double height, CanvasColor color) {
    setColor(m_drawing->pen, color);
    cairo_rectangle(m_drawing->pen, corner.x, corner.y, width, height);
    cairo_fill(m_drawing->pen);
}

void Canvas::polyline(std::span<CanvasPoint const> points, Stroke stroke, bool closed) {
    if (points.size() < 2) return;
    cairo_t* const pen = m_drawing->pen;
    setColor(pen, stroke.color);
    cairo_set_line_width(pen, stroke.widthPx);
    cairo_new_path(pen);
    for (CanvasPoint const& point : points) cairo_line_to(pen, point.x, point.y);
    if (closed) cairo_close_path(pen);
    cairo_stroke(pen);
}

void Canvas::line(CanvasPoint from, CanvasPoint to, Stroke stroke) {
    CanvasPoint const ends[] = {from, to};
    polyline(ends, stroke);
}

void Canvas::dot(CanvasPoint center, double radiusPx, CanvasColor color) {
    setColor(m_drawing->pen, color);
    cairo_new_path(m_drawing->pen);
    cairo_arc(m_drawing->pen, center.x, center.y, radiusPx, 0, 2 * std::numbers::pi);
    cairo_fill(m_drawing->pen);
}

void Canvas::text(CanvasPoint at, std::string const& line, double sizePx, CanvasColor color,
                  TextAlign align) {
    cairo_t* const pen = m_drawing->pen;
    std::string const text = drawable(line);
    setFont(pen, sizePx);
    double const width = align == TextAlign::kLeft ? 0 : advanceOf(pen, text);
    setColor(pen, color);
    cairo_move_to(pen, at.x - (align == TextAlign::kCenter ? width / 2 : width), at.y);
    cairo_show_text(pen, text.c_str());
}

double Canvas::textWidth(std::string const& line, double sizePx) const {
    setFont(m_drawing->pen, sizePx);
    return advanceOf(m_drawing->pen, drawable(line));
}

World Canvas::toWorld() const {
    World world({width(), height(), Depth::k8});
    cairo_surface_flush(m_drawing->surface.get());
    for (int y = 0; y < height(); ++y) {
        std::uint32_t const* word = rowOf(m_drawing->surface.get(), y);
        std::uint8_t* pixel = world.rowAs<std::uint8_t>(y);
        for (int x = 0; x < width(); ++x, ++word, pixel += 4) {
            pixel[0] = 255;
            pixel[1] = static_cast<std::uint8_t>(*word >> 16);
            pixel[2] = static_cast<std::uint8_t>(*word >> 8);
            pixel[3] = static_cast<std::uint8_t>(*word);
        }
    }
    return world;
}

}  // namespace zelk

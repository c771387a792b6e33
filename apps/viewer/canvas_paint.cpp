// Pictures and what lies around them; handles stand in pin_paint.cpp.
#include "apps/viewer/canvas_paint.h"

#include <QTransform>
#include <algorithm>
#include <cmath>

namespace zelk {
namespace {

constexpr int kCheckerPx = 8;
constexpr QColor kCheckerDark(96, 96, 96), kCheckerLight(128, 128, 128);
constexpr QColor kGridDark(0, 0, 0, 64), kGridLight(255, 255, 255, 20);
constexpr QColor kWipeLine(255, 255, 255, 220), kWipeShadow(0, 0, 0, 120);
/// Below it an enlarged picture is smoothed unless its pixels are all of one size.
constexpr double kSquareZoom = 2;

QBrush checker(double density) {
    int const cell = static_cast<int>(std::lround(kCheckerPx * density));
    QImage tile(2 * cell, 2 * cell, QImage::Format_RGB32);
    tile.fill(kCheckerDark);
    QPainter painter(&tile);
    painter.fillRect(0, 0, cell, cell, kCheckerLight);
    painter.fillRect(cell, cell, cell, cell, kCheckerLight);
    return QBrush(tile);
}

bool isSmoothed(double zoom) {
    return zoom < 1 || (zoom < kSquareZoom && zoom != std::floor(zoom));
}

/// The pixels of an image that the panel shows: drawing far beyond its border takes time.
QRect visiblePixels(ViewMap const& map, ShownImage const& image) {
    PanelPoint const first = map.toPicture({0, 0});
    PanelPoint const last = map.toPicture({double(map.panel().width), double(map.panel().height)});
    auto const pixelX = [&](double at) { return (at - image.corner.x()) / image.scale.x(); };
    auto const pixelY = [&](double at) { return (at - image.corner.y()) / image.scale.y(); };
    int const left = static_cast<int>(std::floor(pixelX(first.x))) - 1;
    int const top = static_cast<int>(std::floor(pixelY(first.y))) - 1;
    int const right = static_cast<int>(std::ceil(pixelX(last.x))) + 1;
    int const bottom = static_cast<int>(std::ceil(pixelY(last.y))) + 1;
    return QRect(left, top, right - left, bottom - top).intersected(image.pixels.rect());
}

}  // namespace

QRectF pictureRect(ViewMap const& map) {
    return {map.pan().x, map.pan().y, map.picture().width * map.zoom(),
            map.picture().height * map.zoom()};
}

void drawBackdrop(QPainter& painter, QRectF const& picture, Backdrop backdrop, double density) {
    if (backdrop == Backdrop::kBlack) return painter.fillRect(picture, Qt::black);
    if (backdrop == Backdrop::kWhite) return painter.fillRect(picture, Qt::white);
    painter.setBrushOrigin(0, 0);
    painter.fillRect(picture, checker(density));
}

void drawImage(QPainter& painter, ViewMap const& map, ShownImage const& image) {
    QRect const part = visiblePixels(map, image);
    if (part.isEmpty()) return;
    QPointF const zoom = image.scale * map.zoom();
    if (image.screenZoom == map.zoom() || zoom == QPointF(1, 1)) {
        // Counted in its own pixels: of a side that is rounded none is half a pixel away.
        auto const first = [](double pan, double corner, double scale) {
            return static_cast<int>(std::lround(pan + corner / scale));
        };
        QPoint const at(first(map.pan().x, image.corner.x(), image.scale.x()),
                        first(map.pan().y, image.corner.y(), image.scale.y()));
        painter.drawImage(at + part.topLeft(), image.pixels, part);
        return;
    }
    PanelPoint const at = map.toPanel({image.corner.x() + part.x() * image.scale.x(),
                                       image.corner.y() + part.y() * image.scale.y()});
    painter.setRenderHint(QPainter::SmoothPixmapTransform, isSmoothed(zoom.x()));
    painter.drawImage(QRectF(at.x, at.y, part.width() * zoom.x(), part.height() * zoom.y()),
                      image.pixels, QRectF(part));
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
}

void drawPixelGrid(QPainter& painter, ViewMap const& map) {
    if (map.zoom() < kGridZoom) return;
    PixelRect const part = map.part(1);
    PanelPoint const first = map.toPanel({double(part.left), double(part.top)});
    PanelPoint const last = map.toPanel({double(part.right), double(part.bottom)});
    for (QColor const& color : {kGridDark, kGridLight}) {
        // Dark on a pixel's first column, light beside it: seen on any picture.
        int const aside = color == kGridLight ? 1 : 0;
        for (int x = part.left; x <= part.right; ++x)
            painter.fillRect(QRectF(std::round(map.toPanel({double(x), 0}).x) + aside, first.y, 1,
                                    last.y - first.y),
                             color);
        for (int y = part.top; y <= part.bottom; ++y)
            painter.fillRect(QRectF(first.x, std::round(map.toPanel({0, double(y)}).y) + aside,
                                    last.x - first.x, 1),
                             color);
    }
}

void drawWipe(QPainter& painter, ViewMap const& map, double atX, double density) {
    double const height = map.panel().height;
    painter.fillRect(QRectF(atX - density, 0, 3 * density, height), kWipeShadow);
    painter.fillRect(QRectF(atX, 0, density, height), kWipeLine);
    QPointF const grip(atX + density / 2, height - 28 * density);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(kWipeShadow, density));
    painter.setBrush(kWipeLine);
    painter.drawEllipse(grip, 9 * density, 9 * density);
    painter.setPen(QPen(QColor(40, 40, 40), 1.5 * density));
    for (int const side : {-1, 1}) {
        QPointF const tip = grip + QPointF(side * 5, 0) * density;
        painter.drawLine(tip, tip + QPointF(-side * 3, -3) * density);
        painter.drawLine(tip, tip + QPointF(-side * 3, 3) * density);
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void drawSentence(QPainter& painter, QRectF const& panel, QString const& sentence, double density) {
    QFont font = painter.font();
    font.setPixelSize(static_cast<int>(std::lround(13 * density)));
    painter.setFont(font);
    double const aside = std::max(24 * density, panel.width() / 8);
    QRectF const room = panel.adjusted(aside, 0, -aside, 0);
    int const how = Qt::AlignCenter | Qt::TextWordWrap;
    QRectF const text = painter.boundingRect(room, how, sentence);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(30, 30, 30, 220));
    double const around = 14 * density;
    painter.drawRoundedRect(text.adjusted(-around, -around, around, around), 4 * density,
                            4 * density);
    painter.setPen(QColor(225, 225, 225));
    painter.drawText(room, how, sentence);
}

}  // namespace zelk

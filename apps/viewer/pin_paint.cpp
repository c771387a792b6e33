// Handles, motion paths and the loupe; see canvas_paint.h.
#include <QFontMetricsF>
#include <cmath>
#include <set>

#include "apps/viewer/canvas_paint.h"
#include "apps/viewer/model/pin_names.h"

namespace zelk {
namespace {

constexpr QColor kPinShadow(0, 0, 0, 170), kSelected(255, 255, 255), kPinAccent(90, 170, 255);
/// Opaque, as long lines are: see painter_port.cpp.
constexpr QColor kPathShadow(24, 24, 24);
constexpr double kHandlePx = 5;
constexpr int kLoupePixels = 17;    ///< of the picture, each way
constexpr double kLoupeZoom = 9;    ///< units of the panel to one of them
constexpr double kLoupeAside = 28;  ///< from the pin

QPointF pointOf(PanelPoint at) { return {at.x, at.y}; }

QPolygonF panelLine(ViewMap const& map, std::vector<PanelPoint> const& line) {
    QPolygonF result;
    for (PanelPoint const& point : line) result.append(pointOf(map.toPanel(point)));
    return result;
}

/// Marks of equal form: one to a pixel, none outside of the panel by more than `marginPx`.
class PixelsTaken {
public:
    PixelsTaken(ViewMap const& map, double marginPx) : m_map(map), m_marginPx(marginPx) {}
    bool takes(PanelPoint at) {
        auto const isIn = [&](double x, int size) {
            return x >= -m_marginPx && x <= size + m_marginPx;
        };
        return isIn(at.x, m_map.panel().width) && isIn(at.y, m_map.panel().height) &&
               m_taken.emplace(std::lround(at.x), std::lround(at.y)).second;
    }

private:
    ViewMap const& m_map;
    double m_marginPx;
    std::set<std::pair<long, long>> m_taken;
};

QColor lightened(QColor const& color) {
    return {(color.red() + 255) / 2, (color.green() + 255) / 2, (color.blue() + 255) / 2};
}

/// Above and to the right of the pin, but within the panel.
QRectF loupeRect(ViewMap const& map, PanelPoint pin, double density) {
    double const side = kLoupePixels * kLoupeZoom * density, aside = kLoupeAside * density;
    double x = pin.x + aside, y = pin.y - aside - side;
    if (x + side > map.panel().width) x = pin.x - aside - side;
    if (y < 0) y = pin.y + aside;
    return {std::round(x), std::round(y), side, side};
}

}  // namespace

void drawMotionPath(QPainter& painter, ViewMap const& map, MotionPath const& path,
                    QColor const& color, double density) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    QColor const light = lightened(color);  // not to be taken for an outline
    QPolygonF const curve = panelLine(map, path.curve);
    for (QPen const& pen : {QPen(kPathShadow, 2 * density), QPen(light, density)}) {
        painter.setPen(pen);
        painter.drawPolyline(curve);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(light);
    PixelsTaken dots(map, 3 * density);
    for (PanelPoint const& place : path.atFrames)
        if (PanelPoint const at = map.toPanel(place); dots.takes(at))
            painter.drawEllipse(pointOf(at), 2 * density, 2 * density);
    painter.setPen(QPen(kPinShadow, density));
    painter.setBrush(kSelected);
    double const half = 3.5 * density;
    PixelsTaken squares(map, 2 * half);
    for (MotionPath::Key const& key : path.keys) {
        QPointF const at = pointOf(map.toPanel(key.at));
        if (!squares.takes({at.x(), at.y()})) continue;
        painter.drawRect(QRectF(at.x() - half, at.y() - half, 2 * half, 2 * half));
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void drawHandles(QPainter& painter, std::vector<PinHandle> const& handles, PinColors const& colors,
                 double density) {
    painter.setRenderHint(QPainter::Antialiasing);
    for (PinHandle const& pin : handles) {
        bool const isTo = quadOf(pin.parameter) == TrackedPins::kTo;
        QColor const color = isTo ? colors.to : colors.from;
        double const radius = kHandlePx * density;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(kPinShadow, 4 * density));
        painter.drawEllipse(pointOf(pin.at), radius, radius);
        painter.setPen(QPen(pin.isSelected ? kSelected : color, 2 * density));
        painter.drawEllipse(pointOf(pin.at), radius, radius);
        painter.setPen(Qt::NoPen);
        painter.setBrush(pin.isSelected ? kPinAccent : color);
        painter.drawEllipse(pointOf(pin.at), 1.7 * density, 1.7 * density);
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void drawSnap(QPainter& painter, QPointF at, double density) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    for (QPen const& pen : {QPen(kPinShadow, 3 * density), QPen(kPinAccent, 1.5 * density)}) {
        painter.setPen(pen);
        painter.drawEllipse(at, 11 * density, 11 * density);
        for (QPointF const& way : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)})
            painter.drawLine(at + way * 8 * density, at + way * 15 * density);
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void drawSelectionBox(QPainter& painter, QRectF const& box, double density) {
    QColor fill = kPinAccent;
    fill.setAlpha(40);
    painter.setBrush(fill);
    painter.setPen(QPen(kPinAccent, density));
    painter.drawRect(box);
}

PixelRect loupePart(PanelPoint pin, PicturePlace const& place) {
    PanelPoint const first = {std::floor(pin.x) - double(kLoupePixels / 2),
                              std::floor(pin.y) - double(kLoupePixels / 2)};
    return place.part(first, {first.x + kLoupePixels, first.y + kLoupePixels});
}

void drawLoupe(QPainter& painter, ViewMap const& map, LoupeView const& view, PinHandle const& pin,
               double density) {
    QRectF const rect = loupeRect(map, pin.at, density);
    double const zoom = kLoupeZoom * density;
    PanelPoint const first = {std::floor(pin.value.x) - double(kLoupePixels / 2),
                              std::floor(pin.value.y) - double(kLoupePixels / 2)};
    auto const placeOf = [&](double x, double y) {
        return QPointF(rect.x() + (x - first.x) * zoom, rect.y() + (y - first.y) * zoom);
    };
    painter.save();
    painter.setClipRect(rect);
    painter.fillRect(rect, QColor(20, 20, 20));
    PixelSize const whole = map.picture();
    drawBackdrop(painter, {placeOf(0, 0), placeOf(whole.width, whole.height)}, view.backdrop,
                 density);
    for (ShownImage const* const image : view.images)
        painter.drawImage(QRectF(placeOf(image->corner.x(), image->corner.y()),
                                 QSizeF(image->pixels.width() * image->scale.x() * zoom,
                                        image->pixels.height() * image->scale.y() * zoom)),
                          image->pixels);
    QPointF const at = placeOf(pin.value.x, pin.value.y);
    for (QPen const& pen : {QPen(kPinShadow, 3 * density), QPen(kSelected, density)}) {
        painter.setPen(pen);
        painter.drawLine(QPointF(rect.left(), at.y()), QPointF(rect.right(), at.y()));
        painter.drawLine(QPointF(at.x(), rect.top()), QPointF(at.x(), rect.bottom()));
    }
    painter.restore();
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 200), 3 * density));
    painter.drawRect(rect);
    painter.setPen(QPen(QColor(200, 200, 200), density));
    painter.drawRect(rect);
    QFont font = painter.font();
    font.setPixelSize(static_cast<int>(std::lround(11 * density)));
    painter.setFont(font);
    QRectF const strip(rect.left(), rect.bottom() - 18 * density, rect.width(), 18 * density);
    painter.fillRect(strip, QColor(0, 0, 0, 170));
    painter.setPen(kSelected);
    painter.drawText(strip, Qt::AlignCenter,
                     QString("%1, %2").arg(pin.value.x, 0, 'f', 2).arg(pin.value.y, 0, 'f', 2));
}

}  // namespace zelk

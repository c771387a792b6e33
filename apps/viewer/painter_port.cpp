// See painter_port.h.
#include "apps/viewer/painter_port.h"

#include <QFontMetricsF>
#include <cmath>

#include "hostkit/fixed_point.h"

namespace zelk {
namespace {

constexpr double kFontPx = 11;
// interaction/DrawEvent.h: a label stands 5, 5 from its corner, its baseline 10 below that.
constexpr int kLabelX = 5, kLabelY = 15;
constexpr QColor kShadow(0, 0, 0, 150);
/// Opaque: the toolkit takes twenty times as long for a line that shows through.
constexpr QColor kLineShadow(24, 24, 24);
constexpr double kLineShadowPx = 2.4;

QColor colorOf(RGBColor const& color) {
    return {color.red >> 8, color.green >> 8, color.blue >> 8};
}

/// As the effect comes to it: the pin's whole pixel, through the panel's callback.
short portPixel(double panel) { return static_cast<short>(realToFixed(panel) >> 16); }

}  // namespace

PainterPort::PainterPort(QPainter& painter, double density, Panel const& panel,
                         std::vector<PinHandle> const& pins)
    : m_painter(painter), m_density(density), m_backend{this, line, text} {
    for (PinHandle const& pin : pins) {
        PanelPoint const drawn = panel.toFrame({std::floor(pin.value.x), std::floor(pin.value.y)});
        m_places.push_back({portPixel(drawn.x), portPixel(drawn.y), {pin.at.x, pin.at.y}});
    }
    m_outer = installDrawingPortBackend(&m_backend);
}

PainterPort::~PainterPort() { installDrawingPortBackend(m_outer); }

QPointF PainterPort::placeOf(short x, short y) const {
    for (Place const& place : m_places)
        if (place.x == x && place.y == y) return place.at;
    return {x + 0.5, y + 0.5};
}

void PainterPort::line(void* port, short fromX, short fromY, short toX, short toY,
                       RGBColor const* color) {
    auto& own = *static_cast<PainterPort*>(port);
    QPointF const from = own.placeOf(fromX, fromY), to = own.placeOf(toX, toY);
    own.m_painter.setPen(QPen(kLineShadow, kLineShadowPx * own.m_density));
    own.m_painter.drawLine(from, to);
    own.m_painter.setPen(QPen(colorOf(*color), own.m_density));
    own.m_painter.drawLine(from, to);
}

short PainterPort::text(void* port, short x, short y, char const* text, int length,
                        RGBColor const* color) {
    auto& own = *static_cast<PainterPort*>(port);
    QPainter& painter = own.m_painter;
    QFont font = painter.font();
    font.setPixelSize(static_cast<int>(std::lround(kFontPx * own.m_density)));
    painter.setFont(font);
    QString const label = QString::fromUtf8(text, length);
    QPointF const pin =
        own.placeOf(static_cast<short>(x - kLabelX), static_cast<short>(y - kLabelY));
    QPointF const at = pin + QPointF(kLabelX + 2, kLabelY) * own.m_density;
    painter.setPen(kShadow);
    for (QPointF const& side : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)})
        painter.drawText(at + side * own.m_density, label);
    painter.setPen(colorOf(*color));
    painter.drawText(at, label);
    return static_cast<short>(std::lround(QFontMetricsF(font).horizontalAdvance(label)));
}

}  // namespace zelk

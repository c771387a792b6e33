// The effect's overlay in a window: a drawing port whose lines and labels go to a QPainter.
//
// A port has whole pixels of 16 bits, and the effect draws from whole pixels of the layer. The pins
// that it means are known better: a line or a label at one of the given places goes to its exact
// one, however far the panel is zoomed.
#pragma once

#include <QPainter>
#include <QPointF>
#include <vector>

#include "apps/viewer/model/pin_tool.h"
#include "platform/services/DrawingPort.h"

namespace zelk {

/// Makes a painter the current port for the length of a scope; scopes nest. The painter works in
/// panel pixels, of which `density` are a unit of text and line width.
class PainterPort {
public:
    PainterPort(QPainter& painter, double density, Panel const& panel,
                std::vector<PinHandle> const& pins);
    ~PainterPort();
    PainterPort(PainterPort const&) = delete;
    PainterPort& operator=(PainterPort const&) = delete;

private:
    struct Place {
        short x, y;  ///< where the effect draws it
        QPointF at;
    };
    QPointF placeOf(short x, short y) const;
    static void line(void* port, short fromX, short fromY, short toX, short toY,
                     RGBColor const* color);
    static short text(void* port, short x, short y, char const* text, int length,
                      RGBColor const* color);

    QPainter& m_painter;
    double m_density;
    std::vector<Place> m_places;
    DrawingPortBackend m_backend;
    DrawingPortBackend const* m_outer;
};

}  // namespace zelk

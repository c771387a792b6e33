// See panel_icons.h.
#include "apps/viewer/parameters/panel_icons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <functional>

namespace zelk {
namespace {

/// Draws in a square of side 16.
using Draw = std::function<void(QPainter&)>;

class DrawnIcon : public QIconEngine {
public:
    explicit DrawnIcon(Draw draw) : m_draw(std::move(draw)) {}

    void paint(QPainter* painter, QRect const& rect, QIcon::Mode mode, QIcon::State) override {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        painter->scale(rect.width() / 16.0, rect.height() / 16.0);
        if (mode == QIcon::Disabled) painter->setOpacity(0.35);
        m_draw(*painter);
        painter->restore();
    }
    QPixmap pixmap(QSize const& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return picture;
    }
    QIconEngine* clone() const override { return new DrawnIcon(m_draw); }

private:
    Draw m_draw;
};

/// A running one is filled, its hands in the dark.
void drawStopwatch(QPainter& painter, bool isRunning, QColor const& color) {
    painter.setBrush(isRunning ? QBrush(color) : QBrush(Qt::NoBrush));
    painter.drawEllipse(QPointF(8, 9), 4.75, 4.75);
    if (isRunning) painter.setPen(QPen(QColor(20, 24, 30), 1.5));
    painter.drawLine(QPointF(8, 9), QPointF(8, 6));
    painter.drawLine(QPointF(8, 9), QPointF(10, 10));
    painter.setPen(QPen(color, isRunning ? 1.75 : 1.25));
    painter.drawLine(QPointF(6.5, 2), QPointF(9.5, 2));
    painter.drawLine(QPointF(8, 2), QPointF(8, 4));
}

void drawDiamond(QPainter& painter, bool isFilled, QColor const& color) {
    painter.setBrush(isFilled ? QBrush(color) : QBrush(Qt::NoBrush));
    painter.drawPolygon(QPolygonF{{8, 3.5}, {12.5, 8}, {8, 12.5}, {3.5, 8}});
}

void drawArrow(QPainter& painter, double tip, double back, QColor const& color) {
    painter.setBrush(color);
    painter.drawPolygon(QPolygonF{{tip, 8}, {back, 4.5}, {back, 11.5}});
}

}  // namespace

QIcon panelIcon(PanelSign sign, QColor const& color) {
    return QIcon(new DrawnIcon([sign, color](QPainter& painter) {
        painter.setPen(QPen(color, 1.25));
        switch (sign) {
            case PanelSign::kStopwatch:
            case PanelSign::kRunningStopwatch:
                return drawStopwatch(painter, sign == PanelSign::kRunningStopwatch, color);
            case PanelSign::kKey:
            case PanelSign::kNoKey:
                return drawDiamond(painter, sign == PanelSign::kKey, color);
            case PanelSign::kPrevious:
                return drawArrow(painter, 5, 10, color);
            case PanelSign::kNext:
                return drawArrow(painter, 11, 6, color);
        }
    }));
}

QIcon colorIcon(QColor const& color) {
    return QIcon(new DrawnIcon([color](QPainter& painter) {
        painter.setPen(QPen(QColor(0, 0, 0, 120), 1));
        painter.setBrush(color);
        painter.drawRoundedRect(QRectF(0.5, 2.5, 15, 11), 2, 2);
    }));
}

}  // namespace zelk

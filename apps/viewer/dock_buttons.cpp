// See dock_buttons.h.
#include "apps/viewer/dock_buttons.h"

#include <QAbstractButton>
#include <QDockWidget>
#include <QPainter>

namespace zelk {
namespace {

constexpr int kSidePx = 16;

QIcon drawn(QColor const& color, void (*draw)(QPainter&)) {
    constexpr int kDensity = 2;
    QPixmap pixmap(kSidePx * kDensity, kSidePx * kDensity);
    pixmap.setDevicePixelRatio(kDensity);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 1.4));
    draw(painter);
    return pixmap;
}

void drawCross(QPainter& painter) {
    painter.drawLine(5, 5, 11, 11);
    painter.drawLine(5, 11, 11, 5);
}

void drawWindow(QPainter& painter) {
    painter.drawRect(4, 6, 6, 6);
    painter.drawPolyline(QPolygon({{7, 4}, {12, 4}, {12, 9}}));
}

void dress(QDockWidget& dock, char const* name, QString const& help, void (*draw)(QPainter&)) {
    auto* const button = dock.findChild<QAbstractButton*>(name);
    if (!button) return;
    button->setIcon(drawn(dock.palette().color(QPalette::WindowText), draw));
    button->setToolTip(help);
    button->setAccessibleName(help);
}

}  // namespace

/// By the names that Qt gives them.
void showDockButtons(QDockWidget& dock) {
    QString const name = dock.windowTitle();
    dress(dock, "qt_dockwidget_closebutton",
          "Hide the panel " + name + "; the Window menu shows it again", drawCross);
    dress(dock, "qt_dockwidget_floatbutton", "Open in a window of its own: " + name, drawWindow);
}

}  // namespace zelk

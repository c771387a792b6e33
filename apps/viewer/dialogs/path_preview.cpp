// See path_preview.h.
#include "apps/viewer/dialogs/path_preview.h"

#include <QPainter>

#include "apps/drawing/track_plot.h"

namespace zelk {

namespace {

QImage imageOf(World const& world) {
    QImage image(world.width(), world.height(), QImage::Format_RGB32);
    for (int y = 0; y < world.height(); ++y) {
        auto const* from = world.rowAs<std::uint8_t>(y);
        auto* to = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < world.width(); ++x, from += 4) to[x] = qRgb(from[1], from[2], from[3]);
    }
    return image;
}

}  // namespace

PathPreview::PathPreview(QWidget* parent) : QWidget(parent) {
    setMinimumSize(320, 220);
    setAccessibleName("Paths of the four corners");
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void PathPreview::setTrack(Track const* track) {
    m_track = track ? std::optional(*track) : std::nullopt;
    redraw();
}

void PathPreview::setPicture(std::shared_ptr<World const> picture) {
    m_picture = std::move(picture);
    redraw();
}

void PathPreview::redraw() {
    m_drawn = m_track ? imageOf(plotTrack(*m_track, m_picture.get()).toWorld()) : QImage();
    update();
}

void PathPreview::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(24, 26, 30));
    if (m_drawn.isNull()) return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QSize const size = m_drawn.size().scaled(this->size(), Qt::KeepAspectRatio);
    QRect target(QPoint(), size);
    target.moveCenter(rect().center());
    painter.drawImage(target, m_drawn);
}

}  // namespace zelk

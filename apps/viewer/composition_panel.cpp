// See composition_panel.h.
#include "apps/viewer/composition_panel.h"

#include <QImage>
#include <QMetaObject>
#include <QPainter>

namespace zelk {

CompositionPanel::CompositionPanel(Document& document, QWidget* parent)
    : QWidget(parent), m_document(document), m_service([this](SharedFrame frame) {
          QMetaObject::invokeMethod(
              this, [this, frame] { show(frame); }, Qt::QueuedConnection);
      }) {
    document.onChange([this](DocumentChange const& change) {
        if (change.inputs || change.values || change.frame) askForFrame();
    });
}

CompositionPanel::~CompositionPanel() = default;

ViewerCommands CompositionPanel::commands() { return {}; }

void CompositionPanel::askForFrame() {
    if (m_document.isOpen()) m_service.ask(m_document.snapshot(), {});
}

void CompositionPanel::show(SharedFrame frame) {
    m_shown = std::move(frame);
    update();
}

void CompositionPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(38, 38, 38));
    if (!m_shown || !m_shown->error.empty()) return;
    World const& world = m_shown->display;
    QImage image(world.width(), world.height(), QImage::Format_RGB32);
    for (int y = 0; y < world.height(); ++y) {
        auto const* from = world.rowAs<std::uint8_t>(y);
        auto* to = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < world.width(); ++x, from += 4) to[x] = qRgb(from[1], from[2], from[3]);
    }
    painter.drawImage(0, 0, image);
}

}  // namespace zelk

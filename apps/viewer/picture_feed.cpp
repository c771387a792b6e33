// See picture_feed.h.
#include "apps/viewer/picture_feed.h"

#include <QMetaObject>
#include <utility>

namespace zelk {

PictureFeed::PictureFeed(std::function<void(SharedFrame)> ready)
    : m_ready(std::move(ready)), m_service([this](SharedFrame frame) {
          QMetaObject::invokeMethod(
              &m_thread, [this, frame] { m_ready(frame); }, Qt::QueuedConnection);
      }) {}

void PictureFeed::ask(SceneSnapshot const& scene, PictureView const& view) {
    if (m_view == view && m_revision == scene.revision && m_frame == scene.frame) return;
    m_view = view;
    m_revision = scene.revision;
    m_frame = scene.frame;
    m_service.ask(scene, view);
}

}  // namespace zelk

// See picture_feed.h.
#include "apps/viewer/picture_feed.h"

#include <QMetaObject>
#include <utility>

namespace zelk {

PictureFeed::PictureFeed(std::function<void(SharedFrame)> ready, std::function<void()> outdated)
    : m_ready(std::move(ready)),
      m_outdated(std::move(outdated)),
      m_service(
          [this](SharedFrame frame) {
              QMetaObject::invokeMethod(
                  &m_thread, [this, frame] { take(frame); }, Qt::QueuedConnection);
          },
          {.isBgra = true, .outdated = [this] {
               QMetaObject::invokeMethod(
                   &m_thread, [this] { m_outdated(); }, Qt::QueuedConnection);
           }}) {}

void PictureFeed::take(SharedFrame const& frame) {
    if (!frame->error.empty()) m_view.reset();
    m_ready(frame);
}

void PictureFeed::ask(SceneSnapshot const& scene, PictureView const& view) {
    if (m_view == view && m_revision == scene.revision && m_frame == scene.frame) return;
    m_view = view;
    m_revision = scene.revision;
    m_frame = scene.frame;
    m_service.ask(scene, view);
}

}  // namespace zelk

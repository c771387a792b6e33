// PictureFeed: a frame service's pictures on the window's thread.
#pragma once

#include <QObject>
#include <functional>
#include <optional>

#include "apps/viewer/model/frame_service.h"

namespace zelk {

class PictureFeed {
public:
    /// Both are called on the thread that made the feed. `outdated` hears of a picture that was
    /// kept, and whose files are others by now.
    PictureFeed(std::function<void(SharedFrame)> ready, std::function<void()> outdated);

    /// The picture that is wanted now; nothing where it is the one that was asked for last, unless
    /// that failed.
    void ask(SceneSnapshot const& scene, PictureView const& view);
    std::optional<PictureView> const& asked() const { return m_view; }
    FrameService& service() { return m_service; }

private:
    void take(SharedFrame const& frame);

    std::function<void(SharedFrame)> m_ready;
    std::function<void()> m_outdated;
    std::optional<PictureView> m_view;
    std::uint64_t m_revision = 0;
    int m_frame = 0;
    QObject m_thread;        ///< what is posted to it goes with it
    FrameService m_service;  ///< ends first
};

}  // namespace zelk

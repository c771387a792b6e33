// PathPreview: a track's four paths, over a picture of the frame.
#pragma once

#include <QImage>
#include <QWidget>
#include <optional>

#include "apps/viewer/model/frame_service.h"
#include "zelk/tracks/track.h"

namespace zelk {

class PathPreview : public QWidget {
public:
    explicit PathPreview(QWidget* parent = nullptr);

    /// Null for none that can be drawn.
    void setTrack(Track const* track);
    /// One with a picture.
    void setFrame(SharedFrame frame);
    QSize sizeHint() const override { return {620, 420}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void redraw();

    std::optional<Track> m_track;
    SharedFrame m_frame;
    QImage m_drawn;
};

}  // namespace zelk

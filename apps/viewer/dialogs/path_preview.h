// PathPreview: a track's four paths, over the picture that they lie in.
#pragma once

#include <QImage>
#include <QWidget>
#include <memory>
#include <optional>

#include "hostkit/world.h"
#include "zelk/tracks/track.h"

namespace zelk {

class PathPreview : public QWidget {
    Q_OBJECT

public:
    explicit PathPreview(QWidget* parent = nullptr);

    /// Null for none that can be drawn.
    void setTrack(Track const* track);
    /// Of 8 bits; null for none.
    void setPicture(std::shared_ptr<World const> picture);
    World const* picture() const { return m_picture.get(); }
    QSize sizeHint() const override { return {620, 420}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void redraw();

    std::optional<Track> m_track;
    std::shared_ptr<World const> m_picture;
    QImage m_drawn;
};

}  // namespace zelk

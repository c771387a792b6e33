// Player: moves a document's frame while a composition plays, as fast as frames are rendered and no
// faster than its rate.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <functional>
#include <set>
#include <vector>

#include "apps/viewer/model/document.h"
#include "apps/viewer/model/playback.h"

namespace zelk {

/// What plays asks of who renders.
struct FrameSource {
    using Frames = std::vector<int>;
    std::function<Frames(Frames const& frames)> ready;   ///< those of them that show at once
    std::function<void(Frames const& frames)> prefetch;  ///< in that order, if need be
};

class Player : public QObject {
    Q_OBJECT

public:
    explicit Player(Document& document, QObject* parent = nullptr);

    /// Without one every frame is taken to be ready.
    void setSource(FrameSource source) { m_source = std::move(source); }
    /// Those of the frames that are rendered; none without a source.
    std::vector<int> ready(std::vector<int> const& frames) const;

    Playback& playback() { return m_playback; }
    void toggle();
    void stop();
    /// To that many frames on, within the composition; stops.
    void stepBy(int frames);
    void goTo(int frame);

signals:
    void changed();  ///< playing or not, its range, mode or rate

private:
    void tick();
    double now() const { return static_cast<double>(m_clock.nsecsElapsed()) * 1e-9; }
    void prefetchFrom(int frame);
    bool mayShow(int frame);

    Document& m_document;
    FrameSource m_source;
    Playback m_playback;
    QElapsedTimer m_clock;
    int m_opened = 0;      ///< Document::opened of the range
    double m_shownAt = 0;  ///< the frame that shows
    std::set<int> m_lost;  ///< frames of this play that did not come in time
    QTimer m_timer;
};

}  // namespace zelk

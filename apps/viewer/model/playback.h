// Which frame is shown when, while a composition plays.
//
//     first ---- in =========|======= out ---- last      plays from `in` to `out`, and on by the
//     mode
//
// Seconds are of any clock that runs evenly.
#pragma once

#include <functional>
#include <optional>

namespace zelk {

enum class LoopMode { kLoop, kPingPong, kOnce };

class Playback {
public:
    /// Of the composition; a range that lies outside is cut, or goes.
    void setBounds(int first, int last);
    void setIn(int frame);
    void setOut(int frame);
    void clearRange();
    bool hasRange() const { return m_in != m_first || m_out != m_last; }
    int in() const { return m_in; }
    int out() const { return m_out; }

    LoopMode mode = LoopMode::kLoop;
    /// Frames that are not rendered in time are left out; else they are waited for.
    bool skipsFrames = false;

    /// From `frame`, or from the range's start where that lies outside or at its end.
    void start(int frame, double framesPerSecond, double now);
    void stop() { m_isPlaying = false; }
    bool isPlaying() const { return m_isPlaying; }
    int frame() const { return m_frame; }

    /// The frame that is due now; nothing while the one before is to stay, as its time is not up or
    /// the next one is not rendered. After the last frame of kOnce it plays no more.
    std::optional<int> advance(double now, std::function<bool(int)> const& isReady);
    /// The frames that come next, in their order, each once.
    int following(int frame, int steps) const;

    /// Frames a second that were shown lately; 0 before the second one.
    double measuredRate() const { return m_measured; }

private:
    int step(int frame, int& direction) const;

    int m_first = 0, m_last = 0, m_in = 0, m_out = 0;
    bool m_isPlaying = false;
    int m_frame = 0, m_direction = 1;
    double m_rate = 24, m_due = 0, m_shownAt = 0, m_measured = 0;
};

}  // namespace zelk

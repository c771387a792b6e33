// See playback.h.
#include "apps/viewer/model/playback.h"

#include <algorithm>
#include <cmath>

namespace zelk {

void Playback::setBounds(int first, int last) {
    bool const wasWhole = !hasRange();
    m_first = first;
    m_last = std::max(first, last);
    if (wasWhole || m_in > m_last || m_out < m_first) return clearRange();
    m_in = std::clamp(m_in, m_first, m_last);
    m_out = std::clamp(m_out, m_first, m_last);
}

void Playback::setIn(int frame) {
    m_in = std::clamp(frame, m_first, m_last);
    if (m_out < m_in) m_out = m_last;
}

void Playback::setOut(int frame) {
    m_out = std::clamp(frame, m_first, m_last);
    if (m_in > m_out) m_in = m_first;
}

void Playback::clearRange() {
    m_in = m_first;
    m_out = m_last;
}

void Playback::start(int frame, double framesPerSecond, double now) {
    bool const isWithin = frame >= m_in && frame < m_out;
    m_frame = isWithin ? frame : m_in;
    m_direction = 1;
    m_rate = framesPerSecond;
    m_due = now + 1 / m_rate;
    m_shownAt = now;
    m_measured = 0;
    m_isPlaying = true;
}

/// `direction` turns at the ends of kPingPong; the frame stays at the end of kOnce. From outside of
/// the range, which may change while it plays, the way leads to its nearer end.
int Playback::step(int frame, int& direction) const {
    bool const turns = mode == LoopMode::kPingPong;
    if (frame < m_in || !turns) direction = 1;
    if (frame > m_out && turns) direction = -1;
    if (frame < m_in || m_in == m_out) return m_in;
    if (frame > m_out) return turns ? m_out : mode == LoopMode::kLoop ? m_in : frame;
    int const next = frame + direction;
    if (next >= m_in && next <= m_out) return next;
    if (mode == LoopMode::kOnce) return frame;
    if (mode == LoopMode::kLoop) return m_in;
    direction = -direction;
    return frame + direction;
}

int Playback::following(int frame, int steps) const {
    int direction = m_direction;
    while (steps-- > 0) frame = step(frame, direction);
    return frame;
}

std::optional<int> Playback::advance(double now, std::function<bool(int)> const& isReady) {
    if (!m_isPlaying || now < m_due) return std::nullopt;
    // After a long stop the clock starts again: a minute's frames are not run through at once.
    double const late = (now - m_due) * m_rate;
    int const steps = skipsFrames ? 1 + static_cast<int>(std::min(late, m_rate)) : 1;
    int direction = m_direction, next = m_frame;
    for (int i = 0; i < steps; ++i) next = step(next, direction);
    if (!skipsFrames && !isReady(next)) return std::nullopt;
    bool const isEnd = mode == LoopMode::kOnce && next == m_frame;
    if (isEnd) {
        m_isPlaying = false;
        return std::nullopt;
    }
    constexpr double kOfNewest = 0.2;  // a mean over some five frames
    double const rate = steps / std::max(now - m_shownAt, 1e-6);
    m_measured = m_measured > 0 ? m_measured + kOfNewest * (rate - m_measured) : rate;
    m_shownAt = now;
    m_direction = direction;
    m_frame = next;
    m_due += steps / m_rate;
    if (m_due < now) m_due = now + 1 / m_rate;  // what is ready already keeps the rate
    return m_frame;
}

}  // namespace zelk

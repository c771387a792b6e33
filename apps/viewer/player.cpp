// See player.h.
#include "apps/viewer/player.h"

#include <algorithm>

namespace zelk {

Player::Player(Document& document, QObject* parent) : QObject(parent), m_document(document) {
    m_clock.start();
    constexpr int kTickMs = 4;  // a few within the shortest frame
    m_timer.setInterval(kTickMs);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Player::tick);
    document.onChange([this](DocumentChange const& change) {
        if (!change.inputs || !m_document.isOpen()) return;
        m_playback.setBounds(m_document.firstFrame(), m_document.lastFrame());
        if (m_opened != m_document.opened()) m_playback.clearRange();
        m_opened = m_document.opened();
        emit changed();
    });
}

void Player::toggle() {
    if (m_playback.isPlaying() || !m_document.isOpen()) return stop();
    TimeBase const& clock = m_document.scene().comp.timeBase;
    m_lost.clear();
    m_playback.start(m_document.frame(), double(clock.scale) / clock.step, now());
    m_document.setFrame(m_playback.frame());
    m_shownAt = now();
    prefetchFrom(m_playback.frame());
    m_timer.start();
    emit changed();
}

void Player::stop() {
    m_timer.stop();
    m_playback.stop();
    emit changed();
}

void Player::stepBy(int frames) {
    if (m_document.isOpen()) goTo(m_document.frame() + frames);
}

void Player::goTo(int frame) {
    if (!m_document.isOpen()) return;
    if (m_playback.isPlaying()) stop();
    m_document.setFrame(frame);
}

/// An act is of the frame that it began at.
void Player::tick() {
    if (m_document.isActing()) return stop();
    auto const frame = m_playback.advance(now(), [this](int next) { return mayShow(next); });
    if (!m_playback.isPlaying()) return stop();
    if (!frame) return;
    m_shownAt = now();
    m_document.setFrame(*frame);
    prefetchFrom(*frame);
    emit changed();
}

/// A frame that can't be rendered is not waited for for ever, and in later rounds not at all: it
/// shows why.
bool Player::mayShow(int frame) {
    constexpr double kPatienceSeconds = 5;
    if (!m_source.ready || !m_source.ready({frame}).empty() || m_lost.contains(frame)) return true;
    if (now() - m_shownAt <= kPatienceSeconds) return false;
    m_lost.insert(frame);
    return true;
}

std::vector<int> Player::ready(std::vector<int> const& frames) const {
    return m_source.ready ? m_source.ready(frames) : std::vector<int>();
}

void Player::prefetchFrom(int frame) {
    if (!m_source.prefetch) return;
    constexpr int kAhead = 24;
    std::vector<int> frames;
    for (int steps = 1; steps <= kAhead; ++steps) {
        int const next = m_playback.following(frame, steps);
        if (std::find(frames.begin(), frames.end(), next) == frames.end()) frames.push_back(next);
    }
    m_source.prefetch(frames);
}

}  // namespace zelk

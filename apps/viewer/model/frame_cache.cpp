// See frame_cache.h.
#include "apps/viewer/model/frame_cache.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <utility>

namespace zelk {
namespace {

auto tied(PixelRect const& r) { return std::tie(r.left, r.top, r.right, r.bottom); }

}  // namespace

bool operator==(PictureView const& a, PictureView const& b) {
    bool const isPart =
        a.part.has_value() == b.part.has_value() && (!a.part || tied(*a.part) == tied(*b.part));
    return isPart && std::tie(a.shows, a.reduce, a.isDraft, a.displayView) ==
                         std::tie(b.shows, b.reduce, b.isDraft, b.displayView);
}

std::uint64_t ShownFrame::bytes() const {
    auto const rows = [](std::ptrdiff_t rowBytes, int height) {
        return static_cast<std::uint64_t>(std::abs(rowBytes)) * static_cast<std::uint64_t>(height);
    };
    return sizeof *this + rows(display.rowBytes(), display.height()) +
           (stored.pixels ? rows(stored.rowBytes, stored.size.height) : 0);
}

void FrameCache::setBudget(std::uint64_t bytes) {
    m_budget = bytes;
    shrink(m_budget, false);
}

void FrameCache::add(SharedFrame frame, bool isPassing) {
    std::uint64_t const bytes = frame->bytes();
    if (bytes > m_budget) return;
    m_kept.push_front({std::move(frame), isPassing});
    m_bytes += bytes;
    if (isPassing) {
        m_passingBytes += bytes;
        shrink(m_budget / 32, true);
    }
    shrink(m_budget, false);
}

/// The newest one stays.
void FrameCache::shrink(std::uint64_t most, bool passingOnly) {
    auto const& used = passingOnly ? m_passingBytes : m_bytes;
    for (auto at = m_kept.end(); at != m_kept.begin() && used > most;) {
        if (--at == m_kept.begin() && passingOnly) return;
        if (passingOnly && !at->isPassing) continue;
        std::uint64_t const bytes = at->frame->bytes();
        m_bytes -= bytes;
        if (at->isPassing) m_passingBytes -= bytes;
        at = m_kept.erase(at);
    }
}

SharedFrame FrameCache::find(std::uint64_t revision, int frame, PictureView const& view) {
    PictureView full = view;
    full.isDraft = false;
    auto const isWanted = [&](Kept const& kept) {
        ShownFrame const& own = *kept.frame;
        return own.revision == revision && own.frame == frame &&
               (own.view == full || own.view == view);
    };
    // A full picture first.
    auto found = std::find_if(m_kept.begin(), m_kept.end(), [&](Kept const& kept) {
        return isWanted(kept) && kept.frame->view == full;
    });
    if (found == m_kept.end()) found = std::find_if(m_kept.begin(), m_kept.end(), isWanted);
    if (found == m_kept.end()) return nullptr;
    m_kept.splice(m_kept.begin(), m_kept, found);
    return found->frame;
}

}  // namespace zelk

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
    return isPart && std::tie(a.shows, a.reduce, a.size, a.isDraft, a.isLoupe, a.displayView) ==
                         std::tie(b.shows, b.reduce, b.size, b.isDraft, b.isLoupe, b.displayView);
}

std::uint64_t ShownFrame::bytes() const {
    auto const rows = [](std::ptrdiff_t rowBytes, int height) {
        return static_cast<std::uint64_t>(std::abs(rowBytes)) * static_cast<std::uint64_t>(height);
    };
    return sizeof *this + rows(display.rowBytes(), display.height()) +
           (stored.pixels ? rows(rowStep(stored), stored.size.height) : 0);
}

void FrameCache::setBudget(std::uint64_t bytes) {
    m_budget = bytes;
    shrink(m_budget, false);
}

void FrameCache::add(SharedFrame frame, bool isPassing) {
    std::uint64_t const bytes = frame->bytes();
    if (bytes > m_budget) return;
    m_kept.push_front({std::move(frame), isPassing});
    m_places.emplace(std::pair(m_kept.front().frame->revision, m_kept.front().frame->frame),
                     m_kept.begin());
    m_bytes += bytes;
    if (isPassing) {
        m_passingBytes += bytes;
        shrink(m_budget / 32, true);
    }
    shrink(m_budget, false);
}

/// Of those that pass by the newest one stays.
void FrameCache::shrink(std::uint64_t most, bool passingOnly) {
    auto const& used = passingOnly ? m_passingBytes : m_bytes;
    for (auto at = m_kept.end(); at != m_kept.begin() && used > most;) {
        if (--at == m_kept.begin() && passingOnly) return;
        if (passingOnly && !at->isPassing) continue;
        at = drop(at);
    }
}

FrameCache::Place FrameCache::drop(Place at) {
    ShownFrame const& frame = *at->frame;
    m_bytes -= frame.bytes();
    if (at->isPassing) m_passingBytes -= frame.bytes();
    auto const [first, last] = m_places.equal_range({frame.revision, frame.frame});
    m_places.erase(std::find_if(first, last, [at](auto const& own) { return own.second == at; }));
    return m_kept.erase(at);
}

/// A full picture first.
std::optional<FrameCache::Place> FrameCache::placeOf(std::uint64_t revision, int frame,
                                                     PictureView const& view) const {
    PictureView full = view;
    full.isDraft = false;
    auto const [first, last] = m_places.equal_range({revision, frame});
    for (PictureView const* wanted : {static_cast<PictureView const*>(&full), &view})
        for (auto at = first; at != last; ++at)
            if (at->second->frame->view == *wanted) return at->second;
    return std::nullopt;
}

bool FrameCache::has(std::uint64_t revision, int frame, PictureView const& view) const {
    return placeOf(revision, frame, view).has_value();
}

SharedFrame FrameCache::find(std::uint64_t revision, int frame, PictureView const& view) {
    auto const place = placeOf(revision, frame, view);
    if (!place) return nullptr;
    m_kept.splice(m_kept.begin(), m_kept, *place);
    return (*place)->frame;
}

}  // namespace zelk

// Ranges and their words; see frame_list.h.
#include "zelk/tracks/frame_list.h"

#include <fmt/format.h>

#include "zelk/tracks/text.h"

namespace zelk {

void FrameList::add(double frame) {
    ++m_count;
    bool const goesOn = !m_ranges.empty() && frame == m_ranges.back().last + 1;
    if (goesOn) m_ranges.back().last = frame;
    if (goesOn) return;
    if (m_ranges.size() == kMostRanges)
        ++m_more;
    else
        m_ranges.push_back({frame, frame});
}

std::string FrameList::text() const {
    std::string all;
    for (Range const& range : m_ranges) {
        all += (all.empty() ? "" : ", ") + numberText(range.first);
        if (range.last != range.first) all += " to " + numberText(range.last);
    }
    return m_more > 0 ? all + " and others" : all;
}

std::string framesText(FrameList const& frames) {
    return fmt::format("{} frame{} ({})", frames.count(), frames.count() == 1 ? "" : "s",
                       frames.text());
}

}  // namespace zelk

// One function for each question; see check_parts.h.
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <set>

#include "zelk/tracks/check_parts.h"
#include "zelk/tracks/frame_list.h"
#include "zelk/tracks/text.h"

namespace zelk {

namespace {

/// Frames of one corner that come again or descend.
void checkOrder(Track const& track, std::size_t corner, TrackIssues& issues) {
    auto const& samples = track.corners[corner].samples;
    FrameList again;
    int firstLine = 0;
    std::vector<std::pair<double, int>> frames;
    for (TrackSample const& sample : samples) frames.emplace_back(sample.frame, sample.line);
    std::stable_sort(frames.begin(), frames.end());
    for (std::size_t i = 1; i < frames.size(); ++i) {
        if (frames[i].first != frames[i - 1].first) continue;
        again.add(frames[i].first);
        if (firstLine == 0) firstLine = frames[i].second;
    }
    if (!again.isEmpty())
        issues.add(TrackFault::kDuplicate, firstLine,
                   fmt::format("{} has {} more than once: the last counts", kCornerWords[corner],
                               framesText(again)));
    auto const descent = std::adjacent_find(
        samples.begin(), samples.end(),
        [](TrackSample const& a, TrackSample const& b) { return b.frame < a.frame; });
    if (descent != samples.end())
        issues.add(TrackFault::kOrder, (descent + 1)->line,
                   fmt::format("frames of {} descend: {} after {}", kCornerWords[corner],
                               numberText((descent + 1)->frame), numberText(descent->frame)));
}

/// `frames` ascend. A gap is wider than the distance that is met most often.
void checkGaps(std::vector<double> const& frames, TrackIssues& issues) {
    if (frames.size() < 3) return;
    std::vector<double> steps(frames.size());
    std::adjacent_difference(frames.begin(), frames.end(), steps.begin());
    steps.erase(steps.begin());
    std::vector<double> sorted = steps;
    std::sort(sorted.begin(), sorted.end());
    double usual = 0;
    std::ptrdiff_t most = 0;
    for (auto from = sorted.begin(); from != sorted.end();) {
        auto const to = std::upper_bound(from, sorted.end(), *from);
        if (to - from > most) usual = *from;
        most = std::max(most, to - from);
        from = to;
    }
    std::string text;
    int gaps = 0;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i] < usual * 1.5 || ++gaps > 4) continue;
        text += fmt::format("{}{} to {}", text.empty() ? "" : ", ", numberText(frames[i]),
                            numberText(frames[i + 1]));
    }
    if (gaps > 0)
        issues.add(TrackFault::kGap, 0,
                   fmt::format("{} gap{} between frames: {}{}", gaps, gaps == 1 ? "" : "s", text,
                               gaps > 4 ? " and others" : ""));
}

void checkMissing(Track const& track, std::size_t i, TrackIssues& issues) {
    CornerTrack const& corner = track.corners[i];
    if (!corner.samples.empty()) return;
    std::string text = fmt::format("no samples of {}: its pin stays as it is", kCornerWords[i]);
    if (corner.meantLine > 0)
        text += fmt::format(", though the words of line {} mean it", corner.meantLine);
    issues.add(TrackFault::kMissingCorner, 0, text, corner.meantLine > 0 ? kMeantByWords : "");
}

}  // namespace

void checkFrames(Track const& track, TrackIssues& issues) {
    for (std::size_t i = 0; i < 4; ++i) {
        checkMissing(track, i, issues);
        checkOrder(track, i, issues);
    }
    FrameList uneven;
    std::vector<double> frames;
    eachRow(track, [&](TrackRow const& row) {
        frames.push_back(row.frame);
        bool isUneven = false;
        for (std::size_t i = 0; i < 4; ++i)
            isUneven = isUneven || (!row.corners[i] && !track.corners[i].samples.empty());
        if (isUneven) uneven.add(row.frame);
    });
    if (!uneven.isEmpty())
        issues.add(TrackFault::kUneven, 0,
                   fmt::format("not all corners have {}", framesText(uneven)));
    checkGaps(frames, issues);
}

void checkMoments(Track const& track, TrackTarget const& target, TrackIssues& issues) {
    if (target.frameUnits == 0 || !target.startFrame) return;
    std::set<double> merged;  // in any corner
    int line = 0;
    for (CornerTrack const& corner : track.corners) {
        std::map<std::int64_t, double> taken;
        for (TrackSample const& sample : corner.samples) {
            auto const moment = importedMoment(sample.frame, *target.startFrame, target.frameUnits);
            auto const [other, isNew] = taken.emplace(moment, sample.frame);
            if (isNew || other->second == sample.frame)
                continue;  // a frame twice is reported above
            merged.insert(sample.frame);
            if (line == 0) line = sample.line;
        }
    }
    if (merged.empty()) return;
    FrameList frames;
    for (double const frame : merged) frames.add(frame);
    issues.add(TrackFault::kMerged, line,
               fmt::format("{} at the moment of another, as the composition's clock counts 1/{} of "
                           "a frame: the last one's sample makes the one key",
                           framesText(frames), target.frameUnits));
}

}  // namespace zelk

// Order, rows and the conversions of a track; see track.h.
#include "zelk/tracks/track.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zelk {

std::vector<TrackSample> inOrder(CornerTrack const& corner) {
    std::vector<TrackSample> sorted = corner.samples;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](TrackSample const& a, TrackSample const& b) { return a.frame < b.frame; });
    std::size_t kept = 0;
    for (TrackSample const& sample : sorted) {
        bool const isAgain = kept > 0 && sorted[kept - 1].frame == sample.frame;
        sorted[isAgain ? kept - 1 : kept++] = sample;
    }
    sorted.resize(kept);
    return sorted;
}

void eachRow(Track const& track, std::function<void(TrackRow const&)> const& row) {
    std::array<std::vector<TrackSample>, 4> samples;
    std::array<std::size_t, 4> next{};
    for (std::size_t i = 0; i < 4; ++i) samples[i] = inOrder(track.corners[i]);
    for (;;) {
        std::optional<double> frame;
        for (std::size_t i = 0; i < 4; ++i)
            if (next[i] < samples[i].size())
                frame =
                    std::min(frame.value_or(samples[i][next[i]].frame), samples[i][next[i]].frame);
        if (!frame) return;
        TrackRow now{*frame, {}};
        for (std::size_t i = 0; i < 4; ++i) {
            if (next[i] == samples[i].size() || samples[i][next[i]].frame != *frame) continue;
            now.corners[i] = Point{samples[i][next[i]].x, samples[i][next[i]].y};
            ++next[i];
        }
        row(now);
    }
}

namespace {

template <class Change>
void changeSamples(Track& track, Change const& change) {
    for (CornerTrack& corner : track.corners)
        for (TrackSample& sample : corner.samples) change(sample);
}

}  // namespace

std::vector<int> wholeFrames(Track const& track) {
    std::vector<int> frames;
    eachRow(track, [&frames](TrackRow const& row) {
        if (row.frame == std::floor(row.frame)) frames.push_back(static_cast<int>(row.frame));
    });
    return frames;
}

std::optional<TrackReach> reachOf(Track const& track) {
    std::optional<TrackReach> reach;
    eachRow(track, [&](TrackRow const& row) {
        if (!reach) reach = {row.frame, row.frame};
        reach->last = row.frame;
    });
    return reach;
}

std::int64_t importedMoment(double frame, int startFrame, int frameUnits) {
    return static_cast<std::int64_t>(frameUnits *
                                     (static_cast<float>(frame) - static_cast<double>(startFrame)));
}

void flipY(Track& track) {
    changeSamples(track, [&](TrackSample& sample) { sample.y = track.height - sample.y; });
}

void shiftFrames(Track& track, double frames) {
    changeSamples(track, [&](TrackSample& sample) { sample.frame += frames; });
}

void makePixelsSquare(Track& track, double aspect) {
    changeSamples(track, [&](TrackSample& sample) { sample.x *= aspect; });
    constexpr double kMost = std::numeric_limits<int>::max();
    track.width = static_cast<int>(std::min(std::round(track.width * aspect), kMost));
    track.pixelAspect = 1;
}

void reorderCorners(Track& track, std::array<int, 4> const& from) {
    std::array<CornerTrack, 4> old;
    old.swap(track.corners);
    for (std::size_t i = 0; i < 4; ++i) track.corners[i] = old[static_cast<std::size_t>(from[i])];
}

}  // namespace zelk

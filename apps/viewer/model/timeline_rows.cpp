// See timeline_rows.h.
#include "apps/viewer/model/timeline_rows.h"

#include <algorithm>
#include <cmath>

#include "apps/viewer/model/field_text.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {
namespace {

std::vector<TimelineKey> keysOfRow(Document const& document, Parameter const& parameter) {
    std::vector<TimelineKey> keys;
    for (Keyframe const& key : parameter.track().keys()) {
        Interpolation const before = keys.empty() ? key.toNext : keys.back().after;
        keys.push_back(
            {document.frameOf(key.time), {parameter.index, key.time}, before, key.toNext});
    }
    if (keys.size() > 1) keys.back().after = keys.back().before;  // it leads nowhere
    return keys;
}

/// Whole frames of all keys, in order.
std::vector<int> keyFrames(Document const& document) {
    std::vector<int> frames;
    for (TimelineRow const& row : timelineRows(document, RowFilter::kAnimated))
        for (TimelineKey const& key : row.keys)
            frames.push_back(static_cast<int>(std::lround(key.frame)));
    std::sort(frames.begin(), frames.end());
    return frames;
}

}  // namespace

std::vector<TimelineRow> timelineRows(Document const& document, RowFilter filter) {
    std::vector<TimelineRow> rows;
    std::vector<std::string> groups;
    for (int index = 1; index < kParameterCount; ++index) {
        Parameter const& parameter = document.parameter(index);
        if (parameter.type() == PF_Param_GROUP_START)
            groups.emplace_back(parameter.displayName());
        else if (parameter.type() == PF_Param_GROUP_END && !groups.empty())
            groups.pop_back();
        bool const isShown = filter == RowFilter::kAll || !parameter.track().empty();
        if (!parameter.hasValue() || !parameter.canVaryInTime() || !isShown) continue;
        std::string name = groups.empty() ? "" : groups.front() + ": ";
        name += withSingleBlanks(parameter.displayName());
        rows.push_back({index, std::move(name), keysOfRow(document, parameter)});
    }
    return rows;
}

int keyBefore(Document const& document) {
    std::vector<int> const frames = keyFrames(document);
    auto const next = std::lower_bound(frames.begin(), frames.end(), document.frame());
    return next == frames.begin() ? document.frame() : *std::prev(next);
}

int keyAfter(Document const& document) {
    std::vector<int> const frames = keyFrames(document);
    auto const next = std::upper_bound(frames.begin(), frames.end(), document.frame());
    return next == frames.end() ? document.frame() : *next;
}

int framesWithin(Document const& document, KeySelection const& keys, int frames) {
    double least = frames, most = frames;
    for (KeyRef const& key : keys) {
        double const frame = document.frameOf(key.time);
        least = std::max(least, std::min(document.firstFrame() - frame, 0.));
        most = std::min(most, std::max(document.lastFrame() - frame, 0.));
    }
    return static_cast<int>(frames < 0 ? std::ceil(least) : std::floor(most));
}

}  // namespace zelk

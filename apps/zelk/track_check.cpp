// One function for each question; see track_check.h.
#include "apps/zelk/track_check.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numeric>

#include "apps/zelk/errors.h"
#include "apps/zelk/quad_fault.h"
#include "apps/zelk/track_text.h"

namespace zelk {

namespace {

constexpr double kLargestFrame = 10'000'000;
constexpr double kUntoldWidth = 720, kUntoldHeight = 486;  // what the import then takes

std::string wordOf(std::size_t corner) { return std::string(kCornerWords[corner]); }

/// Frames of one fault as ranges: "3, 5 to 9 and 4 more".
class FrameList {
public:
    void add(double frame) {
        ++m_count;
        bool const goesOn = !m_ranges.empty() && frame == m_ranges.back().last + 1;
        if (goesOn) m_ranges.back().last = frame;
        if (goesOn) return;
        if (m_ranges.size() == kMostRanges)
            ++m_more;
        else
            m_ranges.push_back({frame, frame});
    }
    bool isEmpty() const { return m_count == 0; }
    std::size_t count() const { return m_count; }
    std::string text() const {
        std::string all;
        for (Range const& range : m_ranges) {
            all += (all.empty() ? "" : ", ") + numberText(range.first);
            if (range.last != range.first) all += " to " + numberText(range.last);
        }
        return m_more > 0 ? all + " and others" : all;
    }

private:
    struct Range {
        double first, last;
    };
    static constexpr std::size_t kMostRanges = 6;
    std::vector<Range> m_ranges;
    std::size_t m_count = 0, m_more = 0;
};

/// "1 frame (3)", "12 frames (3, 5 to 15)"
std::string framesText(FrameList const& frames) {
    return fmt::format("{} frame{} ({})", frames.count(), frames.count() == 1 ? "" : "s",
                       frames.text());
}

/// The corner order in which the quad is a plain one: each corner takes the place where it lies.
/// Around the middle the corners are at angles; the upper left one is nearest to the frame's.
std::array<int, 4> orderByPlace(Corners const& quad) {
    std::array<int, 4> order = {0, 1, 2, 3};
    Point middle;
    for (Point const& p : quad) {
        middle.x += p.x / 4;
        middle.y += p.y / 4;
    }
    auto const angle = [&](int i) {
        Point const& p = quad[static_cast<std::size_t>(i)];
        return std::atan2(p.y - middle.y, p.x - middle.x);
    };
    std::sort(order.begin(), order.end(), [&](int a, int b) { return angle(a) < angle(b); });
    auto const reach = [&](int i) {
        Point const& p = quad[static_cast<std::size_t>(i)];
        return p.x + p.y;
    };
    std::rotate(order.begin(),
                std::min_element(order.begin(), order.end(),
                                 [&](int a, int b) { return reach(a) < reach(b); }),
                order.end());
    return {order[0], order[1], order[3], order[2]};  // clockwise: ul, ur, lr, ll
}

std::string cornersOption(std::array<int, 4> const& order) {
    std::string text = "--corners ";
    for (std::size_t i = 0; i < 4; ++i)
        text += (i == 0 ? "" : ",") + std::string(kCornerNames[static_cast<std::size_t>(order[i])]);
    return text;
}

/// Why a sample can't be a keyframe of the host's; empty when it can.
std::string_view beyondHost(TrackSample const& sample) {
    if (std::abs(sample.frame) > kLargestFrame) return "a frame beyond the host's clock:";
    bool const isFar = std::max(std::abs(sample.x), std::abs(sample.y)) > kLargestPx;
    return isFar ? "a pin beyond the 32767 pixels that the host holds:" : "";
}

/// The first such sample of the file; null for none.
TrackSample const* firstBeyondHost(Track const& track) {
    for (CornerTrack const& corner : track.corners)
        for (TrackSample const& sample : corner.samples)
            if (!beyondHost(sample).empty()) return &sample;
    return nullptr;
}

std::string sampleText(TrackSample const& sample) {
    return fmt::format("frame {} at {}, {}", numberText(sample.frame), numberText(sample.x),
                       numberText(sample.y));
}

class Checker {
public:
    Checker(Track const& track, TrackTarget const& target) : m_track(track), m_target(target) {}

    std::vector<TrackIssue> check() {
        for (TrackNote const& note : m_track.notes) add(TrackFault::kNote, note.line, note.text);
        checkSize();
        checkCorners();
        checkQuads();
        checkOutside();
        checkHost();
        checkFrameBase();
        checkPixelAspect();
        return std::move(m_issues);
    }

private:
    void add(TrackFault fault, int line, std::string text, std::string mend = "") {
        m_issues.push_back({fault, line, std::move(text), std::move(mend)});
    }

    void checkSize() {
        if (!m_track.hasSize())
            add(TrackFault::kNoSize, 0,
                "the frame's size is not told: the import scales from 720x486 to the frame",
                "--size WxH");
        auto const& frame = m_target.frame;
        bool const isOther = frame && m_track.hasSize() &&
                             (frame->width != m_track.width || frame->height != m_track.height);
        if (isOther)
            add(TrackFault::kNoSize, 0,
                fmt::format("tracked in {}x{}, and the pins are set in a frame of {}x{} without "
                            "scaling",
                            m_track.width, m_track.height, frame->width, frame->height));
    }

    void checkCorners() {
        std::vector<double> frames;
        for (std::size_t i = 0; i < 4; ++i) {
            CornerTrack const& corner = m_track.corners[i];
            if (corner.samples.empty())
                add(TrackFault::kMissingCorner, 0,
                    fmt::format("no samples of {}: its pin stays as it is", wordOf(i)));
            checkOrder(i);
        }
        FrameList uneven;
        eachRow(m_track, [&](TrackRow const& row) {
            frames.push_back(row.frame);
            bool isUneven = false;
            for (std::size_t i = 0; i < 4; ++i)
                isUneven = isUneven || (!row.corners[i] && !m_track.corners[i].samples.empty());
            if (isUneven) uneven.add(row.frame);
        });
        if (!uneven.isEmpty())
            add(TrackFault::kUneven, 0, fmt::format("not all corners have {}", framesText(uneven)));
        checkGaps(frames);
    }

    /// Frames of one corner that come again or descend.
    void checkOrder(std::size_t corner) {
        auto const& samples = m_track.corners[corner].samples;
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
            add(TrackFault::kDuplicate, firstLine,
                fmt::format("{} has {} more than once: the last counts", wordOf(corner),
                            framesText(again)));
        auto const descent = std::adjacent_find(
            samples.begin(), samples.end(),
            [](TrackSample const& a, TrackSample const& b) { return b.frame < a.frame; });
        if (descent != samples.end())
            add(TrackFault::kOrder, (descent + 1)->line,
                fmt::format("frames of {} descend: {} after {}", wordOf(corner),
                            numberText((descent + 1)->frame), numberText(descent->frame)));
    }

    /// `frames` ascend. A gap is wider than the distance that is met most often.
    void checkGaps(std::vector<double> const& frames) {
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
            add(TrackFault::kGap, 0,
                fmt::format("{} gap{} between frames: {}{}", gaps, gaps == 1 ? "" : "s", text,
                            gaps > 4 ? " and others" : ""));
    }

    void checkQuads() {
        FrameList crossed, flat, turned;
        std::map<Order, int> orders;
        eachRow(m_track, [&](TrackRow const& row) {
            if (!row.isWhole()) return;
            Corners const quad = row.quad();
            QuadFault const fault = checkQuad(quad);
            if (fault == QuadFault::kCrossed) crossed.add(row.frame);
            if (fault == QuadFault::kFlat) flat.add(row.frame);
            if (isTurnedOver(quad)) turned.add(row.frame);
            if (fault == QuadFault::kCrossed || isTurnedOver(quad)) ++orders[orderByPlace(quad)];
        });
        auto const order = mostOf(orders);
        bool const isUpsideDown =
            order == std::array<int, 4>{kLowerLeft, kLowerRight, kUpperLeft, kUpperRight};
        std::string const mend = isUpsideDown ? "--flip-y" : orderMend(order);
        if (!crossed.isEmpty())
            add(TrackFault::kCrossed, 0,
                fmt::format("the quad crosses itself, and nothing is drawn, at {}",
                            framesText(crossed)),
                mend);
        if (!flat.isEmpty())
            add(TrackFault::kFlat, 0,
                fmt::format("the quad has no area, and nothing is drawn, at {}", framesText(flat)));
        if (isUpsideDown && !turned.isEmpty())
            add(TrackFault::kUpsideDown, 0,
                fmt::format("upper corners lie below lower ones at {}: y seems to point up",
                            framesText(turned)),
                m_track.hasSize() ? mend : mend + " --size WxH");
        else if (!turned.isEmpty())
            add(TrackFault::kTurnedOver, 0,
                fmt::format("the picture is turned over at {}", framesText(turned)), mend);
    }

    using Order = std::array<int, 4>;

    static Order mostOf(std::map<Order, int> const& orders) {
        if (orders.empty()) return {0, 1, 2, 3};
        return std::max_element(orders.begin(), orders.end(),
                                [](auto const& a, auto const& b) { return a.second < b.second; })
            ->first;
    }

    /// What gives every corner the place where it lies; nothing when it lies there. Headings
    /// in words were most likely meant as they say.
    std::string orderMend(Order const& order) const {
        constexpr Order kAsIs = {0, 1, 2, 3}, kByWords = {0, 2, 1, 3};
        if (order == kAsIs) return "";
        if (order == kByWords && m_track.format == "mocha") return "--format keyframes";
        return cornersOption(order);
    }

    void checkOutside() {
        double const width = m_track.hasSize() ? m_track.width : kUntoldWidth;
        double const height = m_track.hasSize() ? m_track.height : kUntoldHeight;
        std::size_t count = 0;
        TrackSample first;
        bool areFractions = true;
        for (CornerTrack const& corner : m_track.corners)
            for (TrackSample const& sample : corner.samples) {
                areFractions = areFractions && std::abs(sample.x) <= 2 && std::abs(sample.y) <= 2;
                bool const isFar = sample.x < -width || sample.x > 2 * width ||
                                   sample.y < -height || sample.y > 2 * height;
                if (isFar && count++ == 0) first = sample;
            }
        if (areFractions)
            add(TrackFault::kFarOutside, 0,
                "all samples lie within two pixels of the corner: they may be fractions of the "
                "frame, and pixels are expected");
        if (count > 0)
            add(TrackFault::kFarOutside, first.line,
                fmt::format("{} sample{} more than a frame outside of it, such as {}, {}", count,
                            count == 1 ? " lies" : "s lie", numberText(first.x),
                            numberText(first.y)));
    }

    void checkHost() {
        if (TrackSample const* sample = firstBeyondHost(m_track))
            add(TrackFault::kBeyondHost, sample->line,
                fmt::format("{} {}", beyondHost(*sample), sampleText(*sample)));
    }

    void checkFrameBase() {
        std::optional<double> first, last;
        for (CornerTrack const& corner : m_track.corners)
            for (TrackSample const& sample : corner.samples) {
                first = std::min(first.value_or(sample.frame), sample.frame);
                last = std::max(last.value_or(sample.frame), sample.frame);
            }
        if (!first) return;
        auto const start = m_target.startFrame;
        if (start && (*start < *first || *start > *last))
            add(TrackFault::kFrameBase, 0,
                fmt::format("its frames are {} to {}, and the composition starts at {}",
                            numberText(*first), numberText(*last), *start),
                fmt::format("--first-frame {}", *start));
        if (!m_target.startFrame && *first == 1)
            add(TrackFault::kFrameBase, 0,
                "the first frame is 1: in a composition that counts from 0 all keys come a frame "
                "late",
                "--first-frame 0");
    }

    void checkPixelAspect() {
        if (m_track.pixelAspect != 1)
            return add(
                TrackFault::kPixelAspect, 0,
                fmt::format("the file's pixels are {} wide", numberText(m_track.pixelAspect)),
                "--pixel-aspect " + numberText(m_track.pixelAspect));
        struct NarrowFrame {
            int width, height;
            char const* aspects;
        };
        constexpr NarrowFrame kFrames[] = {
            {720, 480, "10/11 or 40/33"},
            {720, 486, "10/11 or 40/33"},
            {720, 576, "12/11 or 16/11"},
            {1440, 1080, "4/3"},
            {960, 720, "4/3"},
            {1280, 1080, "3/2"},
        };
        for (NarrowFrame const& frame : kFrames)
            if (frame.width == m_track.width && frame.height == m_track.height)
                add(TrackFault::kPixelAspect, 0,
                    fmt::format("frames of {}x{} mostly have pixels {} wide", frame.width,
                                frame.height, frame.aspects),
                    "--pixel-aspect A");
    }

    Track const& m_track;
    TrackTarget const& m_target;
    std::vector<TrackIssue> m_issues;
};

}  // namespace

std::string_view faultName(TrackFault fault) {
    constexpr std::string_view kNames[] = {
        "note",    "size",        "missing-corner", "duplicate",  "order",
        "gap",     "uneven",      "crossed",        "flat",       "turned-over",
        "outside", "beyond-host", "upside-down",    "frame-base", "pixel-aspect"};
    return kNames[static_cast<std::size_t>(fault)];
}

std::vector<TrackIssue> checkTrack(Track const& track, TrackTarget const& target) {
    return Checker(track, target).check();
}

void requireImportable(std::string const& file, Track const& track) {
    TrackSample const* const sample = firstBeyondHost(track);
    if (sample)
        TrackText{file, {}, {}}.refuse(sample->line, std::string(beyondHost(*sample)),
                                       sampleText(*sample),
                                       "a frame up to 10000000, x and y within 32767 pixels");
}

std::string issueText(TrackIssue const& issue) {
    std::string text = issue.line > 0 ? fmt::format("line {}: ", issue.line) : "";
    text += issue.text;
    if (!issue.mend.empty()) text += "; `zelk track convert` mends it with " + issue.mend;
    return oneLine(text);
}

}  // namespace zelk

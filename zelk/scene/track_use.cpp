// Reading and judging of a scene's tracks; see track_use.h.
#include "zelk/scene/track_use.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "zelk/files/file_stamp.h"
#include "zelk/files/frame_names.h"
#include "zelk/files/text_file.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/corner_order.h"
#include "zelk/tracks/forms.h"
#include "zelk/tracks/quad_fault.h"
#include "zelk/tracks/text.h"

namespace zelk {

namespace {

/// What options of `zelk track convert` are called among a scene's edits; others have no edit.
struct EditOfFix {
    std::string_view fix, edit;
};
constexpr EditOfFix kEditsOfFixes[] = {
    {"format", "track-format"}, {"first-frame", "track-first-frame"},
    {"size", "track-size"},     {"shift-frames", "shift-frames"},
    {"corners", "corners"},     {"flip-y", "flip-y"}};

/// "--first-frame 0" as the scene's program spells it; nothing where a part has no edit.
std::optional<std::string> asEdits(Scene const& scene, std::string const& fix) {
    std::string text;
    for (std::string_view const word : wordsOf(fix)) {
        if (!text.empty()) text += " ";
        if (!word.starts_with("--")) {
            text += word;
            continue;
        }
        auto const found =
            std::find_if(std::begin(kEditsOfFixes), std::end(kEditsOfFixes),
                         [&](EditOfFix const& known) { return known.fix == word.substr(2); });
        if (found == std::end(kEditsOfFixes)) return std::nullopt;
        text += spelled(scene, found->edit);
    }
    return text;
}

/// The fix of a track whose corners were put in order already, as one order of the file's.
std::string afterOrder(std::string const& given, std::string const& fix) {
    std::string_view const option = "--corners ";
    bool const isByWords = fix == kMeantByWords;
    if (!isByWords && !fix.starts_with(option)) return fix;
    CornerOrder const first = parseCornerOrder("corners", given);
    CornerOrder composed =
        parseCornerOrder("corners", isByWords ? "ul,ll,ur,lr" : fix.substr(option.size()));
    for (int& corner : composed) corner = first[static_cast<std::size_t>(corner)];
    return cornersOption(composed);
}

std::string textOf(Scene const& scene, TrackUse const& use, TrackIssue issue) {
    if (use.reading.order) issue.fix = afterOrder(*use.reading.order, issue.fix);
    auto const edits = asEdits(scene, issue.fix);
    if (issue.fix.empty() || !edits) return issueText(issue);
    issue.fix.clear();
    return issueText(issue) + "; correct it by `" + *edits + "`";
}

/// A size that the import takes where the file has none.
constexpr PixelSize kImportSize = {720, 486};

/// In the order of `zelk track convert`.
void applyReading(std::string const& file, std::string const& prefix, TrackReading const& reading,
                  Track& track) {
    if (!track.hasSize() && track.format == trackFormats().front().name) {
        track.width = kImportSize.width;
        track.height = kImportSize.height;
    }
    if (reading.order) reorderCorners(track, parseCornerOrder("corners", *reading.order));
    if (reading.flipsY && !track.hasSize())
        throw UserError(ExitCode::kInput,
                        fmt::format("{}: y can't be counted from below without the frame's height: "
                                    "give {}size WxH",
                                    file, prefix));
    if (reading.flipsY) flipY(track);
    if (reading.firstFrame) {
        auto const reach = reachOf(track);
        shiftFrames(track, *reading.firstFrame - (reach ? reach->first : 0));
    }
    if (reading.shiftFrames) shiftFrames(track, *reading.shiftFrames);
}

/// What most likely goes wrong in every frame; null for nothing.
TrackIssue const* misplaced(Track const& track, std::vector<TrackIssue> const& issues) {
    bool areAll = true, isAny = false;
    eachRow(track, [&](TrackRow const& row) {
        if (!row.isWhole()) return;
        isAny = true;
        areAll =
            areAll && (checkQuad(row.quad()) == QuadFault::kCrossed || isTurnedOver(row.quad()));
    });
    if (!isAny || !areAll) return nullptr;
    auto const found = std::find_if(issues.begin(), issues.end(), [](TrackIssue const& issue) {
        bool const isOfPlace = issue.fault == TrackFault::kCrossed ||
                               issue.fault == TrackFault::kTurnedOver ||
                               issue.fault == TrackFault::kUpsideDown;
        return isOfPlace && !issue.fix.empty();
    });
    return found == issues.end() ? nullptr : &*found;
}

void requirePlaces(Scene const& scene, TrackUse const& use) {
    if (use.reading.order || use.reading.flipsY) return;
    auto const issues = checkTrack(*use.track);
    TrackIssue const* const issue = misplaced(*use.track, issues);
    if (!issue || (use.reading.format && issue->fix == kMeantByWords)) return;
    throw UserError(ExitCode::kInput,
                    fmt::format("{}: {}; {} ul,ur,ll,lr takes it as it is", use.name(),
                                textOf(scene, use, *issue), spelled(scene, "corners")));
}

void requireFrames(Scene const& scene, TrackUse const& use, FrameSpan const& shown) {
    if (use.reading.firstFrame || use.reading.shiftFrames) return;
    auto const reach = reachOf(*use.track);
    bool const isMoving = reach && reach->first < reach->last;
    if (!isMoving || (reach->last >= shown.first && reach->first <= shown.last)) return;
    throw UserError(
        ExitCode::kInput,
        fmt::format(
            "{}: its frames are {:.10g} to {:.10g}, and {} to {} are shown: one quad would stand "
            "still in all of them; correct it by `{} {}`; {} 0 takes it as it is",
            use.name(), reach->first, reach->last, shown.first, shown.last,
            spelled(scene, "track-first-frame"), shown.first, spelled(scene, "shift-frames")));
}

}  // namespace

TrackUse readTrackUse(ScenePath const& file, TrackedPins pins, TrackReading const& reading,
                      std::string const& editPrefix) {
    std::string const prefix = editPrefix + "track-";
    std::string const name = file.path().string();
    std::string stamp = stampOf(name);
    std::string text = readTextFile(name, "a tracking", kLargestTrackFile);
    ReadTrackOptions how;
    how.format = reading.format;
    how.size = reading.size;
    how.optionPrefix = prefix;
    auto track = std::make_shared<Track>(trackFromText({name, text, {}}, how));
    TrackReading asItIs = reading;
    asItIs.format.reset();
    bool const isChanged = asItIs != TrackReading();
    if (isChanged) applyReading(name, prefix, reading, *track);
    requireImportable(name, *track);
    if (isChanged || track->format != trackFormats().front().name) text.clear();
    return {file, pins, std::move(track), std::move(text), reading, {}, std::move(stamp)};
}

TrackUse readTrackUseToEdit(ScenePath const& file, TrackedPins pins, TrackReading const& reading) {
    std::string stamp = stampOf(file.path());
    try {
        return readTrackUse(file, pins, reading);
    } catch (UserError const& error) {
        return {file, pins, nullptr, {}, reading, error.what(), std::move(stamp)};
    }
}

void requireRead(TrackUse const& use) {
    if (!use.track) throw UserError(ExitCode::kInput, use.fault);
}

void changeReading(Scene& scene, std::function<void(TrackReading&)> const& change) {
    std::vector<TrackUse> tracks;
    for (TrackUse const& use : scene.tracks) {
        TrackReading reading = use.reading;
        change(reading);
        tracks.push_back(readTrackUse(use.file, use.pins, reading, scene.editPrefix));
    }
    change(scene.trackReading);
    scene.tracks = std::move(tracks);
}

std::optional<TrackReading> mended(TrackReading reading, std::string const& fix) {
    std::string const options = reading.order ? afterOrder(*reading.order, fix) : fix;
    std::vector<std::string_view> words = wordsOf(options);
    if (words.empty()) return std::nullopt;
    words.push_back("--");  // ends the last option
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        std::string_view const option = words[i];
        bool const hasValue = !words[i + 1].starts_with("--");
        std::string const value(hasValue ? words[++i] : "");
        if (option == "--format")
            reading.format = value;
        else if (option == "--size")
            reading.size = parseSize("size", value);
        else if (option == "--corners")
            reading.order = value;
        else if (option == "--flip-y")
            reading.flipsY = !reading.flipsY;
        else if (option == "--first-frame")
            reading.firstFrame = parseWhole(value);
        else if (option == "--shift-frames")
            reading.shiftFrames = reading.shiftFrames.value_or(0) + parseWhole(value).value_or(0);
        else
            return std::nullopt;
    }
    return reading;
}

std::vector<std::string> warningsOf(Scene const& scene, TrackUse const& use,
                                    TrackTarget const& target) {
    std::vector<std::string> warnings;
    for (TrackIssue const& issue : checkTrack(*use.track, target))
        warnings.push_back(use.name() + ": " + textOf(scene, use, issue));
    return warnings;
}

void requireMeant(Scene const& scene, TrackUse const& use, FrameSpan const& shown) {
    requirePlaces(scene, use);
    requireFrames(scene, use, shown);
}

std::optional<int> numberOfPicture(Scene const& scene, TrackedPins pins) {
    SceneInput const* const picture = pins == TrackedPins::kFrom ? &scene.layer
                                      : scene.plate              ? &*scene.plate
                                                                 : nullptr;
    if (!picture || picture->buffer) return std::nullopt;
    return numberOfName(picture->file.path());
}

int frameOfPicture(Scene const& scene, TrackedPins pins, std::vector<int> const& frames) {
    auto const number = numberOfPicture(scene, pins);
    bool const isThere = number && std::find(frames.begin(), frames.end(), *number) != frames.end();
    return isThere ? *number : frames.front();
}

Track scaledTo(Track track, PixelSize size) {
    if (!track.hasSize()) return track;
    double const x = double(size.width) / track.width, y = double(size.height) / track.height;
    for (CornerTrack& corner : track.corners)
        for (TrackSample& sample : corner.samples) {
            sample.x *= x;
            sample.y *= y;
        }
    track.width = size.width;
    track.height = size.height;
    return track;
}

}  // namespace zelk

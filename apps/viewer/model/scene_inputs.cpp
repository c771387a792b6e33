// See scene_inputs.h.
#include "apps/viewer/model/scene_inputs.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "zelk/files/absolute_path.h"
#include "zelk/files/relative_paths.h"
#include "zelk/inputs/input_files.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/new_comp.h"
#include "zelk/scene/track_use.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

struct KindWords {
    InputKind kind;
    char const *edit, *word;
};
constexpr KindWords kWords[] = {{InputKind::kLayer, "layer", "layer"},
                                {InputKind::kPlate, "over", "plate"},
                                {InputKind::kMatte, "matte", "matte"},
                                {InputKind::kHoldout, "holdout", "holdout"},
                                {InputKind::kStMap, "st-map", "lens map"},
                                {InputKind::kTrackTo, "track", "track of the To Pins"},
                                {InputKind::kTrackFrom, "track-from", "track of the From Pins"}};

KindWords const& wordsOf(InputKind kind) {
    return *std::find_if(std::begin(kWords), std::end(kWords),
                         [kind](KindWords const& words) { return words.kind == kind; });
}

TrackUse* trackOf(Scene& scene, InputKind kind) {
    auto const pins = kind == InputKind::kTrackTo ? TrackedPins::kTo : TrackedPins::kFrom;
    for (TrackUse& use : scene.tracks)
        if (use.pins == pins) return &use;
    return nullptr;
}

/// The picture of a kind; null for none.
SceneInput* pictureOf(Scene& scene, InputKind kind) {
    switch (kind) {
        case InputKind::kLayer:
            return &scene.layer;
        case InputKind::kPlate:
            return scene.plate ? &*scene.plate : nullptr;
        case InputKind::kMatte:
            return scene.matte ? &scene.matte->file : nullptr;
        case InputKind::kHoldout:
            return scene.holdout ? &scene.holdout->file : nullptr;
        case InputKind::kStMap:
            return scene.stMap ? &*scene.stMap : nullptr;
        default:
            return nullptr;
    }
}

std::string channelOf(Scene const& scene, InputKind kind) {
    if (kind == InputKind::kMatte && scene.matte) return scene.matte->channel;
    if (kind == InputKind::kHoldout && scene.holdout) return scene.holdout->channel;
    return "";
}

void setChannel(Scene& scene, InputKind kind, std::string channel) {
    if (kind == InputKind::kMatte) scene.matte->channel = std::move(channel);
    if (kind == InputKind::kHoldout) scene.holdout->channel = std::move(channel);
}

/// The file of a kind as it stands in the scene; empty for none.
fs::path fileOf(Scene& scene, InputKind kind) {
    if (TrackUse const* const use = isTrack(kind) ? trackOf(scene, kind) : nullptr)
        return use->file.path();
    SceneInput const* const picture = pictureOf(scene, kind);
    return picture && !picture->buffer ? picture->file.path() : fs::path();
}

void fitCompToPlate(Scene& scene, PixelSize former) {
    Scene derived = scene;
    derived.hasComp = false;
    try {
        settleNewComp(derived);
    } catch (UserError const&) {
        return;  // the plate's own sentence comes with its frame
    }
    Comp& comp = scene.comp;
    if (PixelSize{comp.width, comp.height} == former) {
        comp.width = derived.comp.width;
        comp.height = derived.comp.height;
    }
    if (comp.durationFrames != 1 || derived.comp.durationFrames == 1) return;
    comp.startFrame = derived.comp.startFrame;
    comp.durationFrames = derived.comp.durationFrames;
    scene.ownStart = scene.ownDuration = true;
    comp.timeBase = derived.comp.timeBase;
    if (!scene.movieStart) scene.movieStart = derived.movieStart;
}

/// Of a picture that is not there, with its name.
std::string whyMissing(fs::path const& file) {
    if (!isPattern(file)) return file.string() + ": no such file";
    std::error_code fault;
    SequenceName const name(file.string());
    framesOnDisk(name, fault);
    bool const isRefused = fault && fs::is_directory(name.folder(), fault);
    return file.string() + (isRefused ? ": the folder cannot be listed" : ": no such files");
}

}  // namespace

char const* wordOf(InputKind kind) { return wordsOf(kind).word; }

bool isTrack(InputKind kind) {
    return kind == InputKind::kTrackTo || kind == InputKind::kTrackFrom;
}

ScenePath pathIn(Scene const& scene, fs::path const& file) {
    fs::path const folder = scene.file.parent_path();
    return {pathFrom(folder, file, true), folder};
}

fs::path fullPath(ScenePath const& path) {
    return path.written.empty() ? fs::path() : plainPath(path.path());
}

fs::path typedPath(Scene const& scene, std::string const& text) {
    return scene.file.parent_path() / text;
}

void setInput(Scene& scene, InputKind kind, fs::path const& file, PixelSize frame) {
    TrackUse const* const former = trackOf(scene, kind);
    TrackReading const reading = isTrack(kind) && former ? former->reading : TrackReading();
    scene.trackReading = reading;
    std::string const channel = channelOf(scene, kind);
    sceneEdit(wordsOf(kind).edit).apply(scene, wordsOf(kind).word, file.string());
    scene.trackReading = {};
    scene.options.clear();  // it is the scene's own from now on
    if (TrackUse* const use = isTrack(kind) ? trackOf(scene, kind) : nullptr)
        use->file = pathIn(scene, file);
    SceneInput* const picture = pictureOf(scene, kind);
    if (picture && picture->file.path() == file) picture->file = pathIn(scene, file);
    if (!channel.empty()) setChannel(scene, kind, channel);
    if (kind == InputKind::kPlate) fitCompToPlate(scene, frame);
}

std::vector<MissingFile> missingFiles(Scene const& scene) {
    std::vector<MissingFile> missing;
    Scene named = scene;
    for (InputKind const kind : kInputKinds) {
        TrackUse const* const use = isTrack(kind) ? trackOf(named, kind) : nullptr;
        if (use && !use->track) missing.push_back({kind, use->file.path(), use->fault});
        fs::path const file = fileOf(named, kind);
        if (isTrack(kind) || file.empty() || namesFiles(file)) continue;
        missing.push_back({kind, file, whyMissing(file)});
    }
    return missing;
}

fs::path foundIn(fs::path const& folder, MissingFile const& missing) {
    fs::path const full = absolutePath(missing.file).lexically_normal();
    std::vector<fs::path> const parts(full.begin(), full.end());
    for (std::size_t first = 1; first < parts.size(); ++first) {
        fs::path candidate = folder;
        for (std::size_t i = first; i < parts.size(); ++i) candidate /= parts[i];
        if (namesFiles(candidate)) return candidate;
    }
    return {};
}

bool relink(Scene& scene, InputKind kind, fs::path const& file) {
    ScenePath const path = pathIn(scene, file);
    if (TrackUse* const use = isTrack(kind) ? trackOf(scene, kind) : nullptr) {
        *use = readTrackUse({file.string()}, use->pins, use->reading);
        use->file = path;
        return true;
    }
    SceneInput* const picture = pictureOf(scene, kind);
    if (picture) picture->file = path;
    return picture != nullptr;
}

std::vector<std::string> relinkAll(Scene& scene, fs::path const& folder) {
    std::vector<std::string> refusals;
    for (MissingFile const& missing : missingFiles(scene)) {
        fs::path const found = foundIn(folder, missing);
        if (found.empty()) continue;
        try {
            relink(scene, missing.kind, found);
        } catch (UserError const& error) {
            refusals.emplace_back(error.what());
        }
    }
    return refusals;
}

}  // namespace zelk

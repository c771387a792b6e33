// Names to files; see inputs.h.
#include "zelk/scene/inputs.h"

#include <fmt/format.h>

#include "zelk/files/output_place.h"
#include "zelk/movies/writer.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/refusal.h"

namespace zelk {

namespace {

InputFiles filesOf(SceneInput const& input, MissingInput missing) {
    return input.buffer ? InputFiles(input.buffer) : InputFiles(input.file.path(), missing);
}

bool isNumbered(SceneInput const& input) { return !input.buffer && isPattern(input.file.path()); }

/// A wrong mark is told before anything is written.
bool isMarked(std::filesystem::path const& output) {
    return !onDisk(output) && SequenceName(output.string()).isSequence();
}

bool isMovie(SceneInput const& input) { return !input.buffer && isMovieInput(input.file.path()); }

}  // namespace

SceneFiles::SceneFiles(Scene const& scene)
    : layer(filesOf(scene.layer, scene.missing)),
      output(isSequence(scene) ? SequenceName(scene.outputPath().string())
                               : SequenceName::plain(scene.outputPath().string())) {
    if (scene.plate) plate.emplace(filesOf(*scene.plate, scene.missing));
    if (scene.matte) matte.emplace(filesOf(scene.matte->file, scene.missing));
    if (scene.holdout) holdout.emplace(filesOf(scene.holdout->file, scene.missing));
    if (scene.stMap) stMap.emplace(filesOf(*scene.stMap, scene.missing));
    int const first = scene.movieStart.value_or(0);
    auto const begin = [&](InputFiles& files) {
        files.startAt(first);
        files.readAs({scene.keepsOrientation});
    };
    begin(layer);
    if (scene.sound) sound.emplace(filesOf(*scene.sound, scene.missing));
    for (auto* const more : {&plate, &matte, &holdout, &sound})
        if (*more) begin(**more);
}

std::vector<NamedInput> SceneFiles::inputs() const {
    std::vector<NamedInput> all = {{"layer", &layer}};
    if (plate) all.push_back({"plate", &*plate});
    if (matte) all.push_back({"matte", &*matte});
    if (holdout) all.push_back({"holdout", &*holdout});
    if (stMap) all.push_back({"ST map", &*stMap});
    return all;
}

void SceneFiles::requireNames() const {
    for (NamedInput const& input : inputs()) input.files->requireName();
}

bool SceneFiles::isReadable(int frame) const {
    auto const all = inputs();
    return std::all_of(all.begin(), all.end(),
                       [frame](auto const& input) { return input.files->isThere(frame); });
}

/// The layer where all are there by now: a file may come back between two looks.
InputFiles const& SceneFiles::missingOf(int frame) const {
    for (NamedInput const& input : inputs())
        if (!input.files->isThere(frame)) return *input.files;
    return layer;
}

bool isSequence(Scene const& scene) {
    auto const isOfMany = [](SceneInput const& input) {
        return isNumbered(input) || isMovie(input);
    };
    return scene.frames || !scene.tracks.empty() || isOfMany(scene.layer) ||
           (scene.plate && isOfMany(*scene.plate)) ||
           (scene.matte && isOfMany(scene.matte->file)) ||
           (scene.holdout && isOfMany(scene.holdout->file)) ||
           (scene.stMap && isNumbered(*scene.stMap)) ||
           (scene.hasComp && isMarked(scene.outputPath())) || isMovieName(scene.outputPath());
}

TimeBase rateOf(Scene const& scene, SceneFiles const& files) {
    if (scene.hasComp || scene.isSetBy(SceneField::kRate)) return scene.comp.timeBase;
    for (InputFiles const* input : {files.plate ? &*files.plate : nullptr, &files.layer})
        if (MovieFacts const* const facts = input ? input->movieFacts() : nullptr)
            return rateFromText(facts->rate).value_or(scene.comp.timeBase);
    return scene.comp.timeBase;
}

void requireOtherFile(Scene const& scene, bool mayBe, std::filesystem::path const& output,
                      InputPicture const& input, char const* kind) {
    auto const own = input.isOnDisk() ? identityOf(input.file) : std::nullopt;
    if (mayBe || !own || own != identityOf(output)) return;
    // A window has no switch for it.
    std::string const way = scene.editJoin == ' ' ? "" : ", or " + spelled(scene, "in-place");
    throw refusalOf(scene, SceneField::kOutput, fmt::format("would replace its own {}:", kind),
                    output.string(), "another name" + way);
}

void requireNoInput(Scene const& scene, SceneFiles const& files, bool mayBe, int frame,
                    std::filesystem::path const& output) {
    for (NamedInput const& input : files.inputs())
        requireOtherFile(scene, mayBe, output, input.files->own(frame), input.kind);
    if (files.sound) requireOtherFile(scene, mayBe, output, files.sound->own(frame), "sound");
}

}  // namespace zelk

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

bool isMovie(SceneInput const& input) { return !input.buffer && isMovieInput(input.file.path()); }

}  // namespace

SceneFiles::SceneFiles(Scene const& scene)
    : layer(filesOf(scene.layer, scene.missing)),
      output(isSequence(scene) ? SequenceName(scene.outputPath().string())
                               : SequenceName::plain(scene.outputPath().string())) {
    if (scene.plate) plate.emplace(filesOf(*scene.plate, scene.missing));
    if (scene.stMap) stMap.emplace(filesOf(*scene.stMap, scene.missing));
    int const first = scene.movieStart.value_or(0);
    layer.startAt(first);
    if (plate) plate->startAt(first);
}

bool SceneFiles::isReadable(int frame) const { return missingOf(frame).isThere(frame); }

InputFiles const& SceneFiles::missingOf(int frame) const {
    InputFiles const* missing = nullptr;
    eachInput([&](InputFiles const& input, char const*) {
        if (!missing && !input.isThere(frame)) missing = &input;
    });
    return missing ? *missing : layer;
}

bool isSequence(Scene const& scene) {
    return scene.frames || !scene.tracks.empty() || isNumbered(scene.layer) ||
           (scene.plate && (isNumbered(*scene.plate) || isMovie(*scene.plate))) ||
           (scene.stMap && isNumbered(*scene.stMap)) ||
           (scene.hasComp && isPattern(scene.outputPath())) || isMovie(scene.layer) ||
           isMovieName(scene.outputPath());
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
    throw refusalOf(scene, SceneField::kOutput, fmt::format("would replace its own {}:", kind),
                    output.string(), "another name, or " + spelled(scene, "in-place"));
}

void requireNoInput(Scene const& scene, SceneFiles const& files, bool mayBe, int frame,
                    std::filesystem::path const& output) {
    files.eachInput([&](InputFiles const& input, char const* kind) {
        requireOtherFile(scene, mayBe, output, input.own(frame), kind);
    });
}

}  // namespace zelk

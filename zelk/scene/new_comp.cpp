// See new_comp.h.
#include "zelk/scene/new_comp.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "zelk/files/frame_names.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/reader.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/inputs.h"
#include "zelk/scene/refusal.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {
namespace {

/// The frames that a new composition shows, in any order: the plate's, else the layer's.
std::vector<int> framesOf(Scene const& scene, SceneFiles const& files) {
    if (scene.frames) return parseFrameRange(nameOf(scene, SceneField::kFrames), *scene.frames);
    for (InputFiles const* input : {files.plate ? &*files.plate : nullptr, &files.layer})
        if (input && input->isNumbered()) return input->framesRequired();
    return {0};
}

}  // namespace

void settleNewComp(Scene& scene, std::optional<PixelSize> const& size) {
    SceneFiles const files(scene);
    Comp& comp = scene.comp;
    comp.timeBase = rateOf(scene, files);
    scene.hasComp = true;
    if ((files.layer.isMovie() || (files.plate && files.plate->isMovie())) && !scene.movieStart)
        scene.movieStart = 0;
    auto const frames = framesOf(scene, files);
    auto const [first, last] = std::minmax_element(frames.begin(), frames.end());
    comp.startFrame = *first;
    if (!keyTimeOf(comp, double(*last) + 1))
        throw refusalOf(scene, SceneField::kFrames, "too far apart for the composition's clock:",
                        fmt::format("{}-{}", *first, *last),
                        fmt::format("at most {} frames", mostFramesOf(comp.timeBase)));
    comp.durationFrames = *last - *first + 1;
    if (size) {
        comp.width = size->width;
        comp.height = size->height;
        return;
    }
    PictureReader const picture =
        (files.plate ? *files.plate : files.layer).own(frames.front()).open();
    comp.width = picture.width();
    comp.height = picture.height();
}

}  // namespace zelk

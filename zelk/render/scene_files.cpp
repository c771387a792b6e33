// Names to files; see scene_files.h.
#include "zelk/render/scene_files.h"

#include <algorithm>

#include "zelk/movies/writer.h"
#include "zelk/scene/scene_file.h"

namespace zelk {

namespace {

/// Of the composition, which a movie's first picture is: the project's, else the least of the
/// range.
int firstFrameOf(RenderRequest const& request) {
    if (request.project) return request.project->comp.startFrame;
    if (!request.frames) return 1;
    std::vector<int> const frames = parseFrameRange("--frames", *request.frames);
    return *std::min_element(frames.begin(), frames.end());
}

}  // namespace

Files::Files(RenderRequest const& request)
    : layer(request.layer, request.missing),
      output(isSequence(request) ? SequenceName(request.output.string())
                                 : SequenceName::plain(request.output.string())) {
    if (request.plate) plate.emplace(*request.plate, request.missing);
    int const first = firstFrameOf(request);
    layer.startAt(first);
    if (plate) plate->startAt(first);
}

bool isSequence(RenderRequest const& request) {
    return request.frames || !request.tracks.empty() || isPattern(request.layer) ||
           (request.plate && (isPattern(*request.plate) || isMovieInput(*request.plate))) ||
           (request.project && isPattern(request.output)) || isMovieInput(request.layer) ||
           isMovieName(request.output);
}

}  // namespace zelk

// The last stage of a frame: to its file, to a movie, or to memory; see frame_stages.h.
#include <algorithm>
#include <utility>

#include "zelk/render/explanation.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/movie_sound.h"
#include "zelk/render/setup.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

void convert(RenderedFrame& rendered, SharedTransform const& way) {
    if (!way) return;
    if (rendered.picture.depth() != Depth::kFloat) rendered.picture = floatWorld(rendered.picture);
    way->apply(rendered.picture, rendered.file.form);
}

}  // namespace

/// Rounded once, by the writer.
void FrameStages::store(int frame, RenderedFrame rendered) {
    Explanation* const explanation = rendered.explanation.get();
    if (explanation) explanation->clock.leaveOut();
    convert(rendered, rendered.colors.workToOutput);
    if (isMovieName(m_scene.outputPath())) return storeInMovie(rendered);
    WriteReport const written =
        writePicture(rendered.picture, m_files.output.pathOf(frame), rendered.file);
    m_warnings.add(written.warnings);
    if (explanation) {
        explanation->writtenType = written.sampleType;
        explanation->writtenBits = written.sampleBits;
        explanation->clock.lap("write");
    }
    if (m_listener) m_listener("write");
}

PictureBuffer FrameStages::stored(RenderedFrame rendered, StoredForm const& form) {
    convert(rendered, rendered.colors.workToStored);
    return storedPicture(rendered.picture, rendered.file, form);
}

PictureBuffer FrameStages::asFile(RenderedFrame rendered) {
    std::filesystem::path const target = m_scene.outputPath();
    bool const isMovie = isMovieName(target);
    if (!isMovie && formatOf(target).empty()) return stored(std::move(rendered), {});
    convert(rendered, rendered.colors.workToOutput);
    if (isMovie) return storedPicture(rendered.picture, rendered.file, StoredForm{});
    return storedPicture(rendered.picture, rendered.file, target);
}

bool FrameStages::finishMovie(std::atomic<bool> const& stop) {
    if (!m_movie) return true;
    auto const warning = m_movie->finish({!m_run.noClobber, m_run.isStrict}, stop);
    if (warning && !warning->empty()) m_warnings.add({*warning});
    return warning.has_value();
}

MovieRequest FrameStages::movieRequestOf(PixelSize size) const {
    return {
        m_scene.outputPath(), size, m_comp.timeBase, m_scene.codec, m_scene.codecQuality, {}, {}};
}

void FrameStages::storeInMovie(RenderedFrame const& rendered) {
    World const& picture = rendered.picture;
    if (!m_movie) {
        MovieRequest ask = movieRequestOf({picture.width(), picture.height()});
        std::vector<std::string> warnings;
        ask.color = rendered.colors.movie;
        ask.sound = soundOf(m_scene, m_files, m_frames, m_comp.timeBase, warnings);
        m_warnings.add(warnings);
        m_movie.emplace(ask);
    }
    m_movie->add(picture, rendered.file.form);
}

}  // namespace zelk

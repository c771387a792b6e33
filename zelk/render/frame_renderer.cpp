// FrameRenderer over the stages; see frame_renderer.h.
#include "zelk/render/frame_renderer.h"

#include <fmt/format.h>

#include <utility>

#include "zelk/pictures/buffer_input.h"
#include "zelk/pictures/png_data.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/setup.h"
#include "zelk/scene/check.h"
#include "zelk/scene/invert.h"

namespace zelk {

namespace {

/// Pictures are asked for one after the other.
RunOptions oneByOne(RenderOptions const& options) {
    if (options.pngLevel < 0 || options.pngLevel > kMostPngLevel)
        throw UserError(ExitCode::kUsage,
                        {"pngLevel", "out of range:", std::to_string(options.pngLevel),
                         fmt::format("a whole number from 0 to {}", kMostPngLevel)});
    RunOptions run{options};
    run.inFlight = 1;
    return run;
}

}  // namespace

FrameRenderer::FrameRenderer(Scene scene, RenderOptions const& options)
    : m_stages(withUserErrors([&] {
          return std::make_unique<FrameStages>(invertedScene(std::move(scene)), oneByOne(options));
      })) {}
FrameRenderer::~FrameRenderer() = default;

Scene const& FrameRenderer::scene() const { return m_stages->scene(); }
PixelSize FrameRenderer::layerSize() const { return m_stages->layerSize(); }
PixelSize FrameRenderer::frameSize() const { return m_stages->frameSize(); }
Scene FrameRenderer::settledScene() const {
    return withUserErrors([&] { return m_stages->settledScene(); });
}
void FrameRenderer::begin(std::vector<int> const& frames) {
    withUserErrors([&] { m_stages->begin(frames); });
}
void FrameRenderer::stop() { m_stages->stop(); }
void FrameRenderer::onStage(std::function<void(char const* stage)> listener) {
    m_stages->onStage(std::move(listener));
}
std::vector<std::string> FrameRenderer::takeWarnings() { return m_stages->warnings().take(); }

PictureBuffer FrameRenderer::picture(int frame, PreviewOptions const& options) {
    PictureBuffer picture =
        withUserErrors([&] { return bufferOf(m_stages->world(frame, options)); });
    picture.name = fmt::format("frame {}", frame);
    return picture;
}

void FrameRenderer::write(int frame) {
    requireOutput(scene());
    withUserErrors([&] {
        m_stages->beginAt(frame);
        SceneFiles const& files = m_stages->files();
        requireNoInput(scene(), files, m_stages->run().inPlace, frame, files.output.pathOf(frame));
        m_stages->store(frame, m_stages->render(frame, m_stages->load(frame)));
    });
}

void FrameRenderer::finishMovie() {
    if (!withUserErrors([&] { return m_stages->finishMovie(m_stages->isStopped()); }))
        throw UserError(ExitCode::kInterrupted, "the movie was stopped");
}

}  // namespace zelk

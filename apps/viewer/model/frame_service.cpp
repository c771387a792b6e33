// See frame_service.h.
#include "apps/viewer/model/frame_service.h"

#include <chrono>
#include <tuple>
#include <utility>

#include "zelk/render/frame_stages.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

auto tied(PixelRect const& r) { return std::tie(r.left, r.top, r.right, r.bottom); }

}  // namespace

bool operator==(PictureView const& a, PictureView const& b) {
    bool const isPart =
        a.part.has_value() == b.part.has_value() && (!a.part || tied(*a.part) == tied(*b.part));
    return isPart && std::tie(a.shows, a.reduce, a.isDraft, a.displayView) ==
                         std::tie(b.shows, b.reduce, b.isDraft, b.displayView);
}

FrameService::FrameService(std::function<void(SharedFrame)> ready)
    : m_ready(std::move(ready)), m_thread([this] { work(); }) {}

FrameService::~FrameService() {
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void FrameService::ask(SceneSnapshot scene, PictureView view) {
    if (SharedFrame const kept = find(scene, view)) return m_ready(kept);
    std::lock_guard const lock(m_mutex);
    m_wish = Wish{std::move(scene), std::move(view)};
    m_changed.notify_all();
}

SharedFrame FrameService::find(SceneSnapshot const& scene, PictureView const& view) const {
    std::lock_guard const lock(m_mutex);
    for (SharedFrame const& kept : m_kept)
        if (kept->revision == scene.revision && kept->frame == scene.frame && kept->view == view)
            return kept;
    return nullptr;
}

void FrameService::work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isEnding || m_wish; });
        if (m_isEnding) return;
        Wish const wish = *std::exchange(m_wish, std::nullopt);
        lock.unlock();
        SharedFrame const frame = made(wish);
        lock.lock();
        if (frame->error.empty()) m_kept.assign({frame});
        lock.unlock();
        m_ready(frame);
        lock.lock();
    }
}

SharedFrame FrameService::made(Wish const& wish) {
    auto result = std::make_shared<ShownFrame>();
    result->revision = wish.scene.revision;
    result->frame = wish.scene.frame;
    result->view = wish.view;
    auto const start = std::chrono::steady_clock::now();
    try {
        FrameStages stages(*wish.scene.scene);
        bool const isLayer = wish.view.shows == ShownPicture::kLayer;
        using enum FrameStages::Shown;
        result->display = stages.shown(wish.scene.frame, isLayer ? kLayer : kFrame,
                                       wish.view.displayView, "the view");
        result->whole = {result->display.width(), result->display.height()};
        result->warnings = stages.warnings().take();
    } catch (UserError const& error) {
        result->error = error.what();
    }
    result->seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

}  // namespace zelk

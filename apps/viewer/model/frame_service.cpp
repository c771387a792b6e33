// See frame_service.h.
#include "apps/viewer/model/frame_service.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <utility>

#include "apps/viewer/model/file_stamps.h"
#include "apps/viewer/model/shown_pixels.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

LiveView liveViewOf(PictureView const& view) {
    using enum LiveView::Shows;
    LiveView live;
    live.shows = view.shows == ShownPicture::kLayer   ? kLayer
                 : view.shows == ShownPicture::kPlate ? kPlate
                                                      : kFrame;
    live.reduce = view.reduce;
    live.size = view.size;
    live.part = view.part;
    live.isBlurred = !view.isDraft;
    return live;
}

/// Of what no UserError tells.
std::string failureOf(std::exception const& error, int frame) {
    if (!dynamic_cast<std::bad_alloc const*>(&error)) return error.what();
    return fmt::format("frame {}: there is not enough free memory for its picture", frame);
}

}  // namespace

FrameService::FrameService(std::function<void(SharedFrame)> ready, FrameServiceOptions options)
    : m_ready(std::move(ready)), m_options(std::move(options)), m_thread([this] { work(); }) {}

FrameService::~FrameService() {
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
        m_isStopped = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void FrameService::ask(SceneSnapshot scene, PictureView view) {
    std::unique_lock lock(m_mutex);
    SharedFrame const kept = m_cache.find(scene.revision, scene.frame, view);
    m_wish.reset();
    if (kept && !view.isDraft) m_given = Given{kept, scene.scene};
    if (!kept)
        take({std::move(scene), std::move(view)});
    else if (m_isCurrentWanted)
        m_isStopped = true, m_current.reset();
    if (kept) m_ready(kept);
    lock.unlock();
    m_changed.notify_all();
}

/// What is under way goes on where it is the very picture, or a draft and another one is wanted. A
/// loupe's would hold that up.
void FrameService::take(Wish wish) {
    if (m_current && m_current->isSame(wish)) {
        m_isCurrentWanted = true;
        return;
    }
    bool const areDrafts = m_current && m_isCurrentWanted && m_current->view.isDraft &&
                           wish.view.isDraft && (wish.view.isLoupe || !m_current->view.isLoupe);
    if (!areDrafts) m_isStopped = true, m_current.reset();
    m_wish = std::move(wish);
}

SharedFrame FrameService::find(SceneSnapshot const& scene, PictureView const& view) const {
    std::lock_guard const lock(m_mutex);
    return m_cache.find(scene.revision, scene.frame, view);
}

void FrameService::prefetch(SceneSnapshot scene, PictureView view, std::vector<int> frames) {
    {
        std::lock_guard const lock(m_mutex);
        m_ahead = Wish{std::move(scene), std::move(view)};
        m_aheadFrames.assign(frames.rbegin(), frames.rend());
        m_aheadBytes = 0;
    }
    m_changed.notify_all();
}

std::vector<int> FrameService::kept(SceneSnapshot const& scene, PictureView const& view,
                                    std::vector<int> const& frames) const {
    std::lock_guard const lock(m_mutex);
    std::vector<int> there;
    for (int const frame : frames)
        if (m_cache.has(scene.revision, frame, view)) there.push_back(frame);
    return there;
}

void FrameService::setBudget(std::uint64_t bytes) {
    std::lock_guard const lock(m_mutex);
    m_cache.setBudget(bytes);
}

std::uint64_t FrameService::budget() const {
    std::lock_guard const lock(m_mutex);
    return m_cache.budget();
}

std::uint64_t FrameService::bytes() const {
    std::lock_guard const lock(m_mutex);
    return m_cache.bytes();
}

std::uint64_t FrameService::inputBytes() const { return m_inputBytes; }

// --- The worker

void FrameService::work() {
    m_renderer.onShortMemory([this] {
        std::lock_guard const lock(m_mutex);
        m_cache.clear();
    });
    std::unique_lock lock(m_mutex);
    while (!m_isEnding) {
        if (m_wish) {
            serve(lock, *std::exchange(m_wish, std::nullopt), true);
        } else if (m_given) {
            lookAgain(lock, *std::exchange(m_given, std::nullopt));
        } else if (auto ahead = nextPrefetch()) {
            serve(lock, *ahead, false);
        } else {
            m_changed.wait(lock);
        }
    }
}

/// Here, so that no window waits for a disk.
void FrameService::lookAgain(std::unique_lock<std::mutex>& lock, Given const& given) {
    lock.unlock();
    bool const isOld = given.frame->files != fileStamps(*given.scene, given.frame->frame);
    lock.lock();
    if (isOld && m_options.outdated) m_options.outdated();
}

/// The next frame that is not kept, as long as there is room for it; frames that are there already
/// count.
std::optional<FrameService::Wish> FrameService::nextPrefetch() {
    while (!m_aheadFrames.empty()) {
        if (m_aheadBytes > m_cache.budget() / 4 * 3) break;
        int const frame = m_aheadFrames.back();
        SharedFrame const there = m_cache.find(m_ahead->scene.revision, frame, m_ahead->view);
        if (!there) {
            Wish wish = *m_ahead;
            wish.scene.frame = frame;
            return wish;
        }
        m_aheadBytes += there->bytes();
        m_aheadFrames.pop_back();
    }
    m_aheadFrames.clear();
    return std::nullopt;
}

/// The flag is lowered under the mutex: who raises it later means this picture.
void FrameService::serve(std::unique_lock<std::mutex>& lock, Wish const& wish, bool isWanted) {
    m_isStopped = m_isEnding;
    m_current = wish;
    m_isCurrentWanted = isWanted;
    lock.unlock();
    SharedFrame const frame = made(wish);
    m_inputBytes = m_renderer.inputBytes();
    lock.lock();
    bool const isShown = m_current && m_isCurrentWanted;  // nothing else is wanted meanwhile
    m_current.reset();
    if (!frame) return;  // stopped
    if (frame->error.empty()) m_cache.add(frame, wish.view.isDraft && isWanted);
    if (!isWanted && !m_aheadFrames.empty() && m_aheadFrames.back() == frame->frame) {
        m_aheadFrames.pop_back();
        m_aheadBytes += frame->bytes();
    }
    if (isShown) m_ready(frame);
}

void FrameService::settle(SceneSnapshot const& scene) {
    bool const isSame = scene.structure == m_structure && scene.files == m_files;
    if (isSame && scene.revision == m_revision) return;
    if (std::exchange(m_reading, scene.reading) != scene.reading) m_renderer.forgetInputs();
    Scene shown = *scene.scene;
    shown.color.isBuiltIn = scene.hasBuiltInColors;
    if (isSame)
        m_renderer.setValues(std::move(shown));
    else
        m_renderer.setScene(std::move(shown));
    m_structure = scene.structure;
    m_revision = scene.revision;
    m_files = scene.files;
}

/// Null for one that was stopped.
std::shared_ptr<ShownFrame> FrameService::made(Wish const& wish) {
    auto result = std::make_shared<ShownFrame>();
    result->revision = wish.scene.revision;
    result->frame = wish.scene.frame;
    result->view = wish.view;
    result->files = usedStamps(*wish.scene.scene, wish.scene.frame, wish.scene.files);
    PictureView const& view = wish.view;
    bool const wantsStored = view.reduce == 1 && !view.isDraft;
    auto const start = std::chrono::steady_clock::now();
    try {
        settle(wish.scene);
        LivePicture picture =
            m_renderer.screen(wish.scene.frame, liveViewOf(view),
                              {view.displayView, m_options.isBgra, wantsStored}, &m_isStopped);
        result->display = std::move(picture.display);
        result->isOpaque = isOpaque(result->display);
        result->stored = std::move(picture.stored);
        result->whole = picture.whole;
    } catch (UserError const& error) {
        if (error.code() == ExitCode::kInterrupted) return nullptr;
        result->error = error.what();
    } catch (std::exception const& error) {
        result->error = failureOf(error, wish.scene.frame);
        m_structure = m_revision = 0;
    }
    if (view.shows == ShownPicture::kFrame) result->warnings = m_renderer.warnings();
    result->seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

}  // namespace zelk

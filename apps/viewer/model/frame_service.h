// FrameService: the pictures that the viewer shows, rendered off the window's thread.
//
//     ask(scene, view) --newest wins--> worker thread --> ready(picture), on that thread
//     prefetch(scene, view, frames)  --when nothing else is wanted--> kept
//
// A request that comes while another one is under way stops it and takes its place; what waits is
// replaced. So a drag never queues up. A draft is not stopped by the next one, which waits for it:
// else a mouse that moves faster than drafts are made would show none of them; but for a loupe's.
// Pictures are kept, up to a budget of bytes, the least recently used go: undo, scrubbing and play
// find their frames. A request stops what is prefetched, which goes on after it.
//
// The worker has a renderer of its own (zelk/render/live_renderer.h), whose inputs stay in memory.
// Rendering itself is on as many threads as OpenMP has.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "apps/viewer/model/frame_cache.h"
#include "zelk/render/live_renderer.h"

namespace zelk {

struct FrameServiceOptions {
    /// Of ShownFrame::display in memory: alpha, red, green, blue, or blue, green, red, alpha, as
    /// the toolkit's images of 32 bits lie on this machine. World::spec says which.
    bool isBgra = false;
    /// A kept picture was given whose files are others by now; on the service's thread.
    std::function<void()> outdated = {};
};

class FrameService {
public:
    /// `ready` is called for each picture that was asked for and came to its end, with or without
    /// an error: on the service's thread, or on the asking one. It is called under the service's
    /// lock, so that pictures come in the order in which they were wanted: it may not call the
    /// service.
    explicit FrameService(std::function<void(SharedFrame)> ready, FrameServiceOptions options = {});
    ~FrameService();
    FrameService(FrameService const&) = delete;
    FrameService& operator=(FrameService const&) = delete;

    /// The picture that is wanted now. One that is kept comes at once, from the calling thread; a
    /// draft may come as the full picture that is kept of the same place.
    void ask(SceneSnapshot scene, PictureView view);
    /// A picture that is kept; null for none.
    SharedFrame find(SceneSnapshot const& scene, PictureView const& view) const;

    /// Frames of the scene that will be wanted, in this order, instead of those named before: as
    /// many as three quarters of the budget hold are rendered and kept. What fails is left out.
    void prefetch(SceneSnapshot scene, PictureView view, std::vector<int> frames);
    /// Which of the frames are kept.
    std::vector<int> kept(SceneSnapshot const& scene, PictureView const& view,
                          std::vector<int> const& frames) const;

    /// Of the pictures that are kept; 1 GiB at first.
    void setBudget(std::uint64_t bytes);
    std::uint64_t budget() const;
    std::uint64_t bytes() const;       ///< of the pictures that are kept
    std::uint64_t inputBytes() const;  ///< of decoded inputs, beside the budget

private:
    struct Wish {
        SceneSnapshot scene;
        PictureView view;
        bool isSame(Wish const& other) const {
            return scene.revision == other.scene.revision && scene.frame == other.scene.frame &&
                   view == other.view;
        }
    };

    /// A kept picture that was given, and the scene that it is of.
    struct Given {
        SharedFrame frame;
        std::shared_ptr<Scene const> scene;
    };

    void work();
    void lookAgain(std::unique_lock<std::mutex>& lock, Given const& given);
    void serve(std::unique_lock<std::mutex>& lock, Wish const& wish, bool isWanted);
    void take(Wish wish);
    std::optional<Wish> nextPrefetch();
    void settle(SceneSnapshot const& scene);
    std::shared_ptr<ShownFrame> made(Wish const& wish);

    std::function<void(SharedFrame)> const m_ready;
    FrameServiceOptions const m_options;
    // Of the worker alone.
    LiveRenderer m_renderer;
    std::uint64_t m_structure = 0, m_revision = 0;  ///< of the renderer's scene
    std::uint64_t m_reading = 0;                    ///< SceneSnapshot::reading of that scene
    std::string m_files;                            ///< SceneSnapshot::files of that scene
    // Of all threads, under the mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Wish> m_wish;
    std::optional<Wish> m_current;   ///< under way, not stopped
    bool m_isCurrentWanted = false;  ///< was asked for, not prefetched
    std::optional<Given> m_given;    ///< whose files are to be looked at
    std::optional<Wish> m_ahead;     ///< of the frames that are prefetched
    std::vector<int> m_aheadFrames;  ///< the next one last
    std::uint64_t m_aheadBytes = 0;
    mutable FrameCache m_cache;
    bool m_isEnding = false;
    // Read by the worker as it renders.
    std::atomic<bool> m_isStopped{false};
    std::atomic<std::uint64_t> m_inputBytes{0};
    std::thread m_thread;
};

}  // namespace zelk

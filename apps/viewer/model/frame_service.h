// FrameService: the pictures that the viewer shows, rendered off the window's thread.
//
//     ask(scene, view) --newest wins--> worker thread --> ready(picture), on that thread
//
// A request that comes while another one is under way takes its place; what waits is replaced. So a
// drag never queues up. Pictures are kept, up to a budget of bytes, the least recently used go.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "apps/viewer/model/document.h"
#include "hostkit/world.h"
#include "zelk/render/frame_renderer.h"

namespace zelk {

/// Which picture of a frame.
enum class ShownPicture { kFrame, kLayer, kPlate };

struct PictureView {
    ShownPicture shows = ShownPicture::kFrame;
    int reduce = 1;                 ///< 1 for all pixels, n for block means of n x n
    std::optional<PixelRect> part;  ///< of the reduced picture; nothing: all
    /// As soon as can be, for a picture that will change again: without motion blur, and without
    /// the values of its file.
    bool isDraft = false;
    /// A view of the colour configuration, kDefaultView for its default one; nothing: sRGB.
    std::optional<std::string> displayView;

    friend bool operator==(PictureView const& a, PictureView const& b);
};

/// One that was rendered, or why it was not.
struct ShownFrame {
    std::uint64_t revision = 0;  ///< of the scene
    int frame = 0;
    PictureView view;
    World display;         ///< 8 bits, straight: what the screen shows
    PictureBuffer stored;  ///< the values of the output's file, straight; none of a draft
    PixelSize whole;       ///< of the reduced picture that `part` was cut from
    std::string error;     ///< a sentence; empty where there is a picture
    std::vector<std::string> warnings;
    double seconds = 0;  ///< that it took

    std::size_t bytes() const;
};
using SharedFrame = std::shared_ptr<ShownFrame const>;

class FrameService {
public:
    /// `ready` is called on the service's thread for each picture that came to its end.
    explicit FrameService(std::function<void(SharedFrame)> ready);
    ~FrameService();
    FrameService(FrameService const&) = delete;
    FrameService& operator=(FrameService const&) = delete;

    /// The picture that is wanted now. One that is kept comes at once, from the calling thread.
    void ask(SceneSnapshot scene, PictureView view);
    /// A picture that is kept; null for none.
    SharedFrame find(SceneSnapshot const& scene, PictureView const& view) const;

private:
    struct Wish {
        SceneSnapshot scene;
        PictureView view;
    };

    void work();
    SharedFrame made(Wish const& wish);

    std::function<void(SharedFrame)> m_ready;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Wish> m_wish;
    std::vector<SharedFrame> m_kept;
    bool m_isEnding = false;
    std::thread m_thread;
};

}  // namespace zelk

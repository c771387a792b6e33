// LiveRenderer: frames of a scene that is being edited, again and again.
//
//   LiveRenderer renderer;
//   renderer.setScene(scene);
//   LivePicture shown = renderer.picture(1001, {.reduce = 2});
//   renderer.setValues(edited);            // the same with other parameters
//   shown = renderer.picture(1001, {.reduce = 2});
//
// Pixels are those of FrameRenderer, to the bit, but of a view that has a size: such a draft is
// rendered with fewer pixels, of inputs that are made smaller by area. Inputs stay in memory,
// decoded, reduced and in the working space, as long as their files stay as they are: a scene with
// other values costs its rendering alone. Of another scene those inputs stay that it has too.
//
// One thread at a time; a picture under way ends when the caller's flag is set, from any thread:
// within a frame between samples of motion blur, else between its stages.
//
// All errors are UserError (text/errors.h); after one the next picture starts afresh.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zelk/render/kept_inputs.h"
#include "zelk/render/render_options.h"
#include "zelk/render/screen_picture.h"

namespace zelk {

struct LiveView {
    enum class Shows { kFrame, kLayer, kPlate };
    Shows shows = Shows::kFrame;
    int reduce = 1;  ///< as in PreviewOptions
    /// Of the frame as it is rendered, without Grow Bounds, at most its own: for a draft of just
    /// the pixels of a screen. At full resolution alone, else an error; a layer or a plate by
    /// itself has its own size.
    std::optional<PixelSize> size = {};
    std::optional<PixelRect> part = {};  ///< as in PreviewOptions; of the picture of that size
    bool isBlurred = true;               ///< false: without motion blur
};

/// How a picture comes to the screen.
struct LiveScreen {
    std::optional<std::string> view =
        {};                    ///< of the colour configuration, as SceneColors::toDisplay
    bool isBgra = false;       ///< in memory blue first; else alpha first
    bool wantsStored = false;  ///< also as its file has it
};

struct LivePicture {
    World display;         ///< 8 bits, straight, in the display's space (screen_picture.h)
    PictureBuffer stored;  ///< where asked for: FrameStages::asFile, or an input as read, if whole
    PixelSize whole;       ///< of the picture, as it is rendered, that the part is of
};

class FrameStages;
class PictureReader;
struct RenderedFrame;
class SceneColors;
struct SceneFiles;

class LiveRenderer {
public:
    static constexpr std::uint64_t kInputBytes = std::uint64_t{1} << 30;

    /// Keeps inputs up to so many bytes.
    explicit LiveRenderer(std::uint64_t inputBytes = kInputBytes);
    ~LiveRenderer();
    LiveRenderer(LiveRenderer const&) = delete;
    LiveRenderer& operator=(LiveRenderer const&) = delete;

    /// All inputs are read again: their colours may depend on files that no time is known of.
    void forgetInputs() { m_kept.clear(); }
    /// One that checkScene passes. Nothing is opened yet.
    void setScene(Scene scene);
    /// One that differs from the former in nothing but values: parameters, tracks, Quality "best",
    /// feather, choke, shutter.
    void setValues(Scene scene);

    /// FrameRenderer::picture of a frame that is shown. `isStopped` may be null.
    PictureBuffer picture(int frame, LiveView const& view,
                          std::atomic<bool> const* isStopped = nullptr);
    /// For the screen. `LiveView` says what, of layer and plate the part and the reduction too.
    LivePicture screen(int frame, LiveView const& view, LiveScreen const& how,
                       std::atomic<bool> const* isStopped = nullptr);
    /// What there is to say of the scene's values, as far as its frames were rendered, a sentence
    /// each.
    std::vector<std::string> warnings() const;
    /// Called where memory is short for a frame, before it is refused: who keeps pictures of its
    /// own lets them go.
    void onShortMemory(std::function<void()> makeRoom) { m_makeRoom = std::move(makeRoom); }
    /// Bytes of the inputs that are kept.
    std::uint64_t inputBytes() const;

private:
    FrameStages& stagesAt(int frame, bool isBlurred);
    void makeRoomFor(std::uint64_t bytes);
    void requireMemory(FrameStages const& stages, int frame, LiveView const& view);
    void requireInput(PictureReader const& picture, std::string const& name, PixelSize size);
    RenderedFrame rendered(int frame, LiveView const& view, bool isForScreen,
                           std::atomic<bool> const* isStopped);
    LivePicture inputOnScreen(int frame, LiveView const& view, LiveScreen const& how);
    LivePicture frameOnScreen(RenderedFrame now, LiveScreen const& how);
    World const* shownPlate(RenderedFrame const& now, ScreenWay const& way, bool isBgra);
    std::shared_ptr<ReadInput> inputAt(int frame, bool isPlate, int reduce);
    ScreenWay wayOf(SceneColors& colors, ColorSpace const& space, LiveScreen const& how);
    void dropStages();
    template <class Work>
    auto working(std::atomic<bool> const* isStopped, Work const& work);

    /// Files and colours of the scene as it was given.
    struct Inputs;

    Scene m_given;         ///< as the caller has it
    Scene m_scene;         ///< that renders it: not inverted any more
    std::string m_config;  ///< that inputs are kept by
    std::unique_ptr<Inputs> m_inputs;
    KeptInputs m_kept;
    std::unique_ptr<FrameStages> m_stages;
    bool m_isSettled = false;  ///< the stages have the scene's values
    bool m_isBlurred = true;   ///< that they have them with
    /// The last frame that there was memory for: that of other values takes no more.
    struct Fitting {
        int frame = 0, reduce = 0;
        std::uint64_t bytes = 0;
    };
    Fitting m_fitting;
    std::function<void()> m_makeRoom;
    /// The last way to the screen, which the next picture mostly takes too.
    struct KnownWay {
        SceneColors const* colors;
        ColorSpace space;
        std::optional<std::string> view;
        ScreenWay way;
    };
    std::optional<KnownWay> m_way;
    /// The last plate, as the screen shows it by itself; without pixels until it comes again.
    struct ShownPlate {
        std::shared_ptr<ReadInput> plate;
        std::shared_ptr<ColorTransform const> transform;
        World picture;
    };
    ShownPlate m_shownPlate;
};

}  // namespace zelk

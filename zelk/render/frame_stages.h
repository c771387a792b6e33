// FrameStages: what a FrameRenderer is made of. A run over many frames takes the three stages
// apart, so that they overlap: load reads, render computes, store writes. load, check and store may
// be called on other threads than render; render is for one thread at a time, as the module is.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/host.h"
#include "hostkit/pixel_ops.h"
#include "zelk/inputs/st_map.h"
#include "zelk/movies/writer.h"
#include "zelk/pictures/reader.h"
#include "zelk/pictures/stored_picture.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/kept_inputs.h"
#include "zelk/render/mattes.h"
#include "zelk/render/memory_road.h"
#include "zelk/render/module_road.h"
#include "zelk/render/quad_map.h"
#include "zelk/render/run_options.h"
#include "zelk/render/scene_colors.h"
#include "zelk/render/warnings.h"
#include "zelk/scene/inputs.h"
#include "zelk/scene/quad_check.h"
#include "zelk/scene/track_use.h"

namespace zelk {

struct Explanation;
struct PlanReport;  // explanation.h

/// What was read of a frame.
struct LoadedFrame {
    std::shared_ptr<ReadInput> layer;
    std::shared_ptr<ReadInput> plate;        ///< null for none, and for one with rows
    std::optional<PictureReader> plateRows;  ///< a plate whose rows are read when they are needed
    std::shared_ptr<StMap const> map;        ///< of the frame at this size; null for none
    WriteRequest file;
    ModuleRender ask;       ///< on the module road; each file has its own depth
    int reduce = 1;         ///< of both inputs as they are read, on the memory road
    Reduction reduction;    ///< of the render
    PixelMargins overscan;  ///< of the plate, around the frame
    std::shared_ptr<ChannelPlane const> holdout;
    std::optional<PixelRect> part;  ///< of the picture as it is rendered, within it, that is wanted
    bool isForScreen = false;       ///< RenderedFrame::rest may be left to who shows it
    FrameColors colors;
    std::shared_ptr<Explanation> explanation;  ///< of the frame; null where none is asked for
};
/// What is not done yet of a frame for the screen, whose pixels are read once more in any case.
struct FrameRest {
    std::optional<Bounds> part;        ///< that is wanted of the picture; nothing: all
    std::shared_ptr<ReadInput> plate;  ///< to be laid under it; null: none, or done
    int mode = 0;                      ///< as layOver
    int left = 0, top = 0;             ///< of the plate, where the picture's first pixel lies
};
struct RenderedFrame {
    World picture;    ///< straight colour on the module road, associated in float on the other
    AlphaForm form;   ///< which of the two
    PixelSize whole;  ///< of the picture that a part was asked of
    WriteRequest file;
    FrameColors colors;  ///< the picture is in the working space
    std::shared_ptr<Explanation> explanation;
    FrameRest rest;  ///< of one that isForScreen
};

/// What was made last of an input at a smaller size.
template <class Input>
struct SmallerOf {
    std::weak_ptr<Input> from;
    PixelSize size;
    std::shared_ptr<Input> made;
};
struct SmallerInputs {
    SmallerOf<ReadInput> layer, plate;
    SmallerOf<ChannelPlane const> holdout;
    SmallerOf<StMap const> map;
};

/// Truncated.
inline PixelSize reduced(PixelSize size, Reduction const& by) {
    return {by.width(size.width), by.height(size.height)};
}

/// Throws where a preview reduced so has no pixel; `most` is what leaves one.
void requireReduction(int reduce, int most);

class FrameStages {
public:
    /// As FrameRenderer. `explanation`, which may be null, is what all frames' own start from; a
    /// frame carries its own through the stages.
    explicit FrameStages(Scene scene, RunOptions run = {},
                         Explanation const* explanation = nullptr);
    ~FrameStages();  ///< gives back the memory that images left

    Scene const& scene() const { return m_scene; }
    RunOptions const& run() const { return m_run; }
    SceneFiles const& files() const { return m_files; }
    /// The scene's depth is that of the result alone where colours are converted on the module
    /// road: the module renders at the layer's, and the converted result is rounded. Else the
    /// module renders at the scene's depth, as a host's project of that depth does. Before begin.
    void roundLast() { m_roundsLast = true; }
    Host& host() { return *m_host; }  ///< with the scene's values after begin
    Warnings& warnings() { return m_warnings; }
    Warnings& conversions() { return m_conversions; }  ///< of colour, as FrameColors has them

    /// Settles sizes, composition and values for these frames; see FrameRenderer.
    void begin(std::vector<int> const& frames);
    /// The same for one frame, whose pictures must be there, unless it is among those already.
    void beginAt(int frame);
    /// The same for who changes values and renders nothing: a picture that can't be opened has the
    /// composition's size.
    void beginEdit(int frame);
    /// After beginEdit: a scene that differs from this one as setValues says. The values of the
    /// host stay.
    void changeEdit(Scene scene, int frame);
    // After begin:
    PixelSize layerSize() const { return m_sizes.layer; }
    PixelSize frameSize() const { return m_sizes.frame; }  ///< of the display window
    PixelSize outputSize() const;  ///< of the output's display window, as it is written
    /// Of a frame reduced so that is no file's; as sizeTo has it with `to`.
    PixelSize previewSize(int reduce, std::optional<PixelSize> to = {}) const;
    /// Of an inverted scene (invert.h): the frame that is taken out of its To quad, by the values
    /// that the host has now. Opens nothing.
    PixelSize takenSize() const;
    FrameRequest momentOf(int frame) const;
    /// The scene with the values that the host has now.
    Scene settledScene() const;

    // For who renders the same frames again and again (LiveRenderer).

    /// A scene that differs from this one in nothing but values: parameters, tracks, Quality
    /// "best", feather, choke, shutter. With `isBlurred` false motion blur is off, whatever the
    /// scene says. Throws as begin, and is of no use then.
    void setValues(Scene scene, bool isBlurred);
    /// Inputs come from there and go there, unless it is null; it outlives the stages.
    void keepInputs(KeptInputs* kept) { m_kept = kept; }
    /// Beside stop: the frame under way ends within its stages too while this is true. Null for
    /// none; it outlives the renders.
    void watch(std::atomic<bool> const* isStopped);
    SceneColors& colors() { return *m_colors; }
    /// Bytes that a frame takes, reduced so or sized (sizeTo), its inputs among them.
    std::uint64_t frameBytes(int reduce, std::optional<PixelSize> to = {}) const;
    /// Throws an input error where they are more than the memory allows.
    void requireMemory(int reduce, std::optional<PixelSize> to = {}) const;
    /// Throws about what leaves no pixel.
    void requireReduced(int reduce) const;

    /// FrameRenderer's picture, as a world.
    World world(int frame, PreviewOptions const& options = {});
    /// A rendered frame of `world` as it gives it.
    World finished(RenderedFrame rendered) const;
    /// What a screen shows: the frame, or the layer alone, straight, through a view of the colour
    /// configuration (SceneColors::toDisplay). `thing` is what messages call the view.
    enum class Shown { kFrame, kLayer };
    World shown(int frame, Shown what, std::optional<std::string> const& view,
                std::string const& thing);
    /// The map of the frame's own moment, whatever its shutter, at full resolution; after begin.
    /// No pixel of any input is read.
    QuadMap mapAt(int frame);
    World stPictureAt(int frame);  ///< the same as stPictureOf makes it

    /// What `load` and `store` would refuse of a frame, as far as its files' headers, the output's
    /// place and its writer tell. Reads no pixels and writes nothing.
    void check(int frame);
    /// A frame that is not for the output's file has no overscan.
    LoadedFrame load(int frame, int reduce = 1, bool isForFile = true);
    /// Makes the inputs of a frame that was loaded in full smaller, so that the frame has that size
    /// without Grow Bounds, or its own where that is less. On the memory road the layer stays: it
    /// has any size. The last smaller one of each input stays for the next frame.
    void sizeTo(PixelSize to, LoadedFrame& loaded);
    std::uint64_t smallerBytes() const;
    void dropSmaller() { m_smaller = {}; }
    RenderedFrame render(int frame, LoadedFrame loaded);
    void store(int frame, RenderedFrame rendered);
    /// The same to memory, of a frame that is not for the output's file.
    PictureBuffer stored(RenderedFrame rendered, StoredForm const& form);
    /// The values that its file will have: the format's depth, alpha and channels in the output's
    /// space. A movie's, and those of a scene without an output, are straight, in the inputs'
    /// depth.
    PictureBuffer asFile(RenderedFrame rendered);
    /// After the last frame of a movie; false when `stop` was set before it was whole.
    bool finishMovie(std::atomic<bool> const& stop);
    /// Throws an input error where the frames in flight are more than the memory allows. On the
    /// module road `load` asks for the memory of each frame.
    void checkMemory() const;

    void stop() { m_isStopped = true; }
    std::atomic<bool> const& isStopped() const { return m_isStopped; }
    void onStage(std::function<void(char const* stage)> listener) {
        m_listener = std::move(listener);
    }

private:
    bool isEnding() const { return m_isStopped || (m_watched && *m_watched); }
    UserError stopped(std::string const& after) const;
    bool isModule() const { return m_scene.roadTaken() == Road::kModule; }
    void settleComp(std::vector<int> const& frames);
    void readSizes(std::vector<int> const& frames);
    void settleSizes(std::optional<PictureReader> const& layer,
                     std::optional<PictureReader> const& plate, ImageSizes const& unknown);
    FrameSpan shownSpan() const;
    void settleValues(std::vector<int> const& frames);
    void warnOfNumber(std::vector<int> const& frames);
    void requirePixelsLeft() const;
    /// Of the scene, which a preview's reduction multiplies.
    int downsample() const { return m_scene.downsample.value_or(1); }
    PictureReader openSized(InputPicture const& file, PixelSize size, ReadOptions const& how) const;
    ReadOptions plateReading() const;
    HoldoutFrame holdoutFrame(PixelMargins const& overscan) const {
        return {m_sizes.frame, overscan};
    }
    ReadInput readLayerOf(std::optional<InputPicture> const& file, int frame, int reduce);
    /// Of the module's render of a layer.
    Depth renderDepth(PictureTraits const& layer);
    ReadInput readPlateOf(std::optional<InputPicture> const& file, ReadOptions const& how,
                          int reduce) const;
    template <class Read>
    std::shared_ptr<ReadInput> kept(std::string const& key, Read const& read);
    std::shared_ptr<ReadInput> layerAt(int frame, int reduce);
    std::shared_ptr<ReadInput> plateAt(int frame, ReadOptions const& how, int reduce);
    std::string layerKey(int frame, int reduce) const;
    std::string plateKey(int frame, int reduce) const;
    void loadPlate(int frame, PictureTraits& traits, ReadOptions const& how, LoadedFrame& loaded);
    std::shared_ptr<ChannelPlane const> loadHoldout(int frame, PixelMargins const& overscan);
    std::shared_ptr<StMap const> loadMap(std::optional<InputPicture> const& file, int reduce);
    void settleOutput(PictureTraits const& layer, PictureTraits const& plate, LoadedFrame& loaded);
    void convertInputs(int frame, ReadOptions const& how, LoadedFrame& loaded);
    World layerWorld(int frame, FrameColors& colors);
    std::uint64_t bytesInFlight() const;
    std::uint64_t bytesInMemory(int reduce) const;
    std::uint64_t bytesInMemory(PixelSize layer, PixelSize frame) const;
    std::uint64_t sourceBytes() const;
    UserError tooLarge(PixelSize layer, PixelSize frame, std::uint64_t need) const;
    ModuleRender askOf(int reduce, std::optional<PixelSize> to) const;
    PinFrame pinFrameOf(ModuleRender const& ask, Reduction const& memory,
                        PixelMargins const& overscan) const;
    PixelSize withinFrame(PixelSize size) const;
    Reduction reductionTo(PixelSize size) const;
    int holdoutReduce(LoadedFrame const& loaded) const;
    void plan(PinFrame const& frame, FrameRequest const& moment, Depth depth,
              Explanation* explanation = nullptr);
    void warnOfShrink(std::vector<Parameter> const& parameters, PlanReport const& plan);
    World renderedByModule(LoadedFrame& loaded, FrameRequest const& moment, FrameRest& rest);
    World renderedInMemory(LoadedFrame& loaded, FrameRequest const& moment, FrameRest& rest);
    void limitPixels(LoadedFrame const& loaded, ResampleOptions& resample) const;
    PixelSize wholeOf(LoadedFrame const& loaded) const;
    static PartOf cut(World& picture, LoadedFrame const& loaded, FrameRest& rest);
    World pinnedInMemory(LoadedFrame& loaded, FrameRequest const& moment);
    MovieRequest movieRequestOf(PixelSize size) const;
    void storeInMovie(RenderedFrame const& rendered);
    void endStage(char const* stage, Explanation* explanation);

    Scene m_scene;
    RunOptions m_run;
    std::unique_ptr<Host> m_host;
    SceneFiles m_files;
    std::optional<SceneColors> m_colors;  ///< nothing for who renders nothing
    Comp m_comp;
    std::vector<int> m_frames;         ///< of begin
    std::size_t m_inFlight = 1;        ///< frames; with 1 of them nothing overlaps
    ImageSizes m_pictureSizes;         ///< before a quad gave the frame its size
    ImageSizes m_sizes;                ///< the overscan is the first plate's
    std::uint64_t m_besidesBytes = 0;  ///< of mattes and turned pictures, on the memory road
    PictureTraits m_layerTraits, m_plateTraits;  ///< also a black picture's
    ModuleRender m_ask;
    Warnings m_warnings, m_conversions;
    std::shared_ptr<StMap const> m_map;  ///< the last one that was loaded
    std::vector<std::string> m_mapWarnings;
    std::string m_mapKey;  ///< what it was read from
    std::optional<MovieWriter> m_movie;
    bool m_isMovieChecked = false, m_roundsLast = false;
    Explanation const* m_explanation;
    std::function<void(char const* stage)> m_listener;
    std::atomic<bool> m_isStopped{false};
    std::atomic<bool> const* m_watched = nullptr;
    KeptInputs* m_kept = nullptr;
    SmallerInputs m_smaller;
};

}  // namespace zelk

// Scene: one plain record that says everything of a render: composition, layer, plate, output,
// parameters with keyframes, tracks, and who renders it how.
//
//   Scene scene = readScene("sign.zelk.json");                      // file.h
//   sceneEdit("quality").apply(scene, "quality", "high");            // edits.h
//   checkScene(scene);                                               // check.h
//   PictureBuffer picture = FrameRenderer(scene).picture(1001);      // render/frame_renderer.h
//
// Its text is the project file. Programs change it by the functions of edits.h, which the command
// line's options, a viewer's controls and a script's keywords all call; check.h tells whether it
// can be rendered. Copies are cheap but for keyframes: pixels and tracks are shared, and nobody
// changes them.
//
// Units are the users': points in pixels, y down, From Pins of the layer, all others of the frame;
// angles in degrees, popups by entry, colours "#rrggbb"; a key lies at a frame number of the
// composition, fractions allowed. Paths start at the working folder, or at their own.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "hostkit/comp.h"
#include "zelk/pictures/buffer.h"
#include "zelk/pictures/pixel_size.h"

namespace zelk {

struct Track;  // what a tracking file was read to

/// A value as a user types it; the parameter's own kind reads it when a module is at hand.
struct TypedText {
    std::string text;
    bool operator==(TypedText const&) const = default;
};

/// A checkbox; a slider, an angle or a popup's position from 1; a popup's entry or a colour; a
/// point; any of them as typed.
using SceneValue = std::variant<bool, double, std::string, Point, TypedText>;

struct SceneKey {
    double frame = 0;  ///< of the composition
    SceneValue value;
    std::optional<Interpolation> toNext;  ///< nothing: linear, or hold where the kind only holds
    Ease incoming, outgoing;
};

/// What one parameter is set to. Keyframes that it had before go.
struct SceneParameter {
    std::string name;                      ///< "to-upper-left", as `zelk params` lists them
    std::optional<int> diskId = {};        ///< that the module must have for it
    std::optional<SceneValue> value = {};  ///< nothing: as it was
    std::vector<SceneKey> keys = {};       ///< in order of their frames
    std::string option = {};               ///< that set it, for messages; empty: the file
};

/// A name as it was written, and the folder that it starts at: that of a project file, or none for
/// the working folder.
struct ScenePath {
    std::string written;
    std::filesystem::path folder = {};
    /// As the working folder sees it.
    std::filesystem::path path() const { return folder / written; }
};

/// A layer or a plate: a picture's name, which may have a frame mark or be a movie's, or pixels in
/// memory, the same for every frame.
struct SceneInput {
    ScenePath file = {};
    std::shared_ptr<PictureBuffer const> buffer = {};
    bool isGiven() const { return buffer || !file.written.empty(); }
    std::string name() const { return buffer ? buffer->name : file.path().string(); }
};

/// Which quad: where the picture goes, or what is taken from it.
enum class TrackedPins { kTo, kFrom };

/// How a tracking file is read; nothing: what the file tells.
struct TrackReading {
    std::optional<std::string> format = {};  ///< as `zelk track` names it
    std::optional<int> firstFrame = {};      ///< the least frame becomes it
    std::optional<int> shiftFrames = {};     ///< added to each frame
    std::optional<PixelSize> size = {};      ///< of the pictures that were tracked
    std::optional<std::string> order = {};   ///< of the corners, "ul,ur,ll,lr"
    bool flipsY = false;                     ///< y is counted from below
    bool operator==(TrackReading const&) const = default;
};

/// A tracking file that was read (by the edits "track" and "track-from", or with a project file)
/// and that the host can hold. Its frame numbers are those of the composition.
struct TrackUse {
    ScenePath file;
    TrackedPins pins = TrackedPins::kTo;
    std::shared_ptr<Track const> track;
    std::string text;  ///< of the file as it was read, where that is what the import takes
    TrackReading reading = {};
    /// Of a file that could not be read, for who edits its scene (readSceneToEdit): why. There is
    /// then no track, and no frame can be rendered.
    std::string fault = {};
    std::string stamp = {};  ///< stampOf the file as it was read

    std::string name() const { return file.path().string(); }
};

/// Who renders: the effect module in our host, or the effect's pipeline over plain buffers.
enum class Road { kModule, kMemory };

/// The hosts that the effect tells apart: FXTC, PrMr, KeyG and MOTN.
enum class HostApp { kAfterEffects, kPremierePro, kFinalCutPro, kMotion };

/// Colour spaces by name; nothing: what a file declares, else what its format means.
struct SceneColor {
    std::optional<std::string> layer, plate, output;
    std::optional<std::string> work;  ///< where pixels are filtered and composited; nothing: plate
    std::optional<ScenePath> config;  ///< of OpenColorIO; nothing: $OCIO, else the built-in names
    bool isRaw = false;               ///< stored values everywhere, nothing is converted
    /// The built-in names count, whatever configuration there is: for who shows a scene whose own
    /// can't be read. Part of no file.
    bool isBuiltIn = false;
};

/// How the outline's pixels are covered: by the effect's own scan, or by their exact area.
enum class FrameEdges { kGrid, kExact };

/// One channel of a picture as a matte: 0 hides, 1 shows.
struct SceneMatte {
    SceneInput file;
    std::string channel;  ///< empty: alpha, else luminance
};

/// Motion Blur is on by the composition's shutter, whatever the parameter says.
struct MotionBlurSwitch {
    std::optional<double> samples;  ///< nothing: the parameter's
};

/// What an edit may set, for messages that name the option or the file's place.
enum class SceneField {
    kLayer,
    kPlate,
    kSize,
    kOutput,
    kFrames,
    kToPins,
    kFromPins,
    kTrackTo,
    kTrackFrom,
    kMode,
    kDownsample,
    kRoad,
    kPlain,
    kHost,
    kColor,
    kLayerColor,
    kPlateColor,
    kOutputColor,
    kWorkColor,
    kColorConfig,
    kMatte,
    kHoldout,
    kStMap,
    kInvert,
    kFilter,
    kTaps,
    kEdges,
    kFeather,
    kMovieStart,
    kOrientation,
    kOverscan,
    kChannels,
    kCodec,
    kCodecQuality,
    kSound,
    kRate,
    kTrackReading,
    kBest,
    kChoke,
};

struct Scene {
    std::filesystem::path file;  ///< where it was read from; empty for none

    /// With hasComp the composition has a size, a start and a length of its own; else it is as
    /// large as the frame and lasts as long as the frames that are rendered.
    bool hasComp = false;
    Comp comp;
    /// False: the file leaves it out, and it is that of `frames`.
    bool ownStart = true, ownDuration = true;

    SceneInput layer;
    std::optional<SceneInput> plate;    ///< the layer is laid over it
    std::optional<PixelSize> size;      ///< of a transparent frame where there is no plate
    std::optional<ScenePath> output;    ///< nothing where pictures go to memory alone
    std::optional<std::string> frames;  ///< "1001-1100", "1-10,20-30x2"
    MissingInput missing = MissingInput::kStop;

    std::vector<SceneParameter> parameters;  ///< in the order in which they are set
    std::vector<TrackUse> tracks;  ///< set after the file's parameters, before those of options
    std::optional<MotionBlurSwitch> motionBlur;

    std::optional<int> overMode;    ///< over the plate; of the edit "mode". Nothing: normal
    std::optional<Depth> depth;     ///< nothing: the layer's own
    std::optional<int> downsample;  ///< nothing: 1
    std::optional<Road> road;       ///< nothing: memory where the scene needs it, else module
    bool isPlain = false;           ///< by the plain render command, not the smart protocol
    std::filesystem::path module;   ///< empty: the one beside the program
    std::optional<HostApp> host;    ///< nothing: After Effects

    SceneColor color;
    std::optional<SceneMatte> matte;    ///< of the layer, in its pixels; moves with it
    std::optional<SceneMatte> holdout;  ///< what stands before the layer, in the frame's pixels
    std::optional<SceneInput> stMap;    ///< lens distortion of the frame
    /// What lies in the To quad is taken out of the plate, or of the layer where there is none, and
    /// fills the frame (invert.h).
    bool isInverted = false;
    /// To Pins are the frame's corners, and the frame is as large as the From quad where no size is
    /// given.
    bool fillsFrame = false;
    bool isBest = false;                ///< Quality "best": every pixel integrates its footprint
    std::optional<std::string> filter;  ///< a kernel's name, instead of Quality's
    std::optional<int> taps;            ///< of the filter: 4, 6, 8 or 10
    std::optional<FrameEdges> edges;    ///< nothing: exact in a frame of its own, else grid
    double featherPx = 0, chokePx = 0;  ///< along the outline, as in ResampleOptions
    std::optional<int> movieStart;      ///< frame number of a movie's first picture; nothing: 0
    bool keepsOrientation = false;      ///< what a file says of its orientation is not applied
    bool dropsOverscan = false;
    std::optional<std::string> channels;  ///< of the output: a, rgb or rgba; nothing: as inputs
    std::optional<std::string> codec;     ///< of a movie; nothing: by its extension
    std::optional<double> codecQuality;   ///< of a lossy codec, in its own range (movies/codecs.h)
    std::optional<SceneInput> sound;      ///< a movie whose sound the output has; nothing: plate's
    TrackReading trackReading;            ///< of edits, for tracks of edits

    std::map<SceneField, std::string> options;  ///< what an option set, and its name
    /// What messages put before the name of an edit that nobody made: "--" on a command line.
    std::string editPrefix;
    char editJoin = '-';  ///< between its words: '_' in a script, ' ' for a window's labels

    bool hasFrame() const { return plate || size; }
    bool softensOutline() const { return featherPx > 0 || chokePx > 0; }
    FrameEdges edgesTaken() const {
        bool const isExact = hasFrame() || isInverted || fillsFrame || softensOutline();
        return edges.value_or(isExact ? FrameEdges::kExact : FrameEdges::kGrid);
    }
    /// Resampling that the effect's own controls don't have is asked for.
    bool resamplesBeyondEffect() const {
        return isBest || filter || taps || stMap || edges == FrameEdges::kExact || softensOutline();
    }
    /// What the effect alone can't do is asked for.
    bool needsMemory() const { return hasFrame() || isInverted || resamplesBeyondEffect(); }
    Road roadTaken() const { return road.value_or(needsMemory() ? Road::kMemory : Road::kModule); }
    /// Of the transparent frame that the To Pins lie in; nothing with a plate, whose size counts,
    /// and before an inverted scene's quads are exchanged.
    std::optional<PixelSize> frameSize() const { return plate || isInverted ? std::nullopt : size; }
    /// As the working folder sees it; empty without an output.
    std::filesystem::path outputPath() const { return output ? output->path() : ""; }
    HostApp hostApp() const { return host.value_or(HostApp::kAfterEffects); }
    bool isSetBy(SceneField field) const { return options.contains(field); }
};

}  // namespace zelk

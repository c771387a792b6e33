// The command line: arguments into records of text, and records of text into checked requests.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/zelk/corners.h"
#include "apps/zelk/progress.h"
#include "hostkit/comp.h"
#include "hostkit/host_identity.h"
#include "hostkit/world.h"

namespace zelk {

/// Options as typed; nothing where the user left one out.
struct TypedOptions {
    std::optional<std::string> layer, output;
    std::optional<std::string> to, from;
    std::optional<std::string> quality, view;
    std::optional<std::string> depth, downsample, threads;
    std::optional<std::string> plate, frameSize, road, explain;
    std::optional<std::string> transfer, sourceOpacity, opacity, mode, grow;
    std::optional<std::string> frames, project, motionBlur, shutter, rate;
    std::optional<std::string> inFlight, progress, missing;
    std::optional<std::string> host, module;
    std::vector<std::string> settings;
    bool json = false;
    bool resource = false;
    bool noClobber = false, noMetadata = false, plain = false;
    bool skipExisting = false, dryRun = false, inPlace = false;
    std::optional<std::string> file;  ///< of a project command
    bool force = false;
    std::optional<std::string> frame, zoom, panel, margin;  ///< of one frame in a panel
    std::optional<std::string> click;                       ///< of a drag
    std::vector<std::string> drags;
    bool shift = false;
    std::vector<std::string> words;  ///< of a track command: a file, or convert and two
    std::optional<std::string> format, as, plot;
    std::optional<std::string> corners, pixelAspect, firstFrame, shiftFrames;
    bool flipY = false;
    std::optional<std::string> trackTo, trackFrom, pins;
};

/// Which module is asked, and as which host.
struct ModuleRequest {
    std::filesystem::path module;
    HostIdentity host;
};

/// One --set, or an option that sets one parameter.
struct Setting {
    int index = 0;      ///< of the parameter
    std::string thing;  ///< "--set quality", "--opacity"
    std::string value;
};

/// Who renders: the effect module in our host, or the effect's pipeline over plain buffers.
enum class Road { kModule, kMemory };

/// Whether and how a render tells what it did.
enum class Explain { kNo, kText, kJson };

struct PixelSize {
    int width = 0, height = 0;
};

/// What becomes of a frame whose layer or plate is not there.
enum class MissingInput {
    kStop,   ///< the run ends before it
    kHold,   ///< the nearest frame before it that is there, else after it
    kSkip,   ///< it is left out
    kBlack,  ///< a transparent layer, an opaque black plate
};

/// Which quad a tracking file goes to.
enum class TrackedPins { kTo, kFrom };

struct Project;  // project_file.h
struct Track;    // track_data.h

/// A tracking file that was read and that the host can hold. Its frame numbers are those of the
/// composition.
struct TrackUse {
    std::filesystem::path file;
    TrackedPins pins = TrackedPins::kTo;
    std::shared_ptr<Track const> track;
    std::string text;  ///< of the file as it was read, where that is what the import takes
};

/// A checked `zelk render`. Values of settings are checked against the module's own ranges later.
struct RenderRequest {
    ModuleRequest module;
    std::filesystem::path layer;
    std::filesystem::path output;  ///< empty where a project is only checked and names none
    std::optional<std::filesystem::path> plate;  ///< the layer is laid over it
    std::optional<PixelSize> frameSize;          ///< a transparent frame instead of a plate
    Road road = Road::kModule;
    bool isPlain = false;             ///< PF_Cmd_RENDER instead of the smart render protocol
    int overMode = PF_Xfer_IN_FRONT;  ///< how the pinned layer is laid over the plate
    bool noClobber = false, keepMetadata = true;
    Explain explain = Explain::kNo;
    std::string history;                     ///< the command line as typed
    std::shared_ptr<Project const> project;  ///< null without
    std::vector<TrackUse> tracks;            ///< onto pins, after the project's values
    std::optional<std::string> frames;       ///< a range, in the order to be rendered
    bool motionBlur = false;                 ///< the composition's switch
    std::optional<double> samples;
    std::optional<Shutter> shutter;
    std::optional<TimeBase> rate;
    int inFlight = 3;
    ProgressMode progress = ProgressMode::kAuto;
    MissingInput missing = MissingInput::kStop;
    bool skipExisting = false, dryRun = false;
    bool inPlace = false;  ///< the output may be the layer's or plate's own file
    std::optional<Corners> to, from;
    std::optional<int> quality, view;  ///< entries of the popups, from 1
    std::vector<Setting> settings;
    std::optional<Depth> depth;
    int downsample = 1;
    int threads = 0;  ///< 0 for the runtime's own number
};

/// A checked `zelk params`.
struct ParamsRequest {
    ModuleRequest module;
    bool json = false;
    bool resource = false;  ///< what the module says of itself, instead of its parameters
};

/// A checked `zelk project show`.
struct ProjectRequest {
    std::filesystem::path file;
    bool json = false;
};

/// A checked `zelk project check`: a render that is not done.
struct ProjectCheck {
    std::filesystem::path file;
    RenderRequest render;
};

/// A checked `zelk project import-track`.
struct ProjectTrack {
    std::filesystem::path project, track;
    TrackedPins pins = TrackedPins::kTo;
    ModuleRequest module;
};

struct NewProject;      // project_command.h
struct OverlayRequest;  // overlay_command.h
struct DragRequest;     // drag_command.h
struct TrackRequest;    // track_command.h

/// What the user asked for: exactly one of them.
struct CommandLine {
    std::optional<RenderRequest> render;
    std::optional<ParamsRequest> params;
    std::optional<ProjectRequest> project;
    std::optional<ProjectCheck> projectCheck;
    std::shared_ptr<NewProject const> newProject;
    std::optional<ProjectTrack> importTrack;
    std::shared_ptr<OverlayRequest const> overlay;
    std::shared_ptr<DragRequest const> drag;
    std::shared_ptr<TrackRequest const> track;
    std::optional<std::string> text;  ///< help or version, for standard output
};

/// Throws a usage error for the first thing that is wrong.
CommandLine parseCommandLine(int argc, char const* const* argv);

/// The module that belongs to this executable: ../lib/ZelkCornerPin.so beside it.
std::filesystem::path defaultModule();

}  // namespace zelk

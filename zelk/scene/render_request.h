// A checked render: everything that decides its frames, and how the run goes.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/comp.h"
#include "hostkit/host_identity.h"
#include "hostkit/world.h"
#include "zelk/inputs/missing_input.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/scene/corners.h"

namespace zelk {

/// kAuto is the bar on a terminal and plain lines elsewhere.
enum class ProgressMode { kAuto, kBar, kPlain, kJson, kNone };

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

/// Which quad a tracking file goes to.
enum class TrackedPins { kTo, kFrom };

struct Project;  // scene_file.h
struct Track;    // tracks/track.h

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

}  // namespace zelk

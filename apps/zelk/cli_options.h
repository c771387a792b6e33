// The command line: arguments into records of text, and records of text into checked requests.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zelk/scene/render_request.h"

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

/// A checked `zelk params`.
struct ParamsRequest {
    ModuleRequest module;
    bool json = false;
    bool resource = false;     ///< what the module says of itself, instead of its parameters
    bool namesModule = false;  ///< the user chose the module: the table starts with its resource
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

// The project file *.zelk.json: a composition, the layer in it, and the effect's parameters with
// their keyframes. docs/project-file.md describes it for users, docs/project.schema.json for tools.
//
// Units are the users': points in layer pixels, angles in degrees, popups by entry, colours
// "#rrggbb"; a key lies at a frame number of the composition, fractions allowed.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "hostkit/host.h"
#include "zelk/scene/corners.h"
#include "zelk/scene/render_request.h"

namespace zelk {

/// A checkbox; a slider, an angle or a popup's position from 1; a popup's entry or a colour; a
/// point.
using ProjectValue = std::variant<bool, double, std::string, Point>;

struct ProjectKey {
    double frame = 0;  ///< of the composition
    ProjectValue value;
    std::optional<Interpolation> toNext;  ///< nothing: linear, or hold where the kind only holds
    Ease incoming, outgoing;
};

struct ProjectParameter {
    int index = 0;
    std::optional<A_long> diskId;
    std::optional<ProjectValue> value;  ///< nothing: the default
    std::vector<ProjectKey> keys;       ///< in order of their frames
};

/// How the render is to be done, where it is not the default.
struct ProjectRender {
    std::optional<Depth> depth;
    std::optional<std::string> mode;  ///< a word of `--mode`
    std::optional<int> downsample;
    std::optional<PixelSize> size;  ///< of a transparent frame
};

/// A project. Paths and patterns are as written: relative ones start at the file's folder.
struct Project {
    std::filesystem::path
        file;  ///< where it was read from; empty: paths start at the working folder
    Comp comp;
    bool ownStart = true, ownDuration = true;  ///< false: left out, see fitToFrames
    std::string layer;
    std::optional<std::string> plate, output;
    std::optional<std::string> frames;  ///< as parseFrameRange takes it
    ProjectRender render;
    std::vector<ProjectParameter> parameters;  ///< in order of their indices, each at most once

    /// A path or pattern of this project as the working folder sees it.
    std::string resolved(std::string const& written) const;
};

/// Throws an input error that names the file, the place in it ("parameters.rotate.keys[2].frame")
/// or line:column, and what was expected.
Project readProject(std::filesystem::path const& file);
/// The same for a text that is told to come from `file`.
Project projectFromText(std::filesystem::path const& file, std::string_view text);

/// A start and a duration that the project leaves out are those of the frames to be rendered.
/// readProject does so for the project's own `frames`.
void fitToFrames(Project& project, std::string const& frames);

/// Writes the project whole or not at all: what was there stays until then. In another folder than
/// the project's own, relative paths are rewritten to lead to the same files. Throws an output
/// error, also for a file that is there already when it may not be replaced.
void writeProject(Project const& project, std::filesystem::path const& file,
                  bool mayReplace = true);

/// What writeProject would write beside the project's own file.
std::string projectText(Project const& project);

/// `path`, as the working folder sees it, as it would be written in a file in `folder`: relative,
/// but for an absolute one outside the folder, and where the way leads up from a linked folder.
std::string pathSeenFrom(std::filesystem::path const& folder, std::filesystem::path const& path);

/// Sets values and keyframes on parameters that resetParameters has left at their defaults. Throws
/// an input error for what a parameter can't hold: they are then as they were.
void applyProject(Project const& project, std::vector<Parameter>& parameters);
/// The composition and the parameters of a host whose layer has that size at full resolution.
void applyProject(Project const& project, Host& host, int layerWidthPx, int layerHeightPx);

/// `base` with that composition, and with the values that differ from a layer's defaults and all
/// keyframes. What a record holds beyond its valid range is kept within it, a colour key is rounded
/// to bytes, and of keys that meet in one unit of the composition's clock the last stays.
Project projectOf(Project base, std::vector<Parameter> const& parameters, Comp const& comp,
                  int layerWidthPx, int layerHeightPx);

/// The moment of a frame number on the composition's clock, to the nearest unit; nothing where the
/// clock's 32 bits do not reach.
std::optional<KeyTime> keyTimeOf(Comp const& comp, double frame);
/// The frame number at a moment.
double frameOf(Comp const& comp, KeyTime const& time);

/// "24", "23.976" or "24000/1001"; nothing for anything else.
std::optional<TimeBase> rateFromText(std::string_view text);
/// The reverse, exactly: a number where it stands for the same clock, else a fraction.
std::string rateText(TimeBase const& timeBase);
inline constexpr char const* kRateExpected =
    "frames a second such as 25, 23.976 or 24000/1001, above 0 and up to 1000000";

/// "linear", "hold" or "bezier".
std::string_view interpolationWord(Interpolation interpolation);
/// As the file has it: true, 12.5, "Super Sample", [12, 40].
std::string valueText(ProjectValue const& value);

/// A key of one of the file's objects.
struct FileKey {
    std::string_view name;
    bool isRequired = false;
};
/// An object of the file with all keys that it may have, in the order in which they are written.
struct FileObject {
    std::string_view
        name;  ///< "project", "comp", "motionBlur", "render", "parameter", "key", "ease"
    std::span<FileKey const> keys;
};
std::span<FileObject const> fileObjects();
/// The words that `render.mode` may have.
std::span<std::string_view const> projectModes();

}  // namespace zelk

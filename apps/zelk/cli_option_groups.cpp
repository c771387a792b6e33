// The options of each command, with the footers of its help; see cli_option_groups.h.
#include "apps/zelk/cli_option_groups.h"

#include <CLI/CLI.hpp>

#include <string>

#include "zelk/text/exit_codes.h"
#include "zelk/tracks/forms.h"

namespace zelk {

namespace {

char const* const kRenderExamples =
    "Corners: upper left, upper right, lower left, lower right, in pixels of the layer, y down:\n"
    "  0,0 is the outer corner of the first pixel and W,H that of the last. Fractions and\n"
    "  negative numbers are allowed. Without --from the From Pins are the layer's corners;\n"
    "  without --to the To Pins are the From Pins.\n"
    "\n"
    "Formats without alpha, and WebP, GIF and FITS, get the picture over black, with a warning.\n"
    "\n"
    "Values of --set, which win over all other options, are in the units that `zelk params`\n"
    "  shows: popups by entry or number, on or off, points x,y, colours #rrggbb, degrees.\n"
    "\n"
    "Modes of --transfer and --mode: behind, normal, add, multiply, screen, overlay, soft-light,\n"
    "  hard-light, color-dodge, color-burn, darken, lighten, difference, exclusion, hue,\n"
    "  saturation, color, luminosity.\n"
    "\n"
    "Examples:\n"
    "  zelk render in.png -o out.png --to \"60,40 540,10 30,390 580,350\"\n"
    "  zelk render in.exr -o out.exr --from \"9,9 200,12 8,150 190,160\" --view from\n"
    "  zelk render in.png -o out.png --quality super --set super-sample-softness=1.5\n"
    "  zelk render logo.png --over plate.exr -o comp.exr --to \"600,80 1400,120 580,700 "
    "1420,660\"\n"
    "  zelk render in.png -o out.png --set rotate=30 --opacity 80 --transfer multiply\n"
    "  zelk render in.exr -o out.exr --to \"-90,40 540,10 30,390 700,350\" --grow 100\n"
    "  zelk render sign.png --over shot.####.exr -o comp.####.exr --track shot.txt\n"
    "  zelk render sign.png --over shot.####.exr -o comp.####.exr --frames 1001-1100 "
    "--project sign.zelk.json --motion-blur 16\n"
    "\n";

char const* const kParamsExamples =
    "Examples:\n"
    "  zelk params\n"
    "  zelk params --json --host KeyG\n"
    "\n";

char const* const kOverlayExamples =
    "Examples:\n"
    "  zelk overlay --project sign.zelk.json -o panel.png --frame 1010 --zoom 50%\n"
    "  zelk overlay in.png -o panel.png --to \"60,40 540,10 30,390 580,350\" --margin 40\n"
    "\n";

char const* const kDragExamples =
    "Examples:\n"
    "  zelk drag sign.zelk.json --from 300,200 --to 340,190\n"
    "  zelk drag sign.zelk.json --from 300,200 --to 700,200 --shift -o wide.zelk.json\n"
    "\n";

char const* const kProjectExamples =
    "Examples:\n"
    "  zelk project new sign.zelk.json --layer sign.png --plate shot.####.exr\n"
    "  zelk project check sign.zelk.json\n"
    "  zelk project import-track sign.zelk.json shot.txt\n"
    "\n";

char const* const kTrackExamples =
    "Corners are upper left (ul), upper right (ur), lower left (ll), lower right (lr).\n"
    "\n"
    "Examples:\n"
    "  zelk track shot.txt --plot paths.png --over shot.0001.png\n"
    "  zelk track convert shot.nk shot.txt --first-frame 0\n"
    "  zelk track convert points.txt shot.csv --format columns --flip-y --size 1920x1080\n"
    "\n";

void addFlag(CLI::App& command, char const* group, char const* name, bool& value,
             char const* help) {
    command.add_flag(name, value, help)->disable_flag_override()->group(group);
}

void addModuleOptions(CLI::App& command, TypedOptions& typed) {
    command.add_option("--host", typed.host, "The host to be: FXTC, PrMr, KeyG or MOTN (FXTC)")
        ->type_name("ID")
        ->group("Host");
    command.add_option("--module", typed.module, "The effect's module, instead of the built one")
        ->type_name("PATH")
        ->group("Host");
}

/// Adds text options of one group after the other.
class OptionAdder {
public:
    explicit OptionAdder(CLI::App& command) : m_command(command) {}
    void operator()(char const* group, char const* name, std::optional<std::string>& value,
                    char const* type, char const* help) const {
        m_command.add_option(name, value, help)->type_name(type)->group(group);
    }

private:
    CLI::App& m_command;
};

/// What is pinned where: the options that a render and an overlay share.
void addSceneOptions(CLI::App& command, TypedOptions& typed) {
    OptionAdder const add(command);
    add("Files", "LAYER", typed.layer, "", "The picture to pin");
    add("Files", "-o,--output", typed.output, "OUTPUT",
        "The picture to write; its extension chooses the format");
    add("Files", "--over", typed.plate, "PLATE",
        "Lay the pinned layer over this picture; To Pins are then in its pixels");
    add("Files", "--size", typed.frameSize, "WxH",
        "The same into a transparent frame of this size");
    addFlag(command, "Files", "--no-clobber", typed.noClobber,
            "Refuse to replace an existing output");
    addFlag(command, "Files", "--in-place", typed.inPlace,
            "Let the output replace its own layer or plate");
    addFlag(command, "Files", "--no-metadata", typed.noMetadata, "Leave the files' metadata out");
    add("Pins", "--to", typed.to, "\"X,Y X,Y X,Y X,Y\"", "To Pins, where the picture goes");
    add("Pins", "--from", typed.from, "\"X,Y X,Y X,Y X,Y\"", "From Pins, what is taken from it");
    add("Pins", "--track", typed.trackTo, "FILE",
        "Tracking data for the To Pins, by the effect's import");
    add("Pins", "--track-from", typed.trackFrom, "FILE", "The same for the From Pins");
    add("Pins", "--view", typed.view, "VIEW", "original, from, to or both (both)");
    add("Rendering", "--quality", typed.quality, "QUALITY", "low, medium, high or super (high)");
    command.add_option("--set", typed.settings, "Any parameter of `zelk params`, repeatable")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->group("Rendering");
}

/// Of one frame as a panel shows it.
void addPanelOptions(CLI::App& command, TypedOptions& typed) {
    OptionAdder const add(command);
    add("Panel", "--frame", typed.frame, "N", "The frame that is shown (the first)");
    add("Panel", "--zoom", typed.zoom, "ZOOM", "Panel pixels to a pixel: 0.5, 2 or 200% (1)");
    add("Panel", "--panel", typed.panel, "PANEL", "comp or layer (comp)");
}

}  // namespace

void addRenderOptions(CLI::App& command, TypedOptions& typed) {
    OptionAdder const add(command);
    addSceneOptions(command, typed);
    add("Rendering", "--depth", typed.depth, "DEPTH", "8, 16 or float (the layer's own)");
    add("Rendering", "--downsample", typed.downsample, "N",
        "Render at 1/N of the size, as a host does for a preview (1)");
    add("Rendering", "--threads", typed.threads, "N", "Threads; 0 for as many as there are (0)");
    add("Rendering", "--road", typed.road, "ROAD",
        "module: the effect in a host; memory: its pipeline in float (module, or memory with "
        "--over "
        "or --size)");
    add("Time", "--frames", typed.frames, "RANGE",
        "Frames of a sequence, such as 1001-1100 or 1-10,20-30x2");
    add("Time", "--project", typed.project, "FILE",
        "Layer, plate, output, frames and keyframed parameters; options override it");
    add("Time", "--motion-blur", typed.motionBlur, "[SAMPLES]",
        "Switch the composition's motion blur on");
    add("Time", "--shutter", typed.shutter, "ANGLE[,PHASE]", "Degrees of a frame (180,-90)");
    add("Time", "--rate", typed.rate, "FPS", "Frames a second (24)");
    add("Sequence", "--in-flight", typed.inFlight, "N", "Frames held at a time (3)");
    add("Sequence", "--missing", typed.missing, "MODE",
        "Input frames that are not there: stop, hold, skip or black (stop)");
    add("Sequence", "--progress", typed.progress, "MODE", "auto, bar, plain, json or none (auto)");
    addFlag(command, "Sequence", "--skip-existing", typed.skipExisting,
            "Go on where an earlier run stopped");
    addFlag(command, "Sequence", "--dry-run", typed.dryRun, "Print what would be read and written");
    add("Compositing", "--opacity", typed.opacity, "PERCENT", "Of the pinned layer (100)");
    add("Compositing", "--transfer", typed.transfer, "MODE",
        "Lay the pinned layer over the layer itself by a Transfer Mode (none)");
    add("Compositing", "--source-opacity", typed.sourceOpacity, "PERCENT",
        "Of the layer under it, with --transfer (100)");
    add("Compositing", "--mode", typed.mode, "MODE",
        "Lay the pinned layer over the plate by a mode (normal)");
    add("Rendering", "--grow", typed.grow, "N",
        "Make the frame larger by N pixels on each side (0)");
    addFlag(command, "Host", "--plain", typed.plain,
            "Render by the plain command, not the smart protocol");
    add("Output", "--explain", typed.explain, "[text|json]",
        "Print what the render did and how long each stage took (text)");
    addModuleOptions(command, typed);
    command.footer(std::string(kRenderExamples) + kExitCodesHelp);
}

void addOverlayOptions(CLI::App& command, TypedOptions& typed) {
    OptionAdder const add(command);
    addSceneOptions(command, typed);
    add("Rendering", "--threads", typed.threads, "N", "Threads; 0 for as many as there are (0)");
    add("Compositing", "--mode", typed.mode, "MODE",
        "Lay the pinned layer over the plate by a mode (normal)");
    add("Panel", "--project", typed.project, "FILE",
        "Layer, plate and keyframed parameters; options override it");
    addPanelOptions(command, typed);
    add("Panel", "--margin", typed.margin, "N", "Panel pixels around the frame (0)");
    addModuleOptions(command, typed);
    command.footer(std::string(kOverlayExamples) + kExitCodesHelp);
}

void addDragOptions(CLI::App& command, TypedOptions& typed) {
    OptionAdder const add(command);
    add("Mouse", "FILE", typed.file, "", "The project file, *.zelk.json");
    add("Mouse", "--from", typed.click, "X,Y", "Where the button goes down, panel pixels");
    command.add_option("--to", typed.drags, "Where the mouse goes, repeatable; the last releases")
        ->type_name("X,Y")
        ->allow_extra_args(false)
        ->group("Mouse");
    addFlag(command, "Mouse", "--shift", typed.shift, "Scale about the click instead of moving");
    addPanelOptions(command, typed);
    add("Output", "-o,--output", typed.output, "OUTPUT", "Another project file (FILE itself)");
    addFlag(command, "Output", "--force", typed.force, "Replace another project file");
    addFlag(command, "Output", "--dry-run", typed.dryRun, "Tell the pins, and write nothing");
    addModuleOptions(command, typed);
    command.footer(std::string(kDragExamples) + kExitCodesHelp);
}

void addProjectOptions(CLI::App& command, TypedOptions& typed, std::optional<std::string>& verb) {
    auto const add = [&](char const* name, std::optional<std::string>& value, char const* type,
                         char const* help) {
        command.add_option(name, value, help)->type_name(type)->group("Project");
    };
    add("VERB", verb, "", "new, show, check or import-track");
    add("FILE", typed.file, "", "The project file, *.zelk.json");
    add("TRACK", typed.trackTo, "", "import-track: the tracking data");
    add("--pins", typed.pins, "PINS", "import-track: to or from (to)");
    add("--layer", typed.layer, "LAYER", "new: the picture or pattern to pin");
    add("--plate", typed.plate, "PLATE", "new: what it is laid over");
    add("-o,--output", typed.output, "OUTPUT", "new: what is written");
    add("--frames", typed.frames, "RANGE", "new: the frames to be rendered");
    add("--rate", typed.rate, "FPS", "new: frames a second (24)");
    add("--size", typed.frameSize, "WxH",
        "new: of the composition (the plate's, else the layer's)");
    addFlag(command, "Project", "--force", typed.force, "new: replace a file");
    addFlag(command, "Project", "--json", typed.json, "show: the file in its normal form");
    addModuleOptions(command, typed);
    command.footer(std::string(kProjectExamples) + kExitCodesHelp);
}

void addTrackOptions(CLI::App& command, TypedOptions& typed) {
    OptionAdder const add(command);
    command
        .add_option("FILE", typed.words, "The tracking data; convert: what is read, and written")
        ->type_name("")
        ->group("Files");
    static std::string const forms = trackFormatNames();
    add("Files", "--format", typed.format, "FORM",
        ("How the file is read (as its text tells): " + forms).c_str());
    add("Files", "--as", typed.as, "FORM",
        "convert: what is written (by the extension .txt, .nk or .csv)");
    addFlag(command, "Files", "--force", typed.force, "convert: replace a file");
    add("Track", "--size", typed.frameSize, "WxH", "Of the frame (the file's own)");
    add("Track", "--rate", typed.rate, "FPS", "Frames a second (the file's own)");
    add("Track", "--corners", typed.corners, "A,B,C,D",
        "The file's corners that become ul, ur, ll, lr (ul,ur,ll,lr)");
    addFlag(command, "Track", "--flip-y", typed.flipY, "The file counts y from below");
    add("Track", "--pixel-aspect", typed.pixelAspect, "A",
        "The file's pixels are A wide; make them square");
    add("Track", "--first-frame", typed.firstFrame, "N", "Number frames from N on");
    add("Track", "--shift-frames", typed.shiftFrames, "N", "Add N to each frame (0)");
    addFlag(command, "Output", "--json", typed.json, "As a JSON object");
    add("Output", "--plot", typed.plot, "FILE", "Draw the corners' paths into a picture");
    add("Output", "--over", typed.plate, "PICTURE", "Draw them over this picture");
    addFlag(command, "Output", "--no-clobber", typed.noClobber,
            "Refuse to replace an existing picture");
    command.footer(std::string(kTrackExamples) + kExitCodesHelp);
}

void addParamsOptions(CLI::App& command, TypedOptions& typed) {
    addFlag(command, "Output", "--json", typed.json, "As a JSON array");
    addFlag(command, "Output", "--resource", typed.resource,
            "The module's name, version and flags alone, as --module puts them before\n"
            "the table (with --json a JSON object)");
    addModuleOptions(command, typed);
    command.footer(std::string(kParamsExamples) + kExitCodesHelp);
}

}  // namespace zelk

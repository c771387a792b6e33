// Options of a render, and its run; see render_command.h.
#include "apps/zelk/render_command.h"

#include <algorithm>
#include <iterator>

#include "zelk/sequence/render_frames.h"
#include "zelk/text/choices.h"

namespace zelk {

namespace {

constexpr Choice<Explain> kExplains[] = {{"text", Explain::kText}, {"json", Explain::kJson}};
constexpr Choice<ProgressMode> kProgressModes[] = {{"auto", ProgressMode::kAuto},
                                                   {"bar", ProgressMode::kBar},
                                                   {"plain", ProgressMode::kPlain},
                                                   {"json", ProgressMode::kJson},
                                                   {"none", ProgressMode::kNone}};
constexpr Choice<SkipExisting> kSkips[] = {{"whole", SkipExisting::kWhole},
                                           {"name", SkipExisting::kByName}};

template <class T, std::size_t N>
bool isWordOf(Choice<T> const (&choices)[N], std::string const& word) {
    return std::any_of(std::begin(choices), std::end(choices),
                       [&](auto const& choice) { return choice.word == lowered(word); });
}

}  // namespace

bool isExplainWord(std::string const& word) { return isWordOf(kExplains, word); }
bool isSkipWord(std::string const& word) { return isWordOf(kSkips, word); }
std::vector<std::string_view> skipWords() { return wordListOf(kSkips); }
SkipExisting skipNamed(std::string const& word) { return pick(kSkips, "--skip-existing", word); }

CommandInfo const RenderCommand::kInfo = {
    "render", "Render a picture or a sequence through the corner pin", "LAYER -o OUTPUT [OPTIONS]",
    "Corners: upper left, upper right, lower left, lower right, in pixels, y down, those of --to\n"
    "  with --over or --size of that frame, else of the layer:\n"
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
    "--project sign.zelk.json --motion-blur 16\n"};

void RenderCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    addPictureOptions(add, m_scene, m_output);
    m_scene.add(add, {"st-map", "invert", "depth", "downsample"});
    m_output.addThreads(add);
    m_scene.add(add, {"road", "grow", "filter", "taps", "edges", "feather", "choke", "frames"});
    add.text("Time", "--project", m_project, "FILE",
             "Layer, plate, output, frames and keyframed parameters; options override it");
    m_scene.add(
        add, {"motion-blur", "shutter", "rate", "first-frame", "codec", "quality-level", "sound"});
    add.text("Sequence", "--in-flight", m_inFlight, "N", "Frames held at a time (3)");
    m_scene.add(add, "missing");
    add.text("Sequence", "--progress", m_progress, "MODE",
             listOf(wordsOf(kProgressModes)) + " (auto)", wordListOf(kProgressModes));
    add.text("Sequence", "--skip-existing", m_skipExisting, "[whole|name]",
             "Leave out frames whose file reads back whole, or is there at all (whole)",
             wordListOf(kSkips));
    add.flag("Sequence", "--share", m_isShared, "Share the frames with other runs of this command");
    add.flag("Sequence", "--dry-run", m_dryRun, "Print what would be read and written");
    add.text("Messages", "--log", m_log, "FILE", "Add the run's events to a file, a line each");
    add.flag("Messages", "--quiet", m_isQuiet, "Tell failures only");
    add.flag("Messages", "--strict", m_isStrict, "Take a warning for a failure");
    m_scene.add(add, {"opacity", "transfer", "source-opacity", "mode", "matte", "holdout"});
    m_scene.add(add, {"layer-color", "plate-color", "output-color", "work-color", "ocio", "color"});
    m_scene.add(add, {"orientation", "overscan", "channels", "plain"});
    add.text("Output", "--explain", m_explain, "[text|json]",
             "Print what the render did and how long each stage took (text)",
             wordListOf(kExplains));
    m_scene.add(add, {"host", "module"});
}

ExitCode RenderCommand::run(Invocation const& how) {
    constexpr int kMostInFlight = 64;
    RunOptions run = m_output.run(how);
    if (m_skipExisting) run.skipExisting = skipNamed(*m_skipExisting);
    if (m_isShared && run.skipExisting == SkipExisting::kByName)
        throw UserError(ExitCode::kUsage, "--share does not go with --skip-existing=name");
    run.isShared = m_isShared;
    run.isStrict = m_isStrict;
    if (m_log) run.log = required(*m_log, "--log", "a file");
    run.dryRun = m_dryRun;
    if (m_inFlight) run.inFlight = wholeInRange("--in-flight", *m_inFlight, 1, kMostInFlight);
    if (m_progress) run.progress = pick(kProgressModes, "--progress", *m_progress);
    if (m_isQuiet && m_progress)
        throw UserError(ExitCode::kUsage, "--quiet does not go with --progress");
    if (m_isQuiet) run.progress = ProgressMode::kQuiet;
    if (m_explain) run.explain = pick(kExplains, "--explain", *m_explain);
    if (run.dryRun && m_explain)
        throw UserError(ExitCode::kUsage,
                        "--explain does not go with --dry-run, which renders nothing");
    Scene const scene = m_scene.edited(sceneOfProject(m_project));
    checkTyped(scene);
    return renderFrames(scene, run);
}

}  // namespace zelk

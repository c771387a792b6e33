// Frames, and what is written of each; see map_command.h.
#include "apps/zelk/map_command.h"

#include "apps/zelk/warnings.h"
#include "zelk/files/output_place.h"
#include "zelk/files/text_file.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/map_text.h"
#include "zelk/render/setup.h"
#include "zelk/scene/invert.h"
#include "zelk/sequence/schedule.h"
#include "zelk/text/choices.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// What goes with an output's extension. Throws a usage error for one that is none of `endings`.
std::string endingOf(fs::path const& output, std::string const& what,
                     std::initializer_list<std::string_view> endings) {
    std::string const ending = lowered(output.extension().string());
    for (std::string_view const each : endings)
        if (ending == each) return ending;
    throw UserError(ExitCode::kUsage, {output.string(), what + " is not written as", ending,
                                       listOf({endings.begin(), endings.end()})});
}

void writeMatrices(FrameStages& renderer, std::vector<int> const& frames, fs::path const& output,
                   bool mayReplace) {
    std::vector<FrameQuadMap> maps;
    for (int const frame : frames) maps.push_back({frame, renderer.mapAt(frame)});
    bool const isJson = lowered(output.extension().string()) == ".json";
    writeTextFile(output, isJson ? mapsAsJson(maps) : mapsAsCsv(maps), mayReplace);
}

void writePictures(FrameStages& renderer, std::vector<int> const& frames, RunOptions const& run) {
    WriteRequest file = writeRequestOf(run);
    file.depth = file.traits.depth = Depth::kFloat;
    file.form = AlphaForm::kAssociated;  // as an OpenEXR file has it: nothing is multiplied
    for (int const frame : frames)
        tellWarnings(
            writePicture(renderer.stPictureAt(frame), renderer.files().output.pathOf(frame), file)
                .warnings);
}

}  // namespace

CommandInfo const MapCommand::kInfo = {
    "map", "Write where a pinned quad lies, for programs that draw themselves",
    "LAYER -o OUTPUT [OPTIONS]",
    "An ST map is 32-bit OpenEXR of the frame's size: red and green say where in the layer a "
    "pixel\n"
    "  looks, parts of its width from the left and of its height from the bottom; alpha is the\n"
    "  coverage. With --matrix it is one .json or .csv with a 3 x 3 matrix a frame and its "
    "inverse,\n"
    "  between pixels of the layer and of the frame, y down, pixel centres at .5. Of the layer "
    "and\n"
    "  the plate only the sizes count. docs/maps.md has all of it.\n"
    "\n"
    "Examples:\n"
    "  zelk map logo.png --size 1920x1080 -o st.exr --to \"600,80 1400,120 580,700 1420,660\"\n"
    "  zelk map --project sign.zelk.json -o st.####.exr --frames 1001-1100\n"
    "  zelk map --project sign.zelk.json --matrix -o sign.json\n"};

void MapCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    addPictureOptions(add, m_scene, m_output);
    m_output.addThreads(add);
    add.flag("Files", "--matrix", m_isMatrix, "Write matrices, as .json or .csv");
    add.text("Time", "--project", m_project, "FILE",
             "Layer, plate, frames and keyframed parameters; options override it");
    m_scene.add(add, {"invert", "frames", "rate", "road", "grow", "host", "module"});
}

ExitCode MapCommand::run(Invocation const& how) {
    Scene own = sceneOfProject(m_project);
    own.output.reset();  // that of its render
    Scene scene = m_scene.edited(std::move(own));
    checkTyped(scene);
    scene = invertedScene(std::move(scene));
    scene.downsample.reset();
    scene.missing = MissingInput::kHold;  // of inputs nothing but the first size is read
    fs::path const output = scene.outputPath();
    if (m_isMatrix) {
        endingOf(output, "a table of matrices", {".json", ".csv"});
        scene.output = ScenePath{"#"};  // one file has all frames that numbered pictures would be
    } else {
        endingOf(output, "an ST map", {".exr"});
    }
    RunOptions const run = m_output.run(how);
    useThreads(run.threads);
    FrameStages renderer(scene, run);
    std::vector<int> const frames = scheduleOf(scene, run, renderer.files()).frames;
    if (m_isMatrix) {
        checkPlace(output, run.noClobber);
    } else {
        checkTarget(renderer.files().output.pathOf(frames.front()), run.noClobber);
        checkOutputsAreNoInputs(scene, run, renderer.files(), frames);
    }
    renderer.begin(frames);
    if (m_isMatrix)
        writeMatrices(renderer, frames, output, !run.noClobber);
    else
        writePictures(renderer, frames, run);
    tellWarnings(renderer.warnings().take());
    return ExitCode::kDone;
}

}  // namespace zelk

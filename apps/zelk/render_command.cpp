// One render from file to file; see render_command.h.
#include "apps/zelk/render_command.h"

#include <fmt/format.h>
#include <omp.h>

#include <algorithm>
#include <optional>

#include "apps/zelk/errors.h"
#include "apps/zelk/memory_budget.h"
#include "apps/zelk/memory_road.h"
#include "apps/zelk/module_road.h"
#include "apps/zelk/parameter_names.h"
#include "apps/zelk/parameter_values.h"
#include "apps/zelk/params_command.h"
#include "apps/zelk/picture_reader.h"
#include "apps/zelk/picture_writer.h"
#include "apps/zelk/quad_check.h"

namespace zelk {

namespace {

Parameter& at(std::vector<Parameter>& parameters, int index) {
    return parameters[static_cast<std::size_t>(index)];
}

void setPins(std::vector<Parameter>& parameters, int index, Corners const& corners) {
    for (Point const& corner : corners) {
        setPoint(at(parameters, index++).current, corner.x, corner.y);
    }
}

/// From Pins at the corners of a picture.
Corners wholePicture(PictureReader const& picture) {
    double const w = picture.width(), h = picture.height();
    return {{{0, 0}, {w, 0}, {0, h}, {w, h}}};
}

/// To Pins that no option sets follow the From Pins.
void copyOpenPins(RenderRequest const& request, std::vector<Parameter>& parameters) {
    if (request.to) return;
    for (int corner = 0; corner < 4; ++corner) {
        bool const isSet =
            std::any_of(request.settings.begin(), request.settings.end(),
                        [&](Setting const& setting) { return setting.index == kToPins + corner; });
        PF_PointDef const& from = at(parameters, kFromPins + corner).current.u.td;
        PF_PointDef& to = at(parameters, kToPins + corner).current.u.td;
        if (isSet) continue;
        to.x_value = from.x_value;
        to.y_value = from.y_value;
    }
}

/// Throws where the reduced picture would have no pixels.
void checkDownsample(RenderRequest const& request, PictureReader const& picture) {
    int const most = std::min(picture.width(), picture.height());
    if (request.downsample > most)
        throw UserError(ExitCode::kUsage, {"--downsample", "leaves nothing of the picture:",
                                           std::to_string(request.downsample),
                                           fmt::format("a whole number from 1 to {}", most)});
}

void useThreads(int count) {
    if (count == 0) return;
    omp_set_num_threads(count);
    OIIO::attribute("threads", count);
    OIIO::attribute("exr_threads", count);
}

void addPinWarning(std::vector<Parameter> const& parameters, PinFrame const& frame,
                   std::vector<std::string>& warnings) {
    std::string const why = unusablePins(parameters, frame);
    if (!why.empty()) warnings.push_back(why + ", so nothing is drawn");
}

void write(RenderRequest const& request, World const& world, WriteRequest ask,
           std::vector<std::string>& warnings) {
    ask.keepMetadata = request.keepMetadata;
    ask.history = request.history;
    std::string const warning = writePicture(world, request.output, ask);
    if (!warning.empty()) warnings.push_back(warning);
}

/// Notes what is about to be rendered.
void plan(std::vector<Parameter> const& parameters, PinFrame const& frame, Depth renderDepth,
          Depth fileDepth, RenderReport& report) {
    addPinWarning(parameters, frame, report.warnings);
    Explanation& e = report.explanation;
    e.layer = {frame.layerWidth, frame.layerHeight};
    e.frame = {frame.frameWidth + 2 * frame.marginX, frame.frameHeight + 2 * frame.marginY};
    e.renderDepth = renderDepth;
    e.fileDepth = fileDepth;
    e.plan = planOf(parameters, frame);
}

/// The effect module renders the layer in its own frame.
void renderInOwnFrame(RenderRequest const& request, Host& host, RenderReport& report) {
    PictureReader picture(request.layer);
    checkDownsample(request, picture);
    host.resetParameters(picture.width(), picture.height());
    applyRequest(request, host.parameters());
    report.warnings = picture.warnings();

    ModuleRender ask;
    ask.layerName = request.layer.string();
    ask.depth = request.depth.value_or(picture.traits().depth);
    ask.downsample = request.downsample;
    ask.isPlain = request.isPlain || !host.supportsSmartRender();
    PixelSize const margin = marginOf(host.parameters(), ask);
    int const width = picture.width() / ask.downsample, height = picture.height() / ask.downsample;
    report.explanation.isPlain = ask.isPlain;
    report.explanation.margin = margin;
    plan(host.parameters(),
         {width, height, width, height, ask.downsample, margin.width, margin.height}, ask.depth,
         ask.depth, report);

    StageClock& clock = report.explanation.clock;
    World const output = renderByModule(host, picture, ask, clock);
    if (request.explain != Explain::kNo) report.explanation.covered = countCovered(output);
    WriteRequest file;
    file.depth = ask.depth;
    file.traits = picture.traits();
    file.traits.isHalf = file.traits.isHalf && !request.depth;
    file.marginX = margin.width;
    file.marginY = margin.height;
    write(request, output, file, report.warnings);
    clock.lap("write");
}

/// Rank of a file's samples, for the deeper of two.
int depthRank(PictureTraits const& traits) {
    return traits.depth == Depth::k8 ? 0 : traits.depth == Depth::k16 ? 1 : traits.isHalf ? 2 : 3;
}

std::string colorSpaceOf(PictureTraits const& traits) {
    auto const found = traits.metadata.find("oiio:ColorSpace");
    return found == traits.metadata.end() ? std::string() : found->get_string();
}

void addColorSpaceWarning(RenderRequest const& request, PictureReader const& layer,
                          PictureReader const& plate, std::vector<std::string>& warnings) {
    std::string const a = colorSpaceOf(layer.traits()), b = colorSpaceOf(plate.traits());
    if (a.empty() || b.empty() || a == b) return;
    warnings.push_back(
        fmt::format("{}: declares colour space \"{}\" and {} \"{}\"; values are "
                    "composited as stored",
                    request.layer.string(), a, request.plate->string(), b));
}

/// What the output inherits: windows and metadata of the plate, else the layer's metadata; the
/// deeper samples of the two.
WriteRequest outputOf(RenderRequest const& request, PictureReader const& layer,
                      PictureReader const* plate) {
    WriteRequest ask;
    ask.form = AlphaForm::kAssociated;
    ask.traits = plate ? plate->traits() : layer.traits();
    if (request.frameSize) ask.traits.originX = ask.traits.originY = 0;
    PictureTraits const& deeper = plate && depthRank(plate->traits()) > depthRank(layer.traits())
                                      ? plate->traits()
                                      : layer.traits();
    ask.traits.isHalf = deeper.isHalf && !request.depth;
    ask.depth = request.depth.value_or(deeper.depth);
    ask.opaque = plate && !plate->traits().hasAlpha;
    return ask;
}

/// Reads the layer and renders it into `frame`; the layer's pixels are gone afterwards.
void renderLayer(RenderRequest const& request, Host& host, PictureReader& layer, World& frame,
                 StageClock& clock) {
    World pixels = readAssociatedWorld(layer);
    clock.lap("read");
    CommandResult result;
    result.code = renderInMemory(host.parameters(), pixels, frame);
    checkResult(result, request.layer.string());
    clock.lap("render");
}

World frameWorld(RenderRequest const& request, PictureReader const& layer, PixelSize size) {
    std::uint64_t const need =
        frameRenderBytes(layer.width(), layer.height(), size.width, size.height);
    if (need > availableBytes())
        throw UserError(
            ExitCode::kInput,
            {request.layer.string(), "layer and frame larger than the memory allows,",
             fmt::format("{}x{} in {}x{}", layer.width(), layer.height(), size.width, size.height),
             fmt::format("{} MB to be free", need / 1'000'000)});
    return World({size.width, size.height, Depth::kFloat});
}

/// A Transfer Mode lays the pinned layer over the layer as it stands in its own frame.
void checkTransfer(std::vector<Parameter> const& parameters) {
    Parameter const& transfer = parameters[kTransferMode];
    auto const entry = static_cast<std::size_t>(numberOf(transfer.current));
    if (entry > 1 && entry <= transfer.choices.size())
        throw UserError(ExitCode::kUsage, {"--set transfer-mode",
                                           "lays the pinned layer over itself in its own frame:",
                                           transfer.choices[entry - 1], "--mode with --over"});
}

/// The layer goes into a frame of its own size, a given one, or a plate's.
void renderIntoFrame(RenderRequest const& request, Host& host, RenderReport& report) {
    PictureReader layer(request.layer);
    std::optional<PictureReader> plate;
    if (request.plate) plate.emplace(*request.plate);
    PixelSize const own = {layer.width(), layer.height()};
    PixelSize const size =
        plate ? PixelSize{plate->width(), plate->height()} : request.frameSize.value_or(own);
    host.resetParameters(size.width, size.height);
    setPins(host.parameters(), kFromPins, wholePicture(layer));
    applyRequest(request, host.parameters());

    if (plate || request.frameSize) checkTransfer(host.parameters());
    WriteRequest const ask = outputOf(request, layer, plate ? &*plate : nullptr);
    report.warnings = layer.warnings();
    plan(host.parameters(), {own.width, own.height, size.width, size.height, 1}, Depth::kFloat,
         ask.depth, report);
    if (plate) {
        report.warnings.insert(report.warnings.end(), plate->warnings().begin(),
                               plate->warnings().end());
        addColorSpaceWarning(request, layer, *plate, report.warnings);
    }

    StageClock& clock = report.explanation.clock;
    World frame = frameWorld(request, layer, size);
    renderLayer(request, host, layer, frame, clock);
    if (request.explain != Explain::kNo) report.explanation.covered = countCovered(frame);
    if (plate) {
        layOver(frame, *plate, request.overMode);
        clock.lap("plate");
    }
    write(request, frame, ask, report.warnings);
    clock.lap("write");
}

}  // namespace

void applyRequest(RenderRequest const& request, std::vector<Parameter>& parameters) {
    if (request.from) setPins(parameters, kFromPins, *request.from);
    if (request.to) setPins(parameters, kToPins, *request.to);
    if (request.quality) setNumber(at(parameters, kQuality).current, *request.quality);
    if (request.view) setNumber(at(parameters, kViewMode).current, *request.view);
    for (Setting const& setting : request.settings) {
        setFromText(at(parameters, setting.index), setting.thing, setting.value);
    }
    copyOpenPins(request, parameters);
}

RenderReport render(RenderRequest const& request) {
    RenderReport report;
    auto const host = loadModule(request.module);
    applyRequest(request, host->parameters());  // refuses bad values before any file is touched
    checkTarget(request.output, request.noClobber);
    useThreads(request.threads);
    report.explanation.road = request.road;
    report.explanation.host = request.module.host;
    report.explanation.threads = omp_get_max_threads();
    report.explanation.clock.lap("setup");
    if (request.road == Road::kModule)
        renderInOwnFrame(request, *host, report);
    else
        renderIntoFrame(request, *host, report);
    return report;
}

}  // namespace zelk

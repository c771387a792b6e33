// One render from file to file; see render_command.h.
#include "apps/zelk/render_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "zelk/pictures/reader.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/load_module.h"
#include "zelk/render/memory_budget.h"
#include "zelk/render/memory_road.h"
#include "zelk/render/module_road.h"
#include "zelk/render/setup.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/quad_check.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

void addPinWarning(std::vector<Parameter> const& parameters, PinFrame const& frame,
                   std::vector<std::string>& warnings) {
    std::string const why = unusablePins(parameters, frame);
    if (!why.empty()) warnings.push_back(why + ", so nothing is drawn");
}

void write(RenderRequest const& request, World const& world, WriteRequest const& ask,
           RenderReport& report) {
    WriteReport const written = writePicture(world, request.output, ask);
    report.warnings.insert(report.warnings.end(), written.warnings.begin(), written.warnings.end());
    report.explanation.writtenType = written.sampleType;
    report.explanation.writtenBits = written.sampleBits;
    report.explanation.clock.lap("write");
}

/// Notes what is about to be rendered.
void plan(std::vector<Parameter> const& parameters, PinFrame const& frame, Depth renderDepth,
          RenderReport& report) {
    addPinWarning(parameters, frame, report.warnings);
    Explanation& e = report.explanation;
    e.layer = {frame.layerWidth, frame.layerHeight};
    e.frame = {frame.frameWidth + 2 * frame.marginX, frame.frameHeight + 2 * frame.marginY};
    e.renderDepth = renderDepth;
    e.plan = planOf(parameters, frame);
}

/// The first frame of the composition.
struct Moment {
    FrameRequest frame;
    KeyTime time;
};

Moment momentOf(RenderRequest const& request, Host& host) {
    Comp const comp = compOf(request, 0, 0);
    host.setComp(comp);
    FrameRequest const frame = frameRequest(comp, comp.startFrame);
    return {frame, {frame.time, frame.timeBase.scale}};
}

/// The effect module renders the layer in its own frame.
void renderInOwnFrame(RenderRequest const& request, Host& host, RenderReport& report) {
    PictureReader picture(request.layer);
    PixelSize const size = {picture.width(), picture.height()};
    setParameters(request, host, size, size);
    report.warnings = picture.warnings();

    Moment const moment = momentOf(request, host);
    ModuleRender const ask = moduleRenderOf(request, host, picture);
    PixelSize const margin = marginOf(host.parameters(), ask);
    int const width = picture.width() / ask.downsample, height = picture.height() / ask.downsample;
    report.explanation.isPlain = ask.isPlain;
    report.explanation.margin = margin;
    plan(parametersAt(host.parameters(), moment.time),
         {width, height, width, height, ask.downsample, margin.width, margin.height}, ask.depth,
         report);

    StageClock& clock = report.explanation.clock;
    World input = readLayer(host, picture, ask);
    clock.lap("read");
    World const output = renderByModule(host, std::move(input), ask, moment.frame);
    clock.lap("render");
    if (request.explain != Explain::kNo) report.explanation.covered = countCovered(output);
    write(request, output, ownFrameOutput(request, picture.traits(), margin), report);
}

/// Reads the layer and renders it into `frame`; the layer's pixels are gone afterwards.
void renderLayer(RenderRequest const& request, Host& host, PictureReader& layer, World& frame,
                 FrameRequest const& moment, StageClock& clock) {
    World pixels = readAssociatedWorld(layer);
    clock.lap("read");
    renderInMemory(host.parameters(), pixels, frame, moment, request.layer.string());
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

/// The layer goes into a frame of its own size, a given one, or a plate's.
void renderIntoFrame(RenderRequest const& request, Host& host, RenderReport& report) {
    PictureReader layer(request.layer);
    std::optional<PictureReader> plate;
    if (request.plate) plate.emplace(*request.plate);
    PixelSize const own = {layer.width(), layer.height()};
    PixelSize const size =
        plate ? PixelSize{plate->width(), plate->height()} : request.frameSize.value_or(own);
    setParameters(request, host, own, size);
    Moment const moment = momentOf(request, host);

    if (plate || request.frameSize) checkTransfer(host.parameters());
    WriteRequest const ask = outputOf(request, layer.traits(), plate ? &plate->traits() : nullptr);
    report.warnings = layer.warnings();
    plan(parametersAt(host.parameters(), moment.time),
         {own.width, own.height, size.width, size.height, 1}, Depth::kFloat, report);
    if (plate) {
        report.warnings.insert(report.warnings.end(), plate->warnings().begin(),
                               plate->warnings().end());
        addColorWarning(request, layer.traits(), plate->traits(), report.warnings);
    }

    StageClock& clock = report.explanation.clock;
    World frame = frameWorld(request, layer, size);
    renderLayer(request, host, layer, frame, moment.frame, clock);
    if (request.explain != Explain::kNo) report.explanation.covered = countCovered(frame);
    if (plate) {
        layOver(frame, *plate, request.overMode);
        clock.lap("plate");
    }
    write(request, frame, ask, report);
}

}  // namespace

RenderReport render(RenderRequest const& request) {
    RenderReport report;
    auto const host = loadModule(request.module);
    applyRequest(request, host->parameters());  // refuses bad values before any file is touched
    checkTarget(request.output, request.noClobber);
    useThreads(request.threads);
    report.explanation.road = request.road;
    report.explanation.host = request.module.host;
    report.explanation.threads = engineThreads(request);
    report.explanation.clock.lap("setup");
    if (request.road == Road::kModule)
        renderInOwnFrame(request, *host, report);
    else
        renderIntoFrame(request, *host, report);
    return report;
}

}  // namespace zelk

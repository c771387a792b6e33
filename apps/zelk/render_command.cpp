// One render from file to file; see render_command.h.
#include "apps/zelk/render_command.h"

#include <fmt/format.h>
#include <omp.h>

#include <algorithm>
#include <optional>

#include "apps/zelk/errors.h"
#include "apps/zelk/memory_budget.h"
#include "apps/zelk/memory_release.h"
#include "apps/zelk/memory_road.h"
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

/// What the render works on, and in which size.
struct Frame {
    int width = 0, height = 0;  ///< of the worlds, pixels
    Depth depth = Depth::k8;
};

Frame frameOf(RenderRequest const& request, PictureReader const& picture) {
    int const n = request.downsample;
    int const most = std::min(picture.width(), picture.height());
    if (n > most) {
        throw UserError(ExitCode::kUsage,
                        {"--downsample", "leaves nothing of the picture:", std::to_string(n),
                         fmt::format("a whole number from 1 to {}", most)});
    }
    return {picture.width() / n, picture.height() / n,
            request.depth.value_or(picture.traits().depth)};
}

UserError tooLarge(RenderRequest const& request, Frame const& frame) {
    return {ExitCode::kInput,
            {request.layer.string(), "picture larger than the memory allows,",
             fmt::format("{}x{}", frame.width, frame.height),
             fmt::format("{} MB to be free",
                         renderBytes(frame.width, frame.height, frame.depth) / 1'000'000)}};
}

/// The effect must succeed and give back all that it took.
void checkResult(CommandResult const& result, std::string const& layer) {
    if (result.code != PF_Err_NONE) {
        std::string const message = result.message.empty() ? "no message" : result.message;
        throw UserError(ExitCode::kRenderFailed,
                        {layer, fmt::format("the render failed with code {}:", result.code),
                         message, "code 0"});
    }
    if (!(result.outstanding == Outstanding{})) {
        throw UserError(ExitCode::kRenderFailed,
                        {layer, "the effect kept", result.outstanding.describe(), "nothing"});
    }
}

World renderFrame(RenderRequest const& request, Host& host, PictureReader& picture,
                  Frame const& frame, StageClock& clock) {
    if (renderBytes(frame.width, frame.height, frame.depth) > availableBytes()) {
        throw tooLarge(request, frame);
    }
    World input, output;
    try {
        WorldSpec const spec = host.worldSpec(frame.width, frame.height, frame.depth);
        input = World(spec);
        output = World(spec);
    } catch (HostError const&) {
        throw tooLarge(request, frame);
    }
    picture.readInto(input, request.downsample);
    releaseStartupMemory();
    clock.lap("read");

    FrameRequest ask;
    ask.downsample = request.downsample;
    ask.layerWidth = picture.width();
    ask.layerHeight = picture.height();
    checkResult(host.render(input, output, ask), request.layer.string());
    clock.lap("render");
    return output;
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
    e.frame = {frame.frameWidth, frame.frameHeight};
    e.renderDepth = renderDepth;
    e.fileDepth = fileDepth;
    e.plan = planOf(parameters, frame);
}

/// The effect module renders the layer in its own frame.
void renderByModule(RenderRequest const& request, Host& host, RenderReport& report) {
    PictureReader picture(request.layer);
    Frame const frame = frameOf(request, picture);
    host.resetParameters(picture.width(), picture.height());
    applyRequest(request, host.parameters());
    report.warnings = picture.warnings();
    plan(host.parameters(),
         {frame.width, frame.height, frame.width, frame.height, request.downsample}, frame.depth,
         frame.depth, report);
    World const output = renderFrame(request, host, picture, frame, report.explanation.clock);
    if (request.explain != Explain::kNo) report.explanation.covered = countCovered(output);
    WriteRequest ask;
    ask.depth = frame.depth;
    ask.traits = picture.traits();
    ask.traits.isHalf = ask.traits.isHalf && !request.depth;
    write(request, output, ask, report.warnings);
    report.explanation.clock.lap("write");
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
        layOver(frame, *plate);
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
        setFromText(at(parameters, setting.index), setting.name, setting.value);
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
        renderByModule(request, *host, report);
    else
        renderIntoFrame(request, *host, report);
    return report;
}

}  // namespace zelk

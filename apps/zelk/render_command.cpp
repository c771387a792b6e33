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
                  Frame const& frame) {
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

    FrameRequest ask;
    ask.downsample = request.downsample;
    ask.layerWidth = picture.width();
    ask.layerHeight = picture.height();
    checkResult(host.render(input, output, ask), request.layer.string());
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

/// The effect module renders the layer in its own frame.
std::vector<std::string> renderByModule(RenderRequest const& request, Host& host) {
    PictureReader picture(request.layer);
    Frame const frame = frameOf(request, picture);
    host.resetParameters(picture.width(), picture.height());
    applyRequest(request, host.parameters());
    std::vector<std::string> warnings = picture.warnings();
    addPinWarning(host.parameters(),
                  {frame.width, frame.height, frame.width, frame.height, request.downsample},
                  warnings);
    World const output = renderFrame(request, host, picture, frame);
    WriteRequest ask;
    ask.depth = frame.depth;
    ask.traits = picture.traits();
    write(request, output, ask, warnings);
    return warnings;
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
std::vector<std::string> renderIntoFrame(RenderRequest const& request, Host& host) {
    PictureReader layer(request.layer);
    std::optional<PictureReader> plate;
    if (request.plate) plate.emplace(*request.plate);
    PixelSize const size =
        plate ? PixelSize{plate->width(), plate->height()}
              : request.frameSize.value_or(PixelSize{layer.width(), layer.height()});
    host.resetParameters(size.width, size.height);
    setPins(host.parameters(), kFromPins, wholePicture(layer));
    applyRequest(request, host.parameters());

    std::vector<std::string> warnings = layer.warnings();
    addPinWarning(host.parameters(), {layer.width(), layer.height(), size.width, size.height, 1},
                  warnings);
    if (plate) {
        warnings.insert(warnings.end(), plate->warnings().begin(), plate->warnings().end());
        addColorSpaceWarning(request, layer, *plate, warnings);
    }

    World frame = frameWorld(request, layer, size);
    {
        World pixels = readAssociatedWorld(layer);
        if (PF_Err const code = renderInMemory(host.parameters(), pixels, frame)) {
            CommandResult result;
            result.code = code;
            checkResult(result, request.layer.string());
        }
    }
    if (plate) layOver(frame, *plate);
    write(request, frame, outputOf(request, layer, plate ? &*plate : nullptr), warnings);
    return warnings;
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

std::vector<std::string> render(RenderRequest const& request) {
    auto const host = loadModule(request.module);
    applyRequest(request, host->parameters());  // refuses bad values before any file is touched
    checkTarget(request.output, request.noClobber);
    useThreads(request.threads);
    return request.road == Road::kModule ? renderByModule(request, *host)
                                         : renderIntoFrame(request, *host);
}

}  // namespace zelk

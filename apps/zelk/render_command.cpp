// One render from file to file; see render_command.h.
#include "apps/zelk/render_command.h"

#include <fmt/format.h>
#include <omp.h>

#include <algorithm>

#include "apps/zelk/errors.h"
#include "apps/zelk/memory_budget.h"
#include "apps/zelk/memory_release.h"
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

std::string render(RenderRequest const& request) {
    auto const host = loadModule(request.module);
    applyRequest(request, host->parameters());  // refuses bad values before any file is touched
    checkTarget(request.output);
    useThreads(request.threads);
    PictureReader picture(request.layer);
    Frame const frame = frameOf(request, picture);

    host->resetParameters(picture.width(), picture.height());
    applyRequest(request, host->parameters());
    std::string const why =
        unusablePins(host->parameters(), {frame.width, frame.height, request.downsample});
    writePicture(renderFrame(request, *host, picture, frame), request.output, picture.traits());
    return why.empty() ? why : why + ", so nothing is drawn";
}

}  // namespace zelk

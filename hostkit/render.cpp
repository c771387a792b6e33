// The two roads of a frame: PF_Cmd_RENDER, and the smart render protocol with its layer check-outs.
//
// In the smart protocol the effect says first, from no pixels, which rectangle it will draw, and
// then draws it into a world whose origin is that rectangle's corner. The host takes layer pixels
// back at the command's end; nothing is owed for them.
#include <fmt/format.h>

#include "hostkit/host_impl.h"
#include "hostkit/pixel_ops.h"

namespace zelk {
namespace {

void require(bool holds, char const* what) {
    if (!holds) throw HostError(what);
}

PF_LRect boundsOf(World const* world) { return world ? world->bounds() : PF_LRect{}; }

bool isSame(PF_LRect const& a, PF_LRect const& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

bool isEmpty(PF_LRect const& r) { return r.right <= r.left || r.bottom <= r.top; }

bool contains(PF_LRect const& outer, PF_LRect const& inner) {
    return isEmpty(inner) || (outer.left <= inner.left && outer.top <= inner.top &&
                              outer.right >= inner.right && outer.bottom >= inner.bottom);
}

SmartScene* smartScene(Host::Impl const& host) {
    return host.running.scene ? host.running.scene->smart : nullptr;
}

PF_Err checkoutLayer(PF_ProgPtr effectRef, A_long index, A_long id, PF_RenderRequest const* request,
                     A_long, A_long, A_u_long, PF_CheckoutResult* result) {
    return answerCall("checkout_layer", effectRef, [&](Host::Impl& host) -> PF_Err {
        SmartScene* const smart = smartScene(host);
        if (!smart || !request || !result) return PF_Err_BAD_CALLBACK_PARAM;
        if (index != kInputLayerIndex) return PF_Err_INVALID_INDEX;
        if (!smart->agreed.emplace(id, *request).second) {
            host.monitor.noteMistake("checkout_layer: an identifier used twice");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        *result = {};
        result->max_result_rect = boundsOf(smart->layer);
        result->result_rect = meet(request->rect, result->max_result_rect);
        result->par = host.pixelAspect();
        FrameRequest const& frame = host.running.scene->frame;
        PF_LRect const& whole = result->max_result_rect;
        result->ref_width = frame.layerWidth > 0 ? frame.downsample.width(frame.layerWidth)
                                                 : whole.right - whole.left;
        result->ref_height = frame.layerHeight > 0 ? frame.downsample.height(frame.layerHeight)
                                                   : whole.bottom - whole.top;
        return PF_Err_NONE;
    });
}

/// The image of the layer's part in `rect`; null where it has no pixels.
PF_EffectWorld* lendPart(Host::Impl& host, SmartScene const& smart, PF_LRect const& rect,
                         LentPart& out) {
    if (!smart.layer) return nullptr;
    if (contains(rect, smart.layer->bounds())) return smart.layer->record();
    out.part = partOf(*smart.layer, rect);
    if (out.part.record()) out.lent.emplace(host.worlds, out.part);
    return out.part.record();
}

PF_Err checkoutLayerPixels(PF_ProgPtr effectRef, A_long id, PF_EffectWorld** pixels) {
    if (pixels) *pixels = nullptr;
    return answerCall("checkout_layer_pixels", effectRef, [&](Host::Impl& host) -> PF_Err {
        SmartScene* const smart = smartScene(host);
        if (!smart || !pixels) return PF_Err_BAD_CALLBACK_PARAM;
        auto const asked = smart->agreed.find(id);
        if (asked == smart->agreed.end() || smart->pixelsOut.count(id)) {
            host.monitor.noteMistake(
                "checkout_layer_pixels: not a layer that the pre-render asked for, or out already");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        try {
            *pixels = lendPart(host, *smart, asked->second.rect, smart->pixelsOut[id]);
        } catch (HostError const& error) {
            smart->pixelsOut.erase(id);
            return error.code();
        }
        return PF_Err_NONE;
    });
}

PF_Err checkinLayerPixels(PF_ProgPtr effectRef, A_long id) {
    return answerCall("checkin_layer_pixels", effectRef, [&](Host::Impl& host) -> PF_Err {
        SmartScene* const smart = smartScene(host);
        if (smart && smart->pixelsOut.erase(id)) return PF_Err_NONE;
        host.monitor.noteMistake("checkin_layer_pixels: not a layer that is out");
        return PF_Err_BAD_CALLBACK_PARAM;
    });
}

PF_Err checkoutOutput(PF_ProgPtr effectRef, PF_EffectWorld** output) {
    if (output) *output = nullptr;
    return answerCall("checkout_output", effectRef, [&](Host::Impl& host) -> PF_Err {
        SmartScene* const smart = smartScene(host);
        if (!smart || !smart->output || !output) return PF_Err_BAD_CALLBACK_PARAM;
        *output = smart->output->record();
        return PF_Err_NONE;
    });
}

A_short bitDepth(Depth depth) { return static_cast<A_short>(8 * channelBytes(depth)); }

PF_RenderRequest requestOf(PF_LRect const& rect, FrameRequest const& frame) {
    PF_RenderRequest request{};
    request.rect = rect;
    request.field = frame.field;
    request.channel_mask = PF_ChannelMask_ARGB;
    return request;
}

/// A layer without pixels leaves the scene without an input: its size is the frame's alone.
CommandScene sceneOf(World* layer, FrameRequest const& frame, SmartScene& smart, void* extra) {
    CommandScene scene{frame, layer, nullptr, extra, &smart, std::nullopt};
    require(layer || (frame.layerWidth > 0 && frame.layerHeight > 0),
            "a frame of a layer without pixels needs the layer's size");
    return scene;
}

/// Why a pre-render's answer can't be drawn; empty when it can.
std::string faultOf(PreRenderResult const& result, PF_LRect const& asked) {
    PF_LRect const& r = result.resultRect;
    if (!contains(result.maxResultRect, r)) return "a result rectangle beyond its own maximum";
    bool const returnsExtra = result.flags & PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS;
    if (!returnsExtra && !contains(asked, r)) return "more pixels than asked for, unannounced";
    if (isEmpty(r)) return "an empty result rectangle";
    if (r.right - r.left > kMaxWorldSide || r.bottom - r.top > kMaxWorldSide)
        return fmt::format("a result of {} x {} pixels, expected sides of at most {}",
                           r.right - r.left, r.bottom - r.top, kMaxWorldSide);
    return {};
}

}  // namespace

PF_PreRenderCallbacks preRenderCallbacks() { return {checkoutLayer}; }

PF_SmartRenderCallbacks smartRenderCallbacks() {
    return {checkoutLayerPixels, checkinLayerPixels, checkoutOutput};
}

void Host::Impl::requireOwnLayout(World const& world) const {
    WorldSpec const own = worldSpec(world.width(), world.height(), world.depth());
    require(world.spec().bgra == own.bgra,
            "an image of a render has another layout than this host gives its effects");
}

CommandResult Host::render(World& input, World& output, FrameRequest const& frame,
                           std::optional<PF_LRect> const& asked) {
    require(input.record() && output.record(), "a render needs an input and an output image");
    require(isSame(input.bounds(), output.bounds()) && input.depth() == output.depth(),
            "input and output of a render differ in size, origin or depth, expected them alike");
    require(frame.downsample.smaller() >= 1, "the downsample factor of a render is below 1");
    m_impl->requireOwnLayout(input);
    m_impl->requireOwnLayout(output);
    LentWorld const lentInput(m_impl->worlds, input);
    LentWorld const lentOutput(m_impl->worlds, output);
    return m_impl->run(PF_Cmd_RENDER, {frame, &input, &output, nullptr, nullptr, asked}, true);
}

PreRenderResult Host::preRender(World* layer, Depth depth, FrameRequest const& frame,
                                std::optional<PF_LRect> const& asked) {
    require(supportsSmartRender(),
            "the effect does not announce smart rendering, expected PF_Cmd_RENDER");
    require(frame.downsample.smaller() >= 1, "the downsample factor of a render is below 1");
    if (layer) m_impl->requireOwnLayout(*layer);
    PF_PreRenderInput input{};
    input.output_request = requestOf(asked.value_or(boundsOf(layer)), frame);
    input.bitdepth = bitDepth(depth);
    PF_PreRenderOutput answer{};
    PF_PreRenderCallbacks callbacks = preRenderCallbacks();
    PF_PreRenderExtra extra = {&input, &answer, &callbacks};
    SmartScene smart;
    smart.layer = layer;

    PreRenderResult result;
    result.depth = depth;
    result.asked = input.output_request.rect;
    result.command =
        m_impl->run(PF_Cmd_SMART_PRE_RENDER, sceneOf(layer, frame, smart, &extra), false);
    result.resultRect = answer.result_rect;
    result.maxResultRect = answer.max_result_rect;
    result.solid = answer.solid != 0;
    result.flags = answer.flags;
    if (!smart.agreed.empty()) result.layerRequest = smart.agreed.rbegin()->second;
    result.agreed = std::move(smart.agreed);
    result.data = {answer.pre_render_data, {answer.delete_pre_render_data_func}};
    return result;
}

World Host::outputFor(PreRenderResult const& agreed) const {
    if (std::string const fault = faultOf(agreed, agreed.asked); !fault.empty())
        throw HostError(
            fmt::format("{}: the pre-render answered {}", m_impl->module.file().string(), fault));
    PF_LRect const& r = agreed.resultRect;
    World world(worldSpec(r.right - r.left, r.bottom - r.top, agreed.depth),
                PixelMemory::Start::kAnything);
    world.setOrigin(r.left, r.top);
    return world;
}

CommandResult Host::smartRender(World* layer, World& output, PreRenderResult const& agreed,
                                FrameRequest const& frame) {
    require(output.record(), "a render needs an output image");
    PF_LRect const& rect = agreed.resultRect;
    require(output.depth() == agreed.depth && (!layer || layer->depth() == agreed.depth),
            "input and output of a render differ in depth from the pre-render's");
    require(output.width() == rect.right - rect.left && output.height() == rect.bottom - rect.top,
            "the output of a render has another size than the pre-render agreed on");
    require(frame.downsample.smaller() >= 1, "the downsample factor of a render is below 1");
    if (layer) m_impl->requireOwnLayout(*layer);
    m_impl->requireOwnLayout(output);
    PF_SmartRenderInput input{};
    input.output_request = requestOf(agreed.asked, frame);
    input.bitdepth = bitDepth(agreed.depth);
    input.pre_render_data = agreed.data.get();
    PF_SmartRenderCallbacks callbacks = smartRenderCallbacks();
    PF_SmartRenderExtra extra = {&input, &callbacks};
    SmartScene smart;
    smart.layer = layer;
    smart.output = &output;
    smart.agreed = agreed.agreed;

    std::optional<LentWorld> lentLayer;
    if (layer) lentLayer.emplace(m_impl->worlds, *layer);
    LentWorld const lentOutput(m_impl->worlds, output);
    return m_impl->run(PF_Cmd_SMART_RENDER, sceneOf(layer, frame, smart, &extra), false);
}

}  // namespace zelk

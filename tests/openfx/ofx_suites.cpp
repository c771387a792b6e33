// The suites of the tests' host, but for the properties': functions behind one fault point.
//
// A function that gives something back to the host (an image, an open edit) does so even when a
// fault makes it answer an error: what the plug-in gave back is no leak of its own. Functions that
// the plug-in has no use for are not there: a call of one is reported.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <type_traits>

#include "tests/openfx/ofx_host.h"

namespace zelk_ofx {
namespace {

template <class... Arguments>
OfxStatus spare(Arguments...) {
    currentHost().violate("a function was called that this host has not");
    return kOfxStatErrUnsupported;
}
OfxStatus spareDerivative(OfxParamHandle, OfxTime, ...) { return spare(); }
OfxStatus spareIntegral(OfxParamHandle, OfxTime, OfxTime, ...) { return spare(); }

// Reports a call that its action or handle doesn't allow.
bool allow(bool allowed, std::string const& call) {
    return allowed || currentHost().violate(call + " in " + actionOfThread().name);
}
template <class H>
bool valid(H const* handle) {
    return handle && handle->magic == H::kMagic;
}
// A call's frame: the fault, the handle, then the work; work without an answer is OK.
template <class H, class W>
OfxStatus serve(char const* function, H const* handle, W work, char const* name = "") {
    if (OfxStatus const fault = currentHost().enter(function, name)) return fault;
    if (!allow(valid(handle), std::string(function) + " of a bad handle"))
        return kOfxStatErrBadHandle;
    if constexpr (!std::is_void_v<decltype(work())>) return work();
    if constexpr (std::is_void_v<decltype(work())>) work();
    return kOfxStatOK;
}

using Names = std::set<std::string_view>;
bool inAction(Names const& names) { return names.count(actionOfThread().name) > 0; }
Names const kDescribing = {kOfxActionDescribe, kOfxImageEffectActionDescribeInContext};
Names const kRendering = {kOfxImageEffectActionRender, kOfxImageEffectActionIsIdentity,
                          kOfxImageEffectActionGetFramesNeeded,
                          kOfxImageEffectActionGetRegionOfDefinition,
                          kOfxImageEffectActionGetRegionsOfInterest};
Names const kSetting = {kOfxActionCreateInstance,     kOfxActionInstanceChanged,
                        kOfxActionEndInstanceChanged, kOfxInteractActionPenDown,
                        kOfxInteractActionPenMotion,  kOfxInteractActionPenUp,
                        kOfxInteractActionKeyDown,    kOfxInteractActionLoseFocus};

// Of an effect, a clip, a parameter or an overlay.
template <class H>
OfxStatus getPropertySet(H* handle, OfxPropertySetHandle* set) {
    return serve("getPropertySet", handle, [&] { *set = &handle->props; });
}
OfxStatus getParamSet(OfxImageEffectHandle effect, OfxParamSetHandle* set) {
    return serve("getParamSet", effect, [&] { *set = &effect->params; });
}
OfxStatus clipDefine(OfxImageEffectHandle effect, char const* name, OfxPropertySetHandle* set) {
    return serve("clipDefine", effect, [&] {
        allow(inAction({kOfxImageEffectActionDescribeInContext}) && !effect->clip(name),
              "clipDefine");
        OfxImageClipStruct clip{.name = name, .props = currentHost().set("clip")};
        clip.props.put(kOfxPropName, name).put(kOfxPropLabel, name);
        effect->clips.push_back(std::make_unique<OfxImageClipStruct>(clip));
        *set = &effect->clips.back()->props;
    });
}
OfxStatus clipGetHandle(OfxImageEffectHandle effect, char const* name, OfxImageClipHandle* clip,
                        OfxPropertySetHandle*) {
    return serve("clipGetHandle", effect, [&] {
        *clip = effect->clip(name);
        return allow(effect->isInstance && *clip, "clipGetHandle") ? kOfxStatOK
                                                                   : kOfxStatErrBadHandle;
    });
}
OfxRectI pixels(OfxRectD r, OfxPointD scale) {
    auto const down = [](double v) { return static_cast<int>(std::floor(v)); };
    return {down(r.x1 * scale.x), down(r.y1 * scale.y), -down(-r.x2 * scale.x),
            -down(-r.y2 * scale.y)};
}
OfxStatus clipGetImage(OfxImageClipHandle clip, OfxTime, OfxRectD const*,
                       OfxPropertySetHandle* image) {
    return serve("clipGetImage", clip, [&] {
        Action& action = actionOfThread();
        if (!allow(action.render, "clipGetImage")) return kOfxStatFailed;
        OfxPointD const scale = action.render->scale;
        bool const output = clip->name == "Output";
        if (!output && !clip->connected) return kOfxStatFailed;
        Picture const picture = output ? action.render->output : clip->input.picture;
        auto& set = *action.images.emplace_back(std::make_unique<OfxPropertySetStruct>("image"));
        set.put(kOfxImagePropData, picture.data).put(kOfxImagePropRowBytes, picture.rowBytes);
        set.put(kOfxImagePropBounds, picture.bounds);
        set.put(kOfxImagePropRegionOfDefinition,
                output ? picture.bounds
                       : pixels(clip->input.region, {scale.x / picture.aspect, scale.y}));
        set.put(kOfxImagePropPixelAspectRatio, picture.aspect);
        set.put(kOfxImageEffectPropPixelDepth, picture.depth);
        set.put(kOfxImageEffectPropComponents, picture.components);
        set.put(kOfxImageEffectPropPreMultiplication,
                clip->props.get<std::string>(kOfxImageEffectPropPreMultiplication));
        set.put(kOfxImageEffectPropRenderScale, scale);
        *image = &set;
        return kOfxStatOK;
    });
}
OfxStatus clipReleaseImage(OfxPropertySetHandle image) {
    OfxStatus const fault = currentHost().enter("clipReleaseImage");
    allow(valid(image) && !image->released, "clipReleaseImage of no image");
    image->released = true;
    return fault;
}
OfxStatus clipGetRegionOfDefinition(OfxImageClipHandle clip, OfxTime, OfxRectD* region) {
    return serve("clipGetRegionOfDefinition", clip, [&] {
        *region = clip->input.region;
        return clip->connected ? kOfxStatOK : kOfxStatFailed;
    });
}
int abortRender(OfxImageEffectHandle) { return currentHost().askAbort(); }

OfxStatus paramDefine(OfxParamSetHandle set, char const* type, char const* name,
                      OfxPropertySetHandle* props) {
    auto const define = [&] {
        allow(inAction(kDescribing) && !set->find(name), "paramDefine of " + std::string(name));
        OfxParamStruct p{.name = name, .type = type, .props = currentHost().set(type)};
        p.props.put(kOfxParamPropType, type);
        for (char const* text : {kOfxPropName, kOfxPropLabel, kOfxParamPropScriptName})
            p.props.put(text, name);
        auto const preset = p.props.properties.find(kOfxParamPropDefault);
        if (preset != p.props.properties.end()) {
            p.kind = "PSDI"[preset->second.values.index()];
            p.dimensions = preset->second.dimension;
        }
        set->list.push_back(std::make_unique<OfxParamStruct>(std::move(p)));
        *props = &set->list.back()->props;
    };
    return serve("paramDefine", set, define, name);
}
OfxStatus paramGetHandle(OfxParamSetHandle set, char const* name, OfxParamHandle* param,
                         OfxPropertySetHandle*) {
    auto const get = [&] {
        *param = set->find(name);
        bool const found = allow(set->effect->isInstance && *param, "paramGetHandle");
        return found ? kOfxStatOK : kOfxStatErrUnknown;
    };
    return serve("paramGetHandle", set, get, name);
}
OfxStatus paramSetGetPropertySet(OfxParamSetHandle set, OfxPropertySetHandle* props) {
    return serve("paramSetGetPropertySet", set, [&] { *props = &set->effect->props; });
}

OfxStatus give(char const* function, OfxParamHandle param, double const* time, va_list to) {
    auto const work = [&] {
        allow(param->kind && (time || !inAction(kRendering)), function);
        Value const value = param->at(time ? *time : param->effect->now);
        for (int i = 0; i < param->dimensions; ++i) {
            if (param->kind == 'S') *va_arg(to, char**) = lend(value.text);
            if (param->kind == 'D') *va_arg(to, double*) = value.number[i];
            if (param->kind == 'I') *va_arg(to, int*) = static_cast<int>(value.number[i]);
        }
    };
    return serve(function, param, work, param->name.c_str());
}
// A change by the plug-in tells it of the change, but while it is being created.
template <class W>
OfxStatus change(char const* function, OfxParamHandle param, W work) {
    auto const told = [&] {
        if (!allow(inAction(kSetting) && param->kind, function)) return kOfxStatFailed;
        work();
        if (!inAction({kOfxActionCreateInstance}))
            sendChange(*param->effect, "OfxTypeParameter", param->name, kOfxChangePluginEdited);
        return kOfxStatOK;
    };
    return serve(function, param, told, param->name.c_str());
}
OfxStatus take(char const* function, OfxParamHandle param, double const* time, va_list from) {
    return change(function, param, [&] {
        Value value;
        for (int i = 0; i < param->dimensions; ++i) {
            if (param->kind == 'S') value.text = va_arg(from, char const*);
            if (param->kind == 'D') value.number[i] = va_arg(from, double);
            if (param->kind == 'I') value.number[i] = va_arg(from, int);
        }
        if (time) allow(param->props.get<int>(kOfxParamPropAnimates), "a key of " + param->name);
        auto& [constant, keys] = param->value;
        (time ? keys[*time] : keys.empty() ? constant : keys[param->effect->now]) = value;
    });
}
#define GIVE_OR_TAKE(function, work, last, time)                \
    va_list list;                                               \
    va_start(list, last);                                       \
    OfxStatus const status = work(function, param, time, list); \
    va_end(list);                                               \
    return status
OfxStatus paramGetValue(OfxParamHandle param, ...) {
    GIVE_OR_TAKE("paramGetValue", give, param, nullptr);
}
OfxStatus paramGetValueAtTime(OfxParamHandle param, OfxTime time, ...) {
    GIVE_OR_TAKE("paramGetValueAtTime", give, time, &time);
}
OfxStatus paramSetValue(OfxParamHandle param, ...) {
    GIVE_OR_TAKE("paramSetValue", take, param, nullptr);
}
OfxStatus paramSetValueAtTime(OfxParamHandle param, OfxTime time, ...) {
    GIVE_OR_TAKE("paramSetValueAtTime", take, time, &time);
}
OfxStatus paramGetNumKeys(OfxParamHandle param, unsigned* count) {
    return serve("paramGetNumKeys", param,
                 [&] { *count = static_cast<unsigned>(param->value.keys.size()); });
}
OfxStatus paramDeleteAllKeys(OfxParamHandle param) {
    return change("paramDeleteAllKeys", param, [&] { param->value.keys.clear(); });
}
OfxStatus paramEditBegin(OfxParamSetHandle set, char const*) {
    return serve("paramEditBegin", set, [&] {
        allow(inAction(kSetting), "paramEditBegin");
        ++set->effect->openEdits;
    });
}
OfxStatus paramEditEnd(OfxParamSetHandle set) {
    OfxStatus const fault = currentHost().enter("paramEditEnd");
    allow(valid(set) && set->effect->openEdits-- > 0, "paramEditEnd without a begin");
    return fault;
}

OfxStatus multiThreadNumCPUs(unsigned* count) {
    *count = 2;
    return currentHost().enter("multiThreadNumCPUs");
}
int multiThreadIsSpawnedThread() { return 0; }

template <bool kStands>
OfxStatus say(void*, char const* type, char const*, char const* format, ...) {
    Host& host = currentHost();
    if (OfxStatus const fault = host.enter(kStands ? "setPersistentMessage" : "message"))
        return fault;
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    std::lock_guard const lock(host.mutex());
    host.messages.push_back({type, text});
    return kOfxStatOK;
}
OfxStatus clearPersistentMessage(void*) { return currentHost().enter("clearPersistentMessage"); }

OfxStatus interactRedraw(OfxInteractHandle interact) {
    return serve("interactRedraw", interact, [&] { ++interact->redraws; });
}

template <class W>
OfxStatus paint(char const* function, OfxDrawContextHandle context, bool valueFits, W work) {
    return serve(function, context, [&] {
        if (!allow(inAction({kOfxInteractActionDraw}), function)) return kOfxStatFailed;
        if (!allow(valueFits, std::string(function) + " of a wrong value")) return kOfxStatErrValue;
        work();
        return kOfxStatOK;
    });
}
OfxStatus setColour(OfxDrawContextHandle context, OfxRGBAColourF const* colour) {
    return paint("setColour", context, colour, [&] { context->pen.colour = *colour; });
}
OfxStatus setLineWidth(OfxDrawContextHandle context, float width) {
    return paint("setLineWidth", context, width >= 0, [&] { context->pen.width = width; });
}
OfxStatus draw(OfxDrawContextHandle context, OfxDrawPrimitive primitive, OfxPointD const* points,
               int count) {
    bool const odd = primitive == kOfxDrawPrimitiveLines && count % 2;
    return paint("draw", context, points && count > 1 && !odd, [&] {
        context->pen.primitive = primitive;
        context->pen.points.assign(points, points + count);
        context->ops->push_back(context->pen);
    });
}
OfxStatus drawText(OfxDrawContextHandle context, char const* text, OfxPointD const* at, int) {
    return paint("drawText", context, text && at, [&] {
        context->ops->push_back(context->pen);
        context->ops->back().points.assign(1, *at);
        context->ops->back().text = text;
        context->ops->back().primitive = -1;
    });
}

// clang-format off
constexpr OfxImageEffectSuiteV1 kEffectSuite = {
    getPropertySet, getParamSet, clipDefine, clipGetHandle, getPropertySet, clipGetImage,
    clipReleaseImage, clipGetRegionOfDefinition, abortRender, spare, spare, spare, spare};
constexpr OfxParameterSuiteV1 kParameterSuite = {
    paramDefine, paramGetHandle, paramSetGetPropertySet, getPropertySet, paramGetValue,
    paramGetValueAtTime, spareDerivative, spareIntegral, paramSetValue, paramSetValueAtTime,
    paramGetNumKeys, spare, spare, spare, paramDeleteAllKeys, spare, paramEditBegin, paramEditEnd};
// clang-format on
constexpr OfxMemorySuiteV1 kMemorySuite = {spare, spare};
constexpr OfxMultiThreadSuiteV1 kThreadSuite = {
    spare, multiThreadNumCPUs, spare, multiThreadIsSpawnedThread, spare, spare, spare, spare,
    spare};
constexpr OfxMessageSuiteV2 kMessageSuite = {say<false>, say<true>, clearPersistentMessage};
constexpr OfxInteractSuiteV1 kInteractSuite = {spare, interactRedraw, getPropertySet};
constexpr OfxDrawSuiteV1 kDrawSuite = {spare, setColour, setLineWidth, spare, draw, drawText};

}  // namespace

void const* Host::suite(std::string const& name) const {
    // The second version of the messages begins like the first.
    std::map<std::string, void const*> const all = {
        {"OfxPropertySuite 1", &kPropertySuite},
        {"OfxImageEffectSuite 1", &kEffectSuite},
        {"OfxParameterSuite 1", &kParameterSuite},
        {"OfxMemorySuite 1", &kMemorySuite},
        {"OfxMultiThreadSuite 1", &kThreadSuite},
        {"OfxMessageSuite 1", &kMessageSuite},
        {"OfxMessageSuite 2", m_choice.optional ? &kMessageSuite : nullptr},
        {"OfxInteractSuite 1", &kInteractSuite},
        {"OfxDrawSuite 1", m_choice.drawing ? &kDrawSuite : nullptr}};
    auto const found = all.find(name);
    return found == all.end() || m_choice.refusedSuite == name ? nullptr : found->second;
}

}  // namespace zelk_ofx

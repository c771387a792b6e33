// The suites of the tests' host, but for the properties': functions behind one fault point.
//
// A function that gives something back to the host (an image, memory, a mutex, an open edit) does
// so even when a fault makes it answer an error: what the plug-in gave back is no leak of its own.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <thread>
#include <type_traits>

#include "tests/openfx/ofx_host.h"

struct OfxImageMemoryStruct {
    void* block;
};
struct OfxMutex {
    std::mutex mutex;
};

namespace zelk_ofx {
namespace {

template <class H>
bool valid(H const* handle) {
    return handle && handle->magic == H::kMagic;
}

// A call's frame: the fault, the handle, then the work; work without an answer is OK.
template <class H, class W>
OfxStatus serve(char const* function, H const* handle, W work) {
    if (OfxStatus const fault = currentHost().enter(function)) return fault;
    if (!valid(handle)) return kOfxStatErrBadHandle;
    if constexpr (!std::is_void_v<decltype(work())>) return work();
    if constexpr (std::is_void_v<decltype(work())>) work();
    return kOfxStatOK;
}
// The same for what is given back: `work` tells whether the handle was one.
template <class W>
OfxStatus takeBack(char const* function, W work) {
    OfxStatus const fault = currentHost().enter(function);
    return work() ? fault : kOfxStatErrBadHandle;
}

using Names = std::set<std::string_view>;
bool inAction(Names const& names) {
    auto const& actions = actionsOfThread();
    return !actions.empty() && names.count(actions.back().name) > 0;
}
// Reports a call that its action or handle doesn't allow.
bool allow(bool allowed, std::string const& call) {
    auto const& actions = actionsOfThread();
    return allowed || currentHost().violate(call + " in " +
                                            (actions.empty() ? "no action" : actions.back().name));
}
Names const kDescribing = {"OfxActionDescribe", "OfxImageEffectActionDescribeInContext"};
Names const kRendering = {"OfxImageEffectActionRender",
                          "OfxImageEffectActionIsIdentity",
                          "OfxImageEffectActionBeginSequenceRender",
                          "OfxImageEffectActionEndSequenceRender",
                          "OfxImageEffectActionGetRegionOfDefinition",
                          "OfxImageEffectActionGetRegionsOfInterest"};
Names const kSetting = {
    "OfxActionCreateInstance",     "OfxActionBeginInstanceChanged", "OfxActionInstanceChanged",
    "OfxActionEndInstanceChanged", "OfxActionSyncPrivateData",      "OfxInteractActionPenDown",
    "OfxInteractActionPenMotion",  "OfxInteractActionPenUp",        "OfxInteractActionKeyDown",
    "OfxInteractActionKeyUp",      "OfxInteractActionKeyRepeat",    "OfxInteractActionLoseFocus"};

// Image effect suite.

OfxStatus getPropertySet(OfxImageEffectHandle effect, OfxPropertySetHandle* set) {
    return serve("getPropertySet", effect, [&] { *set = &effect->props; });
}
OfxStatus getParamSet(OfxImageEffectHandle effect, OfxParamSetHandle* set) {
    return serve("getParamSet", effect, [&] { *set = &effect->params; });
}
OfxStatus clipDefine(OfxImageEffectHandle effect, char const* name, OfxPropertySetHandle* set) {
    return serve("clipDefine", effect, [&] {
        allow(inAction({"OfxImageEffectActionDescribeInContext"}), "clipDefine");
        if (!allow(!effect->clip(name), "clipDefine of a name twice")) return kOfxStatErrExists;
        auto clip = std::make_unique<OfxImageClipStruct>(
            OfxImageClipStruct{.name = name, .props = currentHost().set("clip")});
        for (char const* label :
             {"OfxPropName", "OfxPropLabel", "OfxPropShortLabel", "OfxPropLongLabel"})
            if (clip->props.has(label)) clip->props.put(label, name);
        if (set) *set = &clip->props;
        effect->clips.push_back(std::move(clip));
        return kOfxStatOK;
    });
}
OfxStatus clipGetHandle(OfxImageEffectHandle effect, char const* name, OfxImageClipHandle* clip,
                        OfxPropertySetHandle* set) {
    return serve("clipGetHandle", effect, [&] {
        allow(effect->isInstance, "clipGetHandle on a descriptor");
        OfxImageClipStruct* const found = effect->clip(name);
        if (!found) return kOfxStatErrBadHandle;
        *clip = found;
        if (set) *set = &found->props;
        return kOfxStatOK;
    });
}
OfxStatus clipGetPropertySet(OfxImageClipHandle clip, OfxPropertySetHandle* set) {
    return serve("clipGetPropertySet", clip, [&] { *set = &clip->props; });
}
OfxRectI pixels(OfxRectD r, OfxPointD scale, double aspect) {
    auto const cut = [](double v) { return static_cast<int>(std::clamp(v, -1e9, 1e9)); };
    return {cut(std::floor(r.x1 * scale.x / aspect)), cut(std::floor(r.y1 * scale.y)),
            cut(std::ceil(r.x2 * scale.x / aspect)), cut(std::ceil(r.y2 * scale.y))};
}
OfxStatus clipGetImage(OfxImageClipHandle clip, OfxTime time, OfxRectD const*,
                       OfxPropertySetHandle* image) {
    return serve("clipGetImage", clip, [&] {
        bool const byUser = inAction({"OfxActionInstanceChanged", "OfxActionEndInstanceChanged"}) &&
                            actionsOfThread().back().reason == kOfxChangeUserEdited;
        if (!allow(byUser || inAction({"OfxImageEffectActionRender"}), "clipGetImage"))
            return kOfxStatFailed;
        Action& action = actionsOfThread().back();
        OfxPointD const scale = action.render ? action.render->scale : OfxPointD{1, 1};
        bool const output = clip->name == "Output";
        Picture picture;
        if (output && action.render)
            picture = action.render->output;
        else if (clip->connected && clip->input.picture)
            picture = clip->input.picture(time, scale);
        if (!picture.data) return kOfxStatFailed;
        auto& set = *action.images.emplace_back(std::make_unique<OfxPropertySetStruct>("image"));
        set.put("OfxImagePropData", picture.data);
        set.put("OfxImagePropBounds", picture.bounds);
        set.put("OfxImagePropRegionOfDefinition",
                output ? picture.bounds : pixels(clip->input.region, scale, clip->input.aspect));
        set.put("OfxImagePropRowBytes", picture.rowBytes);
        set.put("OfxImageEffectPropPixelDepth", picture.depth);
        set.put("OfxImageEffectPropComponents", picture.components);
        for (char const* same :
             {"OfxImageEffectPropPreMultiplication", "OfxImagePropPixelAspectRatio"})
            set.properties[same] = clip->props.properties.at(same);
        set.put("OfxImageEffectPropRenderScale", scale);
        set.put("OfxImagePropUniqueIdentifier",
                clip->name + std::to_string(time) + std::to_string(scale.x));
        *image = &set;
        return kOfxStatOK;
    });
}
OfxStatus clipReleaseImage(OfxPropertySetHandle image) {
    return takeBack("clipReleaseImage", [&] {
        return valid(image) && allow(!image->released, "clipReleaseImage twice") &&
               (image->released = true);
    });
}
OfxStatus clipGetRegionOfDefinition(OfxImageClipHandle clip, OfxTime, OfxRectD* region) {
    return serve("clipGetRegionOfDefinition", clip, [&] {
        *region = clip->input.region;
        return clip->connected ? kOfxStatOK : kOfxStatFailed;
    });
}
int abortRender(OfxImageEffectHandle) { return currentHost().askAbort(); }

// What has no handle of its own with a magic number is looked up among the blocks.
template <class W>
OfxStatus serveBlock(char const* function, void* block, char const* kind, W work) {
    if (OfxStatus const fault = currentHost().enter(function)) return fault;
    if (!currentHost().owns(block, kind)) return kOfxStatErrBadHandle;
    return work();
}
OfxStatus imageMemoryAlloc(OfxImageEffectHandle, std::size_t bytes, OfxImageMemoryHandle* memory) {
    Host& host = currentHost();
    *memory = nullptr;
    if (OfxStatus const fault = host.enter("imageMemoryAlloc")) return fault;
    *memory = new (host.allocate(sizeof **memory, "image memory"))
        OfxImageMemoryStruct{host.allocate(bytes, "pixels")};
    return kOfxStatOK;
}
OfxStatus imageMemoryFree(OfxImageMemoryHandle memory) {
    return takeBack("imageMemoryFree", [&] {
        Host& host = currentHost();
        return host.owns(memory, "image memory") && host.release(memory->block, "pixels") &&
               host.release(memory, "image memory");
    });
}
OfxStatus imageMemoryLock(OfxImageMemoryHandle memory, void** address) {
    *address = nullptr;
    return serveBlock("imageMemoryLock", memory, "image memory",
                      [&] { return *address = memory->block, kOfxStatOK; });
}
OfxStatus imageMemoryUnlock(OfxImageMemoryHandle memory) {
    return serveBlock("imageMemoryUnlock", memory, "image memory", [] { return kOfxStatOK; });
}

// Parameter suite.

OfxStatus paramDefine(OfxParamSetHandle set, char const* type, char const* name,
                      OfxPropertySetHandle* props) {
    return serve("paramDefine", set, [&] {
        allow(inAction(kDescribing), "paramDefine");
        if (!allow(!set->find(name), "paramDefine of a name twice")) return kOfxStatErrExists;
        if (!isTable(type)) return kOfxStatErrUnsupported;
        auto p = std::make_unique<OfxParamStruct>(
            OfxParamStruct{.name = name, .type = type, .props = currentHost().set(type)});
        p->props.put("OfxParamPropType", type);
        for (char const* text : {"OfxPropName", "OfxPropLabel", "OfxPropShortLabel",
                                 "OfxPropLongLabel", "OfxParamPropScriptName"})
            p->props.put(text, name);
        auto const preset = p->props.properties.find("OfxParamPropDefault");
        if (preset != p->props.properties.end()) {
            p->kind = "PSDI"[preset->second.values.index()];
            p->dimensions = preset->second.dimension;
        }
        if (props) *props = &p->props;
        set->list.push_back(std::move(p));
        return kOfxStatOK;
    });
}
OfxStatus paramGetHandle(OfxParamSetHandle set, char const* name, OfxParamHandle* param,
                         OfxPropertySetHandle* props) {
    return serve("paramGetHandle", set, [&] {
        allow(set->effect->isInstance, "paramGetHandle on a descriptor");
        OfxParamStruct* const found = set->find(name);
        if (!allow(found, "paramGetHandle of " + std::string(name))) return kOfxStatErrUnknown;
        *param = found;
        if (props) *props = &found->props;
        return kOfxStatOK;
    });
}
OfxStatus paramSetGetPropertySet(OfxParamSetHandle set, OfxPropertySetHandle* props) {
    return serve("paramSetGetPropertySet", set, [&] { *props = &set->effect->props; });
}
OfxStatus paramGetPropertySet(OfxParamHandle param, OfxPropertySetHandle* props) {
    return serve("paramGetPropertySet", param, [&] { *props = &param->props; });
}

OfxStatus give(char const* function, OfxParamHandle param, double const* time, va_list to) {
    return serve(function, param, [&] {
        allow(time || !inAction(kRendering), function);
        Value const value = param->at(time ? *time : param->effect->now);
        for (int i = 0; i < param->dimensions; ++i) {
            if (param->kind == 'S') *va_arg(to, char**) = propertyWatch.lend(value.text);
            if (param->kind == 'D') *va_arg(to, double*) = value.number[i];
            if (param->kind == 'I') *va_arg(to, int*) = static_cast<int>(value.number[i]);
        }
        return param->kind ? kOfxStatOK : kOfxStatErrBadHandle;
    });
}
// A change by the plug-in tells it of the change, but while it is being created.
template <class W>
OfxStatus change(char const* function, OfxParamHandle param, W work) {
    return serve(function, param, [&] {
        if (!allow(inAction(kSetting) && param->kind, function)) return kOfxStatFailed;
        work();
        if (!inAction({"OfxActionCreateInstance"}))
            sendChange(*param->effect, "OfxTypeParameter", param->name, kOfxChangePluginEdited);
        return kOfxStatOK;
    });
}
OfxStatus take(char const* function, OfxParamHandle param, double const* time, va_list from) {
    return change(function, param, [&] {
        Value value;
        for (int i = 0; i < param->dimensions; ++i) {
            if (param->kind == 'S') value.text = va_arg(from, char const*);
            if (param->kind == 'D') value.number[i] = va_arg(from, double);
            if (param->kind == 'I') value.number[i] = va_arg(from, int);
        }
        if (time) allow(param->props.get<int>("OfxParamPropAnimates"), "a key of " + param->name);
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
OfxStatus paramGetDerivative(OfxParamHandle, OfxTime, ...) { return kOfxStatErrUnsupported; }
OfxStatus paramGetIntegral(OfxParamHandle, OfxTime, OfxTime, ...) { return kOfxStatErrUnsupported; }
OfxStatus paramCopy(OfxParamHandle, OfxParamHandle, OfxTime, OfxRangeD const*) {
    return kOfxStatErrUnsupported;
}
OfxStatus paramGetNumKeys(OfxParamHandle param, unsigned* count) {
    return serve("paramGetNumKeys", param,
                 [&] { *count = static_cast<unsigned>(param->value.keys.size()); });
}
OfxStatus paramGetKeyTime(OfxParamHandle param, unsigned nth, OfxTime* time) {
    return serve("paramGetKeyTime", param, [&] {
        if (nth >= param->value.keys.size()) return kOfxStatErrBadIndex;
        *time = std::next(param->value.keys.begin(), nth)->first;
        return kOfxStatOK;
    });
}
OfxStatus paramGetKeyIndex(OfxParamHandle param, OfxTime time, int direction, int* index) {
    return serve("paramGetKeyIndex", param, [&] {
        auto const& keys = param->value.keys;
        auto at = direction > 0 ? keys.upper_bound(time) : keys.lower_bound(time);
        if (direction < 0) at = at == keys.begin() ? keys.end() : std::prev(at);
        if (direction == 0) at = keys.find(time);
        *index = at == keys.end() ? -1 : static_cast<int>(std::distance(keys.begin(), at));
        return at == keys.end() ? kOfxStatFailed : kOfxStatOK;
    });
}
OfxStatus paramDeleteKey(OfxParamHandle param, OfxTime time) {
    if (valid(param) && !param->value.keys.count(time)) return kOfxStatErrBadIndex;
    return change("paramDeleteKey", param, [&] { param->value.keys.erase(time); });
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
    return takeBack("paramEditEnd", [&] {
        return valid(set) && allow(set->effect->openEdits-- > 0, "paramEditEnd without a begin");
    });
}

// Memory and threads.

OfxStatus memoryAlloc(void*, std::size_t bytes, void** data) {
    if (OfxStatus const fault = currentHost().enter("memoryAlloc")) return fault;
    *data = currentHost().allocate(bytes, "memory");
    return kOfxStatOK;
}
OfxStatus memoryFree(void* data) {
    return takeBack("memoryFree", [&] { return currentHost().release(data, "memory"); });
}

thread_local int spawnedIndex = -1;  // within a function of multiThread

OfxStatus multiThread(OfxThreadFunctionV1* function, unsigned threads, void* argument) {
    if (OfxStatus const fault = currentHost().enter("multiThread")) return fault;
    if (spawnedIndex >= 0) return kOfxStatErrExists;
    HostChoice const& choice = currentHost().choice();
    unsigned const n = choice.serialThreads ? 1 : std::max(1U, std::min(threads, choice.threads));
    auto const run = [=](unsigned index) {
        spawnedIndex = static_cast<int>(index);
        function(index, n, argument);
        spawnedIndex = -1;
    };
    std::vector<std::jthread> others;
    for (unsigned i = 1; i < n; ++i) others.emplace_back(run, i);
    run(0);
    return kOfxStatOK;
}
OfxStatus multiThreadNumCPUs(unsigned* count) {
    *count = currentHost().choice().threads;
    return currentHost().enter("multiThreadNumCPUs");
}
OfxStatus multiThreadIndex(unsigned* index) {
    *index = static_cast<unsigned>(std::max(spawnedIndex, 0));
    return currentHost().enter("multiThreadIndex");
}
int multiThreadIsSpawnedThread() { return spawnedIndex >= 0; }
OfxStatus mutexCreate(OfxMutexHandle* mutex, int lockCount) {
    if (OfxStatus const fault = currentHost().enter("mutexCreate")) return fault;
    *mutex = new (currentHost().allocate(sizeof **mutex, "mutex")) OfxMutex;
    if (lockCount > 0) (*mutex)->mutex.lock();
    return kOfxStatOK;
}
OfxStatus mutexDestroy(OfxMutexHandle mutex) {
    return takeBack("mutexDestroy", [&] { return currentHost().release(mutex, "mutex"); });
}
OfxStatus mutexLock(OfxMutexHandle mutex) {
    return serveBlock("mutexLock", mutex, "mutex", [&] { return mutex->mutex.lock(), kOfxStatOK; });
}
OfxStatus mutexUnLock(OfxMutexHandle mutex) {
    return takeBack("mutexUnLock", [&] {
        bool const known = currentHost().owns(mutex, "mutex");
        if (known) mutex->mutex.unlock();
        return known;
    });
}
OfxStatus mutexTryLock(OfxMutexHandle mutex) {
    return serveBlock("mutexTryLock", mutex, "mutex",
                      [&] { return mutex->mutex.try_lock() ? kOfxStatOK : kOfxStatFailed; });
}

// Messages.

OfxStatus say(char const* type, bool standing, char const* format, va_list arguments) {
    Host& host = currentHost();
    OfxStatus const fault = host.enter(standing ? "setPersistentMessage" : "message");
    if (fault != kOfxStatOK) return fault;
    char text[2048];
    std::vsnprintf(text, sizeof text, format, arguments);
    std::lock_guard const lock(host.mutex());
    host.messages.push_back({type, text, standing});
    if (standing) host.persistent.push_back({type, text, standing});
    return kOfxStatOK;
}
OfxStatus message(void*, char const* type, char const*, char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    OfxStatus const status = say(type, false, format, arguments);
    va_end(arguments);
    return status;
}
OfxStatus setPersistentMessage(void* effect, char const* type, char const*, char const* format,
                               ...) {
    if (!valid(static_cast<OfxImageEffectStruct*>(effect))) return kOfxStatErrBadHandle;
    va_list arguments;
    va_start(arguments, format);
    OfxStatus const status = say(type, true, format, arguments);
    va_end(arguments);
    return status;
}
OfxStatus clearPersistentMessage(void* effect) {
    return serve("clearPersistentMessage", static_cast<OfxImageEffectStruct*>(effect), [] {
        std::lock_guard const lock(currentHost().mutex());
        currentHost().persistent.clear();
    });
}

// Interacts and drawing.

OfxStatus interactSwapBuffers(OfxInteractHandle) {
    return currentHost().violate("interactSwapBuffers of an overlay") ? 0 : kOfxStatFailed;
}
OfxStatus interactRedraw(OfxInteractHandle interact) {
    return serve("interactRedraw", interact, [&] { ++interact->redraws; });
}
OfxStatus interactGetPropertySet(OfxInteractHandle interact, OfxPropertySetHandle* set) {
    return serve("interactGetPropertySet", interact, [&] { *set = &interact->props; });
}

template <class W>
OfxStatus paint(char const* function, OfxDrawContextHandle context, bool valueFits, W work) {
    return serve(function, context, [&] {
        if (!allow(inAction({"OfxInteractActionDraw"}), function)) return kOfxStatFailed;
        if (!allow(valueFits, std::string(function) + " of a wrong value")) return kOfxStatErrValue;
        work();
        return kOfxStatOK;
    });
}
OfxStatus getColour(OfxDrawContextHandle context, OfxStandardColour which, OfxRGBAColourF* colour) {
    return paint("getColour", context, which >= 0 && which <= kOfxStandardColourOverlayText, [&] {
        float const red = which == kOfxStandardColourOverlayActive ? 0.F : 0.8F;
        *colour = {red, 0.8F, red, 1};
    });
}
OfxStatus setColour(OfxDrawContextHandle context, OfxRGBAColourF const* colour) {
    return paint("setColour", context, colour, [&] { context->pen.colour = *colour; });
}
OfxStatus setLineWidth(OfxDrawContextHandle context, float width) {
    return paint("setLineWidth", context, width >= 0, [&] { context->pen.width = width; });
}
OfxStatus setLineStipple(OfxDrawContextHandle context, OfxDrawLineStipplePattern pattern) {
    return paint("setLineStipple", context,
                 pattern >= 0 && pattern <= kOfxDrawLineStipplePatternDotDash,
                 [&] { context->pen.stipple = pattern; });
}
OfxStatus draw(OfxDrawContextHandle context, OfxDrawPrimitive primitive, OfxPointD const* points,
               int count) {
    bool fits = primitive >= 0 && primitive <= kOfxDrawPrimitiveEllipse && count >= 2;
    if (primitive == kOfxDrawPrimitiveLines) fits &= count % 2 == 0;
    if (primitive == kOfxDrawPrimitivePolygon) fits &= count > 2;
    if (primitive == kOfxDrawPrimitiveRectangle || primitive == kOfxDrawPrimitiveEllipse)
        fits &= count == 2;
    return paint("draw", context, fits, [&] {
        DrawOp& op = context->ops->emplace_back(context->pen);
        op.primitive = primitive;
        op.points.assign(points, points + count);
    });
}
OfxStatus drawText(OfxDrawContextHandle context, char const* text, OfxPointD const* at,
                   int alignment) {
    return paint("drawText", context, text && at, [&] {
        DrawOp& op = context->ops->emplace_back(context->pen);
        op.points.push_back(*at);
        op.text = text;
        op.alignment = alignment;
    });
}

constexpr OfxImageEffectSuiteV1 kEffectSuite = {
    getPropertySet,     getParamSet,      clipDefine,       clipGetHandle,
    clipGetPropertySet, clipGetImage,     clipReleaseImage, clipGetRegionOfDefinition,
    abortRender,        imageMemoryAlloc, imageMemoryFree,  imageMemoryLock,
    imageMemoryUnlock};
constexpr OfxParameterSuiteV1 kParameterSuite = {
    paramDefine,      paramGetHandle,      paramSetGetPropertySet, paramGetPropertySet,
    paramGetValue,    paramGetValueAtTime, paramGetDerivative,     paramGetIntegral,
    paramSetValue,    paramSetValueAtTime, paramGetNumKeys,        paramGetKeyTime,
    paramGetKeyIndex, paramDeleteKey,      paramDeleteAllKeys,     paramCopy,
    paramEditBegin,   paramEditEnd};
constexpr OfxMemorySuiteV1 kMemorySuite = {memoryAlloc, memoryFree};
constexpr OfxMultiThreadSuiteV1 kThreadSuite = {
    multiThread, multiThreadNumCPUs, multiThreadIndex, multiThreadIsSpawnedThread,
    mutexCreate, mutexDestroy,       mutexLock,        mutexUnLock,
    mutexTryLock};
constexpr OfxMessageSuiteV2 kMessageSuite = {message, setPersistentMessage, clearPersistentMessage};
constexpr OfxInteractSuiteV1 kInteractSuite = {interactSwapBuffers, interactRedraw,
                                               interactGetPropertySet};
constexpr OfxDrawSuiteV1 kDrawSuite = {getColour,      setColour, setLineWidth,
                                       setLineStipple, draw,      drawText};

}  // namespace

void const* Host::suite(std::string const& name) const {
    if (m_choice.refusedSuites.count(name)) return nullptr;
    if (name == "OfxPropertySuite 1") return &kPropertySuite;
    if (name == "OfxImageEffectSuite 1") return &kEffectSuite;
    if (name == "OfxParameterSuite 1") return &kParameterSuite;
    if (name == "OfxMemorySuite 1") return &kMemorySuite;
    if (name == "OfxMultiThreadSuite 1") return &kThreadSuite;
    // The second version begins like the first.
    if (name == "OfxMessageSuite 1") return &kMessageSuite;
    if (name == "OfxMessageSuite 2" && m_choice.optional) return &kMessageSuite;
    if (name == "OfxInteractSuite 1" && m_choice.overlays) return &kInteractSuite;
    if (name == "OfxDrawSuite 1" && m_choice.drawing) return &kDrawSuite;
    return nullptr;
}

}  // namespace zelk_ofx

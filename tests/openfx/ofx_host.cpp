#include "tests/openfx/ofx_host.h"

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <deque>

namespace zelk_ofx {

namespace {

Host* theHost = nullptr;
thread_local std::deque<Action> actionsOfThread;

// Strings given out on this thread: those of the last call are valid, older ones scribbled over and
// kept for a while, so that who kept a pointer reads rubbish and not freed memory.
thread_local std::deque<std::string> lentStrings, spentStrings;

void scribble() {
    for (std::string& text : lentStrings) {
        std::ranges::fill(text, '#');
        spentStrings.push_back(std::move(text));
    }
    lentStrings.clear();
    while (spentStrings.size() > 256) spentStrings.pop_front();
}

template <class T>
T symbol(void* library, char const* name) {
    return reinterpret_cast<T>(dlsym(library, name));
}

}  // namespace

Host& currentHost() { return *theHost; }
OfxStatus enterCall(char const* function, char const* name) {
    return theHost->enter(function, name);
}
void noteMiss(std::string const& what) {
    std::lock_guard const lock(theHost->mutex());
    theHost->misses.insert(what);
}
char* lend(std::string const& text) { return lentStrings.emplace_back(text).data(); }

Action& actionOfThread() {
    thread_local Action none{"no action"};
    return actionsOfThread.empty() ? none : actionsOfThread.back();
}

std::vector<HostChoice> const& hostChoices() {
    static std::vector<HostChoice> const all = {
        {},
        {.name = "tree_with_draw_suite", .drawing = true},
        {.name = "time_line", .general = false, .multiResolution = false, .tiles = false},
        {.name = "host_of_1_0", .optional = false}};
    return all;
}
HostChoice hostChoice(std::string const& name) {
    for (HostChoice const& choice : hostChoices())
        if (choice.name == name) return choice;
    throw std::out_of_range(name);
}

ClipInput still(Picture const& picture, char const* alpha) {
    OfxRectI const& b = picture.bounds;
    return {picture, {double(b.x1), double(b.y1), double(b.x2), double(b.y2)}, alpha};
}

Host::Host(HostChoice choice, std::string const& binary)
    : m_choice(std::move(choice)),
      m_props("host", m_choice.optional),
      m_library(dlopen(binary.c_str(), RTLD_NOW | RTLD_LOCAL), dlclose) {
    if (theHost) throw std::runtime_error("two hosts at once");
    if (!m_library) throw std::runtime_error(dlerror());
    std::vector<std::string> contexts = {kOfxImageEffectContextFilter};
    if (m_choice.general) contexts.push_back(kOfxImageEffectContextGeneral);
    m_props.put("OfxImageEffectPropSupportedContexts", contexts);
    m_props.put("OfxPropLabel", m_choice.name);
    m_props.put("OfxImageEffectPropSupportsMultiResolution", int{m_choice.multiResolution});
    m_props.put("OfxImageEffectPropSupportsTiles", int{m_choice.tiles});
    if (m_choice.drawing) m_props.put<int>("OfxPropAPIVersion", {{1, 5}});
    m_record.host = &m_props;
    m_record.fetchSuite = [](OfxPropertySetHandle host, char const* name,
                             int version) -> void const* {
        if (!theHost->m_loaded) theHost->violate("fetchSuite before the load action");
        bool const asked = theHost->m_loaded && host == &theHost->m_props && name;
        return asked ? theHost->suite(std::string(name) + " " + std::to_string(version)) : nullptr;
    };

    void* const library = m_library.get();
    auto const count = symbol<int (*)()>(library, "OfxGetNumberOfPlugins");
    auto const get = symbol<OfxPlugin* (*)(int)>(library, "OfxGetPlugin");
    auto const greet = symbol<OfxStatus (*)(OfxHost const*)>(library, "OfxSetHost");
    // Hosts before 1.5 don't greet.
    bool const fits = count && get && greet &&
                      (!m_choice.drawing || greet(&m_record) == kOfxStatOK) && count() == 1 &&
                      !get(1) && !get(-1);
    m_plugin = fits ? get(0) : nullptr;
    if (!m_plugin || m_plugin->pluginApi != std::string(kOfxImageEffectPluginApi) ||
        m_plugin->apiVersion != 1)
        throw std::runtime_error(binary + ": not one plug-in of version 1");
    theHost = this;
    m_plugin->setHost(&m_record);
}

Host::~Host() {
    unload();
    theHost = nullptr;
}

OfxStatus Host::load() {
    m_loaded = true;
    OfxStatus const status = call(entry(), {kOfxActionLoad}, nullptr);
    m_loaded = good(status);  // no unload follows a load that failed
    return status;
}
void Host::unload() {
    if (m_loaded) call(entry(), {kOfxActionUnload}, nullptr);
    m_descriptors.clear();
    m_loaded = false;
}
OfxImageEffectStruct& Host::describing(char const* context, OfxPropertySetStruct const& props) {
    m_descriptors.erase(context);
    OfxImageEffectStruct effect{.context = context, .props = props};
    auto& kept = m_descriptors.emplace(context, std::move(effect)).first->second;
    kept.params.effect = &kept;
    return kept;
}
OfxStatus Host::describe() {
    OfxPropertySetStruct props = set("effect");
    if (!m_choice.drawing) props.properties.erase(kOfxImageEffectPluginPropOverlayInteractV2);
    return call(entry(), {kOfxActionDescribe}, &describing("", props));
}
OfxStatus Host::describeIn(char const* context) {
    auto in = set("in-context").put("OfxImageEffectPropContext", context);
    auto& effect = describing(context, m_descriptors.at("").props);
    return call(entry(), {kOfxImageEffectActionDescribeInContext}, &effect, &in);
}
OfxStatus Host::prepare(char const* context) {
    OfxStatus status = load();
    if (good(status)) status = describe();
    return status == kOfxStatOK ? describeIn(context) : status;
}
OfxImageEffectStruct const& Host::descriptor(char const* context) const {
    return m_descriptors.at(context);
}

std::unique_ptr<Instance> Host::create(char const* context,
                                       std::map<std::string, ClipInput> const& inputs,
                                       Project const& project, SavedParams const& setup) {
    std::unique_ptr<Instance> made(new Instance(*this, descriptor(context), project));
    for (auto& clip : made->effect.clips) {
        // The output is as the source until the preferences say otherwise.
        auto const input = inputs.find(clip->name == "Output" ? "Source" : clip->name);
        made->wire(*clip, input == inputs.end() ? nullptr : &input->second);
    }
    for (auto const& [name, value] : setup)
        if (auto* param = made->effect.params.find(name)) param->value = value;
    made->m_created = good(call(entry(), {kOfxActionCreateInstance}, &made->effect));
    if (!made->m_created || !good(made->preferences())) made.reset();
    return made;
}

std::vector<std::string> Host::descriptionFaults(char const* context) const {
    std::vector<std::string> faults;
    auto const expect = [&](bool holds, std::string const& what) {
        if (!holds) faults.push_back(what);
    };
    OfxImageEffectStruct const& effect = descriptor(context);
    for (char const* name :
         {"OfxPropLabel", "OfxImageEffectPluginPropGrouping", "OfxImageEffectPropSupportedContexts",
          "OfxImageEffectPropSupportedPixelDepths", "OfxImageEffectPluginRenderThreadSafety",
          "OfxImageEffectPluginPropHostFrameThreading"})
        expect(effect.props.properties.at(name).written, std::string(name) + " is not set");
    for (char const* name : {"Output", "Source"})
        expect(effect.clip(name) &&
                   !effect.clip(name)
                        ->props.all<std::string>(kOfxImageEffectPropSupportedComponents)
                        .empty(),
               std::string(name) + " has no components");
    std::set<std::string> groups = {""};
    for (auto const& param : effect.params.list) {
        auto const& props = param->props;
        auto const low = props.numbers(kOfxParamPropMin), high = props.numbers(kOfxParamPropMax);
        for (char const* name :
             {kOfxParamPropDefault, kOfxParamPropDisplayMin, kOfxParamPropDisplayMax})
            for (std::size_t i = 0; i < low.size(); ++i)
                expect(low[i] <= props.numbers(name)[i] && props.numbers(name)[i] <= high[i],
                       param->name + ": " + name + " is out of range");
        expect(groups.count(props.get<std::string>(kOfxParamPropParent)),
               param->name + ": its group is not defined before it");
        if (param->type == kOfxParamTypeGroup) groups.insert(param->name);
        expect(!props.get<std::string>(kOfxPropLabel).empty(), param->name + " has no label");
        if (param->type == kOfxParamTypeChoice)
            expect(props.get<int>(kOfxParamPropDefault) <
                       std::ssize(props.all<std::string>(kOfxParamPropChoiceOption)),
                   param->name + ": the default is no option");
    }
    return faults;
}

void Host::setFault(Fault const& fault) {
    m_fault = fault;
    m_struck.clear();
    m_calls = 0;
}
OfxStatus Host::enter(char const* function, char const* name) {
    scribble();
    if (++m_calls != m_fault.nth) return kOfxStatOK;
    m_struck = std::string(function) + " " + name;
    return m_fault.status;
}
bool Host::violate(std::string what) {
    std::lock_guard const lock(m_mutex);
    violations.push_back(std::move(what));
    return false;
}
void Host::keep(bool kept, std::string const& what) {
    std::lock_guard const lock(m_mutex);
    if (kept) leaks.push_back(what);
}

OfxStatus Host::call(OfxPluginEntryPoint entryPoint, Action action, void* handle,
                     OfxPropertySetStruct* in, OfxPropertySetStruct* out) {
    std::string const name = action.name;
    if (actionsOfThread.size() > 16) return violate(name + " without end"), kOfxStatFailed;
    actionsOfThread.push_back(std::move(action));
    OfxStatus status = kOfxStatFailed;
    try {
        status = entryPoint(name.c_str(), handle, in, out);
    } catch (...) {
        violate(name + " threw");
    }
    // Of an interact, Describe need not be trapped.
    bool const fine =
        answersOf(name).count(status) || (entryPoint != entry() && status == kOfxStatReplyDefault);
    if (!fine) violate(name + " answered " + std::to_string(status));
    for (auto const& image : actionOfThread().images) keep(!image->released, name + ": an image");
    actionsOfThread.pop_back();
    return status;
}

OfxStatus sendChange(OfxImageEffectStruct& effect, char const* type, std::string const& name,
                     char const* reason) {
    Host& host = currentHost();
    int const edits = effect.openEdits;
    auto group = host.set("in-change").put("OfxPropChangeReason", reason);
    auto one = host.set("in-one-change").put("OfxPropChangeReason", reason);
    one.put("OfxPropType", type).put("OfxPropName", name).put("OfxPropTime", effect.now);
    auto const send = [&](char const* action, OfxPropertySetStruct& in) {
        return host.call(host.entry(), {action}, &effect, &in);
    };
    send(kOfxActionBeginInstanceChanged, group);
    OfxStatus const status = send(kOfxActionInstanceChanged, one);
    send(kOfxActionEndInstanceChanged, group);
    host.keep(effect.openEdits != edits, name + ": an undo step");
    effect.openEdits = edits;
    return status;
}

// Instances.

Instance::Instance(Host& itsHost, OfxImageEffectStruct const& descriptor, Project const& project)
    : effect{.isInstance = true, .context = descriptor.context, .props = itsHost.set("instance")},
      host(itsHost) {
    OfxPointD const size = project.size, offset = project.offset;
    effect.props.put("OfxImageEffectPropContext", descriptor.context);
    effect.props.put("OfxImageEffectPropProjectExtent",
                     OfxPointD{size.x + offset.x, size.y + offset.y});
    effect.props.put("OfxImageEffectPropProjectSize", size);
    effect.props.put("OfxImageEffectPropProjectOffset", offset);
    effect.params.effect = &effect;
    auto const becomeInstance = [](OfxPropertySetStruct& props) {
        for (auto& [name, property] : props.properties)
            if (property.access == Access::kDescriptor) property.access = Access::kReadOnly;
    };
    for (auto const& from : descriptor.params.list) {
        auto& param = *effect.params.list.emplace_back(std::make_unique<OfxParamStruct>(*from));
        param.effect = &effect;
        becomeInstance(param.props);
        // Keys of choices, truths and texts are wished for in vain.
        char const* const animates = "OfxParamPropAnimates";
        auto const& table = propertyTable(param.type);
        if (param.kind && std::get<std::vector<int>>(table.at(animates).values)[0] == 0)
            param.props.put(animates, 0);
        auto& [number, text] = param.value.constant;
        char const* const preset = kOfxParamPropDefault;
        if (param.kind == 'S') text = param.props.get<std::string>(preset);
        std::ranges::copy(param.props.numbers(preset), number.begin());
        // A host without the property knows canonical defaults alone.
        char const* const system = kOfxParamPropDefaultCoordinateSystem;
        if (param.props.has(system) &&
            param.props.get<std::string>(system) == kOfxParamCoordinatesNormalised)
            number = {offset.x + number[0] * size.x, offset.y + number[1] * size.y};
    }
    for (auto const& from : descriptor.clips) {
        auto& clip = *effect.clips.emplace_back(std::make_unique<OfxImageClipStruct>(*from));
        becomeInstance(clip.props);
        clip.props.table = "wired";
        clip.props.properties.merge(host.set("wired").properties);
    }
}
Instance::~Instance() {
    if (!m_created) return;
    host.call(host.entry(), {kOfxActionDestroyInstance}, &effect);
    host.keep(effect.props.get<void*>(kOfxPropInstanceData), "an instance's data");
}

void Instance::wire(OfxImageClipStruct& clip, ClipInput const* input) {
    clip.connected = input;
    clip.input = {.picture = {.depth = kOfxBitDepthNone, .components = kOfxImageComponentNone}};
    if (input) clip.input = *input;
    clip.props.put("OfxImageClipPropConnected", int{clip.connected});
    for (char const* name : {"OfxImageEffectPropPixelDepth", "OfxImageClipPropUnmappedPixelDepth"})
        clip.props.put(name, clip.input.picture.depth);
    for (char const* name : {"OfxImageEffectPropComponents", "OfxImageClipPropUnmappedComponents"})
        clip.props.put(name, clip.input.picture.components);
    clip.props.put("OfxImageEffectPropPreMultiplication", clip.input.alpha);
}
void Instance::connect(std::string const& name, ClipInput const* input) {
    wire(*effect.clip(name), input);
    changed(name, "OfxTypeClip");
    preferences();
}

Animated& Instance::value(std::string const& name) {
    if (auto* param = effect.params.find(name)) return param->value;
    throw std::invalid_argument("no parameter " + name);
}
OfxStatus Instance::set(std::string const& name, Value const& to, std::optional<double> key) {
    if (key)
        value(name).keys[*key] = to;
    else
        value(name) = {to, {}};
    effect.params.find(name)->props.put("OfxParamPropIsAnimating", int{key.has_value()});
    return changed(name);
}
OfxStatus Instance::changed(std::string const& name, char const* type) {
    return sendChange(effect, type, name, kOfxChangeUserEdited);
}
SavedParams Instance::save() const {
    SavedParams setup;
    for (auto const& param : effect.params.list)
        if (param->kind && param->props.get<int>("OfxParamPropPersistant"))
            setup[param->name] = param->value;
    return setup;
}

OfxStatus Instance::send(char const* action, OfxPropertySetStruct* in, OfxPropertySetStruct* out) {
    return host.call(host.entry(), {action}, &effect, in, out);
}

OfxStatus Instance::preferences() {
    OfxPropertySetStruct out = host.set("out-preferences");
    for (auto const& clip : effect.clips) {
        auto const& [picture, region, alpha] = clip->input;
        out.offer<std::string>("OfxImageClipPropComponents_" + clip->name, picture.components);
        out.offer<std::string>("OfxImageClipPropDepth_" + clip->name, picture.depth);
        out.offer("OfxImageClipPropPAR_" + clip->name, 1.0);
    }
    OfxImageClipStruct& output = *effect.clip("Output");
    out.put("OfxImageEffectPropPreMultiplication", output.input.alpha);
    OfxStatus const status = send(kOfxImageEffectActionGetClipPreferences, nullptr, &out);
    auto const keep = [&](char const* name, char const* from) {
        output.props.put(name, out.get<std::string>(from));
    };
    keep("OfxImageEffectPropPixelDepth", "OfxImageClipPropDepth_Output");
    keep("OfxImageEffectPropComponents", "OfxImageClipPropComponents_Output");
    keep("OfxImageEffectPropPreMultiplication", "OfxImageEffectPropPreMultiplication");
    return status;
}

OfxPropertySetStruct Instance::arguments(char const* table, RenderCall const& call) const {
    OfxPropertySetStruct in = host.set(table);
    if (in.has(kOfxPropTime)) in.put(kOfxPropTime, call.time);
    in.put(kOfxImageEffectPropRenderScale, call.scale);
    if (in.has(kOfxImageEffectPropRenderWindow))
        in.put(kOfxImageEffectPropRenderWindow, call.window)
            .put(kOfxImageEffectPropFieldToRender, call.field);
    return in;
}
OfxRectD Instance::regionOfDefinition(RenderCall const& call) {
    auto in = arguments("in-region", call), out = host.set("out-region");
    if (send(kOfxImageEffectActionGetRegionOfDefinition, &in, &out) != kOfxStatOK)
        return effect.clip("Source")->input.region;
    auto const& r = out.all<double>(kOfxImageEffectPropRegionOfDefinition);
    in = arguments("in-interest", call);
    in.put(kOfxImageEffectPropRegionOfInterest, OfxRectD{r[0], r[1], r[2], r[3]});
    auto interest = host.set("out-interest");
    for (auto const& clip : effect.clips)
        interest.offer(kOfxImageClipPropRoIPrefix + clip->name, OfxRectD{r[0], r[1], r[2], r[3]});
    send(kOfxImageEffectActionGetRegionsOfInterest, &in, &interest);
    return {r[0], r[1], r[2], r[3]};
}
std::string Instance::identity(RenderCall const& call) {
    auto in = arguments("in-identity", call), out = host.set("out-identity");
    bool const is = send(kOfxImageEffectActionIsIdentity, &in, &out) == kOfxStatOK;
    return is ? out.get<std::string>(kOfxPropName) : "";
}
OfxStatus Instance::sequence(bool begin, RenderCall const& call) {
    auto in = arguments("in-sequence", call);
    return send(
        begin ? kOfxImageEffectActionBeginSequenceRender : kOfxImageEffectActionEndSequenceRender,
        &in, nullptr);
}
OfxStatus Instance::renderAction(RenderCall const& call) {
    auto in = arguments("in-render", call);
    return host.call(host.entry(), {kOfxImageEffectActionRender, &call}, &effect, &in);
}
OfxStatus Instance::render(RenderCall const& call) {
    OfxStatus status = sequence(true, call);
    if (good(status)) {
        if (host.choice().multiResolution) regionOfDefinition(call);
        identity(call);
        status = renderAction(call);
    }
    OfxStatus const end = sequence(false, call);
    return good(status) && !good(end) ? end : status;
}

// Overlays.

Overlay::Overlay(Instance& instance, double pixelScale)
    : m_instance(instance), m_pixelScale(pixelScale), m_shown{.props = instance.host.set("shown")} {
    Host& host = instance.host;
    auto const& props = host.descriptor(instance.effect.context.c_str()).props;
    for (char const* name :
         {kOfxImageEffectPluginPropOverlayInteractV1, kOfxImageEffectPluginPropOverlayInteractV2}) {
        void* const entry = props.has(name) ? props.get<void*>(name) : nullptr;
        if (!entry) continue;
        m_entry = reinterpret_cast<OfxPluginEntryPoint>(entry);
        m_version = name == kOfxImageEffectPluginPropOverlayInteractV1 ? 1 : 2;
    }
    if (!m_entry) return;
    m_shown.props.put("OfxPropEffectInstance", static_cast<void*>(&instance.effect));
    m_shown.props.put("OfxInteractPropPixelScale", OfxPointD{pixelScale, pixelScale});
    if (host.choice().drawing)
        m_shown.props.put<double>("OfxInteractPropSuggestedColour", {{1, 0.5, 0}});
    OfxInteract described{.props = host.set("interact")};
    m_status = host.call(m_entry, {kOfxActionDescribe}, &described);
    if (good(m_status)) m_status = host.call(m_entry, {kOfxActionCreateInstance}, &m_shown);
    if (!good(m_status)) m_entry = nullptr;  // no overlay from now on
    act(kOfxInteractActionGainFocus, arguments("in-focus"));
}
Overlay::~Overlay() {
    act(kOfxInteractActionLoseFocus, arguments("in-focus"));
    if (m_entry) m_instance.host.call(m_entry, {kOfxActionDestroyInstance}, &m_shown);
    m_instance.host.keep(m_instance.effect.openEdits, "an overlay's undo step");
    m_instance.host.keep(m_shown.props.get<void*>(kOfxPropInstanceData), "an overlay's data");
    m_instance.effect.openEdits = 0;
}

OfxPropertySetStruct Overlay::arguments(char const* table) const {
    OfxPropertySetStruct in = m_instance.host.set(table);
    in.put(kOfxPropEffectInstance, static_cast<void*>(&m_instance.effect));
    in.put(kOfxPropTime, m_instance.effect.now);
    if (in.has(kOfxInteractPropPixelScale))
        in.put(kOfxInteractPropPixelScale, OfxPointD{m_pixelScale, m_pixelScale});
    return in;
}
OfxStatus Overlay::act(char const* action, OfxPropertySetStruct in) {
    return m_entry ? m_instance.host.call(m_entry, {action}, &m_shown, &in) : kOfxStatReplyDefault;
}
OfxStatus Overlay::pen(char const* action, OfxPointD at) {
    return act(action, arguments("in-pen").put(kOfxInteractPropPenPosition, at));
}
OfxStatus Overlay::key(char const* action, int sym) {
    return act(action, arguments("in-key").put(kOfxPropKeySym, sym));
}
OfxStatus Overlay::draw(std::vector<DrawOp>& ops) {
    OfxDrawContext context{.ops = &ops};
    OfxPropertySetStruct in = arguments("in-draw");
    if (m_version == 2) in.put(kOfxInteractPropDrawContext, static_cast<void*>(&context));
    return act(kOfxInteractActionDraw, in);
}

}  // namespace zelk_ofx

zelk_ofx::Value OfxParamStruct::at(double time) const {
    auto const& keys = value.keys;
    if (keys.empty()) return value.constant;
    auto const after = keys.upper_bound(time);
    if (after == keys.begin()) return after->second;
    auto const before = std::prev(after);
    if (after == keys.end() || kind != 'D') return before->second;
    double const share = (time - before->first) / (after->first - before->first);
    zelk_ofx::Value mixed = before->second;
    for (int i = 0; i < dimensions; ++i)
        mixed.number[i] += share * (after->second.number[i] - before->second.number[i]);
    return mixed;
}

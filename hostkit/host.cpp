// The host: what it gives an effect with every command, and what it keeps of the answers.
#include "hostkit/host.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "hostkit/fixed_point.h"
#include "hostkit/host_impl.h"
#include "hostkit/pixel_ops.h"
#include "platform/services/Handles.h"

namespace zelk {
namespace {

thread_local Host::Impl* runningHost = nullptr;

/// Byte of a world that the effect did not ask to be cleared: mid grey at 8 and 16 bits, 3.4e38
/// in float.
constexpr int kDirtyByte = 0x7F;

PF_Fixed fractionOfFrame(double degrees) { return realToFixed(degrees / 360.0); }

/// Six decimals are kept.
PF_RationalScale ratioOf(double value) {
    constexpr A_long kParts = 1000000;
    A_long const num = static_cast<A_long>(std::lround(value * kParts));
    A_long const common = std::gcd(num, kParts);
    return {num / common, static_cast<A_u_long>(kParts / common)};
}

/// The one interface version whose effect brings points to the render's resolution by itself.
bool effectScalesPoints(HostIdentity const& identity) {
    return identity == HostIdentity{kAppPremierePro, {12, 4}};
}

/// The asked part of an image, in the image's pixels.
PF_Rect extentOf(World const& world, std::optional<PF_LRect> const& asked) {
    if (!asked) return world.record()->extent_hint;
    PF_LRect const whole = world.bounds(), part = meet(whole, *asked);
    auto const side = [](A_long at, A_long from) { return static_cast<A_short>(at - from); };
    if (part.right <= part.left) return {};
    return {side(part.top, whole.top), side(part.left, whole.left), side(part.bottom, whole.top),
            side(part.right, whole.left)};
}

std::string messageOf(PF_OutData const& out) {
    return {out.return_msg, strnlen(out.return_msg, sizeof out.return_msg)};
}

/// The params argument of a command: copies of all values at the command's time.
class ParamArray {
public:
    ParamArray() = default;
    explicit ParamArray(Host::Impl const& host) {
        FrameRequest const& frame = host.running.scene->frame;
        m_values.reserve(host.parameters.size());
        for (Parameter const& parameter : host.parameters) {
            m_values.push_back(host.parameterAt(
                parameter, {frame.time, frame.timeBase.step, frame.timeBase.scale}));
            m_pointers.push_back(&m_values.back());
        }
    }
    ParamArray(ParamArray&&) = default;
    /// Null when the command has no parameters.
    PF_ParamDef** data() { return m_pointers.empty() ? nullptr : m_pointers.data(); }

private:
    std::vector<PF_ParamDef> m_values;
    std::vector<PF_ParamDef*> m_pointers;
};

}  // namespace

RunningHost::RunningHost(Host::Impl& host, RunningCommand const& command)
    : m_host(host), m_outerHost(runningHost), m_outerCommand(host.running) {
    runningHost = &host;
    host.running = command;
}

RunningHost::~RunningHost() {
    m_host.running = m_outerCommand;
    runningHost = m_outerHost;
}

Host::Impl* RunningHost::current() { return runningHost; }

Host::Impl::Impl(std::filesystem::path const& file, HostOptions const& hostOptions)
    : module(file), options(hostOptions), utils(utilCallbacks(hostOptions)) {}

Host::Impl::~Impl() = default;

WorldSpec Host::Impl::worldSpec(int width, int height, Depth depth) const {
    HostIdentity const& identity = options.identity;
    WorldSpec spec{width, height, depth, false, 0};
    spec.bgra = depth == Depth::k8 && identity.applId == kAppPremierePro && identity.isModern();
    int const unit = channelBytes(depth);
    spec.rowPaddingBytes = (options.rowPaddingBytes + unit - 1) / unit * unit;
    return spec;
}

PF_Err Host::Impl::makeWorld(WorldSpec const& spec, bool clear, PF_EffectWorld* record) {
    if (!record) return PF_Err_BAD_CALLBACK_PARAM;
    try {
        using Start = PixelMemory::Start;
        World& world = worlds.make(spec, clear ? Start::kZeroed : Start::kAnything, *record);
        if (options.dirtyNewWorlds && !clear)
            std::memset(world.row(0), kDirtyByte,
                        static_cast<std::size_t>(world.rowBytes()) *
                            static_cast<std::size_t>(world.height()));
    } catch (HostError const& error) {
        return error.code();
    }
    ++monitor.outstanding.worlds;
    return PF_Err_NONE;
}

PF_Err Host::Impl::disposeWorld(std::string_view caller, PF_EffectWorld* record) {
    if (!worlds.dispose(record)) {
        monitor.noteMistake(std::string(caller) + ": not an image of the effect's");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    --monitor.outstanding.worlds;
    return PF_Err_NONE;
}

KeyTime Host::Impl::keyTimeOf(A_long time, A_u_long scale) const {
    A_u_long const own = running.scene->frame.timeBase.scale;
    return {time, std::max<A_u_long>(scale > 0 ? scale : own, 1)};
}

PF_ParamDef Host::Impl::parameterAt(Parameter const& parameter, Moment const& moment) const {
    PF_ParamDef def = parameter.at(keyTimeOf(moment.time, moment.scale));
    def.uu.change_flags = 0;
    CommandScene const& scene = *running.scene;
    if (parameter.index == kInputLayerIndex)
        def.u.ld = scene.input ? *scene.input->record() : PF_LayerDef{};
    if (!effectScalesPoints(options.identity)) scalePoint(def, scene.frame.downsample);
    return def;
}

void Host::Impl::registerParameter(PF_ParamDef const& def) {
    Parameter parameter(static_cast<int>(parameters.size()), def);
    parameter.registered.name[kParamNameSize - 1] = 0;
    auto const kept = [this](A_char const* text) {
        return texts.emplace_back(text ? text : "").c_str();
    };
    PF_ParamDefUnion& u = parameter.registered.u;
    if (def.param_type == PF_Param_CHECKBOX) {
        u.bd.u.nameptr = kept(def.u.bd.u.nameptr);
        parameter.label = u.bd.u.nameptr;
    } else if (def.param_type == PF_Param_POPUP) {
        u.pd.u.namesptr = kept(def.u.pd.u.namesptr);
        std::string_view rest = u.pd.u.namesptr;
        for (std::size_t bar; (bar = rest.find('|')) != rest.npos; rest.remove_prefix(bar + 1))
            parameter.choices.emplace_back(rest.substr(0, bar));
        parameter.choices.emplace_back(rest);
    }
    parameter.current = parameter.registered;
    parameters.push_back(std::move(parameter));
}

PF_RationalScale Host::Impl::pixelAspect() const {
    return ratioOf(running.scene->frame.pixelAspect);
}

PF_InData Host::Impl::inDataFor(CommandScene const& what) {
    FrameRequest const& frame = what.frame;
    PF_InData in{};
    in.inter = interCallbacks();
    in.utils = &utils;
    in.effect_ref = effectRef();
    in.quality = frame.quality;
    in.version = options.identity.version;
    in.appl_id = options.identity.applId;
    in.num_params = static_cast<A_long>(parameters.size());
    in.current_time = frame.time;
    in.time_step = in.local_time_step = frame.timeBase.step;
    in.total_time = frame.totalTime > 0 ? frame.totalTime : frame.timeBase.step;
    in.time_scale = frame.timeBase.scale;
    in.field = frame.field;
    in.shutter_angle = fractionOfFrame(frame.shutter.angleDeg);
    in.shutter_phase = fractionOfFrame(frame.shutter.phaseDeg);
    in.width = frame.layerWidth;
    in.height = frame.layerHeight;
    if (World const* const input = what.input) {
        if (in.width <= 0)
            in.width = static_cast<A_long>(std::lround(input->width() * frame.downsample.x()));
        if (in.height <= 0)
            in.height = static_cast<A_long>(std::lround(input->height() * frame.downsample.y()));
        in.extent_hint = extentOf(*input, what.asked);
    }
    in.downsample_x = frame.downsample.scaleX();
    in.downsample_y = frame.downsample.scaleY();
    in.pixel_aspect_ratio = ratioOf(frame.pixelAspect);
    in.global_data = globalData;
    in.pica_basicP = options.offerSuites ? basicSuite() : nullptr;
    return in;
}

PF_OutData Host::Impl::outDataFor(CommandScene const& what) const {
    PF_OutData out{};
    out.global_data = globalData;
    out.out_flags = options.initialOutFlags;
    out.out_flags2 = options.initialOutFlags2;
    if (what.output) {
        out.width = what.output->width();
        out.height = what.output->height();
    }
    return out;
}

void Host::Impl::keepAnswers(A_long which, PF_OutData const& out) {
    globalData = out.global_data;
    if (globalData) handles.handOver(globalData);
    if (which == PF_Cmd_GLOBAL_SETUP) {
        effectVersion = out.my_version;
        announcedFlags2 = out.out_flags2;
    }
    if (which == PF_Cmd_PARAMS_SETUP) announcedParamCount = out.num_params;
}

void Host::Impl::dropGlobalData() {
    // A host without handle callbacks has effects take their blocks from the system.
    if (!handles.dispose(globalData) && !options.offerHandleCallbacks) DisposeHandle(globalData);
    globalData = nullptr;
}

CommandResult Host::Impl::run(A_long which, CommandScene const& what, bool withParameters) {
    PF_OutData out = outDataFor(what);
    PF_OutData before;
    std::memcpy(&before, &out, sizeof out);
    PF_InData in = inDataFor(what);
    Outstanding const start = monitor.outstanding;
    RunningHost const scope(*this, {which, &what, &out});
    refusedParameters.clear();
    ParamArray params = withParameters ? ParamArray(*this) : ParamArray();
    running.params = params.data();

    CommandResult result;
    try {
        result.code = module.entry()(static_cast<PF_Cmd>(which), &in, &out, params.data(),
                                     what.output ? what.output->record() : nullptr, what.extra);
    } catch (...) {
        throw HostError(
            fmt::format("{}: let an exception out of command {}, expected a result code",
                        module.file().string(), which));
    }
    keepAnswers(which, out);
    bool const isUsers = which == PF_Cmd_EVENT || which == PF_Cmd_USER_CHANGED_PARAM;
    if (isUsers && result.code == PF_Err_NONE) takeBackChanges(params.data());
    result.message = messageOf(out);
    result.outFlags = out.out_flags;
    result.outFlags2 = out.out_flags2;
    result.touchedOutData = std::memcmp(&before, &out, sizeof out) != 0;
    result.outstanding = monitor.outstanding - start;
    return result;
}

Host::Host(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

Host::Host(std::filesystem::path const& module, HostOptions const& options)
    : Host(std::make_unique<Impl>(module, options)) {
    auto const require = [&](char const* name, CommandResult const& result) {
        if (result.code == PF_Err_NONE) return;
        std::string const said = result.message.empty() ? "" : " (" + result.message + ")";
        throw HostError(
            fmt::format("{}: {} failed with {}{}", module.string(), name, result.code, said),
            result.code);
    };
    CommandResult const setUp = globalSetup();
    require("PF_Cmd_GLOBAL_SETUP", setUp);
    requireStatedAnswer(module, resource(),
                        {effectVersion(), setUp.outFlags, setUp.outFlags2, options.initialOutFlags,
                         options.initialOutFlags2});
    require("PF_Cmd_PARAMS_SETUP", paramsSetup());
}

std::unique_ptr<Host> Host::loadOnly(std::filesystem::path const& module,
                                     HostOptions const& options) {
    return std::unique_ptr<Host>(new Host(std::make_unique<Impl>(module, options)));
}

Host::~Host() {
    try {
        if (m_impl->isSetUp) globalSetdown();
    } catch (HostError const&) {
        // The effect is going away whatever it answers.
    }
}

CommandResult Host::globalSetup() {
    CommandResult const result = bareCommand(PF_Cmd_GLOBAL_SETUP);
    m_impl->isSetUp = result.code == PF_Err_NONE;
    return result;
}

CommandResult Host::paramsSetup() {
    m_impl->parameters.clear();
    m_impl->customUi.reset();
    PF_ParamDef layer{};
    layer.param_type = PF_Param_LAYER;
    m_impl->registerParameter(layer);
    CommandResult const result = bareCommand(PF_Cmd_PARAMS_SETUP);
    resetParameters(100, 100);  // percent of a side of 100 is percent
    return result;
}

CommandResult Host::about() { return bareCommand(PF_Cmd_ABOUT); }

CommandResult Host::globalSetdown() {
    m_impl->isSetUp = false;
    CommandResult const result = bareCommand(PF_Cmd_GLOBAL_SETDOWN);
    m_impl->dropGlobalData();
    return result;
}

CommandResult Host::bareCommand(A_long command) { return m_impl->run(command, {}, false); }

HostIdentity const& Host::identity() const { return m_impl->options.identity; }
ModuleResource const& Host::resource() const { return m_impl->module.resource(); }
A_u_long Host::effectVersion() const { return m_impl->effectVersion; }
A_long Host::announcedParamCount() const { return m_impl->announcedParamCount; }
bool Host::supportsSmartRender() const {
    return m_impl->announcedFlags2 & PF_OutFlag2_SUPPORTS_SMART_RENDER;
}

bool Host::registeredCustomUi() const { return m_impl->customUi.has_value(); }

PF_CustomUIInfo const& Host::customUi() const {
    static constexpr PF_CustomUIInfo kNone{};
    return m_impl->customUi ? *m_impl->customUi : kNone;
}

std::vector<Parameter>& Host::parameters() { return m_impl->parameters; }
std::vector<Parameter> const& Host::parameters() const { return m_impl->parameters; }

void Host::resetParameters(int layerWidthPx, int layerHeightPx) {
    for (Parameter& parameter : m_impl->parameters) {
        parameter.current = parameter.registered;
        resetToDefault(parameter.current, layerWidthPx, layerHeightPx);
        if (parameter.canVaryInTime()) parameter.editTrack().clear();
    }
}

void Host::setComp(Comp const& comp) {
    requireSound(comp);
    m_impl->comp = comp;
}

Comp const& Host::comp() const { return m_impl->comp; }

void Host::setCamera(std::optional<Camera> const& camera) {
    m_impl->camera = camera;
    m_impl->project.replaceCamera(camera.has_value());
}

WorldSpec Host::worldSpec(int width, int height, Depth depth) const {
    PF_SpecVersion const version = identity().version;
    if (depth == Depth::kFloat && !identity().isModern())
        throw HostError(
            fmt::format("a host of version {}.{} has no float images, expected a minor "
                        "version above 11",
                        version.major, version.minor));
    return m_impl->worldSpec(width, height, depth);
}

CallMonitor& Host::monitor() { return m_impl->monitor; }

}  // namespace zelk

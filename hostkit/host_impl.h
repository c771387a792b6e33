// What a Host holds, and how its callbacks find it. Private to hostkit.
//
// A callback answers only while a command of its host runs, on that command's thread: the running
// host is a thread-local pointer, and an effect reference is good when it names that host.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "hostkit/handle_ledger.h"
#include "hostkit/host.h"
#include "hostkit/module_loader.h"
#include "hostkit/project_ledger.h"
#include "hostkit/world_ledger.h"

namespace zelk {

/// Of a call whose arguments name nothing of this host.
constexpr PF_Err kRefused = PF_Err_BAD_CALLBACK_PARAM;

/// A moment as an effect names it in a check-out, host time units.
struct Moment {
    A_long time = 0;
    A_long step = 0;
    A_u_long scale = 0;
};

/// The pixels of a layer that a check-out asked for, as long as the effect may name them.
struct LentPart {
    World part;                     ///< none when all of the layer is asked for, or nothing of it
    std::optional<LentWorld> lent;  ///< of `part`
};

/// The smart render protocol's state within one command.
struct SmartScene {
    World* layer = nullptr;   ///< null for a layer without pixels
    World* output = nullptr;  ///< null in a pre-render
    LayerRequests agreed;     ///< of the pre-render, by identifier
    std::map<A_long, LentPart> pixelsOut;
};

/// What a command works on besides the effect's own state.
struct CommandScene {
    FrameRequest frame;
    World* input = nullptr;
    World* output = nullptr;
    void* extra = nullptr;
    SmartScene* smart = nullptr;
    std::optional<PF_LRect> asked;  ///< the part of a plain render that is wanted; without one, all
};

/// Null pointers between commands.
struct RunningCommand {
    A_long command = -1;
    CommandScene const* scene = nullptr;
    PF_OutData* outData = nullptr;
    PF_ParamDef* const* params = nullptr;  ///< the command's own records, if it has any
};

struct Host::Impl {
    Impl(std::filesystem::path const& file, HostOptions const& hostOptions);
    ~Impl();
    Impl(Impl const&) = delete;
    Impl& operator=(Impl const&) = delete;

    Module module;
    HostOptions options;
    CallMonitor monitor;
    HandleLedger handles{monitor};
    WorldLedger worlds;
    std::map<std::pair<std::string, A_long>, int> heldSuites;
    std::map<PF_ParamDef const*, int> heldParameters;
    std::set<PF_ParamDef const*> refusedParameters;  ///< of this command
    PF_UtilCallbacks utils;

    Comp comp;
    std::optional<Camera> camera;
    ProjectLedger project{monitor};
    A_u_char currentTool = 1;
    std::function<bool()> isStopped;  ///< by the user; perhaps empty

    std::vector<Parameter> parameters;
    std::deque<std::string> texts;  ///< what the text pointers of parameters lead to
    std::optional<PF_CustomUIInfo> customUi;
    A_u_long effectVersion = 0;
    A_u_long announcedFlags2 = 0;  ///< out_flags2 of the global set-up
    A_long announcedParamCount = 0;
    PF_Handle globalData = nullptr;
    bool isSetUp = false;

    RunningCommand running;

    PF_ProgPtr effectRef() { return reinterpret_cast<PF_ProgPtr>(this); }

    /// Runs one command. `withParameters` hands the effect its params array, which holds copies.
    CommandResult run(A_long which, CommandScene const& what, bool withParameters);

    /// A moment that an effect named; a scale of 0 stands for the command's own.
    KeyTime keyTimeOf(A_long time, A_u_long scale) const;
    /// The parameter's record as the effect is to see it at `moment`: value, resolution, no change
    /// flags. Every value goes to the effect through here.
    PF_ParamDef parameterAt(Parameter const& parameter, Moment const& moment) const;
    /// Takes the values that the effect marked as changed in the running command's params array, as
    /// of the command's time and at full resolution.
    void takeBackChanges(PF_ParamDef* const* values);
    /// Gives back the block that the effect left as its global data.
    void dropGlobalData();
    /// Notes a parameter that the effect registers.
    void registerParameter(PF_ParamDef const& def);

    /// The layout of this host's images, whether it has that depth or not.
    WorldSpec worldSpec(int width, int height, Depth depth) const;
    /// Throws HostError for a world in another layout than this host gives its effects.
    void requireOwnLayout(World const& world) const;
    PF_RationalScale pixelAspect() const;  ///< of the running command's frame
    /// A world for the effect; a PF_Err, and `record` untouched when it is not 0.
    PF_Err makeWorld(WorldSpec const& spec, bool clear, PF_EffectWorld* record);
    PF_Err disposeWorld(std::string_view caller, PF_EffectWorld* record);

private:
    PF_InData inDataFor(CommandScene const& what);
    PF_OutData outDataFor(CommandScene const& what) const;
    void keepAnswers(A_long which, PF_OutData const& out);
};

/// Makes a host the running one of this thread, at work on `command`, for the length of a scope;
/// scopes nest.
class RunningHost {
public:
    RunningHost(Host::Impl& host, RunningCommand const& command);
    ~RunningHost();
    RunningHost(RunningHost const&) = delete;
    RunningHost& operator=(RunningHost const&) = delete;

    /// Null when no command runs on this thread.
    static Host::Impl* current();

private:
    Host::Impl& m_host;
    Host::Impl* m_outerHost;
    RunningCommand m_outerCommand;
};

/// A callback without an effect reference: `body(host)` under the monitor, or
/// PF_Err_BAD_CALLBACK_PARAM when no command runs.
template <class Body>
PF_Err answerCall(std::string_view name, Body&& body) {
    Host::Impl* const host = RunningHost::current();
    if (!host) return PF_Err_BAD_CALLBACK_PARAM;
    return host->monitor.answer(name, [&]() -> PF_Err { return body(*host); });
}

/// The same for a callback that names the effect.
template <class Body>
PF_Err answerCall(std::string_view name, PF_ProgPtr effectRef, Body&& body) {
    Host::Impl* const host = RunningHost::current();
    if (!host || effectRef != host->effectRef()) return PF_Err_BAD_CALLBACK_PARAM;
    return host->monitor.answer(name, [&]() -> PF_Err { return body(*host); });
}

/// A suite that an effect may acquire.
struct OfferedSuite {
    char const* name;
    A_long version;
    void const* table;
    bool modernOnly = false;
};

std::span<OfferedSuite const> projectSuites();
std::span<OfferedSuite const> keyframeSuites();
std::span<OfferedSuite const> toolSuites();
std::span<OfferedSuite const> controlSuites();

PF_InteractCallbacks interCallbacks();
PF_UtilCallbacks utilCallbacks(HostOptions const& options);
SPBasicSuite const* basicSuite();
PF_PreRenderCallbacks preRenderCallbacks();
PF_SmartRenderCallbacks smartRenderCallbacks();

}  // namespace zelk

// Host: a motion graphics host for one effect module.
//
// It loads the module by path, runs the set-up commands, keeps the parameters as the effect
// registered them, owns images, answers every callback and suite, and runs the effect's commands.
// It reaches the effect only through the module's one exported function.
//
// Threads: one Host is used by one thread at a time; while a command runs, callbacks without an
// effect reference find their host through a thread-local pointer.
// Errors: set-up failures throw HostError; commands answer a CommandResult.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/call_monitor.h"
#include "hostkit/camera.h"
#include "hostkit/error.h"
#include "hostkit/frame_request.h"
#include "hostkit/host_identity.h"
#include "hostkit/module_resource.h"
#include "hostkit/parameters.h"
#include "hostkit/world.h"
#include "platform/effect_api/effect_api.h"

namespace zelk {

/// What the host offers and claims to be.
struct HostOptions {
    HostIdentity identity;
    /// host_new_handle, host_lock_handle and host_dispose_handle are in the utils table. Without
    /// them an effect's blocks are the system's (platform/services).
    bool offerHandleCallbacks = true;
    bool offerUnlockCallback = true;  ///< host_unlock_handle alone
    bool offerSuites = true;          ///< pica_basicP is there
    int rowPaddingBytes = 0;          ///< of every image, rounded up to whole channels
    bool dirtyNewWorlds = false;      ///< images not asked to be cleared come full of rubbish
    A_u_long initialOutFlags = 0;     ///< what out_flags holds when a command begins
    A_u_long initialOutFlags2 = 0;    ///< likewise out_flags2
};

/// How a command ended.
struct CommandResult {
    PF_Err code = PF_Err_NONE;  ///< what the effect returned
    std::string message;        ///< return_msg, when the effect wrote one
    A_u_long outFlags = 0;
    A_u_long outFlags2 = 0;
    bool touchedOutData = false;  ///< the effect changed anything of out_data
    /// What the effect kept beyond the command's start. A handle that it leaves in
    /// out_data->global_data is handed over, not owed; the host disposes of it at set-down.
    Outstanding outstanding;
};

/// Frees what an effect keeps from its pre-render, by the effect's own function where it gave one.
struct PreRenderDataDeleter {
    PF_DeletePreRenderDataFunc free = nullptr;
    void operator()(void* data) const {
        if (free) free(data);
    }
};

/// What an effect asks of layers, by its own identifiers of the check-outs.
using LayerRequests = std::map<A_long, PF_RenderRequest>;

/// What a smart render agreed on before it draws. Rectangles in pixels of the layer at the render's
/// resolution, half-open. It must not outlive its Host, whose effect frees the data in it.
struct PreRenderResult {
    CommandResult command;
    PF_LRect resultRect{}, maxResultRect{};  ///< what the effect will draw, and could draw
    bool solid = false;                      ///< opaque all over
    A_short flags = 0;                       ///< PF_RenderOutputFlag_*
    Depth depth = Depth::k8;                 ///< of the frame, as the host gave it
    PF_LRect asked{};                        ///< the output that the host asked for
    LayerRequests agreed;                    ///< what was asked of the layers
    PF_RenderRequest layerRequest{};         ///< of the largest identifier
    std::unique_ptr<void, PreRenderDataDeleter> data;  ///< the effect's own
};

class Host {
public:
    /// Loads the module and runs PF_Cmd_GLOBAL_SETUP and PF_Cmd_PARAMS_SETUP. Throws HostError when
    /// the module is missing, exports no entry, a set-up command fails, or the module announces
    /// another version or other flags than its resource.
    Host(std::filesystem::path const& module, HostOptions const& options = {});
    /// Loads the module and runs no command yet.
    static std::unique_ptr<Host> loadOnly(std::filesystem::path const& module,
                                          HostOptions const& options = {});
    ~Host();  ///< runs PF_Cmd_GLOBAL_SETDOWN after a successful set-up
    Host(Host const&) = delete;
    Host& operator=(Host const&) = delete;

    CommandResult globalSetup();
    CommandResult paramsSetup();
    CommandResult about();
    CommandResult globalSetdown();
    /// Any command with no parameters, output or extra record.
    CommandResult bareCommand(A_long command);

    HostIdentity const& identity() const;
    ModuleResource const& resource() const;  ///< what the module's resource says of it
    A_u_long effectVersion() const;          ///< my_version as the effect announced it
    A_long announcedParamCount() const;      ///< out_data->num_params
    bool supportsSmartRender() const;        ///< as the global set-up announced
    bool registeredCustomUi() const;
    PF_CustomUIInfo const& customUi() const;

    /// All parameters, the input layer first. Set `current` to change a value. After set-up they
    /// hold their defaults, points still in percent: call resetParameters before a render.
    std::vector<Parameter>& parameters();
    std::vector<Parameter> const& parameters() const;
    /// Sets every value to its default and removes all keyframes; points, registered as
    /// percentages, become pixels of a layer of this size at full resolution.
    void resetParameters(int layerWidthPx, int layerHeightPx);

    /// The composition that the effect finds in the project. HostError as requireSound.
    void setComp(Comp const& comp);
    Comp const& comp() const;
    /// The camera that looks at the layer; none at first. References to the former one are stale.
    void setCamera(std::optional<Camera> const& camera);

    /// A world in the layout that this host gives an effect at that depth. Throws HostError for
    /// float images in a host that is not modern.
    WorldSpec worldSpec(int width, int height, Depth depth) const;

    // A layer is a still: it is lent as it is at every time that an effect names. Its image may be
    // smaller or larger than the layer and start anywhere in it (World::setOrigin); `frame` says
    // the layer's own size then. partOf (hostkit/pixel_ops.h) takes a part out of a rendered one.

    /// PF_Cmd_RENDER of `input` into `output` (both of this host's layout, of the same part of the
    /// layer and the same depth; HostError otherwise). The effect sees in its extent_hint that
    /// only `asked` of them is wanted, nothing for all. Points go to the effect multiplied by
    /// 1 / downsample, except to "PrMr" 12.4, where the effect does it.
    CommandResult render(World& input, World& output, FrameRequest const& frame,
                         std::optional<PF_LRect> const& asked = std::nullopt);

    /// PF_Cmd_SMART_PRE_RENDER: asks the effect what it would draw of `asked` (nothing stands for
    /// the layer's bounds) from `layer`, null for a layer without pixels, whose size `frame` then
    /// says. No pixel is read. HostError for an effect without smart rendering.
    PreRenderResult preRender(World* layer, Depth depth, FrameRequest const& frame,
                              std::optional<PF_LRect> const& asked = std::nullopt);
    /// The world that smartRender draws into: of the size of the agreed rectangle, its origin the
    /// rectangle's corner, its pixels anything: the effect owes all of them. HostError for an
    /// answer that can't be drawn.
    World outputFor(PreRenderResult const& agreed) const;
    /// PF_Cmd_SMART_RENDER into a world of outputFor. `layer` and `frame` as in the pre-render. Of
    /// the layer the effect gets what it asked for: the layer itself when that is all of it, a copy
    /// of the part with the part's origin, or no image when nothing lies there.
    CommandResult smartRender(World* layer, World& output, PreRenderResult const& agreed,
                              FrameRequest const& frame);

    /// Asked while a command runs, on its thread: true for a user who wants no more of it. `abort`
    /// then answers so, and check-outs of parameters fail, so that an effect ends between two
    /// samples of motion blur at the latest. Empty for never.
    void stopWhen(std::function<bool()> isStopped);

    /// PF_Cmd_EVENT with the parameters at the frame's time and full resolution; values that the
    /// effect marks as changed are taken back. hostkit/events.h has what a user does.
    CommandResult event(PF_EventExtra& extra, FrameRequest const& frame);
    /// PF_Cmd_USER_CHANGED_PARAM for the parameter at `index`, after its new value was set.
    /// `output` is the frame that the effect is shown in, null for none; only its size is used.
    /// Values that the effect marks as changed are taken back.
    CommandResult userChangedParam(int index, FrameRequest const& frame, World* output = nullptr);
    /// PF_Cmd_UPDATE_PARAMS_UI: the effect greys controls out or enables them, which
    /// Parameter::current keeps.
    CommandResult updateParamsUi(FrameRequest const& frame);
    /// What "AE Plugin Helper Suite" answers; 1, the selection tool, at first.
    void setCurrentTool(A_u_char tool);

    CallMonitor& monitor();

    struct Impl;

private:
    explicit Host(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

}  // namespace zelk

// The switchboard: from a command's number to the part that does the work.
//
// A host object lives inside the handler of one command. Nothing of the effect's own survives from
// one command to the next.
#include "effect/EntryPoint.h"

#include <new>

#include "Transform/Common/Transform_Core_Render/ompc.h"
#include "effect/HostRender.h"
#include "effect/SmartRender.h"
#include "host/PluginHost_AE_Impl.h"
#include "interaction/HandleEvent.h"
#include "params/ParamsSetup.h"
#include "params/update_ecw.h"
#include "platform/effect_api/effect_events.h"
#include "platform/effect_api/plugin_resource.h"
#include "platform/services/Handles.h"

namespace {

constexpr std::uint64_t kGlobalBlockBytes = 4;

/// What the host handed over with one command.
struct Call {
    PF_InData* in_data;
    PF_OutData* out_data;
    PF_ParamDef** params;
    PF_LayerDef* output;
    void* extra;  ///< the command's own record
};

PF_Err about(Call const& call) {
    PluginHost_AE_Impl host(call.in_data, call.out_data, call.params, call.output);
    call.in_data->utils->ansi.strcpy(call.out_data->return_msg,
                                     "Quorvane Zelk High Quality Corner Pin Transform");
    return PF_Err_NONE;
}

PF_Err globalSetup(Call const& call) {
    PF_UtilCallbacks const& utils = *call.in_data->utils;
    PF_PluginResource const told = pluginResource();
    call.out_data->out_flags |= told.out_flags;
    call.out_data->my_version = told.version;
    PF_Handle block = utils.host_new_handle ? utils.host_new_handle(kGlobalBlockBytes)
                                            : NewHandle(kGlobalBlockBytes);
    call.out_data->global_data = block;
    call.out_data->out_flags2 = told.out_flags2;
    if (!block) return PF_Err_NONE;  // nothing is kept in the block, so nothing is lost
    if (utils.host_unlock_handle)
        utils.host_unlock_handle(block);
    else
        HUnlock(block);
    return PF_Err_NONE;
}

PF_Err paramsSetup(Call const& call) {
    PluginHost_AE_Impl host(call.in_data, call.out_data, call.params, call.output);
    if (const PF_Err err = ParamsSetup(&host)) return err;
    if (host.isApplication(kAppPremierePro)) return PF_Err_NONE;
    PF_CustomUIInfo customUi{};
    customUi.events = PF_CustomEFlag_COMP | PF_CustomEFlag_LAYER;
    return call.in_data->inter.register_ui(call.in_data->effect_ref, &customUi);
}

PF_Err render(Call const& call) {
    PluginHost_AE_Impl host(call.in_data, call.out_data, call.params, call.output);
    return renderOnHost(host);
}

PF_Err event(Call const& call) {
    if (call.in_data->appl_id == kAppPremierePro) return PF_Err_NONE;
    return HandleEvent(call.in_data, call.out_data, call.params, call.output,
                       static_cast<PF_EventExtra*>(call.extra));
}

PF_Err dispatch(PF_Cmd cmd, Call const& call) {
    switch (cmd) {
        case PF_Cmd_ABOUT:
            return about(call);
        case PF_Cmd_GLOBAL_SETUP:
            return globalSetup(call);
        case PF_Cmd_PARAMS_SETUP:
            return paramsSetup(call);
        case PF_Cmd_RENDER:
            return render(call);
        case PF_Cmd_USER_CHANGED_PARAM:
        case PF_Cmd_UPDATE_PARAMS_UI:
            UpdateECW(call.in_data, call.out_data, call.params, cmd == PF_Cmd_USER_CHANGED_PARAM,
                      static_cast<PF_UserChangedParamExtra*>(call.extra), call.output);
            return PF_Err_NONE;
        case PF_Cmd_EVENT:
            return event(call);
        case PF_Cmd_SMART_PRE_RENDER:
            return SmartPreRender(call.in_data, call.out_data, call.params, call.output,
                                  static_cast<PF_PreRenderExtra*>(call.extra));
        case PF_Cmd_SMART_RENDER:
            return SmartRender(call.in_data, call.out_data, call.params, call.output,
                               static_cast<PF_SmartRenderExtra*>(call.extra));
        default:
            return PF_Err_NONE;
    }
}

}  // namespace

PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                      PF_LayerDef* output, void* extra) {
    const OmpcThreadScope threads;
    try {
        return dispatch(cmd, {in_data, out_data, params, output, extra});
    } catch (int err) {
        return err;
    } catch (std::bad_alloc const&) {
        return PF_Err_OUT_OF_MEMORY;
    } catch (...) {
        return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
}

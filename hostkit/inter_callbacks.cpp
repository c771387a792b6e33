// The callbacks that belong to the effect instance: its parameters, and the user's wish to stop.
#include "hostkit/host_impl.h"

namespace zelk {
namespace {

constexpr PF_Err kStoppedByUser = 1;

bool isStopped(Host::Impl const& host) { return host.isStopped && host.isStopped(); }

PF_Err giveParameter(Host::Impl& host, A_long index, Moment const& moment, PF_ParamDef* param) {
    if (!param) return PF_Err_BAD_CALLBACK_PARAM;
    Parameter const* const asked = findParameter(host.parameters, index);
    if (!asked) return PF_Err_INVALID_INDEX;
    if (isStopped(host)) return kStoppedByUser;
    *param = host.parameterAt(*asked, moment);
    ++host.heldParameters[param];
    ++host.monitor.outstanding.parameters;
    return PF_Err_NONE;
}

PF_Err checkoutParam(PF_ProgPtr effectRef, A_long index, A_long time, A_long step, A_u_long scale,
                     PF_ParamDef* param) {
    bool given = false;
    PF_Err const result = answerCall("checkout_param", effectRef, [&](Host::Impl& host) {
        PF_Err const code = giveParameter(host, index, {time, step, scale}, param);
        given = code == PF_Err_NONE;
        return code;
    });
    // An effect may check in what it was refused, as one that tidies up on every path does.
    if (Host::Impl* const host = RunningHost::current(); host && !given)
        host->refusedParameters.insert(param);
    return result;
}

PF_Err takeParameter(Host::Impl& host, PF_ParamDef const* param) {
    auto const held = host.heldParameters.find(param);
    if (held != host.heldParameters.end()) {
        if (--held->second == 0) host.heldParameters.erase(held);
        --host.monitor.outstanding.parameters;
        return PF_Err_NONE;
    }
    if (param && host.refusedParameters.erase(param) > 0) return PF_Err_NONE;
    host.monitor.noteMistake("checkin_param: not a parameter that was checked out");
    return PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err checkinParam(PF_ProgPtr effectRef, PF_ParamDef* param) {
    return answerCall("checkin_param", effectRef,
                      [&](Host::Impl& host) { return takeParameter(host, param); });
}

PF_Err addParam(PF_ProgPtr effectRef, A_long index, PF_ParamDef* def) {
    return answerCall("add_param", effectRef, [&](Host::Impl& host) -> PF_Err {
        if (!def || host.running.command != PF_Cmd_PARAMS_SETUP) return PF_Err_BAD_CALLBACK_PARAM;
        if (index != -1 && index != static_cast<A_long>(host.parameters.size()))
            return PF_Err_INVALID_INDEX;
        if (def->param_type < PF_Param_LAYER || def->param_type > PF_Param_GROUP_END)
            return PF_Err_UNRECOGNIZED_PARAM_TYPE;
        host.registerParameter(*def);
        return PF_Err_NONE;
    });
}

PF_Err abortRequested(PF_ProgPtr effectRef) {
    return answerCall("abort", effectRef, [](Host::Impl& host) {
        return isStopped(host) ? kStoppedByUser : PF_Err_NONE;
    });
}

PF_Err progress(PF_ProgPtr effectRef, A_long, A_long) {
    return answerCall("progress", effectRef, [](Host::Impl&) { return PF_Err_NONE; });
}

PF_Err registerUi(PF_ProgPtr effectRef, PF_CustomUIInfo* info) {
    return answerCall("register_ui", effectRef, [&](Host::Impl& host) -> PF_Err {
        if (!info) return PF_Err_BAD_CALLBACK_PARAM;
        host.customUi = *info;
        return PF_Err_NONE;
    });
}

}  // namespace

PF_InteractCallbacks interCallbacks() {
    PF_InteractCallbacks inter{};
    inter.checkout_param = checkoutParam;
    inter.checkin_param = checkinParam;
    inter.add_param = addParam;
    inter.abort = abortRequested;
    inter.progress = progress;
    inter.register_ui = registerUi;
    return inter;
}

}  // namespace zelk

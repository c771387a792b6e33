// An effect that misbehaves as the environment variable ZELK_UNRULY says, for what `zelk` reports
// about effects: "fail", "mute", "keep", "throw", "refuse", "few". All its parameters are
// checkboxes.
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/effect_api/effect_api.h"
#include "platform/effect_api/plugin_resource.h"

PF_PluginResource pluginResource() {
    return {"Unruly", "Unruly", "Test", kEntryPointName, 0, 0, 0};
}

namespace {

std::string_view mood() {
    char const* const word = std::getenv("ZELK_UNRULY");
    return word ? word : "";
}

PF_Err addParameters(PF_InData* in, PF_OutData* out) {
    out->num_params = mood() == "few" ? 5 : 63;
    for (A_long i = 1; i < out->num_params; ++i) {
        PF_ParamDef def{};
        def.param_type = PF_Param_CHECKBOX;
        def.u.bd.u.nameptr = "";
        if (PF_Err const fault = in->inter.add_param(in->effect_ref, -1, &def)) return fault;
    }
    return PF_Err_NONE;
}

PF_Err renderAsTold(PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef* output) {
    if (mood() == "throw") throw 5;
    if (mood() == "mute") return 6;
    if (mood() == "fail") {
        std::strcpy(out->return_msg, "no film\nin the camera");
        return 7;
    }
    if (mood() == "keep") {
        PF_EffectWorld kept{};
        return in->utils->new_world(in->effect_ref, 4, 4, PF_NewWorldFlag_CLEAR_PIXELS, &kept);
    }
    return in->utils->copy(in->effect_ref, &params[0]->u.ld, output, nullptr, nullptr);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) PF_Err EntryPointFunc(
    PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef* output, void*) {
    if (cmd == PF_Cmd_GLOBAL_SETUP && mood() == "refuse") return 9;
    if (cmd == PF_Cmd_PARAMS_SETUP) return addParameters(in, out);
    if (cmd == PF_Cmd_RENDER) return renderAsTold(in, out, params, output);
    return PF_Err_NONE;
}

// What the user does with the effect's controls, and how the effect shows them.
#include <cstring>

#include "hostkit/host_impl.h"

namespace zelk {

CommandResult Host::userChangedParam(int index, FrameRequest const& frame, World* output) {
    PF_UserChangedParamExtra extra{index};
    CommandScene scene;
    scene.frame = frame;
    scene.output = output;
    scene.extra = &extra;
    return m_impl->run(PF_Cmd_USER_CHANGED_PARAM, scene, true);
}

CommandResult Host::updateParamsUi(FrameRequest const& frame) {
    CommandScene scene;
    scene.frame = frame;
    return m_impl->run(PF_Cmd_UPDATE_PARAMS_UI, scene, true);
}

namespace {

/// What is wrong with a record that is to give a control's look: it has to be a copy of the
/// command's own in all but its look. Null when nothing is.
char const* faultOf(PF_ParamDef const& def, PF_ParamDef const& own) {
    if (&def == &own) return "the host's own record, expected a copy";
    if (def.uu.change_flags) return "a record marked as changed";
    return std::memcmp(&def.u, &own.u, sizeof def.u) ? "another value than the record's" : nullptr;
}

PF_Err updateParamUi(PF_ProgPtr effectRef, A_long index, PF_ParamDef const* def) {
    return answerCall("PF Param Utils Suite 1/PF_UpdateParamUI", effectRef,
                      [&](Host::Impl& host) -> PF_Err {
                          Parameter* const control = findParameter(host.parameters, index);
                          if (!def || !control || index == kInputLayerIndex)
                              return PF_Err_BAD_CALLBACK_PARAM;
                          PF_ParamDef* const* const own = host.running.params;
                          if (char const* const fault = own ? faultOf(*def, *own[index]) : nullptr)
                              host.monitor.noteMistake(std::string("PF_UpdateParamUI: ") + fault);
                          control->current.ui_flags = def->ui_flags;
                          return PF_Err_NONE;
                      });
}

constexpr PF_ParamUtilsSuite1 kParamUtilsSuite = {updateParamUi};
constexpr OfferedSuite kControlSuites[] = {
    {kPFParamUtilsSuite, kPFParamUtilsSuiteVersion1, &kParamUtilsSuite},
};

}  // namespace

std::span<OfferedSuite const> controlSuites() { return kControlSuites; }

}  // namespace zelk

// The effect's entry: the one function of the module that a host calls, with every command.
#pragma once

#include "platform/effect_api/effect_commands.h"

/// Carries out `cmd`; 0, or the first code other than 0 that the work met. A command that the
/// effect doesn't handle gives 0 and touches nothing. No exception leaves it: a missing suite
/// gives PF_Err_BAD_CALLBACK_PARAM, a lack of memory PF_Err_OUT_OF_MEMORY. The number of threads
/// that parallel loops of the calling thread may take is the same after the call as before.
extern "C" __attribute__((visibility("default"))) PF_Err EntryPointFunc(
    PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params, PF_LayerDef* output,
    void* extra);

// An effect module without an effect: every command goes to a function that a test sets, which so
// stands inside a real command of the host, with its records and callbacks.
#include "tests/host/ae_probe.h"

namespace {
zelk_test::ProbeBody const* theBody = nullptr;
}

extern "C" __attribute__((visibility("default"))) void setProbeBody(
    zelk_test::ProbeBody const* body) {
    theBody = body;
}

extern "C" __attribute__((visibility("default"))) PF_Err EntryPointFunc(PF_Cmd, PF_InData* in_data,
                                                                        PF_OutData* out_data,
                                                                        PF_ParamDef** params,
                                                                        PF_LayerDef* output,
                                                                        void*) {
    return theBody ? (*theBody)({in_data, out_data, params, output}) : PF_Err_NONE;
}

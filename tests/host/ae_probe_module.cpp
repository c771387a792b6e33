// An effect module without an effect: every command goes to a function that a test sets, which so
// stands inside a real command of the host, with its records and callbacks.
#define ZELK_PROBE_MODULE ""  // only tests need the path
#include "tests/host/ae_probe.h"

#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))

static zelk_test::ProbeBody const* theBody = nullptr;

PROBE_EXPORT void setProbeBody(zelk_test::ProbeBody const* body) { theBody = body; }

PROBE_EXPORT PF_Err EntryPointFunc(PF_Cmd command, PF_InData* in, PF_OutData* out,
                                   PF_ParamDef** params, PF_LayerDef* output, void* extra) {
    const zelk_test::ProbeCommand call = {{command, in, out, params, output}, extra};
    return theBody ? (*theBody)(call) : PF_Err_NONE;
}

// The tool in the user's hand, for effects that leave a click to the host's other tools.
#include "hostkit/host_impl.h"

namespace zelk {
namespace {

PF_Err getCurrentTool(A_u_char* tool) {
    return answerCall("AE Plugin Helper Suite 1/PF_GetCurrentTool",
                      [&](Host::Impl& host) -> PF_Err {
                          if (!tool) return PF_Err_BAD_CALLBACK_PARAM;
                          *tool = host.currentTool;
                          return PF_Err_NONE;
                      });
}

constexpr PF_HelperSuite1 kHelperSuite = {getCurrentTool};
constexpr OfferedSuite kToolSuites[] = {
    {kAEPluginHelperSuite, kAEPluginHelperSuiteVersion1, &kHelperSuite},
};

}  // namespace

std::span<OfferedSuite const> toolSuites() { return kToolSuites; }

}  // namespace zelk

// One question to the host's helper suite.
#include "interaction/current_tool_is_pointer.h"

namespace {
constexpr A_u_char kSelectionTool = 1;
constexpr A_short kFirstMajorWithTools = 12;
}  // namespace

bool current_tool_is_pointer(PF_InData* in_data, PF_OutData*) {
    if (in_data->appl_id == kAppPremierePro) return true;
    if (in_data->version.major < kFirstMajorWithTools || !in_data->pica_basicP) return true;
    SPBasicSuite const& suites = *in_data->pica_basicP;
    void const* table = nullptr;
    suites.AcquireSuite(kAEPluginHelperSuite, kAEPluginHelperSuiteVersion1, &table);
    if (!table) return true;
    A_u_char tool = kSelectionTool;
    if (static_cast<PF_HelperSuite1 const*>(table)->PF_GetCurrentTool(&tool) == PF_Err_NONE)
        suites.ReleaseSuite(kAEPluginHelperSuite, kAEPluginHelperSuiteVersion1);
    return tool == kSelectionTool;
}

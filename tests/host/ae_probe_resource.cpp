// What the probe's resource tells, and what a test that sets it up has to answer.
#include "platform/effect_api/plugin_resource.h"

PF_PluginResource pluginResource() {
    return {.name = "Probe",
            .match_name = "Probe",
            .category = "Test",
            .entry_point = kEntryPointName,
            .version = effectVersion(2, 1, 0, PF_Stage_BETA, 7),
            .out_flags = PF_OutFlag_DEEP_COLOR_AWARE,
            .out_flags2 = 0};
}

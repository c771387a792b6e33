// What the effect says of itself, once for the resource that a host reads and for the entry's own
// answers.
#include "platform/effect_api/plugin_resource.h"

PF_PluginResource pluginResource() {
    return {
        .name = "Quorvane Zelk Corner Pin",
        .match_name = "QV Zelk Corner Pin",
        .category = "Distort",
        .entry_point = kEntryPointName,
        .version = effectVersion(1, 0, 0, PF_Stage_RELEASE, 0),
        .out_flags = PF_OutFlag_KEEP_RESOURCE_OPEN | PF_OutFlag_CUSTOM_UI |
                     PF_OutFlag_I_USE_SHUTTER_ANGLE | PF_OutFlag_DEEP_COLOR_AWARE |
                     PF_OutFlag_SEND_UPDATE_PARAMS_UI,
        .out_flags2 = PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG |
                      PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE,
    };
}

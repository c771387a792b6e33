// A shared object with the resource of an effect, but without its entry.
#include "platform/effect_api/plugin_resource.h"

PF_PluginResource pluginResource() {
    return {"No Entry", "No Entry", "Test", "EntryPointFunc", 0, 0, 0};
}

extern "C" __attribute__((visibility("default"))) int someOtherFunction() { return 0; }

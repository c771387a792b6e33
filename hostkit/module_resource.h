// The resource of an effect module, as platform/effect_api/plugin_resource.h lays it out, read and
// held against what the module answers.
#pragma once

#include <filesystem>
#include <string>

#include "platform/effect_api/effect_types.h"

namespace zelk {

/// What a module says of itself in its resource.
struct ModuleResource {
    std::string name, matchName, category, entryPoint;
    A_u_long version = 0;
    A_u_long outFlags = 0, outFlags2 = 0;
};

/// Reads the resource beside `module`. Throws HostError when it is missing or not sound.
ModuleResource readModuleResource(std::filesystem::path const& module);

/// A module's answer to PF_Cmd_GLOBAL_SETUP, beside the flags that stood there before.
struct SetUpAnswer {
    A_u_long version;
    A_u_long outFlags, outFlags2;
    A_u_long initialOutFlags, initialOutFlags2;
};

/// Throws HostError when version or flags are not those of the resource. Flags that stood there
/// before say nothing.
void requireStatedAnswer(std::filesystem::path const& module, ModuleResource const& stated,
                         SetUpAnswer const& answer);

}  // namespace zelk

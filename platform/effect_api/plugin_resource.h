// The resource of an effect module: what a host reads of it before any of its code runs.
//
// It is a text file beside the module, named after it: "Effect.so" has "Effect.so.json". The text
// is one JSON object in UTF-8, with the keys below; other keys are passed over.
//
//   "name"        string, 1 to 31 bytes: what the user reads in menus
//   "matchName"   string, 1 to 31 bytes: what stored projects know the effect by; it never changes
//   "category"    string, 1 to 31 bytes: the menu that the effect stands in
//   "entryPoint"  string, 1 to 255 bytes: the module's exported function, a PF_EntryPoint
//   "version"     whole number of 32 bits, as effectVersion lays it out
//   "outFlags"    whole number of 32 bits: PF_OutFlag_*
//   "outFlags2"   whole number of 32 bits: PF_OutFlag2_*
//
// Version and flags are what the module answers to PF_Cmd_GLOBAL_SETUP; a host may refuse a module
// whose answers differ. The build writes the file from the module's own declaration, with
// zelk_plugin_resource of this folder's CMakeLists.txt.
#pragma once

#include "platform/effect_api/effect_commands.h"

constexpr char kPluginResourceSuffix[] = ".json";  ///< after the module's file name

/// A module's declaration of its resource. Strings live as long as the program.
struct PF_PluginResource {
    char const* name;
    char const* match_name;
    char const* category;
    char const* entry_point;
    A_u_long version;
    A_u_long out_flags;
    A_u_long out_flags2;
};

/// Each module defines its own, in a unit that the writer of its resource is built with too.
PF_PluginResource pluginResource();

// Writes the resource of the module whose declaration this program is built with:
//
//     write_plugin_resource FILE
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/effect_api/plugin_resource.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: write_plugin_resource FILE\n", stderr);
        return 2;
    }
    PF_PluginResource const told = pluginResource();
    nlohmann::ordered_json const json = {
        {"name", told.name},
        {"matchName", told.match_name},
        {"category", told.category},
        {"entryPoint", told.entry_point},
        {"version", told.version},
        {"outFlags", told.out_flags},
        {"outFlags2", told.out_flags2},
    };
    std::ofstream file(argv[1]);
    file << json.dump(2) << '\n';
    file.close();
    if (file) return 0;
    std::fprintf(stderr, "%s: cannot be written\n", argv[1]);
    return 1;
}

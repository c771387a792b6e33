// Who may include whom: reads every #include of the tree and fails on one that points upwards.
// docs/architecture.md has the table of floors with its reasons.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Room {
    std::string prefix;  ///< of the path from the root; the longest match counts
    int floor;
};

const std::vector<Room>& rooms() {
    static const std::vector<Room> all = {
        {"host/PluginHost_API.", 0},
        {"host/PluginRaster_API.", 0},
        {"host/PluginPath_API.", 0},
        {"Transform/Common/", 0},
        {"Transform/Common/QV_Poly/", 1},
        {"Transform/Common/Shadow_BlurPass_RenderFunc/", 1},
        {"Transform/Common/Transform_Core_Render/", 2},
        {"RenderLib/Transform/", 3},
        {"platform/", 3},
        {"params/", 4},
        {"host/", 4},
        {"interaction/", 5},
        {"tracking/", 5},
        {"params/update_ecw", 6},
        {"effect/", 6},
        {"hostkit/", 7},
        {"apps/", 8},
    };
    return all;
}

/// Floor of a path, -1 for a path in no room.
int floorOf(std::string const& path) {
    int floor = -1;
    std::size_t longest = 0;
    for (Room const& room : rooms()) {
        if (path.rfind(room.prefix, 0) != 0 || room.prefix.size() < longest) continue;
        longest = room.prefix.size();
        floor = room.floor;
    }
    return floor;
}

bool startsWith(std::string const& text, char const* prefix) { return text.rfind(prefix, 0) == 0; }

/// Why `from` may not include `to`; empty when it may.
std::string objection(std::string const& from, std::string const& to) {
    const int own = floorOf(from), other = floorOf(to);
    if (other < 0) return "includes " + to + ", which stands in no room";
    if (other > own) return "includes " + to + " from a higher floor";
    if (startsWith(from, "hostkit/") && other >= 1 && !startsWith(to, "platform/") &&
        !startsWith(to, "hostkit/") && other != 2)
        return "includes " + to + ": the host reaches the effect only through its entry";
    // The memory road of the command line runs the pipeline over plain buffers.
    const bool isMemoryRoad = startsWith(from, "apps/zelk/memory_road") &&
                              (to == "host/PluginHost_Memory_Impl.h" || to == "effect/Render.h");
    // One line of a tracking file, which knows nothing of hosts: programs check a file before the
    // import reads it, and must agree with it.
    const bool isTrackingLine = to == "tracking/TrackingLine.h";
    if (startsWith(from, "apps/") && other >= 4 && other <= 6 && !isMemoryRoad && !isTrackingLine)
        return "includes " + to + ": programs reach the effect only through the host";
    return {};
}

/// Quoted includes of a file.
std::vector<std::string> includesOf(fs::path const& file) {
    static const std::regex pattern(R"re(^\s*#\s*include\s*"([^"]+)")re");
    std::vector<std::string> found;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        std::smatch match;
        if (std::regex_search(line, match, pattern)) found.push_back(match[1]);
    }
    return found;
}

TEST(Architecture, NoIncludePointsUpwards) {
    const fs::path root = ZELK_SOURCE_DIR;
    int files = 0, includes = 0;
    for (char const* top : {"host", "Transform", "RenderLib", "platform", "params", "interaction",
                            "tracking", "effect", "hostkit", "apps"}) {
        for (auto const& entry : fs::recursive_directory_iterator(root / top)) {
            const std::string extension = entry.path().extension();
            if (extension != ".h" && extension != ".cpp") continue;
            const std::string from = fs::relative(entry.path(), root).generic_string();
            ++files;
            for (std::string const& to : includesOf(entry.path())) {
                ++includes;
                EXPECT_EQ(objection(from, to), "") << from;
            }
        }
    }
    EXPECT_GT(files, 50);
    EXPECT_GT(includes, 100);
}

TEST(Architecture, ObjectionsAreRaised) {
    EXPECT_NE(objection("Transform/Common/QV_Poly/QV_Poly.h", "params/ParamIndex.h"), "");
    EXPECT_NE(objection("hostkit/host.cpp", "effect/Render.h"), "");
    EXPECT_NE(objection("apps/zelk/main.cpp", "params/ParamIndex.h"), "");
    EXPECT_NE(objection("host/PluginHost_API.h", "nowhere/x.h"), "");
    EXPECT_EQ(objection("effect/Render.cpp", "RenderLib/Transform/CommonRender.h"), "");
    EXPECT_EQ(objection("params/ParamsSetup.cpp", "host/PluginHost_AE_Impl.h"), "");
}

}  // namespace

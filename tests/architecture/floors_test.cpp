// Who may include whom: reads every #include of the tree and fails on one that points upwards, and
// on circles. docs/architecture.md has the table of floors with its reasons.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Room {
    std::string_view prefix;  ///< of the path from the root; the longest match counts
    int floor;
};
constexpr Room kRooms[] = {{"host/PluginHost_API.", 0},
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
                           {"zelk/text/", 8},
                           {"zelk/files/", 9},
                           {"zelk/pictures/", 10},
                           {"zelk/color/", 11},
                           {"zelk/movies/", 12},
                           {"zelk/inputs/", 13},
                           {"zelk/tracks/", 14},
                           {"zelk/scene/", 15},
                           {"zelk/render/", 16},
                           {"zelk/sequence/", 17},
                           {"apps/", 18},
                           {"apps/zelk/", 19},
                           {"apps/zelk-demo/", 19},
                           {"bindings/python/", 19},
                           {"bindings/common/", 19},
                           {"bindings/openfx/", 20},
                           {"bindings/frei0r/", 20}};

/// Floor of a path, -1 for a path in no room.
int floorOf(std::string const& path) {
    Room found{"", -1};
    for (Room const& room : kRooms)
        if (path.starts_with(room.prefix) && room.prefix.size() > found.prefix.size()) found = room;
    return found.floor;
}

/// Why `from` may not include `to`; empty when it may.
std::string objection(std::string const& from, std::string const& to) {
    int const own = floorOf(from), other = floorOf(to);
    if (other < 0) return "includes " + to + ", which stands in no room";
    if (other > own) return "includes " + to + " from a higher floor";
    if (from.starts_with("hostkit/") && other >= 1 && !to.starts_with("platform/") &&
        !to.starts_with("hostkit/") && other != 2)
        return "includes " + to + ": the host reaches the effect only through its entry";
    // The memory road runs the pipeline over plain buffers.
    bool const isMemoryRoad = from.starts_with("zelk/render/memory_road") &&
                              (to == "host/PluginHost_Memory_Impl.h" || to == "effect/Render.h");
    // One line of a tracking file, which knows nothing of hosts: programs check a file before the
    // import reads it, and must agree with it.
    bool const isTrackingLine = to == "tracking/TrackingLine.h";
    // Which parameter stands where, and its name, are facts of the module's interface.
    bool const isIndex = to == "params/ParamIndex.h" || to == "params/ParameterNames.h";
    // The other side of a seam of their own: they bind the pipeline to hosts of other kinds.
    bool const isBinding = from.starts_with("bindings/") && !from.starts_with("bindings/python/");
    if (own > 7 && other >= 4 && other <= 6 && !isMemoryRoad && !isTrackingLine && !isIndex &&
        !isBinding)
        return "includes " + to + ": programs reach the effect only through the host";
    return {};
}

/// What each file includes by a path from the root.
using Includes = std::map<std::string, std::vector<std::string>>;

Includes includesOfTree() {
    const std::regex include(R"re(^\s*#\s*include\s*"([^"]+)")re");
    const fs::path root = ZELK_SOURCE_DIR;
    Includes found;
    for (char const* top : {"host", "Transform", "RenderLib", "platform", "params", "interaction",
                            "tracking", "effect", "hostkit", "zelk", "apps", "bindings"}) {
        for (auto const& entry : fs::recursive_directory_iterator(root / top)) {
            const std::string extension = entry.path().extension();
            if (extension != ".h" && extension != ".cpp") continue;
            auto& included = found[fs::relative(entry.path(), root).generic_string()];
            std::ifstream in(entry.path());
            std::smatch match;
            for (std::string line; std::getline(in, line);)
                if (std::regex_search(line, match, include)) included.push_back(match[1]);
        }
    }
    return found;
}

/// All that a file includes, directly or through others.
std::set<std::string> reachedFrom(std::string const& file, Includes const& includes) {
    std::set<std::string> reached;
    std::vector<std::string> open = {file};
    while (!open.empty()) {
        auto const found = includes.find(open.back());
        open.pop_back();
        if (found == includes.end()) continue;
        for (std::string const& next : found->second)
            if (reached.insert(next).second) open.push_back(next);
    }
    return reached;
}

TEST(Architecture, NoIncludePointsUpwards) {
    std::size_t includes = 0;
    auto const tree = includesOfTree();
    for (auto const& [from, included] : tree) {
        includes += included.size();
        for (std::string const& to : included) EXPECT_EQ(objection(from, to), "") << from;
    }
    EXPECT_GT(tree.size(), 50u);
    EXPECT_GT(includes, 100u);
}

TEST(Architecture, NoFileLeadsBackToItself) {
    auto const tree = includesOfTree();
    for (auto const& [file, included] : tree)
        EXPECT_FALSE(reachedFrom(file, tree).count(file)) << file;
    const Includes circle = {{"a.h", {"b.h"}}, {"b.h", {"c.h"}}, {"c.h", {"b.h"}}};
    EXPECT_TRUE(reachedFrom("b.h", circle).count("b.h"));
    EXPECT_FALSE(reachedFrom("a.h", circle).count("a.h"));
}

TEST(Architecture, ObjectionsAreRaised) {
    EXPECT_NE(objection("Transform/Common/QV_Poly/QV_Poly.h", "params/ParamIndex.h"), "");
    EXPECT_NE(objection("hostkit/host.cpp", "effect/Render.h"), "");
    EXPECT_NE(objection("apps/zelk/main.cpp", "params/ParamsSetup.h"), "");
    EXPECT_NE(objection("zelk/scene/clock.h", "zelk/render/setup.h"), "");
    EXPECT_NE(objection("zelk/sequence/progress.cpp", "apps/zelk/cli.h"), "");
    EXPECT_NE(objection("zelk/render/setup.cpp", "bindings/python/arrays.h"), "");
    EXPECT_NE(objection("bindings/python/module.cpp", "effect/Render.h"), "");
    EXPECT_NE(objection("host/PluginHost_API.h", "nowhere/x.h"), "");
    EXPECT_EQ(objection("effect/Render.cpp", "RenderLib/Transform/CommonRender.h"), "");
    EXPECT_EQ(objection("params/ParamsSetup.cpp", "host/PluginHost_AE_Impl.h"), "");
}

}  // namespace

// Who may include whom, by the table of docs/architecture.md: reads every #include of the tree and
// fails on one that points upwards, and on circles.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// By the beginning of a path from the root, as the page's table has them.
std::map<std::string, int> floorsOfPage() {
    const std::regex row(R"(\| (\d+) \| ([^|]*) \|.*)"), place("`([^`*]+)[^`]*`");
    std::ifstream page(ZELK_SOURCE_DIR "/docs/architecture.md");
    std::map<std::string, int> floors;
    std::smatch cells;
    for (std::string line; std::getline(page, line);) {
        if (!std::regex_match(line, cells, row)) continue;
        const std::string places = cells[2];
        for (std::sregex_iterator at(places.begin(), places.end(), place), end; at != end; ++at)
            floors[(*at)[1]] = std::stoi(cells[1]);
    }
    return floors;
}

/// Floor of a path, -1 for a path in no room. The longest beginning, which counts, comes last.
int floorOf(std::string const& path) {
    static auto const floors = floorsOfPage();
    int found = -1;
    for (auto const& [beginning, floor] : floors)
        if (path.starts_with(beginning)) found = floor;
    return found;
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

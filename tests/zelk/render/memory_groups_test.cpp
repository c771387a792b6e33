// Control groups as the system shows them, in a folder that stands for its root.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/support/temporary_folder.h"
#include "zelk/render/memory_groups.h"

namespace zelk {
namespace {

struct Case {
    char const* name;
    std::map<std::string, std::string> files;
    std::uint64_t left;
};

constexpr char const* kMounts1 =
    "36 31 0:32 / /cg/memory rw - cgroup cgroup rw,memory\n"
    "41 31 0:38 / /cg/unified rw - cgroup2 cgroup2 rw\n";
constexpr char const* kMounts2 = "41 31 0:38 / /cg\\040x rw shared:4 - cgroup2 cgroup2 rw\n";
// Of a container: the mount begins at its own group.
constexpr char const* kContainer = "36 31 0:32 /box/a /cg/memory rw - cgroup cgroup rw,memory\n";
constexpr char const* kNoLimit1 = "9223372036854771712\n";

TEST(MemoryGroups, TheTightestOnTheWayUpCounts) {
    std::string const mounts = "proc/self/mountinfo", groups = "proc/self/cgroup";
    std::vector<Case> const cases = {
        {"none", {}, kNoMemoryLimit},
        {"no limits",
         {{mounts, kMounts2}, {groups, "0::/a/b\n"}, {"cg x/a/b/memory.max", "max\n"}},
         kNoMemoryLimit},
        {"2, the middle one",
         {{mounts, kMounts2},
          {groups, "0::/a/b\n"},
          {"cg x/a/b/memory.max", "9000\n"},
          {"cg x/a/b/memory.current", "100\n"},
          {"cg x/a/memory.max", "5000\n"},
          {"cg x/a/memory.current", "4500\n"},
          {"cg x/a/memory.stat", "anon 4200\ninactive_file 300\n"}},
         800},
        {"2, used up",
         {{mounts, kMounts2},
          {groups, "0::/a\n"},
          {"cg x/a/memory.max", "5\n"},
          {"cg x/a/memory.current", "9\n"}},
         0},
        {"1 beside 2, the own one",
         {{mounts, kMounts1},
          {groups, "4:cpu,memory:/a/b\n0::/\n"},
          {"cg/memory/a/b/memory.limit_in_bytes", "700\n"},
          {"cg/memory/a/b/memory.usage_in_bytes", "100\n"},
          {"cg/memory/a/memory.limit_in_bytes", kNoLimit1},
          {"cg/memory/a/memory.usage_in_bytes", "100\n"}},
         600},
        {"1, the top",
         {{mounts, kMounts1},
          {groups, "4:memory:/a\n"},
          {"cg/memory/memory.limit_in_bytes", "50\n"}},
         50},
        {"1 in a container, by the host's path",
         {{mounts, kContainer},
          {groups, "4:memory:/box/a/in\n"},
          {"cg/memory/in/memory.limit_in_bytes", "70\n"},
          {"cg/memory/memory.limit_in_bytes", "90\n"}},
         70},
        {"1 in a container, beyond its mount",
         {{mounts, kContainer},
          {groups, "4:memory:/else\n"},
          {"cg/memory/memory.limit_in_bytes", kNoLimit1},
          {"cg/memory/memory.usage_in_bytes", "10\n"},
          {"cg/memory/memory.stat",
           "cache 5\nhierarchical_memory_limit 40\ntotal_inactive_file 4\n"}},
         34},
    };
    for (Case const& each : cases) {
        zelk_test::TemporaryFolder const root;
        for (auto const& [file, text] : each.files) {
            std::filesystem::create_directories(root.at(file).parent_path());
            root.put(file, text);
        }
        EXPECT_EQ(memoryGroupsLeft(root.path()), each.left) << each.name;
    }
}

}  // namespace
}  // namespace zelk

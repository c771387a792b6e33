// Control groups as the system shows them, in a folder that stands for its root. memory_groups.txt
// has a case a paragraph: its name, the bytes that are left or `-`, and lines of files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/temporary_folder.h"
#include "zelk/render/memory_groups.h"

namespace zelk {
namespace {

TEST(MemoryGroups, TheTightestOnTheWayUpCounts) {
    std::ifstream rows(ZELK_MEMORY_GROUPS);
    int count = 0;
    for (std::string name, left, line; std::getline(rows, name); ++count) {
        zelk_test::TemporaryFolder const root;
        ASSERT_TRUE(std::getline(rows, left));
        while (std::getline(rows, line) && !line.empty()) {
            auto const bar = line.find('|');
            fs::path const file = root.at(line.substr(0, bar));
            fs::create_directories(file.parent_path());
            std::ofstream(file, std::ios::app) << line.substr(bar + 1) << '\n';
        }
        EXPECT_EQ(memoryGroupsLeft(root.path()), left == "-" ? kNoMemoryLimit : std::stoull(left))
            << name;
    }
    EXPECT_EQ(count, 8);
}

}  // namespace
}  // namespace zelk

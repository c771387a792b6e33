// Which groups there are, and what they say; see memory_groups.h.
#include "zelk/render/memory_groups.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <fstream>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Names of a version's files.
struct GroupFiles {
    char const *limit, *used, *freeable, *aboveToo;
};
constexpr GroupFiles kFiles1 = {"memory.limit_in_bytes", "memory.usage_in_bytes",
                                "total_inactive_file", "hierarchical_memory_limit"};
constexpr GroupFiles kFiles2 = {"memory.max", "memory.current", "inactive_file", nullptr};

struct Hierarchy {
    fs::path mount;   ///< as the process sees it
    std::string top;  ///< the group that is mounted there
};

/// The first number; nothing for "max", and where there is no such file.
std::optional<std::uint64_t> numberIn(fs::path const& file) {
    std::ifstream in(file);
    std::uint64_t value = 0;
    return in >> value ? std::optional(value) : std::nullopt;
}

/// The numbers after two keys in lines of "key number"; a null key has none.
struct Stat {
    std::optional<std::uint64_t> freeable, above;

    Stat(fs::path const& file, GroupFiles const& names) {
        std::ifstream in(file);
        std::string word;
        for (std::uint64_t value = 0; in >> word >> value;) {
            if (word == names.freeable) freeable = value;
            if (names.aboveToo && word == names.aboveToo) above = value;
        }
    }
};

bool hasWord(std::string const& list, std::string const& word) {
    std::istringstream words(list);
    for (std::string each; std::getline(words, each, ',');)
        if (each == word) return true;
    return false;
}

/// mountinfo writes blanks and the like as \040.
std::string unescaped(std::string const& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        int code = 0;
        bool const hasCode =
            text[i] == '\\' && i + 3 < text.size() &&
            std::from_chars(text.data() + i + 1, text.data() + i + 4, code, 8).ptr ==
                text.data() + i + 4;
        plain += hasCode ? static_cast<char>(code) : text[i];
        i += hasCode ? 3 : 0;
    }
    return plain;
}

/// Of `36 35 98:0 /top /mount rw,noatime shared:1 - cgroup cgroup rw,memory`.
std::optional<Hierarchy> hierarchyIn(fs::path const& mounts, bool isVersion2) {
    std::ifstream in(mounts);
    for (std::string line; std::getline(in, line);) {
        auto const dash = line.find(" - ");
        if (dash == line.npos) continue;
        std::istringstream front(line.substr(0, dash)), back(line.substr(dash + 3));
        std::string word, top, mount, type, source, options;
        front >> word >> word >> word >> top >> mount;
        back >> type >> source >> options;
        bool const isIt =
            isVersion2 ? type == "cgroup2" : type == "cgroup" && hasWord(options, "memory");
        if (isIt) return Hierarchy{unescaped(mount), unescaped(top)};
    }
    return std::nullopt;
}

/// The process's own group in that hierarchy: of `4:memory:/group`, or `0::/group`.
std::optional<std::string> groupIn(fs::path const& groups, bool isVersion2) {
    std::ifstream in(groups);
    for (std::string line; std::getline(in, line);) {
        auto const first = line.find(':'), second = line.find(':', first + 1);
        if (second == line.npos) continue;
        std::string const controllers = line.substr(first + 1, second - first - 1);
        bool const isIt = isVersion2 ? line.starts_with("0::") : hasWord(controllers, "memory");
        if (isIt) return line.substr(second + 1);
    }
    return std::nullopt;
}

/// Where the group lies below the mount; the mount itself where it can't be seen from here.
fs::path belowTop(std::string const& group, std::string const& top) {
    fs::path const relative = fs::path(group).lexically_relative(top);
    bool const isSeen = !relative.empty() && *relative.begin() != "..";
    return isSeen ? relative : fs::path(".");
}

/// A group of version 1 without a limit has one beyond any memory there is.
std::uint64_t leftIn(fs::path const& group, GroupFiles const& names) {
    Stat const stat(group / "memory.stat", names);
    std::uint64_t const used = numberIn(group / names.used).value_or(0);
    std::uint64_t const freeable = std::min(used, stat.freeable.value_or(0));
    auto limit = numberIn(group / names.limit);
    if (stat.above) limit = std::min(limit.value_or(kNoMemoryLimit), *stat.above);
    if (!limit) return kNoMemoryLimit;
    return *limit > used - freeable ? *limit - (used - freeable) : 0;
}

/// One of the groups around the process.
struct Group {
    fs::path folder;
    GroupFiles const* names;
};

void addGroups(fs::path const& root, bool isVersion2, std::vector<Group>& groups) {
    auto const hierarchy = hierarchyIn(root / "proc/self/mountinfo", isVersion2);
    auto const group = groupIn(root / "proc/self/cgroup", isVersion2);
    if (!hierarchy || !group) return;
    GroupFiles const* const names = isVersion2 ? &kFiles2 : &kFiles1;
    fs::path at = root / hierarchy->mount.relative_path();
    groups.push_back({at, names});
    for (fs::path const& step : belowTop(*group, hierarchy->top)) {
        at /= step;
        if (step != ".") groups.push_back({at, names});
    }
}

std::vector<Group> groupsAround(fs::path const& root) {
    std::vector<Group> groups;
    addGroups(root, false, groups);
    addGroups(root, true, groups);
    return groups;
}

/// Processes are seldom moved from group to group, and small frames ask thousands of times a
/// second: what was found a second ago will do.
std::vector<Group> ownGroups() {
    using Clock = std::chrono::steady_clock;
    static std::mutex mutex;
    static std::vector<Group> groups;
    static std::optional<Clock::time_point> found;
    std::lock_guard const lock(mutex);
    if (!found || Clock::now() - *found > std::chrono::seconds(1)) {
        groups = groupsAround("/");
        found = Clock::now();
    }
    return groups;
}

}  // namespace

std::uint64_t memoryGroupsLeft(fs::path const& root) {
    std::uint64_t left = kNoMemoryLimit;
    for (Group const& group : root == "/" ? ownGroups() : groupsAround(root))
        left = std::min(left, leftIn(group.folder, *group.names));
    return left;
}

}  // namespace zelk

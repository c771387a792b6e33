// What the kernel tells of processes under /proc; see process_tag.h.
#include "zelk/files/process_tag.h"

#include <fmt/format.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <fstream>
#include <iterator>

namespace zelk {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kMark = ".zelk-";

std::string contentOf(fs::path const& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::uint32_t machineOf() {
    std::error_code none;
    std::string const all = hostName() + contentOf("/proc/sys/kernel/random/boot_id") +
                            fs::read_symlink("/proc/self/ns/pid", none).string();
    return static_cast<std::uint32_t>(
        ::crc32_z(0, reinterpret_cast<Bytef const*>(all.data()), all.size()));
}

std::uint32_t thisMachine() {
    static std::uint32_t const machine = machineOf();
    return machine;
}

struct ProcessState {
    bool hasEnded = false;  ///< though nobody waited for it yet
    std::uint64_t start = 0;
};

/// Nothing where /proc shows no such process. The line of its state is "ID (NAME) STATE ..." with
/// the start as the 20th word from the state on; the name may hold anything.
std::optional<ProcessState> stateOf(pid_t id) {
    std::string const line = contentOf(fmt::format("/proc/{}/stat", id));
    auto at = line.rfind(')');
    if (at == line.npos || at + 2 >= line.size()) return std::nullopt;
    at += 2;
    ProcessState state;
    state.hasEnded = line[at] == 'Z' || line[at] == 'X';
    for (int word = 1; word < 20 && at != line.npos; ++word) at = line.find(' ', at + 1);
    if (at == line.npos) return std::nullopt;
    std::from_chars(line.data() + at + 1, line.data() + line.size(), state.start);
    return state;
}

/// Whether there is one all the same: /proc may be missing, or show each user his own alone.
bool isThere(pid_t id) { return id > 0 && (::kill(id, 0) == 0 || errno == EPERM); }

template <class Number>
bool take(std::string_view& text, Number& number, int base) {
    auto const [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return fault == std::errc{};
}

bool take(std::string_view& text, char c) {
    bool const isNext = text.starts_with(c);
    text.remove_prefix(isNext);
    return isNext;
}

/// What follows the tag in a hidden name: "-NUMBER", and an extension or nothing.
bool endsHiddenName(std::string_view text) {
    unsigned number = 0;
    return take(text, '-') && take(text, number, 10) && (text.empty() || text.front() == '.');
}

}  // namespace

std::string ProcessTag::text() const { return fmt::format("{:08x}-{}-{}", machine, id, start); }

std::optional<ProcessTag> ProcessTag::at(std::string_view whole) {
    ProcessTag tag;
    std::string_view text = whole;
    bool const isTag = take(text, tag.machine, 16) && take(text, '-') && take(text, tag.id, 10) &&
                       take(text, '-') && take(text, tag.start, 10);
    return isTag && tag.id > 0 && whole.starts_with(tag.text()) ? std::optional(tag) : std::nullopt;
}

ProcessTag thisProcess() {
    return {thisMachine(), ::getpid(), stateOf(::getpid()).value_or(ProcessState()).start};
}

std::optional<ProcessTag> processOf(pid_t id) {
    auto const state = stateOf(id);
    if (!state || state->hasEnded) return std::nullopt;
    return ProcessTag{thisMachine(), id, state->start};
}

std::string hostName() {
    std::array<char, 256> name{};
    ::gethostname(name.data(), name.size() - 1);
    return name.data();
}

Life lifeOf(ProcessTag const& process) {
    if (process.machine != thisMachine()) return Life::kUnknown;
    if (auto const state = stateOf(process.id))
        return !state->hasEnded && state->start == process.start ? Life::kAlive : Life::kDead;
    return isThere(process.id) ? Life::kUnknown : Life::kDead;
}

std::string hiddenName(fs::path const& target, int number) {
    constexpr std::size_t kLongest = 255;
    std::string const end =
        fmt::format("{}{}-{}{}", kMark, thisProcess().text(), number, target.extension().string());
    std::string start = "." + target.stem().string();
    std::size_t room = kLongest - std::min(end.size(), kLongest);
    // No character of several bytes is cut: there are file systems that refuse such names.
    auto const isWithinCharacter = [&] { return (start[room] & 0xC0) == 0x80; };
    if (room < start.size()) {
        while (room > 0 && isWithinCharacter()) --room;
        start.resize(room);
    }
    return start + end;
}

std::optional<ProcessTag> makerOf(std::string_view name) {
    if (!name.starts_with('.')) return std::nullopt;
    // From the end, since a stem may have a mark too; an extension may begin as the mark does.
    for (auto at = name.rfind(kMark); at != name.npos;
         at = at ? name.rfind(kMark, at - 1) : name.npos) {
        std::string_view const rest = name.substr(at + kMark.size());
        auto const tag = ProcessTag::at(rest);
        if (tag && endsHiddenName(rest.substr(tag->text().size()))) return tag;
    }
    return std::nullopt;
}

}  // namespace zelk

// What the kernel tells of processes under /proc; see process_tag.h.
#include "zelk/files/process_tag.h"

#include <fmt/format.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <charconv>
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

/// Nothing for a process that has ended, waited for or not. The line of its state is "ID (NAME)
/// STATE ..." with the start as the 20th word from the state on; the name may hold anything.
std::optional<std::uint64_t> startOf(pid_t id) {
    std::string const line = contentOf(fmt::format("/proc/{}/stat", id));
    auto at = line.rfind(')');
    if (at == line.npos || at + 2 >= line.size()) return std::nullopt;
    at += 2;
    if (line[at] == 'Z' || line[at] == 'X') return std::nullopt;
    for (int word = 1; word < 20 && at != line.npos; ++word) at = line.find(' ', at + 1);
    if (at == line.npos) return std::nullopt;
    std::uint64_t start = 0;
    std::from_chars(line.data() + at + 1, line.data() + line.size(), start);
    return start;
}

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

}  // namespace

std::string ProcessTag::text() const { return fmt::format("{:08x}-{}-{}", machine, id, start); }

std::optional<ProcessTag> ProcessTag::at(std::string_view text) {
    ProcessTag tag;
    bool const isTag = take(text, tag.machine, 16) && take(text, '-') && take(text, tag.id, 10) &&
                       take(text, '-') && take(text, tag.start, 10);
    return isTag ? std::optional(tag) : std::nullopt;
}

ProcessTag thisProcess() { return {thisMachine(), ::getpid(), startOf(::getpid()).value_or(0)}; }

std::string hostName() {
    std::array<char, 256> name{};
    ::gethostname(name.data(), name.size() - 1);
    return name.data();
}

Life lifeOf(ProcessTag const& process) {
    if (process.machine != thisMachine()) return Life::kUnknown;
    return startOf(process.id) == process.start ? Life::kAlive : Life::kDead;
}

std::string hiddenName(fs::path const& target, int number) {
    constexpr std::size_t kLongest = 255;
    std::string const end =
        fmt::format("{}{}-{}{}", kMark, thisProcess().text(), number, target.extension().string());
    std::string const start = "." + target.stem().string();
    return start.substr(0, kLongest - std::min(end.size(), kLongest)) + end;
}

std::optional<ProcessTag> makerOf(std::string_view name) {
    auto const at = name.rfind(kMark);
    if (!name.starts_with('.') || at == name.npos) return std::nullopt;
    return ProcessTag::at(name.substr(at + kMark.size()));
}

}  // namespace zelk

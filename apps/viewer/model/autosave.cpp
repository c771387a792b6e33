// See autosave.h.
#include "apps/viewer/model/autosave.h"

#include <fmt/format.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <system_error>
#include <utility>

#include "zelk/files/left_overs.h"
#include "zelk/files/process_tag.h"
#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kEnding = ".zelk-recovery";

std::string nextName() {
    static std::atomic<int> count = 0;
    return fmt::format("{}.{}-{}{}", hostName(), thisProcess().text(), ++count, kEnding);
}

/// By the clock of its files.
fs::file_time_type startOfMachine() {
    timespec up{};
    ::clock_gettime(CLOCK_BOOTTIME, &up);
    return fs::file_time_type::clock::now() - std::chrono::seconds(up.tv_sec);
}

bool isAbandoned(fs::directory_entry const& entry) {
    std::string const name = entry.path().filename().string();
    if (!name.ends_with(kEnding)) return false;
    std::string const stem = name.substr(0, name.size() - kEnding.size());
    auto const dot = stem.rfind('.');
    auto const maker = dot == stem.npos ? std::nullopt : ProcessTag::at(stem.substr(dot + 1));
    if (!maker) return false;
    if (isLeftOver(entry, *maker)) return true;
    std::error_code fault;
    bool const isOfFormerStart = stem.substr(0, dot) == hostName() &&
                                 entry.last_write_time(fault) < startOfMachine() && !fault;
    return isOfFormerStart && lifeOf(*maker) == Life::kUnknown;
}

std::string written(fs::path const& file, std::string const& text) {
    try {
        fs::create_directories(file.parent_path());
        writeTextFile(file, text, true);
        return "";
    } catch (std::exception const& error) {
        return oneLine(error.what());
    }
}

}  // namespace

Autosave::Autosave(fs::path folder, Ended ended)
    : m_file(std::move(folder) / nextName()), m_ended(std::move(ended)) {}
Autosave::~Autosave() { wait(); }

bool Autosave::write(HandedScene const& scene) {
    using namespace std::chrono_literals;
    if (m_writing.valid() && m_writing.wait_for(0s) != std::future_status::ready) return false;
    wait();
    m_isThere = true;
    m_writing = std::async(std::launch::async, [this, text = handOverText(scene)] {
        std::string const fault = written(m_file, text);
        if (m_ended) m_ended(fault);
    });
    return true;
}

void Autosave::wait() {
    if (m_writing.valid()) m_writing.get();
}

void Autosave::remove() {
    if (!std::exchange(m_isThere, false)) return;
    wait();
    std::error_code none;
    fs::remove(m_file, none);
}

std::error_code Autosave::adopt(fs::path const& abandoned) {
    wait();
    std::error_code fault;
    fs::rename(abandoned, m_file, fault);
    m_isThere = m_isThere || !fault;  // an own one stays where there is none to adopt
    return fault;
}

void Autosave::giveBack(fs::path const& abandoned) {
    wait();
    std::error_code fault;
    fs::rename(m_file, abandoned, fault);
    m_isThere = false;
    if (fault) m_file.replace_filename(nextName());
}

std::vector<fs::path> abandonedScenes(fs::path const& folder) {
    std::vector<std::pair<fs::file_time_type, fs::path>> found;
    std::error_code fault, none;
    fs::directory_iterator entry(folder, fault);
    for (fs::directory_iterator const end; !fault && entry != end; entry.increment(fault))
        if (isAbandoned(*entry)) found.emplace_back(entry->last_write_time(none), entry->path());
    std::sort(found.rbegin(), found.rend());
    std::vector<fs::path> files;
    for (auto& [time, file] : found) files.push_back(std::move(file));
    return files;
}

std::string nameOfAutosaved(fs::path const& file) {
    try {
        HandedScene const handed = readAutosaved(file);
        if (!handed.file.empty()) return handed.file.string();
        return handed.scene.layer.name() + ", never saved";
    } catch (UserError const& error) {
        return error.what();
    }
}

HandedScene readAutosaved(fs::path const& file) {
    return handedScene(file, readTextFile(file, "an autosaved"));
}

}  // namespace zelk

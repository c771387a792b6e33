// See recent_files.h.
#include "apps/viewer/model/recent_files.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <system_error>

#include "zelk/files/absolute_path.h"
#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

constexpr std::size_t kMostRecent = 10;

RecentFiles::RecentFiles(fs::path const& folder) : m_file(folder / "recent") { read(); }

void RecentFiles::read() {
    m_list.clear();
    try {
        std::istringstream lines(readTextFile(m_file, "a list of recent files"));
        for (std::string line; std::getline(lines, line) && m_list.size() < kMostRecent;)
            if (!line.empty()) m_list.emplace_back(line);
    } catch (UserError const&) {
        // None yet.
    }
}

void RecentFiles::add(fs::path const& file) {
    fs::path const own = plainPath(file);
    if (own.string().find('\n') != std::string::npos) return;
    read();
    std::erase(m_list, own);
    m_list.insert(m_list.begin(), own);
    m_list.resize(std::min(m_list.size(), kMostRecent));
    write();
}

void RecentFiles::clear() {
    m_list.clear();
    write();
}

void RecentFiles::write() const {
    std::string text;
    for (fs::path const& file : m_list) text += file.string() + "\n";
    std::error_code none;
    fs::create_directories(m_file.parent_path(), none);
    try {
        writeTextFile(m_file, text, true);
    } catch (UserError const&) {
        // The list is a comfort: nobody is stopped for it.
    }
}

}  // namespace zelk

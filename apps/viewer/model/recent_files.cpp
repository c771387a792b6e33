// See recent_files.h.
#include "apps/viewer/model/recent_files.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <system_error>

#include "zelk/files/text_file.h"
#include "zelk/files/working_folder.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

constexpr std::size_t kMostRecent = 10;

RecentFiles::RecentFiles(fs::path const& folder) : m_file(folder / "recent") {}

std::vector<fs::path> RecentFiles::list() const {
    std::vector<fs::path> files;
    try {
        std::istringstream lines(readTextFile(m_file, "a list of recent files"));
        for (std::string line; std::getline(lines, line) && files.size() < kMostRecent;)
            if (!line.empty()) files.emplace_back(line);
    } catch (UserError const&) {
        // None yet.
    }
    return files;
}

void RecentFiles::add(fs::path const& file) {
    fs::path const own = fullPath(file).lexically_normal();
    if (own.string().find('\n') != std::string::npos) return;
    auto files = list();
    std::erase(files, own);
    files.insert(files.begin(), own);
    files.resize(std::min(files.size(), kMostRecent));
    write(files);
}

void RecentFiles::clear() { write({}); }

void RecentFiles::write(std::vector<fs::path> const& files) const {
    std::string text;
    for (fs::path const& file : files) text += file.string() + "\n";
    std::error_code none;
    fs::create_directories(m_file.parent_path(), none);
    try {
        writeTextFile(m_file, text, true);
    } catch (UserError const&) {
        // The list is a comfort: nobody is stopped for it.
    }
}

}  // namespace zelk

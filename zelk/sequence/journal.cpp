// Lines of a journal; see journal.h.
#include "zelk/sequence/journal.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

fs::path journalOf(fs::path const& folder) { return folder / ".zelk-journal"; }

std::string lineOf(std::string const& name, FileSum const& sum) {
    nlohmann::ordered_json const line = {
        {"file", name}, {"bytes", sum.bytes}, {"crc32", sumText(sum.crc32)}};
    // A name that is no UTF-8 is not found again: its file is read back.
    return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

void readLine(std::string const& text, std::map<std::string, FileSum>& sums) {
    auto const line = nlohmann::json::parse(text, nullptr, false);
    if (!line.is_object()) return;
    auto const file = line.find("file"), bytes = line.find("bytes"), crc32 = line.find("crc32");
    for (auto const& entry : {file, bytes, crc32})
        if (entry == line.end()) return;
    if (!file->is_string() || !bytes->is_number_unsigned() || !crc32->is_string()) return;
    if (auto const sum = sumNamed(crc32->get_ref<std::string const&>()))
        sums[*file] = {bytes->get<std::uint64_t>(), *sum};
}

}  // namespace

/// Reads what has come up since the last time; a line without its end waits for it.
Journal::Pages& Journal::readPages(fs::path const& folder) {
    Pages& pages = m_folders[folder];
    std::error_code fault;
    auto const bytes = fs::file_size(journalOf(folder), fault);
    if (fault || bytes == pages.bytesRead) return pages;
    if (bytes < pages.bytesRead) pages = {};
    std::ifstream file(journalOf(folder), std::ios::binary);
    file.seekg(static_cast<std::streamoff>(pages.bytesRead));
    for (std::string line; std::getline(file, line) && !file.eof(); ++pages.lines) {
        pages.bytesRead += line.size() + 1;
        readLine(line, pages.sums);
    }
    return pages;
}

std::optional<FileSum> Journal::find(fs::path const& file) {
    std::lock_guard const lock(m_mutex);
    auto const& sums = readPages(file.parent_path()).sums;
    auto const found = sums.find(file.filename().string());
    return found == sums.end() ? std::nullopt : std::optional(found->second);
}

void Journal::note(fs::path const& path, FileSum const& sum) {
    if (!m_mayWrite) return;
    std::string const line = lineOf(path.filename().string(), sum);
    std::lock_guard const lock(m_mutex);
    int const file = ::open(journalOf(path.parent_path()).c_str(),
                            O_CREAT | O_APPEND | O_WRONLY | O_CLOEXEC | O_NONBLOCK, 0666);
    if (file < 0) return;
    [[maybe_unused]] auto const written = ::write(file, line.data(), line.size());
    ::close(file);
}

void Journal::tidy(fs::path const& folder) {
    constexpr std::size_t kFew = 1000;
    std::lock_guard const lock(m_mutex);
    Pages const& pages = readPages(folder);
    if (pages.lines < 2 * pages.sums.size() + kFew) return;
    std::string text;
    for (auto const& [name, sum] : pages.sums) text += lineOf(name, sum);
    try {
        writeTextFile(journalOf(folder), text, true);
    } catch (UserError const&) {
        // It stays as long as it is.
    }
    m_folders.erase(folder);
}

}  // namespace zelk

// What runs wrote into a folder, so that a later one need not read every picture back: the hidden
// file `.zelk-journal`, one JSON object a line:
//
//   {"file":"out.1001.exr","bytes":183402,"crc32":"5f0c1a22"}
//
// The last line of a file counts. Lines are appended by one write each, whoever writes; one that
// can't be read is passed over. A journal that can't be written, or is lost, costs time and nothing
// else.
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "zelk/files/file_sum.h"

namespace zelk {

/// The journals of the folders that a run's frames lie in; for several threads.
class Journal {
public:
    explicit Journal(bool mayWrite = true) : m_mayWrite(mayWrite) {}
    /// What a file was when it was written last, by this run or any other so far.
    std::optional<FileSum> find(std::filesystem::path const& file);
    void note(std::filesystem::path const& file, FileSum const& sum);
    /// Rewrites a folder's journal where most of its lines count no more. No other run may write.
    void tidy(std::filesystem::path const& folder);

private:
    struct Pages {
        std::map<std::string, FileSum> sums;
        std::uintmax_t bytesRead = 0;
        std::size_t lines = 0;
    };
    Pages& readPages(std::filesystem::path const& folder);

    bool m_mayWrite;
    std::mutex m_mutex;
    std::map<std::filesystem::path, Pages> m_folders;
};

}  // namespace zelk

// See whole_frames.h.
#include "zelk/sequence/whole_frames.h"

#include <utility>

#include "zelk/inputs/input_files.h"
#include "zelk/pictures/written_check.h"

namespace zelk {

namespace fs = std::filesystem;

WholeFrames::WholeFrames(SkipExisting mode, Journal* journal,
                         std::function<std::optional<PixelSize>()> frameSize)
    : m_mode(mode), m_journal(journal), m_askSize(std::move(frameSize)) {}

bool WholeFrames::isWhole(fs::path const& file) {
    if (m_mode == SkipExisting::kNo) return false;
    if (m_mode == SkipExisting::kByName) return onDisk(file);
    std::error_code fault;
    auto const bytes = fs::is_regular_file(file, fault) ? fs::file_size(file, fault) : 0;
    if (fault || bytes == 0) return false;
    auto const known = m_journal ? m_journal->find(file) : std::nullopt;
    if (known && known->bytes == bytes && sumOf(file) == known) return true;
    auto const size = wholePictureSize(file);
    if (!size) return false;
    if (!m_size) m_size = m_askSize();
    if (!*m_size) return true;
    if (*size != **m_size) return false;
    if (auto const sum = m_journal ? sumOf(file) : std::nullopt) m_journal->note(file, *sum);
    return true;
}

}  // namespace zelk

// The list of inputs; see kept_inputs.h.
#include "zelk/render/kept_inputs.h"

#include <fmt/format.h>

#include <algorithm>

namespace zelk {

std::list<KeptInputs::Kept>::iterator KeptInputs::at(std::string const& key) {
    return std::find_if(m_inputs.begin(), m_inputs.end(),
                        [&key](Kept const& kept) { return kept.key == key; });
}

std::shared_ptr<void> KeptInputs::findAny(std::string const& key) {
    auto const found = at(key);
    if (found == m_inputs.end()) return nullptr;
    m_inputs.splice(m_inputs.begin(), m_inputs, found);
    return found->input;
}

/// The newest one always stays.
void KeptInputs::keep(std::string const& key, std::shared_ptr<void> input, std::uint64_t bytes) {
    drop(key);
    m_inputs.push_front({key, std::move(input), bytes});
    m_bytes += bytes;
    while (m_bytes > m_mostBytes && m_inputs.size() > 1) {
        m_bytes -= m_inputs.back().bytes;
        m_inputs.pop_back();
    }
}

void KeptInputs::drop(std::string const& key) {
    auto const found = at(key);
    if (found == m_inputs.end()) return;
    m_bytes -= found->bytes;
    m_inputs.erase(found);
}

std::string inputKey(std::optional<InputPicture> const& file) {
    if (!file) return "black";
    if (file->buffer) return fmt::format("buffer {}", static_cast<void const*>(file->buffer.get()));
    std::error_code fault;
    auto const changed = std::filesystem::last_write_time(file->file, fault).time_since_epoch();
    auto const bytes = std::filesystem::file_size(file->file, fault);
    return fmt::format("{} {} {} {} {}{}{}", file->file.string(), file->number, changed.count(),
                       bytes, file->how.keepsOrientation, file->how.keepsOverscan,
                       file->how.passesExtras);
}

}  // namespace zelk

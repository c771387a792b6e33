// See warnings.h.
#include "zelk/render/warnings.h"

#include <utility>

#include "zelk/text/errors.h"

namespace zelk {

void Warnings::add(std::vector<std::string> const& sentences) {
    if (m_isStrict && !sentences.empty())
        throw UserError(ExitCode::kRenderFailed, sentences.front());
    std::lock_guard const lock(m_mutex);
    m_isSaid = true;
    for (std::string const& sentence : sentences)
        if (m_seen.insert(sentence).second && !m_seenBefore.contains(sentence))
            m_new.push_back(sentence);
}

void Warnings::valuesChange() {
    std::lock_guard const lock(m_mutex);
    if (std::exchange(m_isSaid, false)) m_seenBefore = std::exchange(m_seen, {});
}

std::vector<std::string> Warnings::take() {
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_new, {});
}

std::vector<std::string> Warnings::holding() {
    std::lock_guard const lock(m_mutex);
    return {m_seen.begin(), m_seen.end()};
}

}  // namespace zelk

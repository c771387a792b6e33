// See explained_frames.h.
#include "zelk/sequence/explained_frames.h"

#include <fmt/format.h>

namespace zelk {

/// A section is a line with what is indented below it.
std::string ExplainedFrames::changes(Explanation const& explanation) {
    std::string const text = settingsText(explanation);
    std::string changed;
    for (std::size_t first = 0, end = 0; first < text.size(); first = end) {
        do end = text.find('\n', end) + 1;
        while (end < text.size() && text[end] == ' ');
        std::string const section = text.substr(first, end - first);
        std::string& last = m_last[section.substr(0, section.find(' '))];
        if (section != last) changed += last = section;
    }
    return changed;
}

std::string ExplainedFrames::add(int frame, std::string const& file,
                                 Explanation const& explanation) {
    if (m_form == Explain::kNo) return {};
    if (m_isStill) return m_form == Explain::kText ? asText(explanation) : asJson(explanation);
    if (m_form == Explain::kJson) return asJsonLine(explanation, frame, file);
    ++m_count;
    for (auto const& [name, milliseconds] : explanation.clock.stages()) {
        auto const [at, isNew] = m_stages.try_emplace(name);
        if (isNew) m_stageNames.push_back(name);
        Stage& stage = at->second;
        stage.sumMs += milliseconds;
        if (isNew || milliseconds > stage.mostMs)
            stage.mostMs = milliseconds, stage.slowest = frame;
    }
    return fmt::format("frame {}\n", frame) + changes(explanation);
}

std::string ExplainedFrames::end() const {
    if (m_count == 0) return {};
    std::string text = fmt::format("frames    {}\n", m_count);
    for (std::string const& name : m_stageNames) {
        Stage const& stage = m_stages.at(name);
        text +=
            fmt::format("{:<9} {:.1f} ms a frame, {:.1f} ms at most (frame {})\n", name,
                        stage.sumMs / static_cast<double>(m_count), stage.mostMs, stage.slowest);
    }
    return text;
}

}  // namespace zelk

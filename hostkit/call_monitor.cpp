// The log of calls, the faults and the account of what is outstanding.
#include "hostkit/call_monitor.h"

#include <fmt/format.h>

namespace zelk {
namespace {

struct OwedKind {
    int Outstanding::*count;
    char const* one;
    char const* many;
};

constexpr OwedKind kOwedKinds[] = {
    {&Outstanding::worlds, "world", "worlds"},
    {&Outstanding::handles, "handle", "handles"},
    {&Outstanding::handleLocks, "handle lock", "handle locks"},
    {&Outstanding::suites, "suite", "suites"},
    {&Outstanding::parameters, "parameter", "parameters"},
    {&Outstanding::effects, "effect", "effects"},
    {&Outstanding::streams, "stream", "streams"},
    {&Outstanding::streamValues, "stream value", "stream values"},
    {&Outstanding::mistakes, "mistake", "mistakes"},
};

}  // namespace

Outstanding Outstanding::operator-(Outstanding const& start) const {
    Outstanding difference;
    for (OwedKind const& kind : kOwedKinds)
        difference.*kind.count = this->*kind.count - start.*kind.count;
    return difference;
}

std::string Outstanding::describe() const {
    std::string text;
    for (OwedKind const& kind : kOwedKinds) {
        int const owed = this->*kind.count;
        if (owed == 0) continue;
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", owed,
                            owed == 1 || owed == -1 ? kind.one : kind.many);
    }
    return text.empty() ? "nothing" : text;
}

void CallMonitor::restart() {
    m_log.clear();
    m_counts.clear();
    m_faultsAnswered = 0;
}

int CallMonitor::count(std::string_view name) const {
    auto const found = m_counts.find(name);
    return found == m_counts.end() ? 0 : found->second;
}

Fault const* CallMonitor::enter(std::string_view name) {
    m_log.emplace_back(name);
    int const nth = ++m_counts[m_log.back()];
    for (Fault const& fault : m_faults) {
        if (fault.name != name || (fault.nth != 0 && fault.nth != nth)) continue;
        ++m_faultsAnswered;
        return &fault;
    }
    return nullptr;
}

void CallMonitor::noteMistake(std::string sentence) {
    ++outstanding.mistakes;
    m_mistakes.push_back(std::move(sentence));
}

}  // namespace zelk

// References of the project, and the account of those that must be given back.
#include "hostkit/project_ledger.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace zelk {
namespace {

std::uintptr_t nextNumber() {
    static std::atomic<std::uintptr_t> last{0};
    return ++last;
}

template <class Reference>
Reference newReference() {
    return reinterpret_cast<Reference>(nextNumber());
}

}  // namespace

ProjectLedger::ProjectLedger(CallMonitor& monitor)
    : m_monitor(monitor),
      m_project(newReference<AEGP_ProjectH>()),
      m_items{{{newReference<AEGP_ItemH>(), AEGP_ItemType_FOLDER},
               {newReference<AEGP_ItemH>(), AEGP_ItemType_FOOTAGE},
               {newReference<AEGP_ItemH>(), AEGP_ItemType_COMP}}},
      m_comp(newReference<AEGP_CompH>()) {}

std::optional<std::size_t> ProjectLedger::placeOf(AEGP_ItemH item) const {
    for (std::size_t place = 0; place < m_items.size(); ++place)
        if (m_items[place].reference == item) return place;
    return std::nullopt;
}

void ProjectLedger::replaceCamera(bool present) {
    m_camera = present ? newReference<AEGP_LayerH>() : nullptr;
}

AEGP_EffectRefH ProjectLedger::openEffect() {
    ++m_monitor.outstanding.effects;
    return *m_effects.insert(newReference<AEGP_EffectRefH>()).first;
}

PF_Err ProjectLedger::closeEffect(char const* caller, AEGP_EffectRefH effect) {
    return takeBack(m_effects.erase(effect) > 0, m_monitor.outstanding.effects, caller,
                    "an effect");
}

AEGP_StreamRefH ProjectLedger::openStream(A_long parameterIndex) {
    ++m_monitor.outstanding.streams;
    return m_streams.emplace(newReference<AEGP_StreamRefH>(), parameterIndex).first->first;
}

std::optional<A_long> ProjectLedger::parameterOf(AEGP_StreamRefH stream) const {
    auto const found = m_streams.find(stream);
    return found == m_streams.end() ? std::nullopt : std::optional(found->second);
}

PF_Err ProjectLedger::closeStream(char const* caller, AEGP_StreamRefH stream) {
    return takeBack(m_streams.erase(stream) > 0, m_monitor.outstanding.streams, caller, "a stream");
}

void ProjectLedger::lendValue(AEGP_StreamValue const* value) {
    ++m_values[value];
    ++m_monitor.outstanding.streamValues;
}

PF_Err ProjectLedger::takeValue(char const* caller, AEGP_StreamValue const* value) {
    auto const held = m_values.find(value);
    bool const isOut = held != m_values.end();
    if (isOut && --held->second == 0) m_values.erase(held);
    return takeBack(isOut, m_monitor.outstanding.streamValues, caller, "a value");
}

PF_Err ProjectLedger::takeBack(bool wasOut, int& outstanding, char const* caller,
                               char const* what) {
    if (!wasOut) {
        m_monitor.noteMistake(std::string(caller) + ": not " + what + " that is out");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    --outstanding;
    return PF_Err_NONE;
}

}  // namespace zelk

// Steps as pairs of states.
#include "hostkit/undo.h"

#include <utility>

namespace zelk {

std::vector<ParameterState> statesOf(std::vector<Parameter> const& parameters) {
    std::vector<ParameterState> states;
    for (Parameter const& parameter : parameters)
        if (parameter.hasValue())
            states.push_back({parameter.index, keyValueOf(parameter.current), parameter.track()});
    return states;
}

void restoreStates(std::vector<Parameter>& parameters, std::vector<ParameterState> const& states) {
    for (ParameterState const& state : states) {
        Parameter& parameter = parameterIn(parameters, state.index);
        setKeyValue(parameter.current, state.value);
        if (parameter.canVaryInTime()) parameter.editTrack() = state.track;
    }
}

bool UndoStack::record(std::string name, std::vector<ParameterState> const& before,
                       std::vector<Parameter> const& parameters) {
    Step step{std::move(name), {}, {}};
    std::vector<ParameterState> const now = statesOf(parameters);
    for (std::size_t i = 0; i < now.size() && i < before.size(); ++i) {
        if (now[i] == before[i]) continue;
        step.before.push_back(before[i]);
        step.after.push_back(now[i]);
    }
    if (step.after.empty()) return false;
    m_steps.resize(m_done);
    m_steps.push_back(std::move(step));
    ++m_done;
    return true;
}

bool UndoStack::undo(std::vector<Parameter>& parameters) {
    if (m_done == 0) return false;
    restoreStates(parameters, m_steps[--m_done].before);
    return true;
}

bool UndoStack::redo(std::vector<Parameter>& parameters) {
    if (m_done == m_steps.size()) return false;
    restoreStates(parameters, m_steps[m_done++].after);
    return true;
}

}  // namespace zelk

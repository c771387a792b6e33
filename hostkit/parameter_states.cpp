// See parameter_states.h.
#include "hostkit/parameter_states.h"

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

std::vector<int> changedSince(std::vector<ParameterState> const& states,
                              std::vector<Parameter> const& parameters) {
    std::vector<int> changed;
    for (ParameterState const& state : states) {
        Parameter const& parameter = parameterIn(parameters, state.index);
        if (keyValueOf(parameter.current) != state.value || parameter.track() != state.track)
            changed.push_back(state.index);
    }
    return changed;
}

}  // namespace zelk

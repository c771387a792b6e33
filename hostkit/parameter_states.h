// Values and keyframes of parameters as they were at some moment, to the bit: to tell what an act
// changed, and to take it back.
#pragma once

#include <vector>

#include "hostkit/host.h"

namespace zelk {

/// The value and the keyframes of one parameter.
struct ParameterState {
    int index = 0;
    KeyValue value{};
    KeyframeTrack track;
    bool operator==(ParameterState const&) const = default;
};

/// Of all parameters that have a value, in their order.
std::vector<ParameterState> statesOf(std::vector<Parameter> const& parameters);
void restoreStates(std::vector<Parameter>& parameters, std::vector<ParameterState> const& states);
/// The indices of those that are not as they were.
std::vector<int> changedSince(std::vector<ParameterState> const& states,
                              std::vector<Parameter> const& parameters);

}  // namespace zelk

// Undo and redo of parameter values and keyframes. A step is what one act of the user changed; only
// parameters that differ are kept, their values and keys to the bit.
#pragma once

#include <string>
#include <string_view>
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

/// The steps that were done, oldest first, and those that were undone. The parameters must be those
/// that the steps were recorded of.
class UndoStack {
public:
    /// Notes the step from `before`, of statesOf, to what the parameters are now, and forgets the
    /// undone ones. False, and nothing is noted, where nothing changed.
    bool record(std::string name, std::vector<ParameterState> const& before,
                std::vector<Parameter> const& parameters);
    /// False when there is no step.
    bool undo(std::vector<Parameter>& parameters);
    bool redo(std::vector<Parameter>& parameters);

    /// The name of the step that undo would take; empty for none.
    std::string_view undoName() const {
        return m_done > 0 ? std::string_view(m_steps[m_done - 1].name) : "";
    }

private:
    struct Step {
        std::string name;
        std::vector<ParameterState> before, after;
    };
    std::vector<Step> m_steps;
    std::size_t m_done = 0;  ///< steps up to here are done, the rest undone
};

}  // namespace zelk

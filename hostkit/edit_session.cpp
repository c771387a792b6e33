// Acts of a user.
#include "hostkit/edit_session.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "hostkit/changed_values.h"
#include "hostkit/error.h"

namespace zelk {
namespace {

KeyValue kept(Parameter const& parameter, KeyValue value) {
    for (double const number : value)
        if (!std::isfinite(number))
            throw HostError(
                fmt::format("the value \"{}\" of \"{}\" is not finite, expected a "
                            "number",
                            number, parameter.displayName()));
    ValueRange const range = validRange(parameter);
    if (range.min < range.max) value[0] = std::clamp(value[0], range.min, range.max);
    PF_ParamDef def = parameter.current;
    setKeyValue(def, value);
    return keyValueOf(def);
}

std::vector<KeyValue> valuesAt(std::vector<Parameter> const& parameters, KeyTime const& moment) {
    std::vector<KeyValue> values;
    for (Parameter const& parameter : parameters)
        values.push_back(keyValueOf(parameter.at(moment)));
    return values;
}

[[noreturn]] void throwFailure(char const* what, CommandResult const& result) {
    std::string const& message = result.message;
    throw HostError(fmt::format("the effect answered {} with {}{}", what, result.code,
                                message.empty() ? "" : " (" + message + ")"),
                    result.code);
}

}  // namespace

EditSession::EditSession(Host& host, int layerWidthPx, int layerHeightPx, int frame)
    : m_host(host), m_events(host), m_layerWidthPx(layerWidthPx), m_layerHeightPx(layerHeightPx) {
    setFrame(frame);
}

bool EditSession::setFrame(int number) {
    if (isDragging()) return false;
    FrameRequest frame = frameRequest(m_host.comp(), number);
    frame.layerWidth = m_layerWidthPx;
    frame.layerHeight = m_layerHeightPx;
    std::swap(m_events.frame, frame);
    try {
        updateControls();
    } catch (...) {
        m_events.frame = frame;
        throw;
    }
    m_frameNumber = number;
    return true;
}

KeyTime EditSession::moment() const { return {frame().time, frame().timeBase.scale}; }

Parameter& EditSession::parameterOf(int index) const {
    Parameter* const parameter = findParameter(m_host.parameters(), index);
    if (!parameter || !parameter->hasValue())
        throw HostError(
            fmt::format("no value to edit at \"{}\", expected the index of a control "
                        "that has one",
                        index));
    return *parameter;
}

KeyValue EditSession::valueOf(int index) const {
    return keyValueOf(parameterOf(index).at(moment()));
}

bool EditSession::edit(int index, KeyValue const& value) {
    Parameter& parameter = parameterOf(index);
    KeyValue const wanted = kept(parameter, value);
    if (wanted == valueOf(index)) return false;
    return change([&](std::vector<Parameter>&) {
        setValueAt(parameter, moment(), wanted);
        notifyEffect(parameter);
    });
}

bool EditSession::change(std::function<void(std::vector<Parameter>&)> const& act) {
    if (isDragging()) return false;
    std::vector<ParameterState> const before = statesOf(m_host.parameters());
    try {
        act(m_host.parameters());
        updateControls();
    } catch (...) {
        restoreStates(m_host.parameters(), before);
        throw;
    }
    return !changedSince(before, m_host.parameters()).empty();
}

void EditSession::check(EventResult const& result) {
    if (result.command.code == PF_Err_NONE) return;
    m_events.abandonDrag(m_click);
    restoreStates(m_host.parameters(), m_atClick);
    throwFailure("an event", result.command);
}

void EditSession::notifyEffect(Parameter const& parameter) {
    if (!(parameter.registered.flags & PF_ParamFlag_SUPERVISE)) return;
    World output({m_layerWidthPx, m_layerHeightPx, Depth::k8});
    CommandResult const result = m_host.userChangedParam(parameter.index, frame(), &output);
    if (result.code) throwFailure("a changed control", result);
}

void EditSession::updateControls() {
    CommandResult const result = m_host.updateParamsUi(frame());
    if (result.code) throwFailure("an update of its controls", result);
}

bool EditSession::click(MouseEvent const& mouse) {
    A_long const events = m_host.customUi().events;
    A_long const own = panel().shows == PF_Window_COMP ? PF_CustomEFlag_COMP : PF_CustomEFlag_LAYER;
    if (isDragging() || !(events & own)) return false;
    m_click = mouse;
    m_atClick = statesOf(m_host.parameters());
    m_valuesAtClick = valuesAt(m_host.parameters(), moment());
    check(m_events.click(mouse));
    return isDragging();
}

bool EditSession::drag(MouseEvent const& mouse) {
    if (!isDragging()) return false;
    check(m_events.drag(mouse));
    return true;
}

bool EditSession::hasMoved() const {
    return valuesAt(m_host.parameters(), moment()) != m_valuesAtClick;
}

bool EditSession::release(MouseEvent const& mouse) {
    if (!isDragging()) return false;
    check(m_events.drag(mouse, true));
    if (hasMoved()) return true;
    restoreStates(m_host.parameters(), m_atClick);
    return false;
}

void EditSession::draw() {
    EventResult const result = m_events.draw();
    if (result.command.code) throwFailure("an event", result.command);
}

}  // namespace zelk

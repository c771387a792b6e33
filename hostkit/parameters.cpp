// Parameter values in users' units.
#include "hostkit/parameters.h"

#include <fmt/format.h>

#include <algorithm>

#include "Transform/Common/SaturatingCast.h"
#include "hostkit/error.h"
#include "hostkit/fixed_point.h"

namespace zelk {
namespace {

struct KindName {
    PF_ParamType type;
    char const* name;
};

/// How many numbers a key of that kind has; 0 for a kind that can't have keys.
int keyNumbers(PF_ParamType type) {
    switch (type) {
        case PF_Param_SLIDER:
        case PF_Param_FIX_SLIDER:
        case PF_Param_ANGLE:
        case PF_Param_CHECKBOX:
        case PF_Param_POPUP:
        case PF_Param_FLOAT_SLIDER:
            return 1;
        case PF_Param_POINT:
            return 2;
        case PF_Param_COLOR:
            return 4;
        default:
            return 0;
    }
}

bool keysOnlyHold(PF_ParamType type) { return type == PF_Param_CHECKBOX || type == PF_Param_POPUP; }

A_u_char channel(double value) {
    return static_cast<A_u_char>(std::clamp<A_long>(roundedToInt32(value), 0, 255));
}

constexpr KindName kKindNames[] = {
    {PF_Param_LAYER, "layer"},
    {PF_Param_SLIDER, "slider"},
    {PF_Param_FIX_SLIDER, "fixed slider"},
    {PF_Param_ANGLE, "angle"},
    {PF_Param_CHECKBOX, "checkbox"},
    {PF_Param_COLOR, "colour"},
    {PF_Param_POINT, "point"},
    {PF_Param_POPUP, "popup"},
    {PF_Param_FLOAT_SLIDER, "float slider"},
    {PF_Param_GROUP_START, "group start"},
    {PF_Param_GROUP_END, "group end"},
};

}  // namespace

Parameter::Parameter(int place, PF_ParamDef const& def)
    : index(place),
      registered(def),
      current(def),
      m_track(std::max(keyNumbers(def.param_type), 1), keysOnlyHold(def.param_type)) {}

Parameter* findParameter(std::vector<Parameter>& parameters, A_long index) {
    bool const isThere = index >= 0 && static_cast<std::size_t>(index) < parameters.size();
    return isThere ? &parameters[static_cast<std::size_t>(index)] : nullptr;
}

Parameter& parameterIn(std::vector<Parameter>& parameters, A_long index) {
    return parameters.at(static_cast<std::size_t>(index));
}

Parameter const& parameterIn(std::vector<Parameter> const& parameters, A_long index) {
    return parameters.at(static_cast<std::size_t>(index));
}

bool Parameter::canVaryInTime() const {
    return keyNumbers(type()) > 0 && !(registered.flags & PF_ParamFlag_CANNOT_TIME_VARY);
}

KeyframeTrack& Parameter::editTrack() {
    if (!canVaryInTime())
        throw HostError(
            fmt::format("parameter {} \"{}\" ({}) cannot vary in time, expected no "
                        "keyframes",
                        index, displayName(), kindName(type())));
    return m_track;
}

PF_ParamDef Parameter::at(KeyTime const& time) const {
    PF_ParamDef def = current;
    if (m_track.empty()) return def;
    KeyValue value = m_track.valueAt(time);
    ValueRange const range = validRange(*this);
    if (range.min < range.max) value[0] = std::clamp(value[0], range.min, range.max);
    setKeyValue(def, value);
    return def;
}

bool Parameter::hasValue() const {
    switch (type()) {
        case PF_Param_LAYER:
        case PF_Param_NO_DATA:
        case PF_Param_GROUP_START:
        case PF_Param_GROUP_END:
            return false;
        default:
            return true;
    }
}

std::string kindName(PF_ParamType type) {
    for (KindName const& kind : kKindNames)
        if (kind.type == type) return kind.name;
    return fmt::format("{}", static_cast<A_long>(type));
}

ValueRange validRange(Parameter const& parameter) {
    PF_ParamDefUnion const& u = parameter.registered.u;
    switch (parameter.type()) {
        case PF_Param_SLIDER:
            return {double(u.sd.valid_min), double(u.sd.valid_max)};
        case PF_Param_FIX_SLIDER:
            return {fixedToReal(u.fd.valid_min), fixedToReal(u.fd.valid_max)};
        case PF_Param_ANGLE:
            return {fixedToReal(u.ad.valid_min), fixedToReal(u.ad.valid_max)};
        case PF_Param_CHECKBOX:
            return {0, 1};
        case PF_Param_POPUP:
            return {1, double(u.pd.num_choices)};
        case PF_Param_FLOAT_SLIDER:
            return {u.fs_d.valid_min, u.fs_d.valid_max};
        default:
            return {};
    }
}

ValueRange sliderRange(Parameter const& parameter) {
    PF_ParamDefUnion const& u = parameter.registered.u;
    switch (parameter.type()) {
        case PF_Param_SLIDER:
            return {double(u.sd.slider_min), double(u.sd.slider_max)};
        case PF_Param_FIX_SLIDER:
            return {fixedToReal(u.fd.slider_min), fixedToReal(u.fd.slider_max)};
        case PF_Param_FLOAT_SLIDER:
            return {u.fs_d.slider_min, u.fs_d.slider_max};
        default:
            return validRange(parameter);
    }
}

double numberOf(PF_ParamDef const& def) {
    switch (def.param_type) {
        case PF_Param_SLIDER:
            return def.u.sd.value;
        case PF_Param_FIX_SLIDER:
            return fixedToReal(def.u.fd.value);
        case PF_Param_ANGLE:
            return fixedToReal(def.u.ad.value);
        case PF_Param_CHECKBOX:
            return def.u.bd.value != 0 ? 1 : 0;
        case PF_Param_POPUP:
            return def.u.pd.value;
        case PF_Param_FLOAT_SLIDER:
            return def.u.fs_d.value;
        default:
            return 0;
    }
}

double defaultNumberOf(PF_ParamDef const& def) {
    switch (def.param_type) {
        case PF_Param_SLIDER:
            return def.u.sd.dephault;
        case PF_Param_FIX_SLIDER:
            return fixedToReal(def.u.fd.dephault);
        case PF_Param_ANGLE:
            return fixedToReal(def.u.ad.dephault);
        case PF_Param_CHECKBOX:
            return def.u.bd.dephault != 0 ? 1 : 0;
        case PF_Param_POPUP:
            return def.u.pd.dephault;
        case PF_Param_FLOAT_SLIDER:
            return def.u.fs_d.dephault;
        default:
            return 0;
    }
}

void setNumber(PF_ParamDef& def, double value) {
    switch (def.param_type) {
        case PF_Param_SLIDER:
            def.u.sd.value = roundedToInt32(value);
            break;
        case PF_Param_FIX_SLIDER:
            def.u.fd.value = realToFixed(value);
            break;
        case PF_Param_ANGLE:
            def.u.ad.value = realToFixed(value);
            break;
        case PF_Param_CHECKBOX:
            def.u.bd.value = value != 0 ? 1 : 0;
            break;
        case PF_Param_POPUP:
            def.u.pd.value = roundedToInt32(value);
            break;
        case PF_Param_FLOAT_SLIDER:
            def.u.fs_d.value = value;
            break;
        default:
            break;
    }
}

void setPoint(PF_ParamDef& def, double xPx, double yPx) {
    def.u.td.x_value = realToFixed(xPx);
    def.u.td.y_value = realToFixed(yPx);
}

void setColor(PF_ParamDef& def, PF_Pixel color) { def.u.cd.value = color; }

KeyValue keyValueOf(PF_ParamDef const& def) {
    if (def.param_type == PF_Param_POINT)
        return {fixedToReal(def.u.td.x_value), fixedToReal(def.u.td.y_value)};
    if (def.param_type == PF_Param_COLOR) {
        PF_Pixel const& color = def.u.cd.value;
        return {double(color.alpha), double(color.red), double(color.green), double(color.blue)};
    }
    return {numberOf(def)};
}

void setKeyValue(PF_ParamDef& def, KeyValue const& value) {
    if (def.param_type == PF_Param_POINT)
        setPoint(def, value[0], value[1]);
    else if (def.param_type == PF_Param_COLOR)
        setColor(def, {channel(value[0]), channel(value[1]), channel(value[2]), channel(value[3])});
    else
        setNumber(def, value[0]);
}

void resetToDefault(PF_ParamDef& def, int layerWidthPx, int layerHeightPx) {
    switch (def.param_type) {
        case PF_Param_POINT:
            setPoint(def, fixedToReal(def.u.td.x_dephault) * layerWidthPx / 100.0,
                     fixedToReal(def.u.td.y_dephault) * layerHeightPx / 100.0);
            break;
        case PF_Param_COLOR:
            def.u.cd.value = def.u.cd.dephault;
            break;
        default:
            setNumber(def, defaultNumberOf(def));
            break;
    }
}

void scalePoint(PF_ParamDef& def, Reduction const& reduction) {
    if (def.param_type != PF_Param_POINT || reduction.larger() == 1) return;
    setPoint(def, fixedToReal(def.u.td.x_value) / reduction.x(),
             fixedToReal(def.u.td.y_value) / reduction.y());
}

}  // namespace zelk

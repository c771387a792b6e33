// The parameters of an effect as a host keeps them: what the effect registered, and the value that
// the user has set.
//
// Values at this interface are in users' units: points in layer pixels, angles in degrees, sliders
// as the number shown, popups counted from 1.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hostkit/keyframes.h"
#include "hostkit/reduction.h"
#include "platform/effect_api/effect_params.h"

namespace zelk {

/// Of the layer that an effect is applied to; the host's own.
constexpr A_long kInputLayerIndex = 0;

/// One parameter. `registered` is the effect's record as it came with add_param, its text pointers
/// leading to copies that live as long as the host; `current` is the same record with the user's
/// value and the ui_flags that the effect gave last, which counts while the track has no keys.
/// Points hold percentages until the host's resetParameters has given the layer's size.
struct Parameter {
    Parameter(int place, PF_ParamDef const& def);

    int index = 0;
    PF_ParamDef registered{};
    PF_ParamDef current{};
    std::vector<std::string> choices;  ///< entries of a popup, separators included
    std::string label;                 ///< a checkbox's own label

    PF_ParamType type() const { return registered.param_type; }
    A_long diskId() const { return registered.uu.id; }
    std::string_view displayName() const { return registered.name; }
    bool hasValue() const;  ///< false for the layer, group marks and kinds without data
    /// May have keyframes: its value is made of numbers and the effect did not forbid it.
    bool canVaryInTime() const;

    KeyframeTrack const& track() const { return m_track; }
    /// The keyframes, to be changed. HostError for a parameter that can't vary in time.
    KeyframeTrack& editTrack();
    /// `current`, but with the track's value at that moment when it has keys: kept within the valid
    /// range, and rounded as setKeyValue does.
    PF_ParamDef at(KeyTime const& time) const;

private:
    KeyframeTrack m_track;
};

/// The parameter at an index that someone named; null for one that isn't there.
Parameter* findParameter(std::vector<Parameter>& parameters, A_long index);
/// The parameter at an index that is known to be there; std::out_of_range otherwise.
Parameter& parameterIn(std::vector<Parameter>& parameters, A_long index);
Parameter const& parameterIn(std::vector<Parameter> const& parameters, A_long index);

/// A range in users' units.
struct ValueRange {
    double min = 0, max = 0;
};

/// "slider", "fixed slider", "angle", "checkbox", "colour", "point", "popup", "float slider",
/// "group start", "group end", "layer"; the type's number for anything else.
std::string kindName(PF_ParamType type);
/// What may be typed; equal ends when the kind has no range.
ValueRange validRange(Parameter const& parameter);
ValueRange sliderRange(Parameter const& parameter);

/// The number of a slider, angle, checkbox or popup, of `def`'s value.
double numberOf(PF_ParamDef const& def);
/// The default in the same units.
double defaultNumberOf(PF_ParamDef const& def);
/// Rounds to the kind's unit (16.16 half away from zero, integer to nearest).
void setNumber(PF_ParamDef& def, double value);
/// Layer pixels, kept as 16.16, rounded half away from zero.
void setPoint(PF_ParamDef& def, double xPx, double yPx);
void setColor(PF_ParamDef& def, PF_Pixel color);
/// The value of any kind that keyframes can have, as the numbers of a key.
KeyValue keyValueOf(PF_ParamDef const& def);
/// The reverse, rounded as setNumber and setPoint do; a colour's channels to the nearest of 0 to
/// 255.
void setKeyValue(PF_ParamDef& def, KeyValue const& value);
/// The default as value; a point's, registered in percent, becomes pixels of that layer.
void resetToDefault(PF_ParamDef& def, int layerWidthPx, int layerHeightPx);
/// A point as an effect sees it in a reduced picture; other kinds stay.
void scalePoint(PF_ParamDef& def, Reduction const& reduction);

}  // namespace zelk

// Values of a control's record as it is registered: the value that is also the default, in the
// host's units. Records come cleared.
#pragma once

#include <algorithm>
#include <cstring>

#include "params/FixedPoint.h"
#include "platform/effect_api/effect_params.h"

namespace QVS {

/// A slider's numbers as users see them.
struct SliderNumbers {
    float validMin, validMax, sliderMin, sliderMax, defaultValue;
    A_short precision;
};

constexpr float kSliderCurveTolerance = 0.05f;

/// The ranges that the three kinds of slider name alike; `convert` leads to the record's unit.
template <class Definition, class Convert>
void fillRanges(Definition& definition, SliderNumbers const& numbers, Convert const& convert) {
    definition.valid_min = convert(numbers.validMin);
    definition.valid_max = convert(numbers.validMax);
    definition.slider_min = convert(numbers.sliderMin);
    definition.slider_max = convert(numbers.sliderMax);
    definition.dephault = convert(numbers.defaultValue);
    definition.value = definition.dephault;
}

template <class Convert>
void fillFixedSlider(PF_FixedSliderDef& definition, SliderNumbers const& numbers,
                     Convert const& convert) {
    fillRanges(definition, numbers, convert);
    definition.precision = numbers.precision;
}

inline void fillFloatSlider(PF_FloatSliderDef& definition, SliderNumbers const& numbers) {
    fillRanges(definition, numbers, [](float number) { return number; });
    definition.precision = numbers.precision;
    definition.curve_tolerance = kSliderCurveTolerance;
}

/// Percent of the layer.
inline void fillPoint(PF_PointDef& definition, float x, float y) {
    definition.x_value = definition.x_dephault = doubleToFixed(x);
    definition.y_value = definition.y_dephault = doubleToFixed(y);
}

/// `defaultNumber` counts from 1; '|' separates `entries`.
inline void fillPopup(PF_PopupDef& definition, int entryCount, int defaultNumber,
                      char const* entries) {
    definition.value = defaultNumber;
    definition.dephault = static_cast<A_short>(defaultNumber);
    definition.num_choices = static_cast<A_short>(entryCount);
    definition.u.namesptr = entries;
}

inline int popupEntryCount(char const* entries) {
    return static_cast<int>(std::count(entries, entries + std::strlen(entries), '|')) + 1;
}

inline void fillColor(PF_ColorDef& definition, PF_Pixel color) {
    definition.value = definition.dephault = color;
}

}  // namespace QVS

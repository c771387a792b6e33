// A registered control as a line of text, with every number that a host keeps of it.
#pragma once

#include <fmt/format.h>

#include "hostkit/parameters.h"

namespace zelk_test {

/// Typed range, slider's range, value and default, precision, display flags.
template <class Slider>
std::string sliderText(Slider const& s, double unit, int precision, int display) {
    return fmt::format("{}..{} {}..{} {}/{} precision {} display {}", s.valid_min * unit,
                       s.valid_max * unit, s.slider_min * unit, s.slider_max * unit, s.value * unit,
                       s.dephault * unit, precision, display);
}

inline std::string colorText(PF_Pixel const& c) {
    return fmt::format("{},{},{},{}", c.alpha, c.red, c.green, c.blue);
}

inline std::string valueText(PF_ParamDef const& def) {
    constexpr double kUnit = 1.0 / 65536;
    auto const& u = def.u;
    switch (def.param_type) {
        case PF_Param_SLIDER:
            return sliderText(u.sd, 1, 0, 0);
        case PF_Param_FIX_SLIDER:
            return sliderText(u.fd, kUnit, u.fd.precision, u.fd.display_flags);
        case PF_Param_FLOAT_SLIDER:
            return sliderText(u.fs_d, 1, u.fs_d.precision, u.fs_d.display_flags) +
                   fmt::format(" tolerance {}", u.fs_d.curve_tolerance);
        case PF_Param_ANGLE:
            return fmt::format("{}/{}", u.ad.value * kUnit, u.ad.dephault * kUnit);
        case PF_Param_CHECKBOX:
            return fmt::format("{}/{} \"{}\"", u.bd.value, int(u.bd.dephault), u.bd.u.nameptr);
        case PF_Param_POPUP:
            return fmt::format("{}/{} {}: {}", u.pd.value, u.pd.dephault, u.pd.num_choices,
                               u.pd.u.namesptr);
        case PF_Param_POINT:
            return fmt::format("{},{}/{},{} restricted {}", u.td.x_value * kUnit,
                               u.td.y_value * kUnit, u.td.x_dephault * kUnit,
                               u.td.y_dephault * kUnit, int(u.td.restrict_bounds));
        case PF_Param_COLOR:
            return colorText(u.cd.value) + "/" + colorText(u.cd.dephault);
        default:
            return "";
    }
}

/// Kind, disk id, flags, UI flags, UI size where there is one, name, value where there is one.
inline std::string describe(PF_ParamDef const& def) {
    std::string const value = valueText(def);
    std::string const size =
        def.ui_width || def.ui_height ? fmt::format(" {}x{}", def.ui_width, def.ui_height) : "";
    return fmt::format("{} {} {} {}{} \"{}\"{}{}", zelk::kindName(def.param_type), def.uu.id,
                       def.flags, def.ui_flags, size, def.name, value.empty() ? "" : " ", value);
}

}  // namespace zelk_test

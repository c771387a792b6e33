// Parameter values at a time, by the host's check-out, and writes into the call's own array.
//
// Results are the host's codes. A value is written only when the check-out succeeded; a
// parameter that was taken out always goes back.
#include "host/PluginHost_AE_Impl.h"
#include "params/FixedPoint.h"
#include "params/ParameterDef.h"

namespace {

/// Takes parameter `index` out at `time`, hands it to `read`, and gives it back.
template <class Read>
PF_Err withParameter(PF_InData* in_data, int index, PluginHost_API::TimeObject const& time,
                     Read&& read) {
    PF_ParamDef def{};
    if (const PF_Err err =
            in_data->inter.checkout_param(in_data->effect_ref, index, time.time, time.timeStep,
                                          static_cast<A_u_long>(time.timeScale), &def))
        return err;
    const PF_Err readErr = read(def);
    const PF_Err returnErr = in_data->inter.checkin_param(in_data->effect_ref, &def);
    return readErr ? readErr : returnErr;
}

}  // namespace

int PluginHost_AE_Impl::GetFixedFloatValue(int index, int, TimeObject const& time, double& value) {
    return GetFloatValue(index, -1, time, value);
}

int PluginHost_AE_Impl::GetFloatValue(int index, int kind, TimeObject const& time, double& value) {
    return withParameter(in_data, index, time, [&](PF_ParamDef const& def) {
        value = kind < 0 ? def.u.fs_d.value : QVS::fixedToDouble(def.u.fd.value);
        return PF_Err_NONE;
    });
}

int PluginHost_AE_Impl::GetAngleValue(int index, int, TimeObject const& time, double& degrees) {
    return withParameter(in_data, index, time, [&](PF_ParamDef const& def) {
        degrees = QVS::fixedToDouble(def.u.ad.value);
        return PF_Err_NONE;
    });
}

int PluginHost_AE_Impl::GetIntValue(int index, int, TimeObject const& time, int& value) {
    return withParameter(in_data, index, time, [&](PF_ParamDef const& def) {
        value = def.u.sd.value;
        return PF_Err_NONE;
    });
}

int PluginHost_AE_Impl::GetUIntValue(int index, int, TimeObject const& time, unsigned& value) {
    return withParameter(in_data, index, time, [&](PF_ParamDef const& def) {
        value = static_cast<unsigned>(def.u.pd.value) - 1u;
        return PF_Err_NONE;
    });
}

int PluginHost_AE_Impl::GetBoolValue(int index, int, TimeObject const&, bool& value) {
    value = QVS::ParameterDef(in_data, params).GetBoolValue(index);
    return 0;
}

int PluginHost_AE_Impl::GetPoint2DValue(int index, int, TimeObject const& time, double& x,
                                        double& y) {
    return withParameter(in_data, index, time, [&](PF_ParamDef const& def) {
        x = QVS::fixedToDouble(def.u.td.x_value) / getOutputWidth();
        y = QVS::fixedToDouble(def.u.td.y_value) / getOutputHeight();
        return PF_Err_NONE;
    });
}

int PluginHost_AE_Impl::GetColorValue(int index, int, TimeObject const& time, double& red,
                                      double& green, double& blue) {
    return withParameter(in_data, index, time, [&](PF_ParamDef const& def) {
        red = def.u.cd.value.red / 255.0;
        green = def.u.cd.value.green / 255.0;
        blue = def.u.cd.value.blue / 255.0;
        return PF_Err_NONE;
    });
}

int PluginHost_AE_Impl::getFloatColor(int index, int, double* red, double* green, double* blue,
                                      TimeObject* time) {
    if (!colorParamSuite) return 1;
    auto const convert = [&](PF_ParamDef const& def) -> PF_Err {
        PF_PixelFloat color{};
        if (colorParamSuite->PF_GetFloatingPointColorFromColorDef(in_data->effect_ref, &def,
                                                                  &color))
            return 1;
        *red = color.red * 255.0;
        *green = color.green * 255.0;
        *blue = color.blue * 255.0;
        return 0;
    };
    return time ? withParameter(in_data, index, *time, convert) : convert(*params[index]);
}

void PluginHost_AE_Impl::SetFloatValue(int index, int, double& value) {
    QVS::ParameterDef(in_data, params).SetFloatValue(index, value, false);
}

void PluginHost_AE_Impl::SetPoint2DValue(int index, int, double x, double y) {
    QVS::ParameterDef(in_data, params)
        .SetPoint(index, {x * getOutputWidth(), y * getOutputHeight()});
}

void PluginHost_AE_Impl::SetAngleValue(int index, int, double& degrees) {
    QVS::ParameterDef(in_data, params).SetAngleValue(index, degrees);
}

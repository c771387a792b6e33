// The few callbacks and the one suite that the effect's registration and its rules call.
#include "bindings/common/effect_controls.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "host/PluginHost_AE_Impl.h"
#include "params/ParamsSetup.h"

namespace zelk::bindings {

EffectControls::EffectControls() {
    for (std::size_t i = 0; i < m_defs.size(); ++i) m_array[i] = &m_defs[i];
    m_utils.ansi.strcpy = std::strcpy;
    m_utils.ansi.sprintf = std::sprintf;
    m_suites = {acquire, [](char const*, A_long) { return A_long{0}; }};
    m_inData.inter.add_param = add;
    m_inData.utils = &m_utils;
    m_inData.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
    m_inData.appl_id = kAppMotion;
    m_inData.pica_basicP = &m_suites;
    PluginHost_AE_Impl host(&m_inData, &m_outData, nullptr, nullptr);
    ParamsSetup(&host);
}

EffectControls& EffectControls::of(PF_ProgPtr effect) {
    return *reinterpret_cast<EffectControls*>(effect);
}

PF_Err EffectControls::add(PF_ProgPtr effect, A_long, PF_ParamDef* def) {
    EffectControls& controls = of(effect);
    controls[controls.m_count++] = *def;
    return PF_Err_NONE;
}

PF_Err EffectControls::show(PF_ProgPtr effect, A_long index, PF_ParamDef const* def) {
    of(effect)[index].ui_flags = def->ui_flags;
    return PF_Err_NONE;
}

A_long EffectControls::acquire(char const* name, A_long, void const** suite) {
    static constexpr PF_ParamUtilsSuite1 kControlsSuite = {show};
    bool const isIt = std::string_view(name) == kPFParamUtilsSuite;
    *suite = isIt ? &kControlsSuite : nullptr;
    return isIt ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

}  // namespace zelk::bindings

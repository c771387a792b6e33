// The effect's own list of controls, and its own rules for them, for hosts that have an interface
// of another kind: what a motion graphics host would be told is written down here instead.
//
// Values are the records' own: popups count from 1, points and angles are 16.16.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "params/ParamIndex.h"
#include "platform/effect_api/effect_commands.h"
#include "platform/effect_api/effect_suites.h"

namespace zelk::bindings {

/// The records as the effect registers them in a host without a camera and a shutter of its own.
/// Belongs to one thread at a time; it doesn't move, as the effect is given its address.
class EffectControls {
public:
    EffectControls();
    EffectControls(EffectControls const&) = delete;
    EffectControls& operator=(EffectControls const&) = delete;

    PF_ParamDef& operator[](int index) { return m_defs[static_cast<std::size_t>(index)]; }
    /// For calls of the effect's functions.
    PF_ParamDef** array() { return m_array.data(); }
    PF_InData& inData() { return m_inData; }
    PF_OutData& outData() { return m_outData; }

    /// Has the effect decide by the popups' values which controls are greyed, which ui_flags then
    /// tell (PF_PUI_DISABLED).
    void updateGreyed();

private:
    static EffectControls& of(PF_ProgPtr effect);
    static PF_Err add(PF_ProgPtr effect, A_long index, PF_ParamDef* def);
    static PF_Err show(PF_ProgPtr effect, A_long index, PF_ParamDef const* def);
    static A_long acquire(char const* name, A_long version, void const** suite);

    std::array<PF_ParamDef, kParamCount> m_defs{};
    std::array<PF_ParamDef*, kParamCount> m_array{};
    int m_count = 1;  // the layer is the host's own
    PF_UtilCallbacks m_utils{};
    SPBasicSuite m_suites{};
    PF_InData m_inData{};
    PF_OutData m_outData{};
};

/// The entries of a popup's record, with '|' between them, one by one.
template <class Body>
void forEachEntry(PF_ParamDef const& popup, Body const& body) {
    std::string_view rest = popup.u.pd.u.namesptr;
    for (int entry = 0;; ++entry) {
        auto const end = rest.find('|');
        body(entry, rest.substr(0, end));
        if (end == rest.npos) return;
        rest.remove_prefix(end + 1);
    }
}

}  // namespace zelk::bindings

// Check-out and check-in of all controls; see the header.
#include "effect/CheckedOutParams.h"

CheckedOutParams::CheckedOutParams(PF_InData* in_data) : m_in_data(in_data) {
    // Our own memory comes first, so that no check-out is lost for want of it.
    for (int i = 0; i < kParamCount; ++i) {
        m_defs[i] = std::make_unique<PF_ParamDef>();
        m_pointers[i] = m_defs[i].get();
    }
    for (; m_end < kParamCount; ++m_end) {
        m_err = in_data->inter.checkout_param(in_data->effect_ref, m_end, in_data->current_time,
                                              in_data->time_step, in_data->time_scale,
                                              m_pointers[m_end]);
        if (m_err) return;
    }
}

void CheckedOutParams::giveBack() {
    // Nothing can be done about a refusal here, and the other controls still have to go back.
    for (int i = kFirst; i < m_end; ++i)
        m_in_data->inter.checkin_param(m_in_data->effect_ref, m_pointers[i]);
    m_end = kFirst;
}

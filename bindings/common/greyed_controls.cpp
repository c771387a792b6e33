// Apart from the list of controls: the effect's rules lead to its import and with it to the desktop
// system's services, which a plug-in that shows no panel does without.
#include "bindings/common/effect_controls.h"
#include "params/update_ecw.h"

namespace zelk::bindings {

void EffectControls::updateGreyed() {
    UpdateECW(&m_inData, &m_outData, array(), false, nullptr, nullptr);
}

}  // namespace zelk::bindings

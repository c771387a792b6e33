// The references that an effect may name: the host's one project with its items, its composition
// and camera, and the effects, streams and stream values that the effect has out.
//
// A reference is a number that no host of this process has given before, dressed as a pointer and
// never followed: one that is stale, or another host's, is simply not found.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <set>

#include "hostkit/call_monitor.h"
#include "platform/effect_api/aegp_suites.h"

namespace zelk {

class ProjectLedger {
public:
    explicit ProjectLedger(CallMonitor& monitor);

    struct Item {
        AEGP_ItemH reference;
        AEGP_ItemType type;
    };
    AEGP_ProjectH project() const { return m_project; }
    /// A folder, the layer's footage, and the composition, in the order of the project.
    std::array<Item, 3> const& items() const { return m_items; }
    /// The place of `item` in `items`; none for a reference that is not one.
    std::optional<std::size_t> placeOf(AEGP_ItemH item) const;
    AEGP_CompH comp() const { return m_comp; }
    /// Null without a camera.
    AEGP_LayerH camera() const { return m_camera; }
    void replaceCamera(bool present);

    /// What the effect holds; each is counted as outstanding, and a false give-back as a mistake
    /// of `caller`'s with PF_Err_BAD_CALLBACK_PARAM.
    AEGP_EffectRefH openEffect();
    bool isOpen(AEGP_EffectRefH effect) const { return m_effects.count(effect) > 0; }
    PF_Err closeEffect(char const* caller, AEGP_EffectRefH effect);
    AEGP_StreamRefH openStream(A_long parameterIndex);
    /// The parameter of an open stream.
    std::optional<A_long> parameterOf(AEGP_StreamRefH stream) const;
    PF_Err closeStream(char const* caller, AEGP_StreamRefH stream);
    /// A value is known by the address of its record.
    void lendValue(AEGP_StreamValue const* value);
    PF_Err takeValue(char const* caller, AEGP_StreamValue const* value);

private:
    /// Counts a thing back in, or notes the mistake.
    PF_Err takeBack(bool wasOut, int& outstanding, char const* caller, char const* what);

    CallMonitor& m_monitor;
    AEGP_ProjectH m_project;
    std::array<Item, 3> m_items;
    AEGP_CompH m_comp;
    AEGP_LayerH m_camera = nullptr;
    std::set<AEGP_EffectRefH> m_effects;
    std::map<AEGP_StreamRefH, A_long> m_streams;
    std::map<AEGP_StreamValue const*, int> m_values;
};

}  // namespace zelk

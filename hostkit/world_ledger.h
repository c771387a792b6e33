// The images that an effect may name in a call: those it made, and those that the host lent it for
// the length of a command. A record is recognised by its platform_ref, so that an effect may pass
// a bytewise copy of it.
#pragma once

#include <map>
#include <memory>

#include "hostkit/world.h"

namespace zelk {

class WorldLedger {
public:
    /// The world that `record` describes; null for null, for a record unknown or outdated, and for
    /// one whose pixels or size were changed.
    World* find(PF_EffectWorld const* record) const;

    /// A new world of the effect's, its record copied to `record`. Throws as World does.
    World& make(WorldSpec const& spec, PixelMemory::Start start, PF_EffectWorld& record);
    /// Frees a world of the effect's and clears the record; false when it is none.
    bool dispose(PF_EffectWorld* record);

    void lend(World& world);
    void takeBack(World& world);

private:
    struct Entry {
        World* world = nullptr;
        std::unique_ptr<World> owned;  ///< null for a lent one
    };
    std::map<void const*, Entry> m_entries;  ///< by platform_ref
};

/// Lends a world for the length of a scope.
class LentWorld {
public:
    LentWorld(WorldLedger& ledger, World& world) : m_ledger(ledger), m_world(world) {
        m_ledger.lend(m_world);
    }
    ~LentWorld() { m_ledger.takeBack(m_world); }
    LentWorld(LentWorld const&) = delete;
    LentWorld& operator=(LentWorld const&) = delete;

private:
    WorldLedger& m_ledger;
    World& m_world;
};

}  // namespace zelk

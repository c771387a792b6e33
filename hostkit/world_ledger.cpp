// Which images an effect may name.
#include "hostkit/world_ledger.h"

namespace zelk {

World* WorldLedger::find(PF_EffectWorld const* record) const {
    if (!record) return nullptr;
    auto const found = m_entries.find(record->platform_ref);
    if (found == m_entries.end()) return nullptr;
    World* const world = found->second.world;
    bool const untouched = record->data == world->row(0) && record->width == world->width() &&
                           record->height == world->height() &&
                           record->rowbytes == world->rowBytes();
    return untouched ? world : nullptr;
}

World& WorldLedger::make(WorldSpec const& spec, PixelMemory::Start start, PF_EffectWorld& record) {
    auto world = std::make_unique<World>(spec, start);
    record = *world->record();
    Entry& entry = m_entries[record.platform_ref];
    entry.world = world.get();
    entry.owned = std::move(world);
    return *entry.world;
}

bool WorldLedger::dispose(PF_EffectWorld* record) {
    if (!find(record)) return false;
    auto const found = m_entries.find(record->platform_ref);
    if (!found->second.owned) return false;
    m_entries.erase(found);
    *record = {};
    return true;
}

void WorldLedger::lend(World& world) { m_entries[world.record()->platform_ref].world = &world; }

void WorldLedger::takeBack(World& world) { m_entries.erase(world.record()->platform_ref); }

}  // namespace zelk

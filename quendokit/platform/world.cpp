#include <algorithm>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/world_internal.hpp"

namespace quendokit::platform {

void World::clear() {
    std::array<Slot*, slotCount> youngestFirst{};
    std::transform(slots_.begin(), slots_.end(), youngestFirst.begin(), [](Slot& slot) { return &slot; });
    std::sort(youngestFirst.begin(), youngestFirst.end(),
              [](const Slot* a, const Slot* b) { return a->turn > b->turn; });
    for (Slot* slot : youngestFirst) {
        slot->ready.store(nullptr, std::memory_order_relaxed);
        slot->value.reset();
    }
}

std::size_t nextSlot() {
    static std::atomic<std::size_t> count = 0;
    const std::size_t slot = count++;
    if (slot >= World::slotCount) {
        fatalError("there are more things of which one exists per process than slots for them");
    }
    return slot;
}

}  // namespace quendokit::platform

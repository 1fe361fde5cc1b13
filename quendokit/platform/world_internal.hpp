#pragma once
/// \file
/// `World` and `OncePerProcess`: what is made on first use and kept beside the installed services.

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

#include "quendokit/platform/services.hpp"

namespace quendokit::platform {

/// Installed services, and everything that exists once beside them.
class World {
public:
    explicit World(Services services) : services(std::move(services)) {}
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World() { clear(); }

    /// What `make` gave when `slot` was first asked for. Other threads wait for it; it must not ask for the same slot.
    /// Any thread.
    template <typename Make>
    [[nodiscard]] void* once(std::size_t slot, Make make) {
        Slot& chosen = slots_[slot];
        if (void* ready = chosen.ready.load(std::memory_order_acquire)) {
            return ready;
        }
        std::call_once(chosen.made, [&] {
            chosen.value = make();
            chosen.turn = ++turns_;
            chosen.ready.store(chosen.value.get(), std::memory_order_release);
        });
        return chosen.value.get();
    }

    /// Lets go of everything in the reverse order of its making. One thread; nothing is asked for afterwards.
    void clear();

    const Services services;

private:
    struct Slot {
        std::once_flag made;
        std::shared_ptr<void> value;
        /// `value` once it is made: a look at this is cheaper than one at the flag.
        std::atomic<void*> ready = nullptr;
        /// 1 for what was made first.
        std::size_t turn = 0;
    };

    static constexpr std::size_t slotCount = 48;
    friend std::size_t nextSlot();

    std::array<Slot, slotCount> slots_;
    std::atomic<std::size_t> turns_ = 0;
};

/// What is installed. Fatal if nothing is.
[[nodiscard]] World& world();

/// A slot of its own in every world. Fatal if there are none left.
[[nodiscard]] std::size_t nextSlot();

/// One thing that exists once per process, and so once in each set of installed services. Made as a static object.
template <typename Value>
class OncePerProcess {
public:
    OncePerProcess() : slot_(nextSlot()) {}

    /// What `make`, which answers a `std::shared_ptr<Value>`, gave on first use. Lives as long as the services are
    /// installed. Any thread.
    template <typename Make>
    [[nodiscard]] Value& get(Make make) const {
        return *static_cast<Value*>(world().once(slot_, make));
    }

private:
    const std::size_t slot_;
};

}  // namespace quendokit::platform

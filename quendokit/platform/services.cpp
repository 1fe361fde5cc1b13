#include "quendokit/platform/services.hpp"

#include <atomic>
#include <utility>

#include "quendokit/platform/fatal_error.hpp"

namespace quendokit::platform {
namespace {

std::atomic<const Services*> installed = nullptr;

template <typename Service>
Service& present(const std::shared_ptr<Service>& service, std::string_view name) {
    if (!service) {
        fatalError("no " + std::string(name) + " is installed: set Services::" + std::string(name) +
                   " before platform::install");
    }
    return *service;
}

}  // namespace

void install(Services services) {
    // Kept for the rest of the process: other threads may use them until its very end.
    const auto* kept = new Services(std::move(services));
    const Services* none = nullptr;
    if (!installed.compare_exchange_strong(none, kept)) {
        fatalError("platform::install was called twice");
    }
}

const Services& services() {
    const Services* current = installed.load(std::memory_order_acquire);
    if (current == nullptr) {
        fatalError("the engine was used before platform::install");
    }
    return *current;
}

Clock& clock() {
    return present(services().clock, "clock");
}

RealmProvider& realmProvider() {
    return present(services().realmProvider, "realmProvider");
}

LineSink& standardOutput() {
    return present(services().standardOutput, "standardOutput");
}

ScopedInstall::ScopedInstall(Services services)
    : services_(std::move(services)), previous_(installed.exchange(&services_)) {}

ScopedInstall::~ScopedInstall() {
    installed.store(previous_, std::memory_order_release);
}

}  // namespace quendokit::platform

#include "hostkit/guarded_container_provider.hpp"

#include <utility>

namespace quendokit {

GuardedContainerProvider::GuardedContainerProvider(std::shared_ptr<CKContainerProvider> provider,
                                                   CloudGuardOptions options)
    : provider_(std::move(provider)), options_(std::move(options)) {}

std::shared_ptr<CKDatabase> GuardedContainerProvider::privateCloudDatabase(std::string_view identifier) {
    return database(identifier);
}

std::shared_ptr<GuardedCloudDatabase> GuardedContainerProvider::database(std::string_view identifier) {
    const std::lock_guard lock(mutex_);
    const auto found = databases_.find(identifier);
    if (found != databases_.end()) {
        return found->second;
    }
    auto inner = provider_->privateCloudDatabase(identifier);
    if (!inner) {
        return nullptr;
    }
    auto made = GuardedCloudDatabase::create(std::move(inner), options_);
    databases_.emplace(identifier, made);
    return made;
}

}  // namespace quendokit

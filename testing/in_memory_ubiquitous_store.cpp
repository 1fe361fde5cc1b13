#include "testing/in_memory_ubiquitous_store.hpp"

namespace quendokit::testing {

bool InMemoryUbiquitousStore::synchronize() {
    ++synchronizeCount_;
    return synchronizeAnswer_;
}

void InMemoryUbiquitousStore::arrive(const Changes& changes, std::int64_t reason, NotificationCenter& center) {
    change(changes);
    Notification::UserInfo info;
    info.emplace(NSUbiquitousKeyValueStoreChangeReasonKey, reason);
    center.post({std::string(NSUbiquitousKeyValueStoreDidChangeExternallyNotification), std::move(info)});
}

void InMemoryUbiquitousStore::arrive(const Changes& changes, std::int64_t reason) {
    arrive(changes, reason, NotificationCenter::defaultCenter());
}

}  // namespace quendokit::testing

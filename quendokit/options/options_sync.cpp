#include <chrono>
#include <cstdint>
#include <utility>

#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/timer.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "quendokit/platform/user_defaults.hpp"

namespace quendokit {
namespace {

constexpr std::chrono::seconds quietBeforeSync(3);

}  // namespace

std::function<void()> Options::syncObserver() {
    return sharedOptions()._syncObserver;
}

void Options::setSyncObserver(std::function<void()> observer) {
    sharedOptions()._syncObserver = std::move(observer);
}

void Options::optionsChanged() {
    if (syncTimer_) {
        syncTimer_->invalidate();
    }
    auto timer = Timer::create(quietBeforeSync, shared_from_this(), &Options::triggerSync, false);
    RunLoop::current().add(timer, RunLoopMode::default_);
    syncTimer_ = std::move(timer);
}

void Options::triggerSync(Timer&) {
    syncToCloud();
    if (syncTimer_) {
        syncTimer_->invalidate();
        syncTimer_.reset();
    }
}

void Options::syncToCloud() {
    NSUbiquitousKeyValueStore& cloud = NSUbiquitousKeyValueStore::defaultStore();
    for (const std::string_view key : OptionKeys::All) {
        // What was removed here stays in the cloud.
        if (auto value = UD_.object(key)) {
            cloud.set(key, *std::move(value));
        }
    }
}

void Options::cloudChanged(const Notification& notification) {
    if (!notification.userInfo) {
        return;
    }
    const auto entry = notification.userInfo->find(NSUbiquitousKeyValueStoreChangeReasonKey);
    if (entry == notification.userInfo->end()) {
        return;
    }
    const auto* const reason = std::get_if<std::int64_t>(&entry->second);
    if (reason == nullptr) {
        return;
    }
    if (*reason == NSUbiquitousKeyValueStoreServerChange || *reason == NSUbiquitousKeyValueStoreInitialSyncChange) {
        syncFromCloud();
    }
}

void Options::syncFromCloud() {
    const NSUbiquitousKeyValueStore& cloud = NSUbiquitousKeyValueStore::defaultStore();
    for (const std::string_view key : OptionKeys::All) {
        // Written past `optionsChanged`: what arrived is not pushed back.
        if (auto value = cloud.object(key)) {
            UD_.set(key, *std::move(value));
        }
    }
    DispatchQueue::main().async([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        // The observer may set another one.
        if (const auto observer = self->_syncObserver) {
            observer();
        }
    });
}

}  // namespace quendokit

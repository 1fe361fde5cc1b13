#include "hostkit/token_gate.hpp"

#include <utility>

#include "quendokit/platform/dispatch_queue.hpp"

namespace quendokit {

std::shared_ptr<TokenGate> TokenGate::create(std::shared_ptr<UserDefaults> defaults, std::string key,
                                             std::shared_ptr<DispatchQueue> mainQueue) {
    return std::make_shared<TokenGate>(PrivateTag(), std::move(defaults), std::move(key), std::move(mainQueue));
}

TokenGate::TokenGate(PrivateTag, std::shared_ptr<UserDefaults> defaults, std::string key,
                     std::shared_ptr<DispatchQueue> mainQueue)
    : defaults_(std::move(defaults)), key_(std::move(key)), mainQueue_(std::move(mainQueue)) {}

void TokenGate::setSettle(std::function<bool()> settle) {
    settle_ = std::move(settle);
}

void TokenGate::writeFailed() {
    const std::lock_guard lock(mutex_);
    waiting_ = std::nullopt;
    ++turn_;
}

std::optional<CKServerChangeToken> TokenGate::durableToken() const {
    const auto value = defaults_->object(key_);
    const auto* data = value ? std::get_if<std::vector<std::byte>>(&*value) : nullptr;
    return data != nullptr ? NSKeyedUnarchiver::unarchiveObject(*data) : std::nullopt;
}

std::optional<PropertyValue> TokenGate::object(std::string_view key) const {
    if (key == key_) {
        const std::lock_guard lock(mutex_);
        if (waiting_) {
            return waiting_;
        }
    }
    return defaults_->object(key);
}

void TokenGate::set(std::string_view key, PropertyValue value) {
    if (key != key_) {
        defaults_->set(key, std::move(value));
        return;
    }
    std::uint64_t turn = 0;
    {
        const std::lock_guard lock(mutex_);
        waiting_ = std::move(value);
        turn = ++turn_;
    }
    mainQueue_->async([weak = weak_from_this(), turn] {
        if (const auto self = weak.lock()) {
            self->makeDurable(turn);
        }
    });
}

void TokenGate::remove(std::string_view key) {
    if (key == key_) {
        const std::lock_guard lock(mutex_);
        waiting_ = std::nullopt;
        ++turn_;
    }
    defaults_->remove(key);
}

void TokenGate::makeDurable(std::uint64_t turn) {
    const bool isSettled = !settle_ || settle_();
    const std::lock_guard lock(mutex_);
    if (turn == turn_ && !isSettled) {
        waiting_ = std::nullopt;
    }
    if (turn == turn_ && waiting_) {
        defaults_->set(key_, *std::exchange(waiting_, std::nullopt));
    }
}

}  // namespace quendokit

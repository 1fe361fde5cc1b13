#pragma once
/// \file
/// `MortalSettings`, the settings on the disk of a process that may end between two writes.

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "quendokit/platform/user_defaults.hpp"

namespace quendokit::simulation {

/// Stands before other settings. One thread.
class MortalSettings final : public UserDefaults {
public:
    /// `hasEnded` is asked before each write, `wrote` is told after it.
    MortalSettings(std::shared_ptr<UserDefaults> defaults, std::function<bool()> hasEnded, std::function<void()> wrote)
        : defaults_(std::move(defaults)), hasEnded_(std::move(hasEnded)), wrote_(std::move(wrote)) {}

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override {
        return defaults_->object(key);
    }
    void set(std::string_view key, PropertyValue value) override {
        if (!hasEnded_()) {
            defaults_->set(key, std::move(value));
            wrote_();
        }
    }
    void remove(std::string_view key) override {
        if (!hasEnded_()) {
            defaults_->remove(key);
            wrote_();
        }
    }

private:
    const std::shared_ptr<UserDefaults> defaults_;
    const std::function<bool()> hasEnded_;
    const std::function<void()> wrote_;
};

}  // namespace quendokit::simulation

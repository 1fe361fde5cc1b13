#pragma once
/// \file
/// `InMemoryProperties`, what the in-memory stores of settings have in common.

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/property_value.hpp"

namespace quendokit::testing {

/// Values under keys, and how often the engine asked for them and changed them. What a test looks at by the functions
/// here does not count. Any thread.
class QUENDOKIT_EXPORT InMemoryProperties {
public:
    using Values = std::map<std::string, PropertyValue, std::less<>>;

    InMemoryProperties(const InMemoryProperties&) = delete;
    InMemoryProperties& operator=(const InMemoryProperties&) = delete;

    /// What stands under `key` if it is of that kind; absent otherwise.
    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) const;
    [[nodiscard]] std::optional<double> number(std::string_view key) const;
    [[nodiscard]] std::optional<bool> boolean(std::string_view key) const;
    [[nodiscard]] std::optional<std::string> text(std::string_view key) const;
    [[nodiscard]] std::optional<std::vector<std::byte>> bytes(std::string_view key) const;

    [[nodiscard]] bool contains(std::string_view key) const;
    /// In ascending order.
    [[nodiscard]] std::vector<std::string> keys() const;
    [[nodiscard]] Values values() const;

    /// How often a value was set or removed, whether that changed anything or not.
    [[nodiscard]] std::size_t writeCount() const;
    /// How often a value was asked for.
    [[nodiscard]] std::size_t readCount() const;

protected:
    InMemoryProperties() = default;
    explicit InMemoryProperties(Values values);
    ~InMemoryProperties() = default;

    [[nodiscard]] std::optional<PropertyValue> countedRead(std::string_view key) const;
    void countedSet(std::string_view key, PropertyValue value);
    void countedRemove(std::string_view key);
    /// Changes that no write of this device made; an absent value removes.
    void change(const std::map<std::string, std::optional<PropertyValue>, std::less<>>& changes);

private:
    template <typename Kind>
    [[nodiscard]] std::optional<Kind> valueOf(std::string_view key) const;

    mutable std::mutex mutex_;
    Values values_;
    std::size_t writeCount_ = 0;
    mutable std::size_t readCount_ = 0;
};

}  // namespace quendokit::testing

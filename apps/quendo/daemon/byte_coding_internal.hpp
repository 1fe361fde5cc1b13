#pragma once
/// \file
/// Values to bytes and back, by the fields that `fieldsOf` names.

#include <bit>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "apps/quendo/daemon/request_fields_internal.hpp"

namespace quendo {

/// The bytes are not what they are read as. Leaves the codec never.
struct Malformed : std::exception {};

template <typename T>
struct Kind {};

class ByteWriter {
public:
    void write(std::uint64_t number) {
        for (int shift = 0; shift < 64; shift += 8) {
            bytes_.push_back(static_cast<char>(static_cast<unsigned char>(number >> shift)));
        }
    }
    void write(std::int64_t number) { write(static_cast<std::uint64_t>(number)); }
    void write(bool value) { bytes_.push_back(value ? '\1' : '\0'); }
    void write(quendokit::Date date) { write(std::bit_cast<std::uint64_t>(date.timeIntervalSince1970())); }
    void write(std::chrono::seconds span) { write(std::int64_t{span.count()}); }
    void write(quendokit::Day day) { write(day.rawValue()); }
    void write(quendokit::NotificationAction action) {
        write(static_cast<quendokit::NotificationAction::Case>(action));
    }
    void write(quendokit::NotificationCategory category) {
        write(static_cast<quendokit::NotificationCategory::Case>(category));
    }
    void write(const quendokit::ReminderCondition& condition) {
        write(condition.date());
        if (!condition.date()) {
            write(condition.deviceType()->rawValue());
        }
    }
    void write(const std::string& text) {
        write(std::uint64_t{text.size()});
        bytes_ += text;
    }
    template <typename Enumeration>
        requires std::is_enum_v<Enumeration>
    void write(Enumeration value) {
        bytes_.push_back(static_cast<char>(value));
    }
    template <typename T>
    void write(const std::optional<T>& value) {
        write(value.has_value());
        if (value) {
            write(*value);
        }
    }
    template <typename T>
    void write(const std::vector<T>& values) {
        write(std::uint64_t{values.size()});
        for (const T& value : values) {
            write(value);
        }
    }
    template <typename... T>
    void write(const std::variant<T...>& value) {
        static_assert(sizeof...(T) < 128);
        bytes_.push_back(static_cast<char>(value.index()));
        std::visit([this](const auto& each) { this->write(each); }, value);
    }
    template <typename Struct>
        requires requires(const Struct& value) { fieldsOf(value); }
    void write(const Struct& value) {
        std::apply([this](const auto&... field) { (this->write(field), ...); }, fieldsOf(value));
    }

    [[nodiscard]] std::string take() { return std::move(bytes_); }

private:
    std::string bytes_;
};

/// Throws `Malformed` when there are fewer bytes, or others, than what is asked for would have.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) noexcept : rest_(bytes) {}

    [[nodiscard]] bool atEnd() const noexcept { return rest_.empty(); }

    template <typename T>
    [[nodiscard]] T read() {
        return read(Kind<T>());
    }

private:
    std::string_view take(std::uint64_t count) {
        if (count > rest_.size()) {
            throw Malformed();
        }
        const std::string_view taken = rest_.substr(0, static_cast<std::size_t>(count));
        rest_.remove_prefix(taken.size());
        return taken;
    }
    /// A byte below `count`.
    unsigned char takeBelow(int count) {
        const auto byte = static_cast<unsigned char>(take(1).front());
        if (byte >= count) {
            throw Malformed();
        }
        return byte;
    }
    template <typename T>
    static T present(std::optional<T> value) {
        if (!value) {
            throw Malformed();
        }
        return *std::move(value);
    }

    std::uint64_t read(Kind<std::uint64_t>) {
        std::uint64_t number = 0;
        int shift = 0;
        for (const char byte : take(8)) {
            number |= std::uint64_t{static_cast<unsigned char>(byte)} << shift;
            shift += 8;
        }
        return number;
    }
    std::int64_t read(Kind<std::int64_t>) { return static_cast<std::int64_t>(read<std::uint64_t>()); }
    bool read(Kind<bool>) { return takeBelow(2) == 1; }
    quendokit::Date read(Kind<quendokit::Date>) {
        return quendokit::Date(std::bit_cast<double>(read<std::uint64_t>()));
    }
    std::chrono::seconds read(Kind<std::chrono::seconds>) { return std::chrono::seconds(read<std::int64_t>()); }
    quendokit::Day read(Kind<quendokit::Day>) { return present(quendokit::Day::fromRawValue(read<std::int64_t>())); }
    quendokit::NotificationAction read(Kind<quendokit::NotificationAction>) {
        return read<quendokit::NotificationAction::Case>();
    }
    quendokit::NotificationCategory read(Kind<quendokit::NotificationCategory>) {
        return read<quendokit::NotificationCategory::Case>();
    }
    quendokit::ReminderCondition read(Kind<quendokit::ReminderCondition>) {
        if (const auto date = read<std::optional<quendokit::Date>>()) {
            return quendokit::ReminderCondition::dateTime(*date);
        }
        return quendokit::ReminderCondition::device(present(quendokit::DeviceType::fromRawValue(read<std::int64_t>())));
    }
    std::string read(Kind<std::string>) { return std::string(take(read<std::uint64_t>())); }
    template <typename Enumeration>
        requires std::is_enum_v<Enumeration>
    Enumeration read(Kind<Enumeration>) {
        static_assert(countOf<Enumeration> > 0);
        return static_cast<Enumeration>(takeBelow(countOf<Enumeration>));
    }
    template <typename T>
    std::optional<T> read(Kind<std::optional<T>>) {
        return read<bool>() ? std::optional<T>(read<T>()) : std::nullopt;
    }
    template <typename T>
    std::vector<T> read(Kind<std::vector<T>>) {
        // Not reserved: the number is only what somebody says.
        std::vector<T> values;
        for (auto count = read<std::uint64_t>(); count > 0; --count) {
            values.push_back(read<T>());
        }
        return values;
    }
    template <typename... T>
    std::variant<T...> read(Kind<std::variant<T...>>) {
        using Variant = std::variant<T...>;
        using Reading = Variant (*)(ByteReader&);
        static constexpr Reading readings[] = {+[](ByteReader& reader) { return Variant(reader.read<T>()); }...};
        return readings[takeBelow(static_cast<int>(sizeof...(T)))](*this);
    }
    template <typename Struct>
        requires requires(Struct& value) { fieldsOf(value); }
    Struct read(Kind<Struct>) {
        return readFields<Struct>(Kind<decltype(fieldsOf(std::declval<Struct&>()))>());
    }
    template <typename Struct, typename... Field>
    Struct readFields(Kind<std::tuple<Field&...>>) {
        return Struct{read<Field>()...};
    }

    std::string_view rest_;
};

}  // namespace quendo

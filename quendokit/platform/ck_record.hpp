#pragma once
/// \file
/// `CKRecord`, one record of the cloud's database, and the values in it.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "quendokit/platform/ck_identifiers.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A number of the cloud, which knows no kinds of them: what was written as a boolean may come back as 1 or as 1.0.
/// Plain value; equal when number and kind are.
class QUENDOKIT_EXPORT CKNumber {
public:
    explicit CKNumber(bool value) : value_(value) {}
    explicit CKNumber(std::int64_t value) : value_(value) {}
    explicit CKNumber(double value) : value_(value) {}

    /// False for 0, true for any other number.
    [[nodiscard]] bool boolValue() const;

    /// Absent for a number that has a fraction or is not within 64 bits.
    [[nodiscard]] std::optional<std::int64_t> integerValue() const;

    [[nodiscard]] double doubleValue() const;

    friend bool operator==(const CKNumber&, const CKNumber&) = default;

private:
    std::variant<bool, std::int64_t, double> value_;
};

/// A text, a number, a moment or some bytes; text is never taken for a number. Plain value.
using CKRecordValue = std::variant<std::string, CKNumber, Date, std::vector<std::byte>>;

/// A record: its type, its name, and values under keys. Plain value.
class QUENDOKIT_EXPORT CKRecord {
public:
    using Values = std::map<std::string, CKRecordValue, std::less<>>;

    /// A record without values. Absent when the cloud takes no such name: it takes 1 to 255 printable characters of
    /// ASCII.
    [[nodiscard]] static std::optional<CKRecord> make(std::string recordType, CKRecordID recordID);

    [[nodiscard]] const std::string& recordType() const noexcept { return recordType_; }
    [[nodiscard]] const CKRecordID& recordID() const noexcept { return recordID_; }

    /// The version of the record that the server gave out; absent for a record that was made here.
    [[nodiscard]] const std::optional<std::string>& recordChangeTag() const noexcept { return changeTag_; }
    void setRecordChangeTag(std::optional<std::string> tag) { changeTag_ = std::move(tag); }

    /// The value under `key`; null when there is none.
    [[nodiscard]] const CKRecordValue* object(std::string_view key) const;
    void setObject(std::string key, CKRecordValue value);

    /// Every value, by its key.
    [[nodiscard]] const Values& values() const noexcept { return values_; }

    friend bool operator==(const CKRecord&, const CKRecord&) = default;

private:
    CKRecord(std::string recordType, CKRecordID recordID)
        : recordType_(std::move(recordType)), recordID_(std::move(recordID)) {}

    std::string recordType_;
    CKRecordID recordID_;
    std::optional<std::string> changeTag_;
    Values values_;
};

}  // namespace quendokit

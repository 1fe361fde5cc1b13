#include "quendokit/platform/ck_record.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quendokit {

bool CKNumber::boolValue() const {
    return std::visit([](auto value) { return value != decltype(value){}; }, value_);
}

std::optional<std::int64_t> CKNumber::integerValue() const {
    const auto* fractional = std::get_if<double>(&value_);
    if (fractional == nullptr) {
        const auto* integer = std::get_if<std::int64_t>(&value_);
        return integer != nullptr ? *integer : static_cast<std::int64_t>(std::get<bool>(value_));
    }
    constexpr double tooLarge = 9'223'372'036'854'775'808.0;  // 2^63
    // Neither holds for what is no number.
    const bool fits = *fractional >= -tooLarge && *fractional < tooLarge;
    if (!fits || std::trunc(*fractional) != *fractional) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*fractional);
}

double CKNumber::doubleValue() const {
    return std::visit([](auto value) { return static_cast<double>(value); }, value_);
}

std::optional<CKRecord> CKRecord::make(std::string recordType, CKRecordID recordID) {
    constexpr std::size_t longest = 255;
    const std::string& name = recordID.recordName;
    const bool printable = std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~'; });
    if (name.empty() || name.size() > longest || !printable) {
        return std::nullopt;
    }
    return CKRecord(std::move(recordType), std::move(recordID));
}

const CKRecordValue* CKRecord::object(std::string_view key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? nullptr : &found->second;
}

void CKRecord::setObject(std::string key, CKRecordValue value) {
    values_.insert_or_assign(std::move(key), std::move(value));
}

}  // namespace quendokit

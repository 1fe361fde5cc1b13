#pragma once
/// \file
/// `UploadQuarantine`, the records that the cloud does not take.

#include <cstddef>
#include <map>
#include <string>

#include "quendokit/platform/ck_record.hpp"

namespace quendokit {

/// Keeps what each of them said when it was refused: once it says something else, it may try again. Lives as long as
/// the process. One thread.
class UploadQuarantine {
public:
    [[nodiscard]] bool isEmpty() const noexcept { return refused_.empty(); }
    [[nodiscard]] bool holds(const CKRecord& record) const;
    void add(const CKRecord& record);
    /// The cloud has taken something of that name, or has something newer.
    void forget(const std::string& recordName);

private:
    std::map<std::string, CKRecord::Values> refused_;
};

/// Whether all its text is UTF-8 without a zero byte.
[[nodiscard]] bool hasSendableText(const CKRecord& record);

/// About how much of a request it fills.
[[nodiscard]] std::size_t sizeInRequest(const CKRecord& record);

}  // namespace quendokit

#pragma once
/// \file
/// `RecentConfirmations`, what the cloud has confirmed while other uploads waited.

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "quendokit/platform/ck_record.hpp"

namespace quendokit {

/// Knows which content the cloud has taken last of a record, for an upload that was made before the engine knew: it
/// would send the same once more. Main thread, but for `heard`.
class RecentConfirmations {
public:
    /// How many confirmed uploads the engine has been told of, down to its books. Any thread.
    [[nodiscard]] std::uint64_t heard() const noexcept { return heard_; }
    /// How many there were.
    [[nodiscard]] std::uint64_t count() const noexcept { return count_; }

    /// The cloud has confirmed one more upload; `saved` as it was sent.
    void add(const std::vector<CKRecord>& saved, const std::vector<CKRecordID>& deleted);
    /// The engine has been told of the first `count` of them.
    void setHeard(std::uint64_t count) noexcept { heard_ = count; }
    /// What the cloud has there may be something else by now.
    void forget(const CKRecordID& id) { confirmed_.erase(id); }
    /// Forgets what the engine knows of.
    void forgetHeard();

    /// Whether the cloud has this very record, and the engine did not know when it had heard of `heard` uploads.
    [[nodiscard]] bool savedSince(std::uint64_t heard, const CKRecord& record) const;
    [[nodiscard]] bool deletedSince(std::uint64_t heard, const CKRecordID& id) const;

private:
    struct Confirmation {
        /// Absent for a deletion.
        std::optional<CKRecord> record;
        /// Which upload it was.
        std::uint64_t number = 0;
    };

    std::map<CKRecordID, Confirmation> confirmed_;
    std::uint64_t count_ = 0;
    std::atomic<std::uint64_t> heard_ = 0;
};

}  // namespace quendokit

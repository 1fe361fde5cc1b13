#include "hostkit/recent_confirmations_internal.hpp"

namespace quendokit {

void RecentConfirmations::add(const std::vector<CKRecord>& saved, const std::vector<CKRecordID>& deleted) {
    ++count_;
    for (const CKRecord& record : saved) {
        confirmed_.insert_or_assign(record.recordID(), Confirmation{record, count_});
    }
    for (const CKRecordID& id : deleted) {
        confirmed_.insert_or_assign(id, Confirmation{std::nullopt, count_});
    }
}

void RecentConfirmations::forgetHeard() {
    std::erase_if(confirmed_, [this](const auto& entry) { return entry.second.number <= heard_; });
}

bool RecentConfirmations::savedSince(std::uint64_t heard, const CKRecord& record) const {
    const auto found = confirmed_.find(record.recordID());
    return found != confirmed_.end() && found->second.number > heard && found->second.record == record;
}

bool RecentConfirmations::deletedSince(std::uint64_t heard, const CKRecordID& id) const {
    const auto found = confirmed_.find(id);
    return found != confirmed_.end() && found->second.number > heard && !found->second.record;
}

}  // namespace quendokit

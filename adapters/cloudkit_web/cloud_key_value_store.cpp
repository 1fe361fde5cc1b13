#include "adapters/cloudkit_web/cloud_key_value_store.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "adapters/cloudkit_web/key_value_copy_internal.hpp"
#include "adapters/cloudkit_web/key_value_text_internal.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/notification_center.hpp"

namespace quendokit {
namespace {

const CKRecordZoneID& zoneID() {
    static const CKRecordZoneID zone{std::string(keyValueZoneName)};
    return zone;
}

CKRecord recordOf(const std::string& name, const PropertyValue& value) {
    web::KeyValueText text = web::textOf(value);
    auto record = *CKRecord::make(std::string(keyValueRecordType), {name, zoneID()});
    record.setObject(std::string(keyValueKindField), std::move(text.kind));
    record.setObject(std::string(keyValueContentField), std::move(text.content));
    return record;
}

std::optional<PropertyValue> valueIn(const CKRecord& record) {
    const CKRecordValue* kind = record.object(keyValueKindField);
    const CKRecordValue* content = record.object(keyValueContentField);
    const auto* kindText = kind == nullptr ? nullptr : std::get_if<std::string>(kind);
    const auto* contentText = content == nullptr ? nullptr : std::get_if<std::string>(content);
    return kindText == nullptr || contentText == nullptr ? std::nullopt : web::propertyOf({*kindText, *contentText});
}

}  // namespace

/// One pass at a time: the zone, what is unsent, what has changed. Completions hold it weakly.
class CloudKeyValueStore::State final : public std::enable_shared_from_this<State> {
public:
    State(std::shared_ptr<CKDatabase> database, std::shared_ptr<UserDefaults> settings, PassEnded passEnded)
        : database_(std::move(database)), settings_(std::move(settings)), passEnded_(std::move(passEnded)) {
        const auto stored = settings_->object(keyValueCopyKey);
        const auto* text = stored ? std::get_if<std::string>(&*stored) : nullptr;
        if (text != nullptr) {
            copy_ = web::parseCopy(*text);
        }
    }

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const {
        const std::lock_guard lock(mutex_);
        const auto found = copy_.entries.find(key);
        return found == copy_.entries.end() ? std::nullopt : found->second.value;
    }

    /// Absent: removes it.
    void change(std::string_view key, std::optional<PropertyValue> value) {
        {
            const std::lock_guard lock(mutex_);
            const auto found = copy_.entries.find(key);
            if (web::isSame(value, found == copy_.entries.end() ? std::nullopt : found->second.value)) {
                return;
            }
            copy_.entries.insert_or_assign(std::string(key), web::KeyValueEntry{std::move(value), ++lastChange_});
            store();
        }
        beginPass();
    }

    void beginPass();

    void leaveCloud() {
        const std::lock_guard lock(mutex_);
        forgetSent();
        store();
    }

    [[nodiscard]] bool isIdle() const {
        const std::lock_guard lock(mutex_);
        return !isInPass_;
    }

    [[nodiscard]] std::optional<Error> lastError() const {
        const std::lock_guard lock(mutex_);
        return lastError_;
    }

private:
    using Sent = std::map<std::string, std::uint64_t>;
    struct Came {
        std::string key;
        std::optional<PropertyValue> value;
    };

    void startPass();
    /// Everything is read from the beginning then, and what this cloud does not have is not taken for something in it.
    void forgetSent() {
        copy_.token = std::nullopt;
        std::erase_if(copy_.entries, [](const auto& entry) { return entry.second.unsentChange == 0; });
    }
    void store() { settings_->set(keyValueCopyKey, web::renderCopy(copy_)); }
    void makeZone();
    void sendUnsent();
    void didSend(const Sent& sent, const std::optional<Error>& error);
    void fetch();
    void didFetch(const std::vector<Came>& changes, const std::optional<CKServerChangeToken>& token, bool moreComing,
                  const std::optional<Error>& error);
    void endPass(const std::optional<Error>& error);

    const std::shared_ptr<CKDatabase> database_;
    const std::shared_ptr<UserDefaults> settings_;
    const PassEnded passEnded_;

    mutable std::mutex mutex_;
    web::KeyValueCopy copy_;
    // Of this run alone: entries from an earlier one begin with 1.
    std::uint64_t lastChange_ = 1;
    std::optional<Error> lastError_;
    bool isInPass_ = false;
    bool isPassWanted_ = false;
    bool hasZone_ = false;
};

void CloudKeyValueStore::State::beginPass() {
    {
        const std::lock_guard lock(mutex_);
        isPassWanted_ = isInPass_;
        if (isInPass_) {
            return;
        }
        isInPass_ = true;
    }
    startPass();
}

void CloudKeyValueStore::State::startPass() {
    bool hasZone = false;
    {
        const std::lock_guard lock(mutex_);
        hasZone = hasZone_;
    }
    if (hasZone) {
        sendUnsent();
    } else {
        makeZone();
    }
}

void CloudKeyValueStore::State::makeZone() {
    auto make = std::make_shared<CKModifyRecordZonesOperation>(std::vector{CKRecordZone{zoneID()}}, std::nullopt);
    make->modifyRecordZonesCompletion = [weak = weak_from_this()](const auto&, const auto&,
                                                                  const std::optional<Error>& error) {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        if (error) {
            self->endPass(error);
            return;
        }
        {
            const std::lock_guard lock(self->mutex_);
            self->hasZone_ = true;
        }
        self->sendUnsent();
    };
    database_->add(std::move(make));
}

void CloudKeyValueStore::State::sendUnsent() {
    constexpr std::size_t mostAtOnce = 200;
    std::vector<CKRecord> toSave;
    std::vector<CKRecordID> toDelete;
    Sent sent;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [key, entry] : copy_.entries) {
            const auto name = entry.unsentChange == 0 ? std::nullopt : web::recordNameOf(key);
            if (!name || sent.size() == mostAtOnce) {
                continue;
            }
            sent.emplace(key, entry.unsentChange);
            if (entry.value) {
                toSave.push_back(recordOf(*name, *entry.value));
            } else {
                toDelete.push_back({*name, zoneID()});
            }
        }
    }
    if (sent.empty()) {
        fetch();
        return;
    }
    auto upload = std::make_shared<CKModifyRecordsOperation>(std::move(toSave), std::move(toDelete));
    upload->savePolicy = CKRecordSavePolicy::allKeys;
    upload->modifyRecordsCompletion = [weak = weak_from_this(), sent = std::move(sent)](
                                          const auto&, const auto&, const std::optional<Error>& error) {
        if (const auto self = weak.lock()) {
            self->didSend(sent, error);
        }
    };
    database_->add(std::move(upload));
}

void CloudKeyValueStore::State::didSend(const Sent& sent, const std::optional<Error>& error) {
    if (error) {
        endPass(error);
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [key, change] : sent) {
            const auto entry = copy_.entries.find(key);
            // What has changed since then is unsent again.
            if (entry == copy_.entries.end() || entry->second.unsentChange != change) {
                continue;
            }
            entry->second.unsentChange = 0;
            if (!entry->second.value) {
                copy_.entries.erase(entry);
            }
        }
        store();
    }
    // The rest, if there is any, goes first.
    sendUnsent();
}

void CloudKeyValueStore::State::fetch() {
    std::optional<CKServerChangeToken> token;
    {
        const std::lock_guard lock(mutex_);
        token = copy_.token;
    }
    auto fetch = std::make_shared<CKFetchRecordChangesOperation>(zoneID(), std::move(token));
    const auto changes = std::make_shared<std::vector<Came>>();
    fetch->recordChanged = [changes](const CKRecord& record) {
        auto key = web::keyOf(record.recordID().recordName);
        auto value = valueIn(record);
        // What a later version has written is left to it.
        if (key && value) {
            changes->push_back({*std::move(key), std::move(value)});
        }
    };
    fetch->recordWithIDWasDeleted = [changes](const CKRecordID& id) {
        if (auto key = web::keyOf(id.recordName)) {
            changes->push_back({*std::move(key), std::nullopt});
        }
    };
    fetch->fetchRecordChangesCompletion = [weak = weak_from_this(), changes, itself = fetch.get()](
                                              const std::optional<CKServerChangeToken>& next, const auto&,
                                              const std::optional<Error>& error) {
        if (const auto self = weak.lock()) {
            self->didFetch(*changes, next, itself->moreComing, error);
        }
    };
    database_->add(std::move(fetch));
}

void CloudKeyValueStore::State::didFetch(const std::vector<Came>& changes,
                                         const std::optional<CKServerChangeToken>& token, bool moreComing,
                                         const std::optional<Error>& error) {
    bool isExpired = false;
    bool isFirst = false;
    bool hasNews = false;
    {
        const std::lock_guard lock(mutex_);
        isFirst = !copy_.token;
        isExpired = error && isCKError(*error, CKErrorCode::changeTokenExpired) && copy_.token;
        if (isExpired) {
            forgetSent();
        }
        if (!error) {
            for (const Came& change : changes) {
                const auto entry = copy_.entries.find(change.key);
                const bool isThere = entry != copy_.entries.end();
                // What is unsent here goes up in the next pass and wins.
                if ((isThere && entry->second.unsentChange != 0) || (!isThere && !change.value) ||
                    (isThere && web::isSame(entry->second.value, change.value))) {
                    continue;
                }
                hasNews = true;
                if (change.value) {
                    copy_.entries.insert_or_assign(change.key, web::KeyValueEntry{change.value, 0});
                } else {
                    copy_.entries.erase(entry);
                }
            }
            copy_.token = token;
        }
        store();
    }
    if (hasNews) {
        const std::int64_t reason =
            isFirst ? NSUbiquitousKeyValueStoreInitialSyncChange : NSUbiquitousKeyValueStoreServerChange;
        NotificationCenter::defaultCenter().post(
            {std::string(NSUbiquitousKeyValueStoreDidChangeExternallyNotification),
             Notification::UserInfo{{std::string(NSUbiquitousKeyValueStoreChangeReasonKey), reason}}});
    }
    if (isExpired || (!error && moreComing)) {
        fetch();
    } else {
        endPass(error);
    }
}

void CloudKeyValueStore::State::endPass(const std::optional<Error>& error) {
    bool goesOn = false;
    {
        const std::lock_guard lock(mutex_);
        hasZone_ = hasZone_ && !(error && isCKError(*error, CKErrorCode::zoneNotFound));
        // What failed is not tried again at once.
        goesOn = std::exchange(isPassWanted_, false) && !error;
        isInPass_ = goesOn;
        lastError_ = error;
    }
    if (goesOn) {
        startPass();
    } else if (passEnded_) {
        passEnded_();
    }
}

CloudKeyValueStore::CloudKeyValueStore(std::shared_ptr<CKDatabase> database, std::shared_ptr<UserDefaults> copy,
                                       PassEnded passEnded)
    : state_(std::make_shared<State>(std::move(database), std::move(copy), std::move(passEnded))) {}

CloudKeyValueStore::~CloudKeyValueStore() = default;

std::optional<PropertyValue> CloudKeyValueStore::object(std::string_view key) const {
    return state_->object(key);
}

void CloudKeyValueStore::set(std::string_view key, PropertyValue value) {
    state_->change(key, std::move(value));
}

void CloudKeyValueStore::remove(std::string_view key) {
    state_->change(key, std::nullopt);
}

bool CloudKeyValueStore::synchronize() {
    state_->beginPass();
    return true;
}

void CloudKeyValueStore::leaveCloud() {
    state_->leaveCloud();
}

bool CloudKeyValueStore::isIdle() const {
    return state_->isIdle();
}

std::optional<Error> CloudKeyValueStore::lastError() const {
    return state_->lastError();
}

}  // namespace quendokit

#pragma once
/// \file
/// `GuardedFixture`: a guarded database whose cloud, main queue and time are in the test's hand.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "hostkit/guarded_container_provider.hpp"
#include "hostkit/token_gate.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "tests/support/sync_fixture.hpp"

namespace quendokit::testing {

/// The trace tells what reaches the cloud, and what is answered to whoever asked the guard. Jitter is 0: waits last 1,
/// 2, 4 seconds.
class GuardedFixture : public SyncFixture {
protected:
    using Change = std::variant<CKRecord, CKRecordID>;
    using Texts = std::vector<std::string>;

    struct Page {
        std::vector<Change> changes = {};
        std::optional<CKServerChangeToken> token = {};
        bool moreComing = false;
        std::optional<Error> error = {};
    };

    ~GuardedFixture() override {
        // A task that waits holds the guard, which holds the queue.
        mainLoop->advanceBy(std::chrono::seconds(1));
        mainQueue->runAll();
    }

    /// Everything is passed on as it is.
    static CloudGuardOptions unguarded() {
        CloudGuardOptions options;
        options.oneAtATime = false;
        options.waitsForNetwork = false;
        options.uploadsFirst = false;
        options.shieldsUnsent = false;
        options.splitsUploads = false;
        options.checksText = false;
        options.cancelsTouched = false;
        options.sharesCommits = false;
        return options;
    }

    /// Makes the guard; the manager made later goes through it, with settings behind the gate.
    void guard(CloudGuardOptions options = {}) {
        if (!options.jitter) {
            options.jitter = [] { return 0.0; };
        }
        platform::Services services = platform::services();
        guards = std::make_shared<GuardedContainerProvider>(containers, std::move(options));
        gate = TokenGate::create(defaults, tokenKey, mainQueue);
        services.containerProvider = guards;
        services.userDefaults = gate;
        installed_.emplace(services);
        database = guards->database("iCloud.net.example.reminders");
        database->setTokenGate(gate);
    }
    /// Makes the guard and a manager whose zone is known, with its store. The trace is empty.
    void guardManager(CloudGuardOptions options = {}) {
        guard(std::move(options));
        make(SyncMethod::polling);
        mainQueue->runAll();
        answerZone(true);
        mainQueue->runAll();
        database->attach(manager);
        manager->setReminderStore(store);
        mainQueue->runAll();
        answerDownload({{}, token("T0")});
        trace->clear();
    }

    /// Lets go of the guard.
    void endGuard() {
        manager.reset();
        database.reset();
        guards.reset();
        installed_.reset();
    }

    static Error failure(CKErrorCode code, std::optional<double> retryAfter = {}) {
        Error error = makeCKError(code, "Failed " + std::to_string(static_cast<int>(code)) + ".");
        error.retryAfter = retryAfter;
        return error;
    }
    static Error offline() { return failure(CKErrorCode::networkUnavailable); }

    [[nodiscard]] CKRecord record(const std::string& name, const std::string& tag = "",
                                  const std::string& text = "text") const {
        ReminderItem item = datedItem(name, Date(1'795'400'000));
        item.title = text;
        CKRecord record = makeCKRecord(item, zoneID).value();
        if (!tag.empty()) {
            record.setRecordChangeTag(tag);
        }
        return record;
    }
    [[nodiscard]] CKRecordID idOf(const std::string& name) const { return {name, zoneID}; }

    /// An upload that traces its answer: "answer to UPLOAD: a b -c", or the error.
    std::shared_ptr<CKModifyRecordsOperation> uploadOf(const std::string& name, const Texts& names,
                                                       const Texts& deletions = {}) {
        std::vector<CKRecord> records;
        for (const std::string& each : names) {
            records.push_back(record(each));
        }
        std::vector<CKRecordID> ids;
        for (const std::string& each : deletions) {
            ids.push_back(idOf(each));
        }
        return tracing(name, std::make_shared<CKModifyRecordsOperation>(std::move(records), std::move(ids)));
    }
    std::shared_ptr<CKModifyRecordsOperation> tracing(const std::string& name,
                                                      std::shared_ptr<CKModifyRecordsOperation> upload) {
        upload->savePolicy = CKRecordSavePolicy::allKeys;
        upload->modifyRecordsCompletion = [this, name](const auto& saved, const auto& deleted, const auto& error) {
            std::string line = "answer to " + name + ":";
            for (const CKRecord& each : saved.value_or(std::vector<CKRecord>())) {
                line += " " + each.recordID().recordName;
            }
            for (const CKRecordID& each : deleted.value_or(std::vector<CKRecordID>())) {
                line += " -" + each.recordName;
            }
            trace->add(line + (error ? " " + error->description : ""));
        };
        return upload;
    }
    std::shared_ptr<CKFetchRecordZonesOperation> fetchOf(const std::string& name) {
        auto fetch = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID});
        fetch->fetchRecordZonesCompletion = [this, name](const auto&, const std::optional<Error>& error) {
            trace->add("answer to " + name + ":" + (error ? " " + error->description : ""));
        };
        return fetch;
    }
    std::shared_ptr<CKFetchRecordChangesOperation> downloadOf(const std::string& name,
                                                              const std::optional<CKServerChangeToken>& from) {
        auto download = std::make_shared<CKFetchRecordChangesOperation>(zoneID, from);
        const auto line = std::make_shared<std::string>("answer to " + name + ":");
        download->recordChanged = [line](const CKRecord& each) { *line += " " + each.recordID().recordName; };
        download->recordWithIDWasDeleted = [line](const CKRecordID& each) { *line += " -" + each.recordName; };
        download->fetchRecordChangesCompletion = [this, line, itself = download.get()](const auto&, const auto&,
                                                                                       const auto& error) {
            trace->add(*line + (itself->moreComing ? " more" : "") + (error ? " " + error->description : ""));
        };
        return download;
    }

    void add(std::shared_ptr<CKDatabaseOperation> operation) {
        database->add(std::move(operation));
        mainQueue->runAll();
    }

    /// The server takes the upload that is on its way; each record gets a tag of its name and `tag`.
    void confirmUpload(const std::string& tag = "1") {
        confirmUploadWithoutMain(tag);
        mainQueue->runAll();
    }
    void confirmUploadWithoutMain(const std::string& tag = "1") {
        const auto upload = cloud->take<CKModifyRecordsOperation>();
        ASSERT_TRUE(upload);
        auto saved = upload->recordsToSave;
        for (CKRecord& each : *saved) {
            each.setRecordChangeTag(each.recordID().recordName + tag);
        }
        upload->modifyRecordsCompletion(saved, upload->recordIDsToDelete, std::nullopt);
        upload->finish();
    }
    void failUpload(const Error& error) {
        const auto upload = cloud->take<CKModifyRecordsOperation>();
        ASSERT_TRUE(upload);
        upload->modifyRecordsCompletion(std::nullopt, std::nullopt, error);
        upload->finish();
        mainQueue->runAll();
    }
    void answerFetch(const std::optional<Error>& error = {}) {
        const auto fetch = cloud->take<CKFetchRecordZonesOperation>();
        ASSERT_TRUE(fetch);
        fetch->fetchRecordZonesCompletion(std::nullopt, error);
        fetch->finish();
        mainQueue->runAll();
    }
    void answerDownload(const Page& page) {
        answerDownloadWithoutMain(page);
        mainQueue->runAll();
    }
    void answerDownloadWithoutMain(const Page& page) {
        const auto download = cloud->take<CKFetchRecordChangesOperation>();
        ASSERT_TRUE(download);
        for (const Change& change : page.changes) {
            if (const auto* changed = std::get_if<CKRecord>(&change)) {
                download->recordChanged(*changed);
            } else {
                download->recordWithIDWasDeleted(std::get<CKRecordID>(change));
            }
        }
        download->moreComing = page.moreComing;
        download->fetchRecordChangesCompletion(page.token, std::nullopt, page.error);
        download->finish();
    }
    void pass(std::chrono::nanoseconds time) {
        mainLoop->advanceBy(time);
        mainQueue->runAll();
    }

    /// What the store has unsent.
    void setUnsent(const Texts& names, const Texts& deletions = {}) {
        const auto items = [](const Texts& ids) {
            std::vector<ReminderItem> list;
            for (const std::string& id : ids) {
                list.push_back(datedItem(id, Date(1'795'400'000)));
            }
            return list;
        };
        store->toUpload = items(names);
        store->toDelete = items(deletions);
    }

    std::shared_ptr<GuardedContainerProvider> guards;
    std::shared_ptr<TokenGate> gate;
    std::shared_ptr<GuardedCloudDatabase> database;

private:
    std::optional<platform::ScopedInstall> installed_;
};

}  // namespace quendokit::testing

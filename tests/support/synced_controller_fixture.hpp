#pragma once
/// \file
/// `SyncedControllerFixture`: a controller and its sync manager between a main thread and a cloud's thread, each of
/// which runs when the test says so.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quendokit/platform/results.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "testing/in_memory_realm.hpp"
#include "tests/support/sync_fixture.hpp"

namespace quendokit::testing {

/// What the cloud answers is queued for its thread and does nothing before `runCloud`; what then hops to the main
/// thread does nothing before `runMain`. Work of the test itself is work of the main thread.
class SyncedControllerFixture : public SyncFixture {
protected:
    static constexpr const char* finishedLocal = "post quendokit.reminders.did-finish-local-sync";
    static constexpr const char* finishedRemote = "post quendokit.reminders.did-finish-remote-sync";

    using Upload = std::shared_ptr<CKModifyRecordsOperation>;
    using Download = std::shared_ptr<CKFetchRecordChangesOperation>;

    /// Makes a manager whose zone is unknown and its controller; the download that this starts is taken out. The trace
    /// is empty.
    void beginWithoutZone(SyncMethod method = SyncMethod::push) {
        make(method);
        attach();
    }
    /// The same with the zone known.
    void begin(SyncMethod method = SyncMethod::push) {
        make(method);
        answerZone(true);
        attach();
    }
    /// Makes a controller on the database, which becomes the manager's store.
    void attach() {
        controller = ReminderController::create(nullptr, realm, nullptr, manager);
        static_cast<void>(cloud->take<CKFetchRecordChangesOperation>());
        trace->clear();
    }

    void onCloud(std::function<void()> work) { cloudQueue.async(std::move(work)); }
    void runCloud() { EXPECT_GT(cloudQueue.runAll(), 0U); }
    void runMain() { mainQueue->runAll(); }
    /// Lets the second pass after which an upload begins.
    void passASecond() { mainLoop->advanceBy(std::chrono::seconds(1)); }

    /// The upload that was started; the trace is empty.
    [[nodiscard]] Upload takeUpload() {
        auto upload = cloud->take<CKModifyRecordsOperation>();
        EXPECT_TRUE(upload);
        trace->clear();
        return upload;
    }
    /// Starts an upload at once and takes it out; the trace is empty.
    [[nodiscard]] Upload upload() {
        cloud->add(manager->localSyncOp());
        return takeUpload();
    }
    /// Starts a download and takes it out; the trace is empty.
    [[nodiscard]] Download download() {
        manager->remoteSync();
        auto page = cloud->take<CKFetchRecordChangesOperation>();
        EXPECT_TRUE(page);
        trace->clear();
        return page;
    }

    /// The server takes all of it.
    void confirm(const Upload& upload) {
        onCloud([upload] {
            upload->modifyRecordsCompletion(upload->recordsToSave, upload->recordIDsToDelete, std::nullopt);
            upload->finish();
        });
    }
    void refuse(const Upload& upload) {
        onCloud([upload] {
            upload->modifyRecordsCompletion(std::nullopt, std::nullopt, error("Refused."));
            upload->finish();
        });
    }
    void sendChanged(const Download& page, const ReminderItem& item) {
        onCloud([page, record = makeCKRecord(item, zoneID).value()] { page->recordChanged(record); });
    }
    void sendDeleted(const Download& page, const std::string& name) {
        onCloud([page, id = CKRecordID{name, zoneID}] { page->recordWithIDWasDeleted(id); });
    }
    void endPage(const Download& page, const std::string& tokenText) {
        onCloud([page, tokenText] {
            page->fetchRecordChangesCompletion(token(tokenText), std::nullopt, std::nullopt);
            page->finish();
        });
    }
    void failPage(const Download& page) {
        onCloud([page] {
            page->fetchRecordChangesCompletion(std::nullopt, std::nullopt, error("Offline."));
            page->finish();
        });
    }

    void put(const std::vector<ReminderItem>& items) {
        EXPECT_FALSE(realm->write([&] { realm->add(items, true); }));
    }
    static ReminderItem unsent(ReminderItem item) {
        item.pending = true;
        return item;
    }
    static ReminderItem deleted(ReminderItem item) {
        item.deleted = true;
        item.pending = true;
        return item;
    }
    static Lines textsOf(const std::vector<ReminderItem>& items) {
        Lines lines;
        for (const ReminderItem& item : items) {
            lines.push_back(text(item));
        }
        return lines;
    }
    /// Every record of the database, in the order of their ids.
    [[nodiscard]] Lines stored() const { return textsOf(realm->objects<ReminderItem>().sorted("ID", true).toVector()); }

    const std::shared_ptr<InMemoryRealm> realm = InMemoryRealm::create(QuendoKitConfig());
    ManualDispatchQueue cloudQueue;
    std::shared_ptr<ReminderController> controller;
};

}  // namespace quendokit::testing

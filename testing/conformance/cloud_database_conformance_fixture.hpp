#pragma once
/// \file
/// What the tests of a cloud's database share: requests that are waited for.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/ck_error.hpp"
#include "testing/conformance/awaited_answer.hpp"
#include "testing/conformance/cloud_database_factory.hpp"

namespace quendokit::testing {

/// An empty cloud for each test. Its zone is made by `SetUp`.
class CloudDatabaseConformance : public ::testing::TestWithParam<CloudDatabaseImplementation> {
protected:
    using Names = std::vector<std::string>;
    using Token = std::optional<CKServerChangeToken>;

    /// One page of changes, as it came.
    struct Page {
        /// "NAME" for a record that changed, "-NAME" for one that went, in the order in which they came.
        Names changes;
        std::map<std::string, CKRecord> records;
        Token token;
        bool moreComing = false;
        std::optional<Error> error;
    };
    /// What became of saves and deletions.
    struct Saved {
        std::optional<std::vector<CKRecord>> records;
        std::optional<std::vector<CKRecordID>> deleted;
        std::optional<Error> error;
    };

    CloudDatabaseConformance()
        : factory(GetParam().makeFactory()), here(factory->database()), there(factory->otherDevice()) {}

    void SetUp() override { ASSERT_FALSE(makeZone(here, zoneID)); }

    /// Waits for an answer, which may come on any thread.
    template <typename Answer>
    Answer wait(std::future<Answer> answer) {
        const bool came =
            factory->runUntil([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
        if (!came) {
            ADD_FAILURE() << "no answer came";
            return {};
        }
        return answer.get();
    }

    /// Runs `operation` until it is finished.
    void run(CKDatabase& database, const std::shared_ptr<CKDatabaseOperation>& operation) {
        database.add(operation);
        EXPECT_TRUE(factory->runUntil([&] { return operation->isFinished(); }));
    }

    std::optional<Error> makeZone(CKDatabase& database, const CKRecordZoneID& id) {
        return changeZones(database, std::vector{CKRecordZone{id}}, std::nullopt);
    }
    std::optional<Error> changeZones(CKDatabase& database, std::optional<std::vector<CKRecordZone>> toSave,
                                     std::optional<std::vector<CKRecordZoneID>> toDelete) {
        const auto operation = std::make_shared<CKModifyRecordZonesOperation>(std::move(toSave), std::move(toDelete));
        const auto answer = std::make_shared<AwaitedAnswer<std::optional<Error>>>();
        operation->modifyRecordZonesCompletion = [answer](const auto&, const auto&, const std::optional<Error>& error) {
            answer->set(error);
        };
        run(database, operation);
        return wait(answer->future());
    }
    /// The names of the zones that were found.
    Names foundZones(CKDatabase& database, std::vector<CKRecordZoneID> ids) {
        const auto operation = std::make_shared<CKFetchRecordZonesOperation>(std::move(ids));
        const auto answer = std::make_shared<AwaitedAnswer<Names>>();
        operation->fetchRecordZonesCompletion = [answer](const auto& zones, const std::optional<Error>& error) {
            EXPECT_FALSE(error) << error->description;
            Names names;
            for (const auto& [id, zone] : zones.value_or(CKFetchRecordZonesOperation::Zones())) {
                EXPECT_EQ(zone.zoneID, id);
                names.push_back(id.zoneName);
            }
            answer->set(std::move(names));
        };
        run(database, operation);
        return wait(answer->future());
    }

    [[nodiscard]] CKRecord record(const std::string& name, const std::string& text = "text") const {
        CKRecord record = CKRecord::make("Thing", {name, zoneID}).value();
        record.setObject("text", text);
        return record;
    }
    Saved modify(CKDatabase& database, std::optional<std::vector<CKRecord>> toSave,
                 std::optional<std::vector<CKRecordID>> toDelete,
                 CKRecordSavePolicy policy = CKRecordSavePolicy::allKeys) {
        const auto operation = std::make_shared<CKModifyRecordsOperation>(std::move(toSave), std::move(toDelete));
        operation->savePolicy = policy;
        const auto answer = std::make_shared<AwaitedAnswer<Saved>>();
        operation->modifyRecordsCompletion = [answer](auto records, auto deleted, auto error) {
            answer->set({std::move(records), std::move(deleted), std::move(error)});
        };
        run(database, operation);
        return wait(answer->future());
    }
    /// Saves records of those names and texts, and expects that to succeed.
    void save(CKDatabase& database, const std::vector<CKRecord>& records) {
        const Saved saved = modify(database, records, std::nullopt);
        EXPECT_FALSE(saved.error) << saved.error->description;
    }
    void remove(CKDatabase& database, const Names& names) {
        std::vector<CKRecordID> ids;
        for (const std::string& name : names) {
            ids.push_back({name, zoneID});
        }
        const Saved saved = modify(database, std::nullopt, ids);
        EXPECT_FALSE(saved.error) << saved.error->description;
    }

    Page fetchPage(CKDatabase& database, const Token& from) {
        const auto operation = std::make_shared<CKFetchRecordChangesOperation>(zoneID, from);
        auto page = std::make_shared<Page>();
        const auto answer = std::make_shared<AwaitedAnswer<Page>>();
        operation->recordChanged = [page](const CKRecord& record) {
            page->changes.push_back(record.recordID().recordName);
            page->records.emplace(record.recordID().recordName, record);
        };
        operation->recordWithIDWasDeleted = [page](const CKRecordID& id) {
            page->changes.push_back("-" + id.recordName);
        };
        operation->fetchRecordChangesCompletion = [answer, page, itself = operation.get()](
                                                      const auto& token, const auto&, const auto& error) {
            page->token = token;
            page->error = error;
            page->moreComing = itself->moreComing;
            answer->set(*page);
        };
        run(database, operation);
        return wait(answer->future());
    }
    /// All pages since `from`, as one.
    Page fetchAll(CKDatabase& database, const Token& from) {
        Page all;
        all.token = from;
        do {
            Page page = fetchPage(database, all.token);
            all.changes.insert(all.changes.end(), page.changes.begin(), page.changes.end());
            all.records.merge(page.records);
            all.token = page.token;
            all.moreComing = page.moreComing;
            all.error = page.error;
            EXPECT_FALSE(all.error) << all.error->description;
        } while (all.moreComing && !all.error);
        return all;
    }

    const CKRecordZoneID zoneID{"Things of this test"};
    const std::unique_ptr<CloudDatabaseFactory> factory;
    /// Two devices of one person.
    CKDatabase& here;
    CKDatabase& there;
};

}  // namespace quendokit::testing

#pragma once
/// \file
/// A database over a transport that the test answers.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/web_cloud_database.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "tests/support/scripted_transport.hpp"

namespace quendokit::testing {

/// Keeps a token in memory, and which ones it was given.
class InMemoryTokenStore final : public WebTokenStore {
public:
    [[nodiscard]] std::optional<std::string> webToken() const override { return token; }
    void keep(const std::string& next) override {
        token = next;
        kept.push_back(next);
    }

    std::optional<std::string> token = "12__34__first/token+with=signs";
    std::vector<std::string> kept;
};

/// The page that an operation that reads changes has brought.
struct ReadPage {
    std::vector<CKRecord> records;
    std::vector<std::string> deleted;
    std::optional<CKServerChangeToken> token;
    std::optional<Error> error;
    bool isComplete = false;
};

class WebDatabase : public ::testing::Test {
protected:
    using Json = nlohmann::json;

    void TearDown() override {
        database.reset();
        transport->drop();
    }

    static WebAccount account() {
        WebAccount account;
        account.url = "https://cloud.example";
        account.container = "iCloud.net.example.app";
        account.apiToken = "api+token/0123456789=";
        return account;
    }

    /// The operation of the oldest request, without what goes before and behind it.
    [[nodiscard]] std::string askedOperation() const {
        const std::string& url = transport->sent.front().request.url;
        const std::string before = "https://cloud.example/database/1/iCloud.net.example.app/production/private/";
        EXPECT_TRUE(url.starts_with(before)) << url;
        return url.substr(before.size(), url.find('?') - before.size());
    }

    /// What it asks.
    [[nodiscard]] Json question() const { return Json::parse(transport->sent.front().request.body.value_or("null")); }

    /// Adds an operation that reads the changes of `zone`.
    std::shared_ptr<CKFetchRecordChangesOperation> read(const std::optional<std::string>& token = std::nullopt) {
        auto operation = std::make_shared<CKFetchRecordChangesOperation>(
            zone, token ? std::optional(tokenOf(*token)) : std::nullopt);
        operation->recordChanged = [this](const CKRecord& record) { page.records.push_back(record); };
        operation->recordWithIDWasDeleted = [this](const CKRecordID& id) { page.deleted.push_back(id.recordName); };
        operation->fetchRecordChangesCompletion = [this](auto next, auto /*clientData*/, auto error) {
            page.token = std::move(next);
            page.error = std::move(error);
            page.isComplete = true;
        };
        database->add(operation);
        transport->run();
        return operation;
    }

    static CKServerChangeToken tokenOf(std::string_view text) {
        std::vector<std::byte> bytes;
        for (const char c : text) {
            bytes.push_back(static_cast<std::byte>(c));
        }
        return CKServerChangeToken(std::move(bytes));
    }

    static void expectCode(const std::optional<Error>& error, CKErrorCode code) {
        ASSERT_TRUE(error);
        EXPECT_TRUE(isCKError(*error, code)) << error->domain << " " << error->code << ": " << error->description;
        EXPECT_EQ(error->description.find('\n'), std::string::npos);
    }

    const CKRecordZoneID zone{"Errands"};
    const std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();
    const std::shared_ptr<InMemoryTokenStore> tokens = std::make_shared<InMemoryTokenStore>();
    const std::shared_ptr<WebSession> session = WebSession::open(account(), transport, tokens).value();
    std::vector<Error> skipped;
    std::shared_ptr<WebCloudDatabase> database =
        std::make_shared<WebCloudDatabase>(session, [this](const Error& error) { skipped.push_back(error); });
    ReadPage page;
};

}  // namespace quendokit::testing

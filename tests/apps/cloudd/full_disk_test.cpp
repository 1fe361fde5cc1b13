/// \file
/// A server whose disk is full, or fails.

#include "tests/apps/cloudd/server_fixture.hpp"
#include "tests/support/shim_file_system.hpp"

namespace cloudd::testing {
namespace {

using quendokit::testing::ShimFileSystem;

class ServerFullDisk : public Server {
protected:
    ServerFullDisk() {
        createZone();
        modify(json::array({save("A1", "milk")}));
        start(fileSystemName_.c_str());
    }
    ~ServerFullDisk() override { handler_.reset(); }

    /// Everything that is stored, as a client that begins sees it.
    json everything() {
        json zone = changes();
        return zone.at("records");
    }

    ShimFileSystem fileSystem_;
    const std::string fileSystemName_ = ShimFileSystem::name();
};

TEST_F(ServerFullDisk, AChangeIsRefusedWithOneErrorAndNothingIsLost) {
    const json before = everything();
    fileSystem_.setFull(true);
    const json refused =
        post("records/modify",
             {{"zoneID", {{"zoneName", "Errands"}}}, {"operations", json::array({save("A1", "bread"), remove("A1x")})}},
             413);
    EXPECT_EQ(refused.at("serverErrorCode"), "QUOTA_EXCEEDED");
    EXPECT_EQ(refused.at("reason"), "the server's disk is full; nothing was changed");
    EXPECT_FALSE(log_.empty());
    EXPECT_NE(log_.back().find("the disk is full"), std::string::npos);
    EXPECT_EQ(everything(), before) << "reading goes on";
    fileSystem_.setFull(false);
    EXPECT_EQ(everything(), before);
    modify(json::array({save("A1", "bread")}));
    EXPECT_EQ(everything()[0].at("fields").at("note").at("value"), "bread");
}

TEST_F(ServerFullDisk, NobodyIsSignedOutByATokenThatCouldNotBeWrittenDown) {
    fileSystem_.setFull(true);
    const std::string before = client_.web;
    get("zones/list");
    EXPECT_EQ(client_.web, before) << "no answer brought another token";
    fileSystem_.setFull(false);
    get("zones/list");
    EXPECT_NE(client_.web, before);
    get("zones/list");
}

TEST_F(ServerFullDisk, ADiskThatFailsIsAnErrorOfTheServerThatNamesNoFile) {
    const json before = everything();
    fileSystem_.setSyncsFailing(true);
    const json refused =
        post("records/modify",
             {{"zoneID", {{"zoneName", "Errands"}}}, {"operations", json::array({save("A1", "bread")})}}, 500);
    EXPECT_EQ(refused.at("serverErrorCode"), "INTERNAL_ERROR");
    EXPECT_EQ(refused.dump().find(".sqlite"), std::string::npos);
    ASSERT_FALSE(log_.empty());
    EXPECT_NE(log_.back().find(".sqlite"), std::string::npos);
    fileSystem_.setSyncsFailing(false);
    EXPECT_EQ(everything(), before);
}

}  // namespace
}  // namespace cloudd::testing

#include "testing/recording_notification_center.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace quendokit::testing {
namespace {

std::vector<std::string> names(const std::vector<Notification>& notifications) {
    std::vector<std::string> names;
    for (const Notification& notification : notifications) {
        names.push_back(notification.name);
    }
    return names;
}

TEST(RecordingNotificationCenter, KeepsWhatWasPostedWithOrWithoutObservers) {
    RecordingNotificationCenter center;
    center.post({"a", Notification::UserInfo{{"count", std::int64_t{1}}}});
    static_cast<void>(center.addObserver("b", [](const Notification&) {}));
    center.post({"b", std::nullopt});
    center.post({"a", std::nullopt});

    EXPECT_EQ(names(center.posted()), (std::vector<std::string>{"a", "b", "a"}));
    const auto ofA = center.posted("a");
    ASSERT_EQ(ofA.size(), 2U);
    EXPECT_EQ(ofA[0].userInfo, (Notification::UserInfo{{"count", std::int64_t{1}}}));
    EXPECT_EQ(ofA[1].userInfo, std::nullopt);
    EXPECT_TRUE(center.posted("c").empty());
}

TEST(RecordingNotificationCenter, KeepsWhatAHandlerPostsAfterWhatItWasCalledFor) {
    RecordingNotificationCenter center;
    static_cast<void>(center.addObserver("outer", [&](const Notification&) { center.post({"inner", std::nullopt}); }));
    center.post({"outer", std::nullopt});
    EXPECT_EQ(names(center.posted()), (std::vector<std::string>{"outer", "inner"}));
}

TEST(RecordingNotificationCenter, CountsTheObserversOfAName) {
    RecordingNotificationCenter center;
    EXPECT_EQ(center.observerCount("a"), 0U);
    const auto first = center.addObserver("a", [](const Notification&) {});
    static_cast<void>(center.addObserver("a", [](const Notification&) {}));
    static_cast<void>(center.addObserver("b", [](const Notification&) {}));
    EXPECT_EQ(center.observerCount("a"), 2U);
    center.removeObserver(first);
    EXPECT_EQ(center.observerCount("a"), 1U);
    EXPECT_EQ(center.observerCount("b"), 1U);
}

}  // namespace
}  // namespace quendokit::testing

#pragma once
/// \file
/// `MockScreen`, a notification service that only remembers what it was asked for.

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tests/adapters/dbus/notifications_fixture.hpp"

namespace quendo::testing {

/// Whether something is so in the end. For what another process does and announces to nobody.
template <typename Predicate>
[[nodiscard]] bool waitUntil(Predicate isSo, std::chrono::seconds patience = std::chrono::seconds(60)) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

/// Gives its notifications the numbers 1, 2 and so on.
class MockScreen {
public:
    /// What it was asked to show. Plain value.
    struct Notice {
        std::string summary;
        std::string body;
        /// Keys and titles in turn.
        std::vector<std::string> actions;
    };

    explicit MockScreen(const quendokit::testing::PrivateBus& bus,
                        const std::string& abilities = quendokit::testing::allAbilities)
        : mock_(bus, "notification_daemon", quendokit::testing::notifications, object, abilities) {}

    [[nodiscard]] std::vector<Notice> notices() {
        std::vector<Notice> all;
        for (const auto& call : mock_.calls(object, "Notify")) {
            all.push_back({call.at(3).get<std::string>(), call.at(4).get<std::string>(),
                           call.at(5).get<std::vector<std::string>>()});
        }
        return all;
    }
    [[nodiscard]] std::vector<std::string> summaries() {
        std::vector<std::string> all;
        for (const Notice& notice : notices()) {
            all.push_back(notice.summary);
        }
        return all;
    }
    /// How many were to be taken away.
    [[nodiscard]] std::size_t closed() { return mock_.calls(object, "CloseNotification").size(); }

    [[nodiscard]] bool waitForNotices(std::size_t count) {
        return waitUntil([&] { return notices().size() >= count; });
    }
    [[nodiscard]] bool waitForClosed(std::size_t count) {
        return waitUntil([&] { return closed() >= count; });
    }

    /// What a person does.
    void press(std::uint32_t number, const std::string& key) {
        mock_.emit(object, quendokit::testing::notifications, "ActionInvoked", "us",
                   {sdbus::Variant(number), sdbus::Variant(key)});
    }
    void dismiss(std::uint32_t number) {
        constexpr std::uint32_t byThePerson = 2;
        mock_.emit(object, quendokit::testing::notifications, "NotificationClosed", "uu",
                   {sdbus::Variant(number), sdbus::Variant(byThePerson)});
    }

    /// Does that, in Python, whenever it is to show something; `ret` is the number that it gives.
    void onNotify(const std::string& code) {
        mock_.addMethod(object, quendokit::testing::notifications, "Notify", "susssasa{sv}i", "u", code);
    }
    void kill() { mock_.kill(); }

private:
    inline static const std::string object = quendokit::testing::notificationsObject;

    quendokit::testing::DBusMock mock_;
};

inline const std::string shortButton = "quendo.postpone.action.short";
inline const std::string laterButton = "quendo.postpone.action.later";

}  // namespace quendo::testing

/// \file
/// What the daemon tells the service manager that started it.

#include <array>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "tests/apps/quendo/daemon_process.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendo::testing {
namespace {

class DaemonAsAService : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string path = (folder_.path() / "notify").string();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        ASSERT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << strerror(errno);
        environment_["NOTIFY_SOCKET"] = path;
    }
    ~DaemonAsAService() override { close(socket_); }

    /// The next word from the daemon; empty when none comes in half a minute.
    [[nodiscard]] std::string nextWord() const {
        pollfd awaited{socket_, POLLIN, 0};
        std::array<char, 256> text{};
        const ssize_t size = poll(&awaited, 1, 30'000) > 0 ? recv(socket_, text.data(), text.size(), 0) : 0;
        return {text.data(), static_cast<std::size_t>(size > 0 ? size : 0)};
    }

    const quendokit::testing::TemporaryFolder folder_;
    const int socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    DaemonProcess::Environment environment_{{"QUENDO_HOME", (folder_.path() / "home").string()}};
};

TEST_F(DaemonAsAService, SaysWhenItIsReadyAndWhenItEnds) {
    DaemonProcess daemon(environment_);
    EXPECT_EQ(nextWord(), "READY=1");
    EXPECT_EQ(daemon.end(SIGTERM), 0) << daemon.lines();
    EXPECT_EQ(nextWord(), "STOPPING=1");
}

TEST_F(DaemonAsAService, AHomeWithDamagedRemindersIsNotReady) {
    const auto home = folder_.path() / "home";
    std::filesystem::create_directories(home);
    std::filesystem::permissions(home, std::filesystem::perms::owner_all);
    std::ofstream(home / "reminders.sqlite") << std::string(4096, 'x');
    DaemonProcess daemon(environment_);
    EXPECT_TRUE(daemon.hasEnded()) << daemon.lines();
    EXPECT_EQ(daemon.end(SIGTERM), 4) << "which the service manager does not try again";
    EXPECT_NE(daemon.lines().find("reminders.sqlite"), std::string::npos) << daemon.lines();
}

}  // namespace
}  // namespace quendo::testing

/// \file
/// How long the server bears with a connection, second by second.

#include "apps/quendo-cloudd/connection_watch.hpp"

#include <array>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace cloudd::testing {
namespace {

using namespace std::chrono_literals;
using Phase = ConnectionWatch::Phase;

class ServerConnectionWatch : public ::testing::Test {
protected:
    ServerConnectionWatch() {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets_.data()), 0);
        connection_ = watch_.add(sockets_[0], now_);
    }
    ~ServerConnectionWatch() override {
        watch_.remove(connection_);
        for (const int socket : sockets_) {
            close(socket);
        }
    }

    /// After how many seconds the connection is ended, when `bytes` of its body come each second; 1,000 when it is not.
    int secondsOf(Phase phase, std::size_t bytes = 0) {
        watch_.enter(connection_, phase, now_);
        for (int seconds = 1; seconds < 1'000; ++seconds) {
            now_ += 1s;
            watch_.noteBody(connection_, bytes);
            watch_.shutLate(now_);
            if (isEnded()) {
                return seconds;
            }
        }
        return 1'000;
    }

private:
    [[nodiscard]] bool isEnded() const {
        char byte = 0;
        return recv(sockets_[1], &byte, 1, MSG_DONTWAIT) == 0;
    }

    std::array<int, 2> sockets_{};
    ConnectionWatch watch_{Patience()};
    ConnectionWatch::Time now_{1'000s};
    ConnectionWatch::Entry* connection_ = nullptr;
};

TEST_F(ServerConnectionWatch, AHeaderMayTakeFiveSecondsHoweverItComes) {
    EXPECT_EQ(secondsOf(Phase::header), 6);
}

TEST_F(ServerConnectionWatch, ABodyOfAByteASecondIsNotWaitedFor) {
    EXPECT_EQ(secondsOf(Phase::body, 1), 2);
}

TEST_F(ServerConnectionWatch, ABodyOfAKilobyteASecondMayTakeThirty) {
    EXPECT_EQ(secondsOf(Phase::body, 1'024), 31);
}

TEST_F(ServerConnectionWatch, ABodyThatFallsBehindThatIsNotWaitedForEither) {
    EXPECT_EQ(secondsOf(Phase::body, 900), 11);
}

TEST_F(ServerConnectionWatch, WithoutARequestAConnectionMayStayForAMinute) {
    EXPECT_EQ(secondsOf(Phase::idle), 61);
}

TEST_F(ServerConnectionWatch, NobodyIsCutOffWhileTheServerWorks) {
    EXPECT_EQ(secondsOf(Phase::working), 1'000);
}

}  // namespace
}  // namespace cloudd::testing

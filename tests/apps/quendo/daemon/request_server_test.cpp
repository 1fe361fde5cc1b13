/// \file
/// The server of requests over real sockets, with a handler of the test's.

#include "apps/quendo/daemon/request_server.hpp"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <random>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>

#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/daemon/daemon_client.hpp"
#include "apps/quendo/daemon/protocol.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendo {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

/// Runs the queue's tasks on a thread at once.
class OneThread final : public quendokit::DispatchQueue {
public:
    OneThread() : thread_([this] { work(); }) {}
    ~OneThread() override {
        async(nullptr);
        thread_.join();
    }
    void async(Task task) override {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
        there_.notify_one();
    }
    /// Runs `task` there and waits for it.
    void sync(const Task& task) {
        std::promise<void> done;
        async([&] {
            task();
            done.set_value();
        });
        done.get_future().wait();
    }

private:
    void work() {
        for (;;) {
            std::unique_lock lock(mutex_);
            there_.wait(lock, [this] { return !tasks_.empty(); });
            const Task task = std::move(tasks_.front());
            tasks_.pop_front();
            lock.unlock();
            if (!task) {
                return;
            }
            task();
        }
    }

    std::mutex mutex_;
    std::condition_variable there_;
    std::deque<Task> tasks_;
    std::thread thread_;
};

class RequestServing : public ::testing::Test {
protected:
    void SetUp() override {
        options_.patience = 2s;
        options_.log = [this](const std::string& line) {
            const std::lock_guard lock(mutex_);
            log_ += line + "\n";
        };
    }
    void TearDown() override {
        if (server_) {
            queue_->sync([this] { server_->stop(); });
        }
    }

    /// Answers a look at one reminder with its identifier; keeps the reply to any other request.
    void serve() {
        server_ = std::make_unique<RequestServer>(
            socket_.value(), queue_,
            [this](const Request& request, const RequestReply& reply) {
                if (const auto* show = std::get_if<ShowRequest>(&request)) {
                    reply({{"warned"}, Failure{ExitCode::notDone, show->id}});
                } else {
                    const std::lock_guard lock(mutex_);
                    kept_.push_back(reply);
                }
            },
            options_);
    }
    [[nodiscard]] std::string asked(const std::string& id) const {
        auto client = DaemonClient::find(path_);
        if (!client || !client.value()) {
            return "no daemon";
        }
        auto answer = client.value()->ask(ShowRequest{id});
        return answer ? std::get<Failure>(answer.value().result).line : answer.failure().line;
    }
    [[nodiscard]] std::string log() {
        const std::lock_guard lock(mutex_);
        return log_;
    }
    [[nodiscard]] std::size_t kept() {
        const std::lock_guard lock(mutex_);
        return kept_.size();
    }
    /// A connection that has said `bytes`.
    [[nodiscard]] Descriptor speaking(const std::string& bytes) const {
        Descriptor connection = std::move(connectTo(path_, 5s)).value();
        EXPECT_TRUE(connection.isOpen());
        EXPECT_EQ(send(connection.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
        return connection;
    }
    /// What comes until the other end hangs up.
    static std::string heard(const Descriptor& connection) {
        const timeval limit{20, 0};
        setsockopt(connection.number(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        std::string all;
        char buffer[4096];
        for (ssize_t size = 0; (size = recv(connection.number(), buffer, sizeof(buffer), 0)) > 0;) {
            all.append(buffer, static_cast<std::size_t>(size));
        }
        return all;
    }
    template <typename Condition>
    static bool eventually(Condition condition) {
        for (int i = 0; i < 2'000; ++i) {
            if (condition()) {
                return true;
            }
            std::this_thread::sleep_for(5ms);
        }
        return false;
    }

    const quendokit::testing::TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_.path() / "run" / "socket";
    Outcome<ListeningSocket> socket_ = ListeningSocket::open(path_);
    const std::shared_ptr<OneThread> queue_ = std::make_shared<OneThread>();
    RequestServerOptions options_;
    std::mutex mutex_;
    std::string log_;
    std::vector<RequestReply> kept_;
    std::unique_ptr<RequestServer> server_;
};

TEST_F(RequestServing, ARequestIsAnsweredWithItsWarnings) {
    serve();
    auto client = DaemonClient::find(path_);
    ASSERT_TRUE(client && client.value());
    for (const std::string id : {"one", "two"}) {
        auto answer = client.value()->ask(ShowRequest{id});
        ASSERT_TRUE(answer) << answer.failure().line;
        EXPECT_THAT(answer.value().warnings, ::testing::ElementsAre("warned"));
        EXPECT_EQ(std::get<Failure>(answer.value().result).line, id);
    }
}

TEST_F(RequestServing, SocketAndFolderAreForTheirOwnerAlone) {
    struct stat status{};
    ASSERT_EQ(stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    ASSERT_EQ(stat(path_.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(RequestServing, AProgramOfAnotherUserIsHungUpOn) {
    options_.user = geteuid() + 1;
    serve();
    EXPECT_EQ(asked("x"), "no daemon");
    EXPECT_THAT(log(), HasSubstr("another user"));
}

TEST_F(RequestServing, GarbageIsHungUpOnAndTold) {
    serve();
    EXPECT_EQ(heard(speaking("GET / HTTP/1.1\r\n\r\n")), greeting());
    EXPECT_THAT(log(), HasSubstr("does not speak as a quendo"));
    EXPECT_EQ(heard(speaking(greeting() + lengthBytes(0xffffffff))), greeting());
    EXPECT_THAT(log(), HasSubstr("longer than 64 MiB"));
    EXPECT_EQ(heard(speaking(greeting() + lengthBytes(0))), greeting());
    EXPECT_EQ(heard(speaking(greeting() + lengthBytes(3) + "abc")), greeting());
    EXPECT_THAT(log(), HasSubstr("is no request"));
    std::mt19937 random(4711);
    for (int i = 0; i < 50; ++i) {
        std::string bytes;
        for (int j = 0; j < 1 + i * 20; ++j) {
            bytes += static_cast<char>(random());
        }
        static_cast<void>(heard(speaking(greeting() + lengthBytes(bytes.size()) + bytes)));
    }
    EXPECT_EQ(asked("still here"), "still here");
}

TEST_F(RequestServing, HalfARequestAndThenSilenceIsHungUpOnInTime) {
    serve();
    const std::string bytes = encode(ShowRequest{"x"});
    const auto start = std::chrono::steady_clock::now();
    const Descriptor half = speaking(greeting() + lengthBytes(bytes.size()) + bytes.substr(0, 3));
    EXPECT_EQ(asked("meanwhile"), "meanwhile");
    EXPECT_EQ(heard(half), greeting());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 2s);
    EXPECT_THAT(log(), HasSubstr("did not send its request in time"));
}

TEST_F(RequestServing, ClientsThatSayNothingMakeRoomForOthers) {
    options_.patience = 60s;
    options_.mostConnections = 4;
    serve();
    std::vector<Descriptor> silent;
    for (int i = 0; i < 12; ++i) {
        silent.push_back(std::move(connectTo(path_, 5s)).value());
    }
    EXPECT_EQ(asked("x"), "x");
    EXPECT_THAT(log(), HasSubstr("others wait"));
}

TEST_F(RequestServing, AThousandConnectionsThatHangUpLeaveNothingBehind) {
    serve();
    for (int i = 0; i < 1'000; ++i) {
        const auto connection = connectTo(path_, 5s);
        ASSERT_TRUE(connection);
    }
    EXPECT_EQ(asked("x"), "x");
    EXPECT_EQ(log(), "") << "looking whether somebody is here is no fault";
}

TEST_F(RequestServing, AnAnswerMayComeAnyTimeAndOthersDoNotWaitForIt) {
    serve();
    std::thread slow([&] {
        auto client = DaemonClient::find(path_);
        auto answer = client.value()->ask(StatsRequest());
        EXPECT_TRUE(answer && std::get<Failure>(answer.value().result).line == "late");
    });
    EXPECT_TRUE(eventually([&] { return kept() == 1; }));
    EXPECT_EQ(asked("meanwhile"), "meanwhile");
    queue_->sync([&] {
        kept_[0]({{}, Failure{ExitCode::notDone, "late"}});
        kept_[0]({{}, Failure{ExitCode::notDone, "twice"}});
    });
    slow.join();
}

TEST_F(RequestServing, AClientThatGoesAwayIsNoticedAndHarmless) {
    serve();
    const std::string bytes = encode(StatsRequest{});
    {
        const Descriptor brief = speaking(greeting() + lengthBytes(bytes.size()) + bytes);
        ASSERT_TRUE(eventually([&] { return kept() == 1; }));
        EXPECT_FALSE(kept_[0].isPointless());
    }
    EXPECT_TRUE(eventually([&] { return kept_[0].isPointless(); }));
    kept_[0]({{}, Failure{ExitCode::notDone, "nobody reads this"}});
    EXPECT_EQ(asked("x"), "x");
}

TEST_F(RequestServing, AReplyThatIsDroppedHangsUp) {
    serve();
    const std::string bytes = encode(StatsRequest{});
    const Descriptor connection = speaking(greeting() + lengthBytes(bytes.size()) + bytes);
    ASSERT_TRUE(eventually([&] { return kept() == 1; }));
    queue_->sync([&] { kept_.clear(); });
    EXPECT_EQ(heard(connection), greeting());
}

TEST_F(RequestServing, AnAnswerThatNobodyReadsIsGivenUp) {
    options_.patience = 300ms;
    serve();
    const std::string bytes = encode(ShowRequest{std::string(8'000'000, 'x')});
    Descriptor connection = std::move(connectTo(path_, 5s)).value();
    const std::string all = greeting() + lengthBytes(bytes.size()) + bytes;
    ASSERT_EQ(send(connection.number(), all.data(), all.size(), MSG_NOSIGNAL), static_cast<ssize_t>(all.size()));
    EXPECT_TRUE(eventually([&] { return log().find("did not read its answer") != std::string::npos; })) << log();
    EXPECT_EQ(asked("x"), "x");
}

TEST_F(RequestServing, StoppingHangsUpOnEverybodyAndAnswersThatWereGivenArrive) {
    serve();
    const std::string bytes = encode(StatsRequest{});
    const Descriptor waits = speaking(greeting() + lengthBytes(bytes.size()) + bytes);
    const Descriptor answered = speaking(greeting() + lengthBytes(bytes.size()) + bytes);
    const Descriptor silent = speaking("");
    ASSERT_TRUE(eventually([&] { return kept() == 2; }));
    queue_->sync([&] {
        kept_[1]({{}, Failure{ExitCode::notDone, "just in time"}});
        server_->stop();
    });
    EXPECT_EQ(heard(waits), greeting());
    EXPECT_THAT(heard(answered), HasSubstr("just in time"));
    static_cast<void>(heard(silent));
}

TEST_F(RequestServing, NobodyConnectedMeansNoWakeUp) {
    serve();
    EXPECT_EQ(asked("x"), "x");
    std::this_thread::sleep_for(200ms);
    const auto before = server_->wakeUpCount();
    std::this_thread::sleep_for(3s);
    EXPECT_EQ(server_->wakeUpCount(), before);
}

TEST_F(RequestServing, TheSocketOutlivesAServer) {
    serve();
    queue_->sync([&] { server_->stop(); });
    std::thread early([&] { EXPECT_EQ(asked("patient"), "patient"); });
    std::this_thread::sleep_for(50ms);
    serve();
    early.join();
}

TEST_F(RequestServing, ADaemonThatDoesNotAnswerIsTold) {
    // Connected by the system, and accepted by nobody.
    const auto client = DaemonClient::find(path_, {.toGreet = 100ms, .toAnswer = 100ms, .toBegin = 100ms});
    ASSERT_FALSE(client);
    EXPECT_EQ(client.failure().code, ExitCode::locked);
    EXPECT_THAT(client.failure().line, HasSubstr("the daemon does not answer"));
    serve();
    auto greeted = DaemonClient::find(path_, {.toGreet = 5s, .toAnswer = 100ms, .toBegin = 100ms});
    ASSERT_TRUE(greeted && greeted.value());
    const auto answer = greeted.value()->ask(StatsRequest());
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.failure().code, ExitCode::locked);
    EXPECT_THAT(answer.failure().line, HasSubstr("the daemon does not answer"));
}

TEST_F(RequestServing, ADaemonOfAnotherVersionIsNamed) {
    std::thread other([&] {
        for (int i = 0; i < 2'000; ++i) {
            const Descriptor connection(accept(socket_.value().number(), nullptr, nullptr));
            if (connection.isOpen()) {
                const std::string theirs(
                    "quendo\1\0\3"
                    "9.9",
                    12);
                send(connection.number(), theirs.data(), theirs.size(), MSG_NOSIGNAL);
                static_cast<void>(heard(connection));
                return;
            }
            std::this_thread::sleep_for(5ms);
        }
    });
    const auto client = DaemonClient::find(path_);
    other.join();
    ASSERT_FALSE(client);
    EXPECT_EQ(client.failure().code, ExitCode::locked);
    EXPECT_THAT(client.failure().line, HasSubstr("the daemon is quendo 9.9 and this is quendo " + programVersion()));
    EXPECT_THAT(client.failure().line, HasSubstr("systemctl --user restart quendo"));
}

TEST_F(RequestServing, ARequestThatIsTooLongIsRefusedBeforeItIsSent) {
    serve();
    auto client = DaemonClient::find(path_);
    const auto answer = client.value()->ask(ShowRequest{std::string(longestRequest, 'x')});
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.failure().code, ExitCode::usage);
    EXPECT_THAT(answer.failure().line, HasSubstr("64 MiB"));
}

TEST_F(RequestServing, APathThatIsTooLongHasNoDaemonAndTakesNone) {
    const auto longPath = folder_.path() / std::string(100, 'x') / "socket";
    const auto client = DaemonClient::find(longPath);
    EXPECT_TRUE(client);
    const auto socket = ListeningSocket::open(longPath);
    ASSERT_FALSE(socket);
    EXPECT_EQ(socket.failure().code, ExitCode::usage);
}

}  // namespace
}  // namespace quendo

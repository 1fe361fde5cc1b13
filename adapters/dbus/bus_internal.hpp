#pragma once
/// \file
/// `Bus`, a connection to a message bus with a thread of its own.

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <sdbus-c++/sdbus-c++.h>

#include "adapters/dbus/dbus_error.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::dbus {

/// One line for a person.
[[nodiscard]] Error makeDBusError(DBusErrorCode code, std::string description);

/// What `message` holds, if it begins with these types.
template <typename... Values>
[[nodiscard]] std::optional<std::tuple<Values...>> read(sdbus::Message& message) {
    try {
        std::tuple<Values...> values;
        std::apply([&](auto&... each) { static_cast<void>((message >> ... >> each)); }, values);
        return message ? std::optional(std::move(values)) : std::nullopt;
    } catch (const sdbus::Error&) {
        return std::nullopt;
    }
}

/// What `variant` holds, if it is of this type.
template <typename Value>
[[nodiscard]] std::optional<Value> valueOf(const sdbus::Variant& variant) {
    try {
        return variant.get<Value>();
    } catch (const sdbus::Error&) {
        return std::nullopt;
    }
}

/// A call to an object on the bus.
struct MethodCall {
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    /// Appends the arguments; may throw `sdbus::Error`. Empty: there are none.
    std::function<void(sdbus::MethodCall&)> write = {};
    /// Absent when it is that of the bus.
    std::optional<std::chrono::milliseconds> timeout = {};
};

/// Opens a connection and serves it on a thread of its own, where all handlers run. After the connection has broken the
/// thread goes on with what is posted, and calls are answered with an error. Handlers may hold the owner of the bus:
/// they are let go when the thread ends.
class Bus : public std::enable_shared_from_this<Bus> {
public:
    enum class Kind { session, system };
    using Task = std::function<void()>;
    /// Not null, as long as the handler runs.
    using Reply = sdbus::MethodReply*;
    using Answer = std::function<void(const Result<Reply>&)>;
    using SignalHandler = std::function<void(sdbus::Message&)>;

    Bus(Kind kind, std::chrono::milliseconds timeout);
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;
    ~Bus();

    /// Starts the thread. `opened` is called on it, with an error when there is no connection; `lost` when the
    /// connection breaks later.
    void start(std::function<void(const std::optional<Error>&)> opened, Task lost);

    /// Ends the thread, and waits for that no longer than the time-out. Not on the thread itself.
    void stop();

    /// Runs `task` on the thread, if that has not ended. Any thread.
    void post(Task task);

    /// Calls, and hands the answer over in a later turn. Exactly one answer comes unless the thread ends. On the
    /// thread.
    void call(const MethodCall& call, Answer answer);

    /// Calls `handler` for each message that meets `rule`, from now on. On the thread.
    void match(const std::string& rule, SignalHandler handler);

    /// "session bus" or "system bus".
    [[nodiscard]] std::string name() const;

private:
    struct Pending {
        std::unique_ptr<sdbus::IProxy> proxy;
        Answer answer;
    };

    void serve();
    void open();
    void runTasks();
    void process();
    void wait();
    void lose();
    void finish(std::uint64_t id, const Result<Reply>& result);
    [[nodiscard]] Error explained(const MethodCall& call, const sdbus::Error& error) const;

    const Kind kind_;
    const std::chrono::milliseconds timeout_;
    const int wakeUp_;
    std::thread thread_;
    std::future<void> ended_;

    std::mutex mutex_;
    std::vector<Task> tasks_;
    bool isStopping_ = false;

    // The thread's.
    std::function<void(const std::optional<Error>&)> opened_;
    Task lost_;
    std::unique_ptr<sdbus::IConnection> connection_;
    std::vector<sdbus::Slot> matches_;
    std::map<std::uint64_t, Pending> pending_;
    /// Let go between two messages: one may be in the middle of handing its answer over.
    std::vector<std::unique_ptr<sdbus::IProxy>> finished_;
    std::uint64_t lastCall_ = 0;
};

}  // namespace quendokit::dbus

#pragma once
/// \file
/// `Courier`, how this device hears that something in the cloud has changed.

#include <functional>
#include <memory>

#include "adapters/cloudkit_web/web_session.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Holds a request open that the service answers when one of the person's subscriptions fires, and another one after
/// that. The address for it comes from the service and is renewed before its twelve hours are over. What breaks off is
/// begun again, after a second at first and after five minutes at last.
///
/// News may get lost on the way: whoever hears any reads all changes. Any thread.
class QUENDOKIT_EXPORT Courier {
public:
    /// Something has changed, or may have: called for news, whenever the courier has (again) begun to listen, and when
    /// it listens again after a break. On the transport's thread.
    using OnChange = std::function<void()>;
    /// Why the courier does not listen just now; it goes on trying. On the transport's thread. May be empty.
    using OnFailure = std::function<void(const Error&)>;

    Courier(std::shared_ptr<WebSession> session, OnChange onChange, OnFailure onFailure = nullptr);
    Courier(const Courier&) = delete;
    Courier& operator=(const Courier&) = delete;
    /// Stops.
    ~Courier();

    /// Begins to listen. Nothing happens when it has begun.
    void start();

    /// Ends listening. Waits for a call that is running on another thread; nothing is called any more when it returns.
    /// May be called in such a call.
    void stop();

private:
    class State;
    const std::shared_ptr<State> state_;
};

}  // namespace quendokit

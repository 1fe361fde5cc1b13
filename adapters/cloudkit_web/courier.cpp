#include "adapters/cloudkit_web/courier.hpp"

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "adapters/cloudkit_web/back_off_internal.hpp"
#include "adapters/cloudkit_web/courier_exchange_internal.hpp"
#include "adapters/cloudkit_web/url_internal.hpp"
#include "adapters/cloudkit_web/web_error_internal.hpp"

namespace quendokit {
namespace {

using namespace std::chrono_literals;

constexpr const char* createToken = "tokens/create";
constexpr const char* registerToken = "tokens/register";

/// An address serves twelve hours.
constexpr std::chrono::milliseconds untilRenewal = 11h;
/// A connection that has died is noticed then at last; services answer much earlier.
constexpr std::chrono::milliseconds longestSilence = 10min;
/// Between two answers that bring nothing.
constexpr std::chrono::milliseconds pause = 250ms;
/// So often a courier is tried before another address is asked for.
constexpr int mostFailures = 3;
constexpr std::size_t largestNews = 65'536;

/// Whether trying again is of no use before somebody does something.
bool isHopeless(const Error& error) {
    return isCKError(error, CKErrorCode::notAuthenticated) || isCKError(error, CKErrorCode::permissionFailure) ||
           isCKError(error, CKErrorCode::badContainer);
}

/// Whether a service may have no such operation at the place where it was asked for.
bool mayBeElsewhere(const Error& error) {
    return isCKError(error, CKErrorCode::unknownItem) || isCKError(error, CKErrorCode::internalError) ||
           isCKError(error, CKErrorCode::serviceUnavailable) || isCKError(error, CKErrorCode::invalidArguments);
}

}  // namespace

/// All steps run on the transport's thread, each under the lock and only in the run in which it was begun; so `stop`,
/// which takes the lock and ends the run, leaves none behind.
class Courier::State final : public std::enable_shared_from_this<State> {
public:
    State(std::shared_ptr<WebSession> session, OnChange onChange, OnFailure onFailure)
        : session_(std::move(session)), onChange_(std::move(onChange)), onFailure_(std::move(onFailure)) {}

    void start();
    void stop();

private:
    using Module = WebCall::Module;
    /// A step in the run that is now, to be taken later; nothing when that run is over by then.
    template <typename Step>
    auto inThisRun(Step step);

    void connect(Module module);
    void enroll(Module module, const web::CourierAddress& address);
    void listen(const web::CourierAddress& address);
    void poll();
    void didAnswer(const Result<HttpResponse>& answer);
    void didHear();
    void didFail(Error error);
    void didFailToConnect(const std::string& operation, const Error& error);
    void pollAfter(std::chrono::milliseconds delay);
    void cancelAll();

    const std::shared_ptr<WebSession> session_;
    const OnChange onChange_;
    const OnFailure onFailure_;

    // A call of the host's may stop the courier.
    std::recursive_mutex mutex_;
    bool isRunning_ = false;
    int run_ = 0;
    std::string url_;
    web::BackOff backOff_;
    int failures_ = 0;
    bool hasGap_ = false;
    std::optional<HttpTransport::Ticket> request_;
    std::optional<HttpTransport::Ticket> next_;
    std::optional<HttpTransport::Ticket> silence_;
    std::optional<HttpTransport::Ticket> renewal_;
};

template <typename Step>
auto Courier::State::inThisRun(Step step) {
    // Weak: a courier that has gone takes no step.
    return [weak = weak_from_this(), run = run_, step = std::move(step)](const auto&... arguments) {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        const std::lock_guard lock(self->mutex_);
        if (self->isRunning_ && self->run_ == run) {
            step(*self, arguments...);
        }
    };
}

void Courier::State::start() {
    const std::lock_guard lock(mutex_);
    if (isRunning_) {
        return;
    }
    isRunning_ = true;
    ++run_;
    backOff_.didSucceed();
    session_->transport().post(inThisRun([](State& self) { self.connect(Module::device); }));
}

void Courier::State::stop() {
    const std::lock_guard lock(mutex_);
    isRunning_ = false;
    cancelAll();
}

void Courier::State::cancelAll() {
    for (auto* ticket : {&request_, &next_, &silence_, &renewal_}) {
        if (*ticket) {
            session_->transport().cancel(**ticket);
            ticket->reset();
        }
    }
}

void Courier::State::connect(Module module) {
    cancelAll();
    session_->send({createToken, web::addressQuestion(session_->account()), module},
                   inThisRun([module](State& self, const Result<std::string>& answer) {
                       if (!answer && module == Module::device && mayBeElsewhere(answer.error())) {
                           self.connect(Module::documentedDevice);
                           return;
                       }
                       const auto address = answer ? web::addressIn(self.session_->account(), answer.value())
                                                   : Result<web::CourierAddress>(answer.error());
                       if (address) {
                           self.enroll(module, address.value());
                       } else {
                           self.didFailToConnect(createToken, address.error());
                       }
                   }));
}

void Courier::State::enroll(Module module, const web::CourierAddress& address) {
    session_->send({registerToken, web::registration(session_->account(), address.token), module},
                   inThisRun([address](State& self, const Result<std::string>& answer) {
                       // Whatever the body of a success holds.
                       if (answer) {
                           self.listen(address);
                       } else {
                           self.didFailToConnect(registerToken, answer.error());
                       }
                   }));
}

void Courier::State::didFailToConnect(const std::string& operation, const Error& error) {
    const Error explained = session_->explained(operation, error);
    next_ = session_->transport().runAfter(backOff_.afterFailure(error.retryAfter, isHopeless(error)),
                                           inThisRun([](State& self) { self.connect(Module::device); }));
    if (onFailure_) {
        onFailure_(explained);
    }
}

void Courier::State::listen(const web::CourierAddress& address) {
    url_ = address.url;
    failures_ = 0;
    renewal_ =
        session_->transport().runAfter(untilRenewal, inThisRun([](State& self) { self.connect(Module::device); }));
    poll();
    // What has changed before the service knew of this device.
    didHear();
}

void Courier::State::poll() {
    HttpRequest request;
    request.url = url_;
    request.largestAnswer = largestNews;
    request.timeout = 2 * longestSilence;
    request_ = session_->transport().send(
        std::move(request), inThisRun([](State& self, const Result<HttpResponse>& answer) { self.didAnswer(answer); }));
    silence_ = session_->transport().runAfter(longestSilence, inThisRun([](State& self) {
                                                  self.session_->transport().cancel(*self.request_);
                                                  self.hasGap_ = true;
                                                  self.poll();
                                              }));
}

void Courier::State::pollAfter(std::chrono::milliseconds delay) {
    next_ = session_->transport().runAfter(delay, inThisRun([](State& self) { self.poll(); }));
}

void Courier::State::didAnswer(const Result<HttpResponse>& answer) {
    constexpr int statusOK = 200;
    session_->transport().cancel(*silence_);
    if (!answer) {
        didFail(answer.error());
        return;
    }
    const auto& [status, headers, body] = answer.value();
    const auto news = web::newsIn(body);
    if (status != statusOK || news == web::CourierNews::odd) {
        Error error = status != statusOK ? web::errorOfAnswer(status, body)
                                         : makeCKError(CKErrorCode::networkFailure, "the answer is no news");
        // It does not know the address any more.
        const bool isRefused = status >= 400 && status < 500 && status != 408 && status != 429;
        failures_ = isRefused ? mostFailures : failures_;
        didFail(std::move(error));
        return;
    }
    failures_ = 0;
    backOff_.didSucceed();
    if (news == web::CourierNews::change) {
        poll();
    } else {
        pollAfter(pause);
    }
    if (news == web::CourierNews::change || std::exchange(hasGap_, false)) {
        didHear();
    }
}

void Courier::State::didHear() {
    hasGap_ = false;
    // Last of all in a step: the host may stop this meanwhile.
    onChange_();
}

void Courier::State::didFail(Error error) {
    hasGap_ = true;
    const auto delay = backOff_.afterFailure(error.retryAfter, false);
    if (++failures_ < mostFailures) {
        pollAfter(delay);
    } else {
        next_ = session_->transport().runAfter(delay, inThisRun([](State& self) { self.connect(Module::device); }));
    }
    if (onFailure_) {
        error.description = "the cloud's courier at " + web::hostOf(url_) + ": " + error.description;
        onFailure_(error);
    }
}

Courier::Courier(std::shared_ptr<WebSession> session, OnChange onChange, OnFailure onFailure)
    : state_(std::make_shared<State>(std::move(session), std::move(onChange), std::move(onFailure))) {}

Courier::~Courier() {
    state_->stop();
}

void Courier::start() {
    state_->start();
}

void Courier::stop() {
    state_->stop();
}

}  // namespace quendokit

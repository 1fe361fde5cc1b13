#include "apps/quendo-cloudd/serve.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/resource.h>

#include "adapters/event_loop/system_clock.hpp"
#include "apps/quendo-cloudd/data_folder.hpp"
#include "apps/quendo-cloudd/dispatcher.hpp"
#include "apps/quendo-cloudd/http_server.hpp"
#include "apps/quendo-cloudd/request_handler.hpp"
#include "apps/quendo-cloudd/tls_files.hpp"
#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/lock_file.hpp"

namespace cloudd {
namespace {

using quendo::ExitCode;
using quendo::Failure;
using quendo::failureOf;
using quendo::Outcome;

void log(const std::string& line) {
    std::fprintf(stderr, "quendo-cloudd: %s\n", quendo::escapedText(line).c_str());
}

/// Room for all connections and files; no copy of the memory on the disk, where tokens are in it.
void setLimits() {
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
        files.rlim_cur = std::min<rlim_t>(files.rlim_max, std::max<rlim_t>(files.rlim_cur, 4'096));
        setrlimit(RLIMIT_NOFILE, &files);
    }
    const rlimit nothing{0, 0};
    setrlimit(RLIMIT_CORE, &nothing);
}

sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

/// A file with the number of the port, while the server serves.
class PortFile {
public:
    explicit PortFile(std::string file) : file_(std::move(file)) {}
    PortFile(const PortFile&) = delete;
    PortFile& operator=(const PortFile&) = delete;
    ~PortFile() {
        if (isWritten_) {
            unlink(file_.c_str());
        }
    }

    /// Whole or not at all: who waits for the file may read it the moment it is there.
    [[nodiscard]] std::optional<Failure> write(std::uint16_t port) {
        const std::string beside = file_ + ".part";
        const std::string text = std::to_string(port);
        const int descriptor = open(beside.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0600);
        bool good =
            descriptor >= 0 && ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
        int number = errno;
        if (descriptor >= 0) {
            close(descriptor);
        }
        if (good && rename(beside.c_str(), file_.c_str()) != 0) {
            good = false;
            number = errno;
        }
        isWritten_ = good;
        if (good) {
            return std::nullopt;
        }
        unlink(beside.c_str());
        return Failure{ExitCode::notDone,
                       file_ + ": " + std::generic_category().message(number) + "; name another file with --port-file"};
    }

private:
    const std::string file_;
    bool isWritten_ = false;
};

Outcome<TlsCredentials> credentialsOf(const ServeArguments& arguments) {
    if (!arguments.tlsCertificate) {
        return TlsCredentials{};
    }
    return readTlsFiles(*arguments.tlsCertificate, *arguments.tlsKey);
}

Failure listenFailure(const Error& error) {
    return {error.code == 2 ? ExitCode::usage : ExitCode::notDone, error.description};
}

}  // namespace

std::optional<Failure> serve(const std::filesystem::path& dataFolder, const ServeArguments& arguments) {
    auto credentials = credentialsOf(arguments);
    if (!credentials) {
        return credentials.failure();
    }
    auto socket = ListenSocket::open(arguments.listen);
    if (!socket) {
        return listenFailure(socket.error());
    }
    const bool isPlain = credentials.value().certificate.empty();
    if (isPlain && !socket.value().isLoopback() && !arguments.insecure) {
        return Failure{ExitCode::usage, arguments.listen +
                                            ": plain HTTP would show every token to the network; give --tls-cert and "
                                            "--tls-key, or --insecure if that is meant"};
    }
    if (auto failure = prepareDataFolder(dataFolder, IfAbsent::make)) {
        return failure;
    }
    auto lock = quendo::LockFile::take(dataFolder / "serve.lock", std::chrono::milliseconds(0));
    if (!lock) {
        return lock.failure().code == ExitCode::locked
                   ? Failure{ExitCode::locked,
                             dataFolder.string() + ": another quendo-cloudd serves this folder; end that one first"}
                   : lock.failure();
    }
    setLimits();
    // Before any thread begins, so that all of them leave the signals to this one.
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    const quendokit::SystemClock clock;
    auto handler = RequestHandler::open(dataFolder, clock, log);
    if (!handler) {
        return failureOf(handler.error());
    }
    Dispatcher dispatcher(*handler.value());
    const std::string name = (isPlain ? "http://" : "https://") + socket.value().name();
    auto server = HttpServer::start(std::move(socket).value(), credentials.value(), dispatcher);
    if (!server) {
        return listenFailure(server.error());
    }
    PortFile portFile(arguments.portFile.value_or(""));
    if (arguments.portFile) {
        if (auto failure = portFile.write(server.value()->port())) {
            return failure;
        }
    }
    log("serving " + name);
    const timespec second{1, 0};
    while (sigtimedwait(&signals, nullptr, &second) < 0) {
        server.value()->endLateConnections();
    }
    server.value()->stop();
    log("ended");
    return std::nullopt;
}

}  // namespace cloudd

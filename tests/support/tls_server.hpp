#pragma once
/// \file
/// `TlsServer`, an HTTPS server of a test, with a certificate that nobody else trusts.

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include <sys/wait.h>

#include "tests/support/program.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

/// Answers every GET with status 200. Runs as a process of the openssl program.
class TlsServer {
public:
    /// With a certificate for `subject`, as "IP:127.0.0.1" or "DNS:localhost".
    explicit TlsServer(const std::string& subject) {
        const auto made = runProgram({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                                      "/CN=test", "-addext", "subjectAltName=" + subject, "-keyout", key().string(),
                                      "-out", certificate().string()});
        if (made.code == 0) {
            start();
        }
    }
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;
    ~TlsServer() {
        if (process_ > 0) {
            kill(process_, SIGKILL);
            waitpid(process_, nullptr, 0);
        }
    }

    /// False when the program is not there.
    [[nodiscard]] bool isRunning() const noexcept { return !port_.empty(); }
    [[nodiscard]] const std::string& port() const noexcept { return port_; }
    /// Its certificate, as an authority to trust.
    [[nodiscard]] std::filesystem::path certificate() const { return folder_.path() / "certificate.pem"; }

private:
    [[nodiscard]] std::filesystem::path key() const { return folder_.path() / "key.pem"; }

    void start() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            return;
        }
        process_ = fork();
        if (process_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            // Its complaints about clients that do not trust it.
            dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
            const std::string cert = certificate().string();
            const std::string keyFile = key().string();
            execlp("openssl", "openssl", "s_server", "-accept", "127.0.0.1:0", "-www", "-cert", cert.c_str(), "-key",
                   keyFile.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        close(ends[1]);
        readPort(ends[0]);
        close(ends[0]);
    }

    /// It says "ACCEPT 127.0.0.1:40001" when it is ready.
    void readPort(int from) {
        std::string said;
        char c = 0;
        while (read(from, &c, 1) == 1) {
            said += c;
            const std::size_t colon = said.rfind(':');
            if (c == '\n' && said.starts_with("ACCEPT ") && colon != std::string::npos) {
                port_ = said.substr(colon + 1, said.size() - colon - 2);
                return;
            }
            if (c == '\n') {
                said.clear();
            }
        }
    }

    const TemporaryFolder folder_;
    pid_t process_ = -1;
    std::string port_;
};

}  // namespace quendokit::testing

#include "apps/quendo-cloudd/tls_files.hpp"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/stat.h>

namespace cloudd {
namespace {

using quendo::ExitCode;
using quendo::Failure;
using quendo::Outcome;

constexpr off_t mostBytes = 1'000'000;

Failure fileFailure(const std::string& file, int number) {
    return {ExitCode::notDone, file + ": " + std::generic_category().message(number) + "; name a file in PEM"};
}

/// Files that the service manager hands over are open to the service alone, by an access list that shows as group
/// rights.
bool isHandedOver(const std::string& file) {
    const char* folder = std::getenv("CREDENTIALS_DIRECTORY");
    return folder != nullptr && std::filesystem::path(file).parent_path() == std::filesystem::path(folder);
}

Outcome<std::string> contents(const std::string& file, bool isSecret) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return fileFailure(file, errno);
    }
    struct stat status{};
    std::string text;
    int number = fstat(descriptor, &status) == 0 ? 0 : errno;
    const bool isOpenToOthers = (status.st_mode & (S_IRWXG | S_IRWXO)) != 0 && !isHandedOver(file);
    if (number == 0 && (!S_ISREG(status.st_mode) || status.st_size > mostBytes)) {
        number = EINVAL;
    }
    if (number == 0 && !(isSecret && isOpenToOthers)) {
        text.resize(static_cast<std::size_t>(status.st_size));
        const ssize_t size = read(descriptor, text.data(), text.size());
        number = size < 0 ? errno : 0;
        text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    }
    close(descriptor);
    if (number != 0) {
        return fileFailure(file, number);
    }
    if (isSecret && isOpenToOthers) {
        return Failure{ExitCode::notDone, file + ": others can read the private key; run chmod 600 on it"};
    }
    return text;
}

}  // namespace

Outcome<TlsCredentials> readTlsFiles(const std::string& certificate, const std::string& key) {
    auto certificateText = contents(certificate, false);
    if (!certificateText) {
        return certificateText.failure();
    }
    auto keyText = contents(key, true);
    if (!keyText) {
        return keyText.failure();
    }
    return TlsCredentials{std::move(certificateText).value(), std::move(keyText).value()};
}

}  // namespace cloudd

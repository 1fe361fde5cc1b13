#include "apps/quendo-cloudd/secrets.hpp"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <sys/stat.h>

#include "quendokit/platform/realm_error.hpp"

namespace cloudd {
namespace {

using quendokit::Error;
using quendokit::makeRealmError;
using quendokit::RealmErrorCode;
using quendokit::Result;

constexpr std::size_t keySize = 32;

std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    if (gnutls_rnd(GNUTLS_RND_KEY, bytes.data(), bytes.size()) != GNUTLS_E_SUCCESS) {
        // Without randomness no token is safe.
        std::abort();
    }
    return bytes;
}

std::string hex(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4];
        text += digits[value & 15];
    }
    return text;
}

Error keyError(const std::filesystem::path& file, int number) {
    return makeRealmError(number == EACCES ? RealmErrorCode::notPermitted : RealmErrorCode::unavailable,
                          file.string() + ": " + std::generic_category().message(number) +
                              "; make the data folder readable and writable for the server");
}

class Descriptor {
public:
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    [[nodiscard]] int number() const noexcept { return number_; }

private:
    const int number_;
};

/// The key's bytes; empty when there is no such file.
Result<std::string> readSecret(const std::filesystem::path& file) {
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (descriptor.number() < 0) {
        return errno == ENOENT ? Result<std::string>(std::string()) : Result<std::string>(keyError(file, errno));
    }
    struct stat status{};
    if (fstat(descriptor.number(), &status) != 0) {
        return keyError(file, errno);
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        return makeRealmError(RealmErrorCode::notPermitted,
                              file.string() + ": others can read the server's key; run chmod 600 on it");
    }
    std::string bytes(keySize + 1, '\0');
    const ssize_t size = ::read(descriptor.number(), bytes.data(), bytes.size());
    if (size < 0) {
        return keyError(file, errno);
    }
    if (static_cast<std::size_t>(size) != keySize) {
        return makeRealmError(RealmErrorCode::damaged,
                              file.string() + ": this is no key of the server; restore it from a backup");
    }
    bytes.resize(keySize);
    return bytes;
}

/// Writes beside its place first, so that a key is there whole or not at all. One that came meanwhile stays.
std::optional<Error> make(const std::filesystem::path& file) {
    const std::string beside = file.string() + "." + randomHex(8);
    {
        const Descriptor descriptor(open(beside.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0600));
        const std::string key = randomBytes(keySize);
        if (descriptor.number() < 0 ||
            write(descriptor.number(), key.data(), key.size()) != static_cast<ssize_t>(key.size()) ||
            fsync(descriptor.number()) != 0) {
            const int number = errno;
            unlink(beside.c_str());
            return keyError(file, number);
        }
    }
    const int linked = link(beside.c_str(), file.c_str());
    const int number = errno;
    unlink(beside.c_str());
    if (linked != 0 && number != EEXIST) {
        return keyError(file, number);
    }
    const Descriptor folder(open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.number() < 0 || fsync(folder.number()) != 0) {
        return keyError(file, errno);
    }
    return std::nullopt;
}

}  // namespace

std::string randomHex(std::size_t bytes) {
    return hex(randomBytes(bytes));
}

std::string randomUuid() {
    std::string bytes = randomBytes(16);
    bytes[6] = static_cast<char>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<char>((bytes[8] & 0x3F) | 0x80);
    std::string text = hex(bytes);
    for (const std::size_t dash : {8U, 13U, 18U, 23U}) {
        text.insert(dash, 1, '-');
    }
    return text;
}

bool isSameSecret(std::string_view left, std::string_view right) {
    return left.size() == right.size() && gnutls_memcmp(left.data(), right.data(), left.size()) == 0;
}

Result<TokenKey> TokenKey::load(const std::filesystem::path& file) {
    auto bytes = readSecret(file);
    if (bytes && bytes.value().empty()) {
        if (auto failure = make(file)) {
            return *std::move(failure);
        }
        bytes = readSecret(file);
    }
    if (!bytes) {
        return bytes.error();
    }
    return TokenKey(std::move(bytes).value());
}

std::string TokenKey::digest(std::string_view purpose, std::string_view text) const {
    const std::string input = std::string(purpose) + std::string(text);
    std::array<char, 32> result{};
    if (gnutls_hmac_fast(GNUTLS_MAC_SHA256, bytes_.data(), bytes_.size(), input.data(), input.size(), result.data()) !=
        GNUTLS_E_SUCCESS) {
        std::abort();
    }
    return hex({result.data(), result.size()});
}

}  // namespace cloudd

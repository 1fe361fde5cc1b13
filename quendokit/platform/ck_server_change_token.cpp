#include "quendokit/platform/ck_server_change_token.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace quendokit {
namespace {

constexpr std::string_view kind("CKServerChangeToken\0", 20);

constexpr std::byte byteOf(char c) {
    return static_cast<std::byte>(c);
}

}  // namespace

std::vector<std::byte> NSKeyedArchiver::archivedData(const CKServerChangeToken& token) {
    std::vector<std::byte> data;
    data.reserve(kind.size() + token.data().size());
    std::transform(kind.begin(), kind.end(), std::back_inserter(data), byteOf);
    data.insert(data.end(), token.data().begin(), token.data().end());
    return data;
}

std::optional<CKServerChangeToken> NSKeyedUnarchiver::unarchiveObject(const std::vector<std::byte>& data) {
    const bool isToken =
        data.size() >= kind.size() &&
        std::equal(kind.begin(), kind.end(), data.begin(), [](char c, std::byte byte) { return byteOf(c) == byte; });
    if (!isToken) {
        return std::nullopt;
    }
    return CKServerChangeToken({data.begin() + kind.size(), data.end()});
}

}  // namespace quendokit

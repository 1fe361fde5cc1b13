#pragma once
/// \file
/// One request on its connection, from the request line to the end of the answer.

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>

#include "apps/quendo-cloudd/connection_watch.hpp"
#include "apps/quendo-cloudd/wire.hpp"

struct MHD_Connection;

namespace cloudd {

/// Belongs to the thread of the sockets but for `answer`, which the dispatcher sets before it wakes the connection.
struct Exchange {
    std::string target;
    Request request;
    /// The header was seen.
    bool hasBegun = false;
    std::size_t bodyBytes = 0;
    std::optional<Answer> answer;
};

/// Why a request is refused as it stands, by its header alone; absent when there is nothing wrong with it.
[[nodiscard]] std::optional<Answer> refusalOfHeader(MHD_Connection* connection);

/// The refusal of a body that is too large.
[[nodiscard]] Answer bodyTooLarge();

/// What the header says about who asks and how this server is reached. `ownName` is "HOST:PORT".
[[nodiscard]] Request requestOf(MHD_Connection* connection, const char* method, std::string target,
                                const std::string& ownName, bool isEncrypted);

}  // namespace cloudd

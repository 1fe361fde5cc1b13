#pragma once
/// \file
/// Reading the server's certificate and key.

#include <string>

#include "apps/quendo-cloudd/http_server.hpp"
#include "apps/quendo/failure.hpp"

namespace cloudd {

/// Refuses a key file that anybody but its owner may read.
[[nodiscard]] quendo::Outcome<TlsCredentials> readTlsFiles(const std::string& certificate, const std::string& key);

}  // namespace cloudd

#pragma once
/// \file
/// Fresh identifiers.

#include <string>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A fresh random UUID (version 4) of 36 upper-case characters, as "6F9619FF-8B86-4D01-B42D-00CF4FC964FF". Comes from
/// `Services::uuidSource` when the host installed one. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT std::string makeUUID();

}  // namespace quendokit

#pragma once
/// \file
/// Which languages the environment asks for.

#include <string>
#include <vector>

namespace quendokit {

/// The most wanted first, written as in the environment: "de_AT.UTF-8". What is no language may be among them. Empty
/// when English will do. Any thread, as long as no other thread changes the environment meanwhile.
[[nodiscard]] std::vector<std::string> environmentLanguages();

}  // namespace quendokit

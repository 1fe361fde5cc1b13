#include "quendokit/platform/fatal_error.hpp"

#include <cstdio>
#include <cstdlib>

namespace quendokit {

void fatalError(std::string_view message) noexcept {
    std::fprintf(stderr, "Fatal error: %.*s\n", static_cast<int>(message.size()), message.data());
    std::abort();
}

}  // namespace quendokit

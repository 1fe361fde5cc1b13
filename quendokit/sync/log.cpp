#include "quendokit/platform/services.hpp"
#include "quendokit/sync/log_internal.hpp"

namespace quendokit {

void Log(const LogMessage& message) {
    if (const auto hook = LogFunc()) {
        (*hook)(message);
        return;
    }
    platform::standardOutput().writeLine(message());
}

}  // namespace quendokit

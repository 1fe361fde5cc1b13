#include "apps/quendo/daemon/service_manager.hpp"

#include <systemd/sd-daemon.h>

namespace quendo {

void tellReady() {
    static_cast<void>(sd_notify(0, "READY=1"));
}

void tellStopping() {
    static_cast<void>(sd_notify(0, "STOPPING=1"));
}

}  // namespace quendo

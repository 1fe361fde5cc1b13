#pragma once
/// \file
/// A device that mirrors its reminders, put together as `quendo sync` does it.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "adapters/cloudkit_web/curl_transport.hpp"
#include "adapters/cloudkit_web/web_session.hpp"
#include "adapters/event_loop/event_loop.hpp"
#include "hostkit/guarded_cloud_database.hpp"
#include "hostkit/sync_driver.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendokit::bench {

/// One at a time in a process. Fatal errors abort.
class CloudHome {
public:
    /// Works on the files in `folder`, keeps the newest token in `webToken`, and begins: looks the zone up, uploads
    /// what is unsent, and downloads everything.
    CloudHome(const std::filesystem::path& folder, const WebAccount& account, std::string& webToken);
    CloudHome(const CloudHome&) = delete;
    CloudHome& operator=(const CloudHome&) = delete;
    /// Breaks off what is under way.
    ~CloudHome();

    /// How long it took from the beginning until the upload was confirmed, and until all was stored.
    struct Times {
        std::chrono::duration<double> upload;
        std::chrono::duration<double> whole;
    };
    Times finishFirstSync();

    [[nodiscard]] ReminderController& controller() const { return *controller_; }

private:
    class Token;

    const std::shared_ptr<Token> token_;
    const std::shared_ptr<CurlTransport> transport_;
    const std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point uploaded_;
    std::shared_ptr<EventLoop> loop_;
    std::unique_ptr<platform::ScopedInstall> services_;
    std::shared_ptr<ReminderSyncManager> manager_;
    std::shared_ptr<ReminderController> controller_;
    std::shared_ptr<GuardedCloudDatabase> guard_;
    std::shared_ptr<SyncDriver> driver_;
};

}  // namespace quendokit::bench

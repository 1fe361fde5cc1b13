#pragma once
/// \file
/// `GuardedContainerProvider`, which guards every cloud database.

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "hostkit/cloud_guard_options.hpp"
#include "hostkit/guarded_cloud_database.hpp"
#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Puts such a database before each of another provider's.
class QUENDOKIT_EXPORT GuardedContainerProvider final : public CKContainerProvider {
public:
    GuardedContainerProvider(std::shared_ptr<CKContainerProvider> provider, CloudGuardOptions options);

    [[nodiscard]] std::shared_ptr<CKDatabase> privateCloudDatabase(std::string_view identifier) override;
    /// The same, with its own face. Any thread.
    [[nodiscard]] std::shared_ptr<GuardedCloudDatabase> database(std::string_view identifier);

private:
    const std::shared_ptr<CKContainerProvider> provider_;
    const CloudGuardOptions options_;
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<GuardedCloudDatabase>, std::less<>> databases_;
};

}  // namespace quendokit

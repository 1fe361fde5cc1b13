#pragma once
/// \file
/// `OneCloudDatabase`, a container provider for a test.

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "quendokit/platform/ck_database.hpp"

namespace quendokit::testing {

/// Gives one database to every container. One thread.
class OneCloudDatabase final : public CKContainerProvider {
public:
    explicit OneCloudDatabase(std::shared_ptr<CKDatabase> database) : database_(std::move(database)) {}

    [[nodiscard]] std::shared_ptr<CKDatabase> privateCloudDatabase(std::string_view identifier) override {
        lastIdentifier = identifier;
        return database_;
    }

    /// The container that was asked for last.
    std::string lastIdentifier;

private:
    const std::shared_ptr<CKDatabase> database_;
};

}  // namespace quendokit::testing

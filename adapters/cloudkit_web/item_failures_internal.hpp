#pragma once
/// \file
/// One error for a request of which some items failed.

#include <cstddef>
#include <optional>
#include <string>

#include "adapters/cloudkit_web/web_error_internal.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::web {

/// Gathers what failed and names the first that failed by itself.
class ItemFailures {
public:
    /// `kind` is what an item is to a person: "record".
    ItemFailures(std::string kind, std::size_t itemCount) : kind_(std::move(kind)), itemCount_(itemCount) {}

    void add(const std::string& name, ServerFailure failure);

    /// Nothing that can be read was said about that item.
    void addUnanswered(const std::string& name);

    /// A `partialFailure` that says how many failed; the first item's own error when that is no fault of the item, as
    /// when the zone is busy. With `ownCodes`, a request of one item fails as that item did.
    [[nodiscard]] std::optional<Error> error(bool ownCodes) const;

private:
    struct Failed {
        std::string name;
        ServerFailure failure;
    };
    [[nodiscard]] std::string lineOfFirst() const;

    const std::string kind_;
    const std::size_t itemCount_;
    std::size_t failedCount_ = 0;
    std::optional<Failed> first_;
};

}  // namespace quendokit::web

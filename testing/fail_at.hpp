#pragma once
/// \file
/// `FailAt`, where a write fails that a test lets fail.

namespace quendokit::testing {

enum class FailAt {
    /// The transaction cannot begin: its changes do not run.
    begin,
    /// The changes run and are lost.
    commit,
};

}  // namespace quendokit::testing

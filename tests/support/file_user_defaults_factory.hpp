#pragma once
/// \file
/// `FileUserDefaultsFactory`: settings in files as the suites of tests see them.

#include <memory>
#include <stdexcept>
#include <string>

#include "adapters/files/file_operations_internal.hpp"
#include "adapters/files/file_user_defaults.hpp"
#include "testing/conformance/user_defaults_conformance.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

/// Its settings are files in a folder of their own. Any failure is one of the test.
class FileUserDefaultsFactory final : public UserDefaultsFactory {
public:
    [[nodiscard]] std::shared_ptr<UserDefaults> make() override {
        ++count_;
        return reopen();
    }

    [[nodiscard]] std::shared_ptr<UserDefaults> reopen() override {
        FileUserDefaultsOptions options;
        options.file = folder_.path() / (std::to_string(count_) + ".json");
        options.onFailure = [](const Error& error) { throw std::logic_error(error.description); };
        options.operations = std::make_shared<Unsynced>();
        return std::make_shared<FileUserDefaults>(options);
    }

private:
    /// The power does not fail during a test, and syncing takes most of the time.
    class Unsynced final : public files::FileOperations {
    public:
        int fsync(int /*file*/) override { return 0; }
    };

    TemporaryFolder folder_;
    int count_ = 0;
};

}  // namespace quendokit::testing

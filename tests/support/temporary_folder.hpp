#pragma once
/// \file
/// `TemporaryFolder`, a folder that is gone with its owner.

#include <cstdlib>
#include <filesystem>
#include <string>

namespace quendokit::testing {

/// An empty folder (0700) of its own for one test.
class TemporaryFolder {
public:
    TemporaryFolder() : TemporaryFolder(std::filesystem::temp_directory_path()) {}
    explicit TemporaryFolder(const std::filesystem::path& parent) {
        std::string name = (parent / "quendokit-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace quendokit::testing

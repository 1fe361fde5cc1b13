#pragma once
/// \file
/// A file of settings on a disk that fails when told to, and what the host is told.

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "adapters/files/file_user_defaults.hpp"
#include "testing/conformance/property_checks.hpp"
#include "tests/support/shim_file_operations.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

[[nodiscard]] inline std::string contentsOf(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

inline void writeContents(const std::filesystem::path& file, const std::string& contents) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << contents;
    std::filesystem::permissions(file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

[[nodiscard]] inline unsigned modeOf(const std::filesystem::path& path) {
    struct stat status{};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 0777U;
}

class FileSettings : public ::testing::Test {
protected:
    /// The settings in `file`, as a program opens them. Each one stands for a process of its own.
    [[nodiscard]] std::unique_ptr<FileUserDefaults> open() {
        FileUserDefaultsOptions options;
        options.file = file;
        options.lockTimeout = std::chrono::milliseconds(0);
        options.onFailure = [this](const Error& error) { told.push_back(error); };
        options.operations = disk;
        return std::make_unique<FileUserDefaults>(options);
    }

    [[nodiscard]] std::filesystem::path beside(const std::string& suffix) const { return file.string() + suffix; }

    /// The one line that was told since the last look, of that code; it names the file.
    std::string toldOnce(FileUserDefaultsErrorCode code) {
        if (told.size() != 1) {
            ADD_FAILURE() << told.size() << " lines were told";
            for (const Error& error : told) {
                ADD_FAILURE() << error.description;
            }
            return {};
        }
        const Error error = told.front();
        told.clear();
        EXPECT_EQ(error.domain, fileUserDefaultsErrorDomain);
        EXPECT_EQ(error.code, static_cast<int>(code)) << error.description;
        EXPECT_EQ(error.description.find('\n'), std::string::npos) << error.description;
        EXPECT_TRUE(error.description.starts_with(folder.path().string())) << error.description;
        return error.description;
    }

    /// The names of the files in the folder, in order.
    [[nodiscard]] std::vector<std::string> fileNames() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    using Names = std::vector<std::string>;

    TemporaryFolder folder;
    std::filesystem::path file = folder.path() / "settings.json";
    std::shared_ptr<ShimFileOperations> disk = std::make_shared<ShimFileOperations>();
    std::vector<Error> told;
};

}  // namespace quendokit::testing

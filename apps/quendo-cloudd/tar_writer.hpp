#pragma once
/// \file
/// Writing tar archives.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "apps/quendo/failure.hpp"

namespace cloudd {

/// An archive in the making, mode 0600. It comes to its place by `finish`, whole and synced; until then it stands
/// beside it, and goes with this object.
class TarWriter {
public:
    /// Refuses to replace a file.
    [[nodiscard]] static quendo::Outcome<TarWriter> create(const std::filesystem::path& file);

    TarWriter(TarWriter&& other) noexcept;
    TarWriter& operator=(TarWriter&&) = delete;
    TarWriter(const TarWriter&) = delete;
    TarWriter& operator=(const TarWriter&) = delete;
    ~TarWriter();

    /// Adds the contents of `source` under `name`, which has less than 100 ASCII characters. `seconds` since 1970 is
    /// the time that it bears.
    [[nodiscard]] std::optional<quendo::Failure> add(const std::string& name, const std::filesystem::path& source,
                                                     std::int64_t seconds);
    [[nodiscard]] std::optional<quendo::Failure> addFolder(const std::string& name, std::int64_t seconds);

    [[nodiscard]] std::optional<quendo::Failure> finish();

private:
    TarWriter(std::filesystem::path file, std::filesystem::path beside, int descriptor)
        : file_(std::move(file)), beside_(std::move(beside)), descriptor_(descriptor) {}

    [[nodiscard]] std::optional<quendo::Failure> write(const std::string& bytes);

    std::filesystem::path file_;
    std::filesystem::path beside_;
    int descriptor_;
};

}  // namespace cloudd

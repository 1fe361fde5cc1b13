/// \file
/// Makes the database files of older schema versions that lie beside it: `make_golden_files FOLDER`.

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/golden/old_files.hpp"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "make_golden_files: name the folder for the files\n");
        return 2;
    }
    constexpr int reminders = 12;
    for (int version = 0; version <= 3; ++version) {
        const std::filesystem::path file = std::filesystem::path(argv[1]) / ("v" + std::to_string(version) + ".sqlite");
        std::filesystem::remove(file);
        if (!quendokit::testing::writeOldFile(file, version, reminders)) {
            std::fprintf(stderr, "make_golden_files: %s: the file cannot be written\n", file.c_str());
            return 1;
        }
    }
    return 0;
}

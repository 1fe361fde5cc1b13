#include "apps/quendo/transfer/transfer_file.hpp"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "tests/support/child_process.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendo {
namespace {

namespace fs = std::filesystem;

class TransferFile : public ::testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return (folder.path() / name).string(); }

    static void put(const std::string& file, const std::string& text) { std::ofstream(file) << text; }

    [[nodiscard]] static std::string content(const std::string& file) {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& each : fs::directory_iterator(folder.path())) {
            names.push_back(each.path().filename());
        }
        return names;
    }

    static void expectRefusal(const Outcome<std::string>& outcome, const std::string& line) {
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.failure().code, ExitCode::usage);
        EXPECT_EQ(outcome.failure().line, line);
    }

    static void expectFailure(const std::optional<Failure>& failure, ExitCode code, const std::string& line) {
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->code, code);
        EXPECT_EQ(failure->line, line);
    }

    quendokit::testing::TemporaryFolder folder;
};

TEST_F(TransferFile, AFileIsReadAsAWhole) {
    const std::string text(200'000, 'x');
    put(path("a"), text);
    EXPECT_EQ(readTransferFile(path("a")).value(), text);
}

TEST_F(TransferFile, ADashIsStandardInput) {
    put(path("a"), "text");
    EXPECT_EQ(quendokit::testing::runInChild([&] {
                  const int file = open(path("a").c_str(), O_RDONLY);
                  dup2(file, STDIN_FILENO);
                  return readTransferFile("-").value() == "text" ? 0 : 1;
              }),
              0);
    EXPECT_EQ(transferFileName("-"), "standard input");
}

TEST_F(TransferFile, AFileThatIsMissingIsRefused) {
    expectRefusal(readTransferFile(path("a")), path("a") + ": there is no such file; check the name");
    put(path("a"), "");
    expectRefusal(readTransferFile(path("a/b")), path("a/b") + ": there is no such file; check the name");
}

TEST_F(TransferFile, AFolderIsNotRead) {
    expectRefusal(readTransferFile(folder.path()), folder.path().string() + ": this is a folder; name a file in it");
}

TEST_F(TransferFile, AFileThatMayNotBeReadIsRefused) {
    put(path("a"), "text");
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(path("a"), fs::perms::none);
    EXPECT_EQ(quendokit::testing::runAsOrdinaryUser([&] {
                  const auto outcome = readTransferFile(path("a"));
                  return !outcome && outcome.failure().line ==
                                         path("a") + ": the file may not be read; change its permissions"
                             ? 0
                             : 1;
              }),
              0);
}

TEST_F(TransferFile, AFileBeyondTheLimitIsRefused) {
    constexpr std::size_t limit = std::size_t{1} << 20U;
    put(path("a"), std::string(limit, 'x'));
    EXPECT_EQ(readTransferFile(path("a"), limit).value().size(), limit);
    put(path("a"), std::string(limit + 1, 'x'));
    expectRefusal(readTransferFile(path("a"), limit),
                  path("a") + ": holds more than 1 MiB; split it into smaller files");
}

TEST_F(TransferFile, NamesAreMadeHarmlessForTheTerminal) {
    expectRefusal(readTransferFile(path("a\x1B[2J\nb")),
                  path("a\\u001B[2J\\u000Ab") + ": there is no such file; check the name");
}

TEST_F(TransferFile, ANewFileBelongsToThePersonAlone) {
    EXPECT_FALSE(writeTransferFile(path("a"), "text"));
    EXPECT_EQ(content(path("a")), "text");
    struct stat status{};
    ASSERT_EQ(stat(path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(names(), std::vector<std::string>{"a"});
}

TEST_F(TransferFile, AnOldFileIsReplacedAndALinkToItFollowed) {
    put(path("a"), "a longer text");
    fs::create_symlink("a", path("b"));
    EXPECT_FALSE(writeTransferFile(path("b"), "new"));
    EXPECT_EQ(content(path("a")), "new");
    EXPECT_TRUE(fs::is_symlink(path("b")));
}

TEST_F(TransferFile, ANameWithoutAFolderLiesInTheFolderOfTheProgram) {
    EXPECT_EQ(quendokit::testing::runInChild([&] {
                  fs::current_path(folder.path());
                  return writeTransferFile("a", "text") ? 1 : 0;
              }),
              0);
    EXPECT_EQ(content(path("a")), "text");
}

TEST_F(TransferFile, TheLongestNameThatAFileCanHaveIsWritten) {
    const std::string name(255, 'x');
    EXPECT_FALSE(writeTransferFile(path(name), "text"));
    EXPECT_EQ(names(), std::vector<std::string>{name});
}

TEST_F(TransferFile, AFolderIsNotOverwritten) {
    expectFailure(writeTransferFile(folder.path(), "text"), ExitCode::usage,
                  folder.path().string() + ": this is a folder; name a file in it");
}

TEST_F(TransferFile, AFileInNoFolderIsRefused) {
    expectFailure(writeTransferFile(path("no/a"), "text"), ExitCode::usage,
                  path("no/a") + ": there is no such folder; make it, or name another");
}

TEST_F(TransferFile, APipeIsWrittenInto) {
    ASSERT_EQ(mkfifo(path("a").c_str(), 0600), 0);
    // Opened for both, so that the writer finds a reader.
    const int reader = open(path("a").c_str(), O_RDWR);
    EXPECT_FALSE(writeTransferFile(path("a"), "text"));
    char text[4] = {};
    EXPECT_EQ(read(reader, text, 4), 4);
    EXPECT_EQ(std::string(text, 4), "text");
    close(reader);
    EXPECT_TRUE(fs::is_fifo(path("a")));
}

TEST_F(TransferFile, AFailingDiskLeavesTheOldFile) {
    put(path("a"), "old");
    // The line goes to the parent by a file that was there before the disk began to fail.
    const int report = open(path("report").c_str(), O_CREAT | O_WRONLY, 0600);
    EXPECT_EQ(quendokit::testing::runInChild([&] {
                  std::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit{1000, 1000};
                  setrlimit(RLIMIT_FSIZE, &limit);
                  const auto failure = writeTransferFile(path("a"), std::string(5000, 'x'));
                  const std::string line = failure ? failure->line : "no failure";
                  return write(report, line.data(), line.size()) > 0 ? 0 : 1;
              }),
              0);
    close(report);
    EXPECT_EQ(content(path("report")),
              path("a") + ": cannot be written: File too large; choose another folder. The old file is as it was");
    EXPECT_EQ(content(path("a")), "old");
    EXPECT_EQ(names().size(), 2) << "nothing is left beside the two files";
}

TEST_F(TransferFile, AFullDeviceIsSaid) {
    expectFailure(writeTransferFile("/dev/full", "text"), ExitCode::notDone,
                  "/dev/full: the disk is full; make room. Nothing is exported");
}

TEST_F(TransferFile, AFolderThatMayNotBeWrittenIsSaid) {
    put(path("a"), "old");
    fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    EXPECT_EQ(quendokit::testing::runAsOrdinaryUser([&] {
                  if (getuid() != quendokit::testing::nobody) {
                      fs::permissions(folder.path(), fs::perms::owner_read | fs::perms::owner_exec);
                  }
                  const auto failure = writeTransferFile(path("a"), "new");
                  return failure && failure->line == path("a") + ": nothing may be written there; choose another folder"
                             ? 0
                             : 1;
              }),
              0);
    fs::permissions(folder.path(), fs::perms::owner_all);
    EXPECT_EQ(content(path("a")), "old");
}

}  // namespace
}  // namespace quendo

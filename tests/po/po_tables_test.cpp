// The tables of po/ against the texts of the engine.

#include <filesystem>
#include <map>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/engine_texts.hpp"
#include "tests/support/po_table.hpp"

namespace quendokit::testing {
namespace {

namespace fs = std::filesystem;

const fs::path folder = QUENDOKIT_PO_FOLDER;

/// The names, without their suffix, of the tables that are there.
std::vector<std::string> namesOfTables() {
    std::set<std::string> names;
    for (const auto& file : fs::directory_iterator(folder)) {
        if (file.path().extension() == ".po") {
            names.insert(file.path().stem());
        }
    }
    return {names.begin(), names.end()};
}

void expectTheTextsOfTheEngine(const PoTable& table) {
    EXPECT_EQ(table.unexpected, std::vector<std::string>{});
    ASSERT_EQ(table.entries.size(), engineTexts.size());
    for (std::size_t i = 0; i < engineTexts.size(); ++i) {
        const auto& [key, comment] = engineTexts[i];
        EXPECT_EQ(table.entries[i].key, key);
        const auto comments = comment.empty() ? std::vector<std::string>{} : std::vector{std::string(comment)};
        EXPECT_EQ(table.entries[i].comments, comments) << key;
    }
}

void expectLine(const std::string& header, const std::string& line) {
    EXPECT_NE(header.find(line + "\n"), std::string::npos) << "the header lacks " << line << ":\n" << header;
}

TEST(PoTables, AreThoseThatAreBuilt) {
    std::istringstream listed(QUENDOKIT_LANGUAGES);
    const std::vector<std::string> built{std::istream_iterator<std::string>(listed), {}};
    EXPECT_EQ(namesOfTables(), built) << "po/CMakeLists.txt lists the languages in the order of the alphabet";
}

TEST(PoTables, TheTemplateHoldsEveryTextWithItsCommentAndNoTranslation) {
    const PoTable table = readPoTable(folder / "quendokit.pot");
    expectTheTextsOfTheEngine(table);
    for (const PoEntry& entry : table.entries) {
        EXPECT_EQ(entry.translation, "") << entry.key;
    }
}

TEST(PoTables, EnglishIsTheTextItself) {
    // So that a person who prefers English to German, LANGUAGE=en:de, is not given German.
    for (const PoEntry& entry : readPoTable(folder / "en.po").entries) {
        EXPECT_EQ(entry.translation, entry.key);
    }
}

class PoTableOf : public ::testing::TestWithParam<std::string> {
protected:
    const PoTable table = readPoTable(folder / (GetParam() + ".po"));
};

TEST_P(PoTableOf, HoldsEveryTextWithItsCommentAndNoOther) {
    expectTheTextsOfTheEngine(table);
}

TEST_P(PoTableOf, TranslatesEveryText) {
    for (const PoEntry& entry : table.entries) {
        EXPECT_NE(entry.translation, "") << entry.key;
    }
}

TEST_P(PoTableOf, SurroundsNoTranslationWithBlanks) {
    // They follow a number and one blank, or stand before a colon.
    for (const PoEntry& entry : table.entries) {
        EXPECT_EQ(entry.translation.find_first_not_of(" \t\n"), 0U) << entry.key;
        EXPECT_EQ(entry.translation.find_last_not_of(" \t\n:") + 1, entry.translation.size()) << entry.key;
    }
}

TEST_P(PoTableOf, NoTwoChoicesReadAlike) {
    // Singular and plural may; what a person chooses from may not.
    std::map<std::string, std::string> keys;
    for (const PoEntry& entry : table.entries) {
        if (entry.key != "hour") {
            const auto [first, isNew] = keys.emplace(entry.translation, entry.key);
            EXPECT_TRUE(isNew) << first->second << " and " << entry.key << " are both " << entry.translation;
        }
    }
}

TEST_P(PoTableOf, SaysItsLanguageAndEncoding) {
    expectLine(table.header, "Language: " + GetParam());
    expectLine(table.header, "Content-Type: text/plain; charset=UTF-8");
    expectLine(table.header, "Content-Transfer-Encoding: 8bit");
}

INSTANTIATE_TEST_SUITE_P(Po, PoTableOf, ::testing::ValuesIn(namesOfTables()),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace quendokit::testing

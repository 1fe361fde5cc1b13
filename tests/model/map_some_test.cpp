#include "quendokit/model/map_some.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

TEST(MapSome, KeepsTheResultsThatArePresentInOrder) {
    const auto tenfoldOfEven = [](int number) { return number % 2 == 0 ? std::optional(number * 10) : std::nullopt; };
    EXPECT_EQ(mapSome(std::vector<int>{1, 2, 3, 4}, tenfoldOfEven), (std::vector<int>{20, 40}));
    EXPECT_EQ(mapSome(std::vector<int>{1, 3}, tenfoldOfEven), std::vector<int>());
    EXPECT_EQ(mapSome(std::vector<int>{}, tenfoldOfEven), std::vector<int>());
}

TEST(MapSome, MayChangeTheType) {
    const auto named = [](int number) {
        return number > 0 ? std::optional(std::string(static_cast<std::size_t>(number), 'x')) : std::nullopt;
    };
    EXPECT_EQ(mapSome(std::vector<int>{2, 0, 1}, named), (std::vector<std::string>{"xx", "x"}));
}

TEST(MapSome, AsksEveryElementOnceAndMovesTheResults) {
    std::vector<int> asked;
    const auto results = mapSome(std::vector<int>{3, 1, 2}, [&asked](int number) {
        asked.push_back(number);
        return std::optional(std::make_unique<int>(number));
    });
    EXPECT_EQ(asked, (std::vector<int>{3, 1, 2}));
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(*results[0], 3);
}

}  // namespace
}  // namespace quendokit

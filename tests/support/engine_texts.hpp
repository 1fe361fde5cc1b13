#pragma once
/// \file
/// Every text of the engine, and what its translators are told.

#include <array>
#include <string_view>

namespace quendokit::testing {

/// A text to translate.
struct EngineText {
    std::string_view key;
    /// "" when translators are told nothing.
    std::string_view comment;
};

/// Exactly what the tables of po/ hold, in their order. The comments are the agreement with the translators, slips of
/// the pen included.
inline constexpr std::array<EngineText, 24> engineTexts{{
    {"minutes", "'minute' plural"},
    {"hour", "'hour' singular'"},
    {"hours", "'hour' plural"},
    {"Morning", "the word 'morning'"},
    {"Afternoon", "the word 'afternoon'"},
    {"Evening", "the word 'evening'"},
    {"later", "the word 'later'"},
    {"This Afternoon", "This Afternoon"},
    {"This Evening", "This Evening"},
    {"Tomorrow Morning", "Tomorrow Morning"},
    {"Tomorrow Afternoon", "Tomorrow Afternoon"},
    {"Tomorrow Evening", "Tomorrow Evening"},
    {"This Weekend", "This Weekend"},
    {"Next Week", "Next Week"},
    {"Pick a Date", "Pick a Date"},
    {"On My Mac", "On My Mac"},
    {"My week starts", ""},
    {"My weekend starts", ""},
    {"Start my workday at", ""},
    {"Start my weekends at", ""},
    {"Set my afternoon at", ""},
    {"Start my evening at", ""},
    {"Later today", ""},
    {"Notification postpone", ""},
}};

}  // namespace quendokit::testing

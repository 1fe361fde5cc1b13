#pragma once
/// \file
/// The lines of an iCalendar text, and which of its components stand where.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/transfer/transfer_document.hpp"

namespace quendo::icalendar {

/// A logical line: folded ones are joined.
struct ContentLine {
    /// Of the first line of the text that belongs to it.
    std::size_t number = 0;
    std::string text;

    /// "DUE" of "due;VALUE=DATE:20261121".
    [[nodiscard]] std::string name() const;
    /// What stands behind the colon that ends name and parameters, without outer blanks; empty without a colon.
    [[nodiscard]] std::string_view value() const;
};

/// Reads a text line by line.
class ContentLines {
public:
    /// `firstNumber` is the number of the first line of `text`.
    ContentLines(std::string_view text, std::size_t firstNumber) : rest_(text), number_(firstNumber) {}

    /// The next line that is not blank; false at the end.
    [[nodiscard]] bool next(ContentLine& line);

private:
    std::string_view rest_;
    std::size_t number_;
};

/// A component from its BEGIN to its END.
struct ComponentSpan {
    std::string_view text;
    std::size_t line;
};

/// What a text holds directly in its calendars.
struct Outline {
    std::vector<ComponentSpan> todos;
    std::vector<ComponentSpan> zones;
    /// Events, journals and whatever else there is.
    std::size_t others = 0;
};

/// Refuses a text whose components are not nested rightly, that ends inside one, or that is no calendar.
[[nodiscard]] Outcome<Outline> outlineOf(std::string_view text, const TransferReading& reading);

/// Letters without accents in capitals.
[[nodiscard]] std::string upperCase(std::string_view text);

}  // namespace quendo::icalendar

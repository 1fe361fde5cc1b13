#pragma once
/// \file
/// What a reminder from a file may hold, whatever the format, and how a line to the person says that it may not.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/transfer/transfer_document.hpp"

namespace quendo {

/// What is wrong and what to do, as it stands behind the place: "the title is empty; give it a text". Absent when
/// nothing is wrong.
using TransferProblem = std::optional<std::string>;

[[nodiscard]] TransferProblem problemOfTitle(std::string_view title);
[[nodiscard]] TransferProblem problemOfIdentifier(std::string_view id);
/// `what` names the moment in the line.
[[nodiscard]] TransferProblem problemOfMoment(std::string_view what, quendokit::Date date);

/// The identifiers that a file has named so far.
class TransferIdentifiers {
public:
    /// Notes the identifier of `entry`, when it has one; a problem when an entry before it has the same.
    [[nodiscard]] TransferProblem add(const TransferEntry& entry);

private:
    std::unordered_map<std::string, TransferPlace> places_;
};

/// The refusal of a text: its name, the place in it, the problem.
[[nodiscard]] Failure refusalOf(const TransferReading& reading, std::string_view place, std::string_view problem);
/// The refusal of the whole text.
[[nodiscard]] Failure refusalOf(const TransferReading& reading, std::string_view problem);
/// That the text ends too early, in the line of that number.
[[nodiscard]] Failure cutOff(const TransferReading& reading, std::size_t line);

/// Text of others as a line quotes it.
[[nodiscard]] std::string quotedText(std::string_view text);

/// Tells the listener about every thousandth step, so that telling costs nothing.
class TransferSteps {
public:
    TransferSteps(const TransferProgress& progress, std::size_t total) : progress_(progress), total_(total) {}

    void done(std::size_t units);
    void finish();

private:
    const TransferProgress& progress_;
    std::size_t total_;
    std::size_t calls_ = 0;
};

}  // namespace quendo

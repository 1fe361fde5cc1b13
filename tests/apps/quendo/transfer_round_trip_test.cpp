#include <cmath>
#include <limits>

#include "tests/apps/quendo/transfer_fixture.hpp"
#include "tests/support/property.hpp"

namespace quendo {
namespace {

class RoundTrip : public Transferring, public ::testing::WithParamInterface<TransferFormat> {};

INSTANTIATE_TEST_SUITE_P(Formats, RoundTrip, ::testing::Values(TransferFormat::json, TransferFormat::icalendar),
                         [](const auto& info) { return info.param == TransferFormat::json ? "Json" : "Icalendar"; });

std::vector<TransferEntry> manyEntries(std::size_t count) {
    std::vector<TransferEntry> entries;
    entries.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double seconds = 1'700'000'000 + static_cast<double>(i) * 1000.1;
        const bool isAtTheMac = i % 50 == 0;
        entries.push_back({"6F9619FF-8B86-4D01-B42D-" + std::to_string(100'000'000'000 + i),
                           "Reminder number " + std::to_string(i) + ", to be kept", i % 2 == 0,
                           isAtTheMac ? atTheMac() : dated(seconds), quendokit::Date(seconds)});
    }
    return entries;
}

TEST_P(RoundTrip, ManyRemindersComeBackAsTheyWere) {
    const auto many = manyEntries(QUENDO_MANY_REMINDERS);
    const auto read = afterRoundTrip(many, GetParam());
    ASSERT_EQ(read.size(), many.size());
    for (std::size_t i = 0; i < many.size(); ++i) {
        ASSERT_EQ(read[i], many[i]);
    }
}

TEST_P(RoundTrip, TitlesComeBackToTheByte) {
    std::vector<TransferEntry> odd;
    std::string folded;
    while (folded.size() < 5000) {
        folded += "Straße, 🧑‍🚒; ";
    }
    for (const std::string title : {"a, b; c",
                                    "back\\slash",
                                    "\\n \\, \\\\",
                                    "two\nlines\n\nfour",
                                    "\n outer \n",
                                    "tab\tin",
                                    "\ttabs\t",
                                    "\" ' : = ^n",
                                    "crlf\r\nhere",
                                    "\x01\x1F\x7F controls \x1B[2J",
                                    "100% %41",
                                    "  outer blanks  ",
                                    "emoji 🧀👨‍👩‍👧‍👦",
                                    "\u202E bidi \u2066",
                                    "\u2028\u2029\u0085",
                                    "\uFEFF mark",
                                    "BEGIN:VTODO",
                                    "END:VCALENDAR",
                                    "{\"title\": 1}",
                                    "日本語",
                                    "mailto:a@b",
                                    "X\nBEGIN:VTODO\nSUMMARY:y"}) {
        odd.push_back({std::nullopt, title, false, atTheMac(), std::nullopt});
    }
    odd.push_back({std::nullopt, folded, false, atTheMac(), std::nullopt});
    odd.push_back({std::nullopt, folded.substr(0, folded.size() - 1), false, dated(1), std::nullopt});
    odd.push_back({std::nullopt, std::string(5000, 'x'), false, dated(1), std::nullopt});
    EXPECT_EQ(afterRoundTrip(odd, GetParam()), odd);
}

TEST_P(RoundTrip, IdentifiersOfAnyPrintableCharactersComeBack) {
    std::string all;
    for (char c = ' ' + 1; c <= '~'; ++c) {
        all += c;
    }
    const std::vector<TransferEntry> odd{{all, "a", false, atTheMac(), std::nullopt},
                                         {"a  b", "a", false, atTheMac(), std::nullopt},
                                         {std::string(255, ','), "a", false, atTheMac(), std::nullopt}};
    EXPECT_EQ(afterRoundTrip(odd, GetParam()), odd);
}

TEST_P(RoundTrip, MomentsComeBackToTheLastBit) {
    std::vector<TransferEntry> odd;
    for (const double seconds : {0.1, 1.0, 1'795'302'000.0, 1'795'302'000.25, 1'795'302'000.1234567, 253'402'300'799.0,
                                 253'402'300'799.5, 253'402'300'800.0, 9'007'199'254'740'991.0, 9'007'199'254'740'992.0,
                                 std::nextafter(1'795'302'000.0, 0.0), std::numeric_limits<double>::denorm_min()}) {
        odd.push_back({std::nullopt, "a", false, dated(seconds), quendokit::Date(seconds)});
        odd.push_back({std::nullopt, "a", true, dated(seconds), quendokit::Date(seconds)});
    }
    EXPECT_EQ(afterRoundTrip(odd, GetParam()), odd);
}

/// Text of a few characters that formats treat in ways of their own.
rc::Gen<std::string> anyTitle() {
    const auto piece =
        rc::gen::element<std::string>("a", "B", " ", "\t", "\n", "\r", "\\", ",", ";", ":", "\"", "%", "=", "n", "N",
                                      "ä", "🧀", "\u202E", "\x01", "\x7F", "BEGIN:", "\u0301", "'");
    return rc::gen::suchThat(
        rc::gen::map(rc::gen::container<std::vector<std::string>>(piece),
                     [](const std::vector<std::string>& pieces) {
                         std::string title;
                         for (const auto& each : pieces) {
                             title += each;
                         }
                         return title;
                     }),
        [](const std::string& title) { return title.find_first_not_of(" \t\r\n") != std::string::npos; });
}

rc::Gen<quendokit::Date> anyDate() {
    const auto whole = rc::gen::map(rc::gen::inRange<std::int64_t>(1, 300'000'000'000),
                                    [](std::int64_t seconds) { return quendokit::Date(static_cast<double>(seconds)); });
    const auto fractional = rc::gen::map(rc::gen::inRange<std::int64_t>(1, 300'000'000'000), [](std::int64_t parts) {
        return quendokit::Date(static_cast<double>(parts) / 97);
    });
    return rc::gen::oneOf(whole, fractional);
}

rc::Gen<TransferEntry> anyEntry() {
    const auto condition = rc::gen::oneOf(rc::gen::map(anyDate(), &quendokit::ReminderCondition::dateTime),
                                          rc::gen::map(rc::gen::just(0), [](int) { return atTheMac(); }));
    return rc::gen::map(rc::gen::tuple(anyTitle(), rc::gen::arbitrary<bool>(), condition, rc::gen::maybe(anyDate())),
                        [](const auto& parts) {
                            const auto& [title, shown, when, completed] = parts;
                            const auto date = completed ? std::optional(*completed) : std::nullopt;
                            return TransferEntry{std::nullopt, title, shown, when, date};
                        });
}

TEST_F(Transferring, AnyRemindersComeBackFromBothFormats) {
    quendokit::testing::checkProperty(200, [&] {
        auto written = *rc::gen::container<std::vector<TransferEntry>>(anyEntry());
        for (std::size_t i = 0; i < written.size(); i += 2) {
            written[i].id = "id " + std::to_string(i);
        }
        for (const auto format : {TransferFormat::json, TransferFormat::icalendar}) {
            auto read = readTransfer(writeTransfer(written, format, writing), reading);
            if (!read) {
                RC_FAIL(read.failure().line);
            }
            RC_ASSERT(read.value().entries == written);
        }
    });
}

/// Whatever a text holds, it is read or refused with one line of clean text.
TEST_F(Transferring, ADamagedFileIsReadOrRefusedWithOneLine) {
    quendokit::testing::checkProperty(500, [&] {
        const auto format = *rc::gen::element(TransferFormat::json, TransferFormat::icalendar);
        std::string text = writeTransfer(*rc::gen::container<std::vector<TransferEntry>>(anyEntry()), format, writing);
        const auto changes = *rc::gen::inRange(1, 6);
        for (int i = 0; i < changes; ++i) {
            const auto position = *rc::gen::inRange<std::size_t>(0, text.size());
            const auto piece =
                *rc::gen::element<std::string>("", "\n", ":", ";", "\"", "[", "{", "0", "-", "Z", "\xFF", "\\", " ",
                                               "END:VTODO\n", "BEGIN:VTODO\n", "BEGIN:VALARM\n", "e999");
            text.replace(position, *rc::gen::inRange<std::size_t>(0, 3), piece);
        }
        const auto read = readTransfer(text, reading);
        if (!read) {
            RC_ASSERT(read.failure().code == ExitCode::usage);
            RC_ASSERT(read.failure().line.find('\n') == std::string::npos);
            RC_ASSERT(read.failure().line.find('\xFF') == std::string::npos);
        }
    });
}

}  // namespace
}  // namespace quendo

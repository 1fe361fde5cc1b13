/// \file
/// Requests and answers as bytes.

#include "apps/quendo/daemon/request_codec.hpp"

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include "apps/quendo/daemon/protocol.hpp"

namespace quendo {
namespace {

using quendokit::Date;
using quendokit::Day;
using quendokit::DeviceType;
using quendokit::NotificationAction;
using quendokit::NotificationCategory;
using quendokit::PresetType;
using quendokit::ReminderCondition;
using quendokit::ReminderList;

const ReminderCondition evening = ReminderCondition::dateTime(Date(1'795'302'000.25));
const ReminderCondition mac = ReminderCondition::device(DeviceType::mac);
const std::string odd("\0 \xff \xe2\x82\xac \n", 9);

const ReminderView view{"6F96", odd, true, evening, ReminderList::remaining, true, false};

/// One of each at least, with everything there and with what may be absent.
std::vector<Request> requests() {
    using std::chrono::seconds;
    return {
        AddRequest{odd, evening},
        AddRequest{"", PresetChoice{9}},
        AddRequest{"x", NotificationAction(NotificationAction::Evening)},
        ListRequest{{ReminderList::mac, ReminderList::upcoming, ReminderList::remaining}, true, 7},
        ListRequest{},
        ShowRequest{"6f96"},
        EditRequest{"6f96", "title", mac},
        EditRequest{"6f96", std::nullopt, std::nullopt},
        PostponeRequest{std::vector<std::string>{"6f96", ""}, mac},
        PostponeRequest{std::nullopt, PresetChoice{0}},
        SeenRequest{std::vector<std::string>{}},
        SeenRequest{},
        DeleteRequest{{"a", "b"}},
        StatsRequest{},
        ClearRequest{},
        PresetsRequest{Date(-1e9)},
        PresetsRequest{},
        ActionsRequest{},
        OptionsRequest{},
        SetOptionRequest{{OptionKey::firstWorkday, Day(Day::sunday)}},
        SetOptionRequest{{OptionKey::later, std::int64_t{-1}}},
        SetOptionRequest{{OptionKey::hasMacApp, std::optional<bool>()}},
        SetOptionRequest{{OptionKey::hasMacApp, std::optional(false)}},
        ResetOptionsRequest{},
        ExportRequest{},
        ImportRequest{{{std::nullopt, odd, false, mac, std::nullopt, std::nullopt, {1, 2}},
                       {"id", "y", true, evening, Date(1), TransferStanding{ReminderList::mac, true, true}, {}}}},
        CloudConnectRequest{"https://x", "c", "production", "api", "web", seconds(30)},
        CloudStatusRequest{},
        CloudDisconnectRequest{},
        SyncRequest{seconds(86'400)},
        StatusRequest{},
    };
}

std::vector<RequestAnswer> answers() {
    const CloudView cloud{true, "https://x", "c", "zone", 3, Date(1), Date(2), "error"};
    const PresetView preset{"Later", PresetType::later, evening};
    const OptionsView options{Day::monday, Day::saturday, 1,  2, 3, -4, std::numeric_limits<std::int64_t>::max(), 6,
                              true,        {Day::monday}, {}, 7, 8, 9};
    std::vector<RequestAnswer> all{
        {{}, Failure{ExitCode::cloud, odd}},
        {{"one", odd}, Response(view)},
        {{}, Response(std::vector{view, ReminderView{"", "", false, mac, std::nullopt, false, true}})},
        {{}, Response(SeenAnswer{{view}})},
        {{}, Response(quendokit::ReminderStats{3, 4})},
        {{}, Response(ClearAnswer{2, {"a"}})},
        {{},
         Response(
             PresetsView{Date(1), Date(2), NotificationCategory(NotificationCategory::Evening), {preset}, preset})},
        {{}, Response(PresetsView{Date(1), Date(2), std::nullopt, {}, preset})},
        {{}, Response(std::vector{ActionView{NotificationAction::Later, "3 hours", "Later", PresetType::mac}})},
        {{}, Response(options)},
        {{}, Response(ImportAnswer{1, {"left"}})},
        {{}, Response(CloudConnected{"u", "c"})},
        {{}, Response(cloud)},
        {{}, Response(CloudDisconnected{})},
        {{}, Response(SyncAnswer{{"id"}, 1, 2})},
        {{}, Response(HealthView{view, cloud, DaemonHealth{"1", "service 2", {"problem"}}})},
        {{}, Response(HealthView{})},
    };
    all.push_back({{}, Response(std::get<ImportRequest>(requests()[25]).entries)});
    return all;
}

TEST(RequestCodec, EveryRequestComesBackAsItWas) {
    std::vector<bool> seen(std::variant_size_v<Request>);
    for (const Request& request : requests()) {
        seen[request.index()] = true;
        const std::string bytes = encode(request);
        const auto decoded = decodeRequest(bytes);
        ASSERT_TRUE(decoded) << request.index();
        EXPECT_EQ(decoded->index(), request.index());
        // Equal bytes are equal fields.
        EXPECT_EQ(encode(*decoded), bytes);
    }
    EXPECT_THAT(seen, ::testing::Each(true)) << "a request without a case";
}

TEST(RequestCodec, EveryAnswerComesBackAsItWas) {
    std::vector<bool> seen(std::variant_size_v<Response>);
    for (const RequestAnswer& answer : answers()) {
        if (const auto* response = std::get_if<Response>(&answer.result)) {
            seen[response->index()] = true;
        }
        const std::string bytes = encode(answer);
        const auto decoded = decodeAnswer(bytes);
        ASSERT_TRUE(decoded);
        EXPECT_EQ(encode(*decoded), bytes);
    }
    EXPECT_THAT(seen, ::testing::Each(true)) << "an answer without a case";
}

TEST(RequestCodec, FieldsKeepTheirPlacesAndValues) {
    const auto decoded = decodeAnswer(encode(RequestAnswer{{odd}, Response(view)}));
    ASSERT_TRUE(decoded);
    EXPECT_THAT(decoded->warnings, ::testing::ElementsAre(odd));
    const auto& back = std::get<ReminderView>(std::get<Response>(decoded->result));
    EXPECT_EQ(back.id, view.id);
    EXPECT_EQ(back.title, odd);
    EXPECT_TRUE(back.shown);
    EXPECT_EQ(back.condition.date()->timeIntervalSince1970(), 1'795'302'000.25);
    EXPECT_EQ(back.list, ReminderList::remaining);
    EXPECT_TRUE(back.pending);
    EXPECT_FALSE(back.deleted);
}

TEST(RequestCodec, NothingThatIsCutOffOrTooLongIsRead) {
    for (const Request& request : requests()) {
        const std::string bytes = encode(request);
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_FALSE(decodeRequest(bytes.substr(0, size))) << request.index() << " at " << size;
        }
        EXPECT_FALSE(decodeRequest(bytes + '\0'));
    }
    for (const RequestAnswer& answer : answers()) {
        const std::string bytes = encode(answer);
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_FALSE(decodeAnswer(bytes.substr(0, size))) << size;
        }
    }
}

TEST(RequestCodec, ACountThatTheBytesDoNotHoldTakesNoMemory) {
    for (const char count : {'\x7f', '\xff'}) {
        std::string bytes = encode(DeleteRequest{});
        bytes.replace(1, 8, std::string(8, count));
        EXPECT_FALSE(decodeRequest(bytes));
        bytes = encode(ShowRequest{});
        bytes.replace(1, 8, std::string(8, count));
        EXPECT_FALSE(decodeRequest(bytes + "abc"));
    }
}

TEST(RequestCodec, WhatNoSessionCanBeAskedIsNotRead) {
    EXPECT_FALSE(decodeRequest(encode(AddRequest{"x", PresetChoice{10}})));
    EXPECT_FALSE(decodeRequest(encode(SetOptionRequest{{OptionKey::firstWorkday, std::int64_t{2}}})));
    EXPECT_FALSE(decodeRequest(encode(SetOptionRequest{{OptionKey::evening, Day(Day::friday)}})));
    EXPECT_FALSE(decodeRequest(encode(SyncRequest{std::chrono::seconds(-1)})));
    for (const double moment : {std::nan(""), std::numeric_limits<double>::infinity(), -1e300}) {
        EXPECT_FALSE(decodeRequest(encode(PresetsRequest{Date(moment)})));
        EXPECT_FALSE(decodeRequest(encode(AddRequest{"x", ReminderCondition::dateTime(Date(moment))})));
    }
}

RC_GTEST_PROP(RequestCodec, AnyBytesAreReadOrRefused, (const std::string& bytes)) {
    const auto request = decodeRequest(bytes);
    const bool comesBack = !request || encode(*request) == bytes;
    RC_ASSERT(comesBack);
    static_cast<void>(decodeAnswer(bytes));
}

TEST(RequestCodec, AnyChangedByteIsReadOrRefused) {
    std::mt19937 random(4711);
    for (const Request& request : requests()) {
        const std::string bytes = encode(request);
        for (int i = 0; i < 500; ++i) {
            std::string changed = bytes;
            changed[random() % changed.size()] = static_cast<char>(random());
            const auto decoded = decodeRequest(changed);
            EXPECT_TRUE(!decoded || encode(*decoded) == changed);
        }
    }
}

RC_GTEST_PROP(RequestCodec, AnyTextsComeBack, (const std::vector<std::string>& texts)) {
    const auto decoded = decodeRequest(encode(DeleteRequest{texts}));
    RC_ASSERT(decoded.has_value());
    RC_ASSERT(std::get<DeleteRequest>(*decoded).ids == texts);
}

TEST(Greeting, IsReadOnceItIsWholeAndNamesTheVersion) {
    const std::string ours = greeting();
    for (std::size_t size = 0; size < ours.size(); ++size) {
        EXPECT_EQ(readGreeting(ours.substr(0, size)).state, Greeting::State::incomplete);
    }
    const Greeting read = readGreeting(ours + "more");
    EXPECT_TRUE(read.isOurs());
    EXPECT_EQ(read.size, ours.size());
    EXPECT_EQ(read.version, programVersion());
    EXPECT_EQ(readGreeting("GET / HTTP/1.1").state, Greeting::State::foreign);
    EXPECT_FALSE(readGreeting(std::string("quendo\1\0\3"
                                          "9.9",
                                          12))
                     .isOurs());
    EXPECT_FALSE(readGreeting("quendo\2" + ours.substr(7)).isOurs());
}

}  // namespace
}  // namespace quendo

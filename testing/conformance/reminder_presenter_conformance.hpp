#pragma once
/// \file
/// The conformance suite of `ReminderPresenter`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyPresenter, ReminderPresenterConformance, ::testing::Values(
///         ReminderPresenterImplementation{"MyPresenter", [] { return std::make_unique<MyPresenterWorld>(); }}));
///     }

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "hostkit/reminder_presenter.hpp"

namespace quendokit::testing {

/// A presenter with what it needs around it.
class ReminderPresenterWorld {
public:
    ReminderPresenterWorld() = default;
    ReminderPresenterWorld(const ReminderPresenterWorld&) = delete;
    ReminderPresenterWorld& operator=(const ReminderPresenterWorld&) = delete;
    virtual ~ReminderPresenterWorld() = default;

    [[nodiscard]] virtual ReminderPresenter& presenter() = 0;
    /// Ends the presenter, and makes another one before the same notification service.
    virtual void restart() = 0;
    /// Lets turns of the main thread pass until `condition` holds; whether it does, after a while of the
    /// implementation's choice.
    [[nodiscard]] virtual bool runUntil(const std::function<bool()>& condition) = 0;
    /// Lets everything happen that is on its way.
    virtual void settle() = 0;
};

/// One implementation of `ReminderPresenter`, the parameter of the suite.
struct ReminderPresenterImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test, with a notification service at hand.
    std::function<std::unique_ptr<ReminderPresenterWorld>()> make;

    friend void PrintTo(const ReminderPresenterImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

/// A presenter for each test that tells `closed` and `pressed`.
class ReminderPresenterConformance : public ::testing::TestWithParam<ReminderPresenterImplementation> {
protected:
    ReminderPresenterConformance() { listen(); }

    void listen() {
        ReminderPresenterEvents events;
        events.closed = [this](const std::string& handle, bool byThePerson) {
            closed.emplace_back(handle, byThePerson);
        };
        world->presenter().setEvents(events);
    }

    [[nodiscard]] static ReminderNotice notice(std::string title) {
        ReminderNotice notice;
        notice.id = "id";
        notice.title = std::move(title);
        notice.occurrence = Date(1'795'302'000);
        return notice;
    }

    /// The handle of what is shown, which must succeed with one answer.
    std::string shown(const ReminderNotice& what) {
        const auto answers = std::make_shared<std::vector<std::string>>();
        bool inside = true;
        world->presenter().show(what, [&inside, answers](const Result<std::string>& handle) {
            EXPECT_FALSE(inside) << "answered inside the call";
            EXPECT_TRUE(handle) << handle.error().description;
            answers->push_back(handle ? handle.value() : std::string());
        });
        inside = false;
        EXPECT_TRUE(answers->empty());
        EXPECT_TRUE(world->runUntil([&] { return !answers->empty(); }));
        world->settle();
        EXPECT_EQ(answers->size(), 1U);
        const std::string handle = answers->empty() ? std::string() : answers->front();
        EXPECT_FALSE(handle.empty());
        EXPECT_EQ(handle.find('\n'), std::string::npos);
        return handle;
    }

    const std::unique_ptr<ReminderPresenterWorld> world = GetParam().make();
    std::vector<std::pair<std::string, bool>> closed;
};

/// Without an INSTANTIATE_TEST_SUITE_P, including the suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ReminderPresenterConformance);

TEST_P(ReminderPresenterConformance, WhatIsShownHasAHandleOfItsOwn) {
    std::set<std::string> handles;
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(handles.insert(shown(notice("the same"))).second);
    }
}

TEST_P(ReminderPresenterConformance, AHandleIsNotGivenAgainAfterItsNotificationWasClosed) {
    const std::string first = shown(notice("first"));
    world->presenter().close(first);
    world->settle();
    EXPECT_NE(shown(notice("second")), first);
}

TEST_P(ReminderPresenterConformance, SeveralAtOnceAreEachAnsweredOnce) {
    constexpr std::size_t count = 20;
    std::vector<int> answers(count, 0);
    std::set<std::string> handles;
    for (std::size_t i = 0; i < count; ++i) {
        world->presenter().show(notice(std::to_string(i)), [&, i](const Result<std::string>& handle) {
            ++answers[i];
            EXPECT_TRUE(handle);
            handles.insert(handle ? handle.value() : std::string());
        });
    }
    EXPECT_TRUE(world->runUntil([&] { return handles.size() == count; }));
    world->settle();
    EXPECT_EQ(answers, std::vector<int>(count, 1));
}

TEST_P(ReminderPresenterConformance, ShowsEveryKind) {
    for (const NoticeKind kind :
         {NoticeKind::reminder, NoticeKind::deviceReminder, NoticeKind::summary, NoticeKind::health}) {
        ReminderNotice what = notice("title");
        what.kind = kind;
        if (kind != NoticeKind::reminder) {
            what.occurrence.reset();
        }
        if (kind == NoticeKind::summary || kind == NoticeKind::health) {
            what.id.clear();
            what.title.clear();
            what.titles = {"one", "<two> & \"three\"", "\x1b[2J\n", ""};
            what.count = 1'000;
        }
        shown(what);
    }
}

TEST_P(ReminderPresenterConformance, ShowsEveryCategoryMissedOrNot) {
    for (const NotificationCategory category :
         {NotificationCategory::Morning, NotificationCategory::Afternoon, NotificationCategory::Evening}) {
        for (const bool isMissed : {false, true}) {
            ReminderNotice what = notice("title");
            what.category = category;
            what.isMissed = isMissed;
            shown(what);
        }
    }
}

TEST_P(ReminderPresenterConformance, ShowsAnyTitle) {
    using std::string_literals::operator""s;
    for (const std::string& title :
         {""s, " "s, "<b>bold</b> & <img src=x> </b>"s, "&amp; &#0; \"quoted\" 'too'"s, "a\nb\r\tc\x1b[31m\x07\x7f"s,
          "zero\0inside"s, "no UTF-8: \xff\xfe\xc0\x80 \xed\xa0\x80"s, "right \u202e to left \u2066 isolated"s,
          "\u0627\u0644\u0639\u0631\u0628\u064a\u0629 \U0001F5C3 e\u0301"s, "%s %n {} $(id) `id` \\"s,
          std::string(1'000'000, 'x'), std::string(1'000'000, '<'), std::string(1'000'000, '\xff')}) {
        SCOPED_TRACE(title.substr(0, 20));
        shown(notice(title));
    }
}

TEST_P(ReminderPresenterConformance, ShowsAnyIdAndAnyMoment) {
    ReminderNotice what = notice("title");
    for (const std::string& id : {std::string(), std::string("a\nb"), std::string(100'000, '/')}) {
        what.id = id;
        shown(what);
    }
    for (const double seconds : {0.0, -1e12, 1e300, 0.000'1}) {
        what.occurrence = Date(seconds);
        shown(what);
    }
}

TEST_P(ReminderPresenterConformance, ClosingTellsOfThatOneAtMostAndNotOfAPerson) {
    const std::string kept = shown(notice("kept"));
    const std::string gone = shown(notice("gone"));
    world->presenter().close(gone);
    world->settle();
    EXPECT_LE(closed.size(), 1U);
    for (const auto& [handle, byThePerson] : closed) {
        EXPECT_EQ(handle, gone);
        EXPECT_FALSE(byThePerson);
    }
    closed.clear();
    world->presenter().close(gone);
    world->settle();
    EXPECT_TRUE(closed.empty());
    EXPECT_NE(shown(notice("another one")), kept);
}

TEST_P(ReminderPresenterConformance, ClosingWhatNeverWasIsHarmless) {
    const std::string kept = shown(notice("kept"));
    for (const std::string& handle :
         {std::string(), std::string("unknown"), kept + "0", kept + " ", std::string("1"), std::string("\n\xff"),
          std::string("-1"), std::string("99999999999999999999"), std::string(1'000'000, '1')}) {
        world->presenter().close(handle);
    }
    world->settle();
    for (const auto& event : closed) {
        EXPECT_NE(event.first, kept);
    }
    shown(notice("another one"));
}

TEST_P(ReminderPresenterConformance, AHandleStaysValidWhenTheHostStartsAgain) {
    const std::string before = shown(notice("before"));
    world->restart();
    listen();
    EXPECT_NE(shown(notice("after")), before);
    world->presenter().close(before);
    world->settle();
    for (const auto& [handle, byThePerson] : closed) {
        EXPECT_EQ(handle, before);
        EXPECT_FALSE(byThePerson);
    }
}

TEST_P(ReminderPresenterConformance, NobodyIsAnsweredByAPresenterThatIsGone) {
    bool answered = false;
    world->presenter().show(notice("title"), [&](const Result<std::string>&) { answered = true; });
    world->restart();
    world->settle();
    EXPECT_FALSE(answered);
}

TEST_P(ReminderPresenterConformance, WithoutEventsItShowsAndCloses) {
    world->presenter().setEvents({});
    world->presenter().close(shown(notice("title")));
    world->settle();
    EXPECT_TRUE(closed.empty());
}

TEST_P(ReminderPresenterConformance, AnAnswerMayShowAndClose) {
    std::string second;
    world->presenter().show(notice("first"), [&](const Result<std::string>& first) {
        world->presenter().close(first ? first.value() : std::string());
        world->presenter().show(notice("second"),
                                [&](const Result<std::string>& handle) { second = handle ? handle.value() : "-"; });
        EXPECT_TRUE(second.empty());
    });
    EXPECT_TRUE(world->runUntil([&] { return !second.empty(); }));
    EXPECT_NE(second, "-");
}

}  // namespace quendokit::testing

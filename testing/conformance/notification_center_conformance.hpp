#pragma once
/// \file
/// The conformance suite of `NotificationCenter`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyCenter, NotificationCenterConformance, ::testing::Values(
///         NotificationCenterImplementation{"MyCenter", [] { return std::make_shared<MyNotificationCenter>(); }}));
///     }

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/notification_center.hpp"

namespace quendokit::testing {

/// One implementation of `NotificationCenter`, the parameter of the suite.
struct NotificationCenterImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test: a centre without observers.
    std::function<std::shared_ptr<NotificationCenter>()> make;

    friend void PrintTo(const NotificationCenterImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

/// A centre without observers for each test.
class NotificationCenterConformance : public ::testing::TestWithParam<NotificationCenterImplementation> {
protected:
    using Observer = NotificationCenter::Observer;
    using Called = std::vector<std::string>;

    /// Adds a handler that notes `as` in `called`, then does `more`.
    Observer observe(const std::string& name, const std::string& as, const std::function<void()>& more = nullptr) {
        return center->addObserver(name, [this, as, more](const Notification&) {
            called.push_back(as);
            if (more) {
                more();
            }
        });
    }

    void post(const std::string& name) const { center->post({.name = name, .userInfo = std::nullopt}); }

    const std::shared_ptr<NotificationCenter> center = GetParam().make();
    /// Which handlers were called, in order.
    Called called;
};

/// Without an INSTANTIATE_TEST_SUITE_P, including the suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NotificationCenterConformance);

TEST_P(NotificationCenterConformance, PostingCallsTheHandlersInTheOrderInWhichTheyWereAdded) {
    observe("news", "first");
    observe("news", "second");
    observe("news", "third");
    post("news");
    EXPECT_EQ(called, (Called{"first", "second", "third"}));
    post("news");
    EXPECT_EQ(called.size(), 6U);
}

TEST_P(NotificationCenterConformance, OtherNamesAreNotCalled) {
    observe("news", "news");
    observe("News", "News");
    observe("news ", "news with a space");
    observe("new", "new");
    observe("", "nameless");
    post("news");
    EXPECT_EQ(called, Called{"news"});
    post("");
    EXPECT_EQ(called, (Called{"news", "nameless"}));
    post("other");
    EXPECT_EQ(called, (Called{"news", "nameless"}));
}

TEST_P(NotificationCenterConformance, TheNameNeedsToLiveOnlyDuringTheCall) {
    std::string name = "a name that is too long for the string itself";
    observe(name, "called");
    name.assign(name.size(), 'x');
    post("a name that is too long for the string itself");
    EXPECT_EQ(called, Called{"called"});
}

TEST_P(NotificationCenterConformance, ANotificationArrivesWhole) {
    const Notification::UserInfo everyKind{{"integer", std::int64_t{1}},
                                           {"number", 1.0},
                                           {"boolean", true},
                                           {"text", std::string("1")},
                                           {"bytes", std::vector{std::byte{1}}}};
    Notification seen;
    static_cast<void>(center->addObserver("news", [&](const Notification& given) { seen = given; }));
    center->post({"news", everyKind});
    EXPECT_EQ(seen.name, "news");
    EXPECT_EQ(seen.userInfo, everyKind);
}

TEST_P(NotificationCenterConformance, NoUserInfoIsNotAnEmptyOne) {
    Notification seen{"", Notification::UserInfo{{"earlier", true}}};
    static_cast<void>(center->addObserver("news", [&](const Notification& given) { seen = given; }));
    center->post({"news", std::nullopt});
    EXPECT_EQ(seen.userInfo, std::nullopt);
    center->post({"news", Notification::UserInfo{}});
    EXPECT_EQ(seen.userInfo, Notification::UserInfo{});
}

TEST_P(NotificationCenterConformance, HandlersRunOnTheThreadThatPosts) {
    std::vector<std::thread::id> ranOn;
    static_cast<void>(
        center->addObserver("news", [&](const Notification&) { ranOn.push_back(std::this_thread::get_id()); }));
    std::thread::id otherThread;
    std::thread other([&] {
        otherThread = std::this_thread::get_id();
        post("news");
    });
    other.join();
    post("news");
    EXPECT_EQ(ranOn, (std::vector{otherThread, std::this_thread::get_id()}));
}

TEST_P(NotificationCenterConformance, AHandlerAddedTwiceIsTwoRegistrations) {
    int calls = 0;
    const NotificationCenter::Handler handler = [&](const Notification&) { ++calls; };
    const Observer first = center->addObserver("news", handler);
    const Observer second = center->addObserver("news", handler);
    EXPECT_NE(first, second);
    post("news");
    EXPECT_EQ(calls, 2);
    center->removeObserver(first);
    post("news");
    EXPECT_EQ(calls, 3);
}

TEST_P(NotificationCenterConformance, ARemovedHandlerIsNotCalled) {
    observe("news", "first");
    const Observer second = observe("news", "second");
    observe("news", "third");
    center->removeObserver(second);
    post("news");
    EXPECT_EQ(called, (Called{"first", "third"}));
}

TEST_P(NotificationCenterConformance, RemovingAgainDoesNothing) {
    const Observer removed = observe("news", "removed");
    center->removeObserver(removed);
    observe("news", "kept");
    center->removeObserver(removed);
    post("news");
    EXPECT_EQ(called, Called{"kept"});
}

TEST_P(NotificationCenterConformance, ARegistrationIsNeverGivenTwice) {
    std::set<Observer> given;
    for (int i = 0; i < 100; ++i) {
        const Observer observer = observe("news " + std::to_string(i % 3), "x");
        EXPECT_TRUE(given.insert(observer).second);
        if (i % 2 == 0) {
            center->removeObserver(observer);
        }
    }
}

TEST_P(NotificationCenterConformance, AHandlerMayRemoveItself) {
    Observer once{};
    observe("news", "first");
    once = center->addObserver("news", [&, note = std::string("a capture that outlives the removal")](auto&) {
        center->removeObserver(once);
        called.push_back(note);
    });
    observe("news", "third");
    post("news");
    post("news");
    EXPECT_EQ(called, (Called{"first", "a capture that outlives the removal", "third", "first", "third"}));
}

TEST_P(NotificationCenterConformance, AHandlerRemovedDuringAPostIsNotCalledAnyMore) {
    Observer first{};
    Observer third{};
    first = observe("news", "first");
    observe("news", "second", [&] {
        center->removeObserver(first);
        center->removeObserver(third);
    });
    third = observe("news", "third");
    observe("news", "fourth");
    post("news");
    EXPECT_EQ(called, (Called{"first", "second", "fourth"}));
}

TEST_P(NotificationCenterConformance, AHandlerAddedDuringAPostIsCalledFromTheNextOneOn) {
    bool added = false;
    observe("news", "first", [&] {
        if (!added) {
            added = true;
            observe("news", "added");
        }
    });
    observe("news", "second");
    post("news");
    EXPECT_EQ(called, (Called{"first", "second"}));
    called.clear();
    post("news");
    EXPECT_EQ(called, (Called{"first", "second", "added"}));
}

TEST_P(NotificationCenterConformance, AHandlerRemovedAndAddedAgainDuringAPostIsANewOne) {
    Observer moved{};
    bool done = false;
    observe("news", "first", [&] {
        if (!done) {
            done = true;
            center->removeObserver(moved);
            observe("news", "moved");
        }
    });
    moved = observe("news", "moved");
    observe("news", "last");
    post("news");
    EXPECT_EQ(called, (Called{"first", "last"}));
    called.clear();
    post("news");
    EXPECT_EQ(called, (Called{"first", "last", "moved"}));
}

TEST_P(NotificationCenterConformance, AHandlerMayPost) {
    observe("outer", "first of outer", [&] {
        post("inner");
        called.emplace_back("after inner");
    });
    observe("outer", "second of outer");
    observe("inner", "inner");
    post("outer");
    EXPECT_EQ(called, (Called{"first of outer", "inner", "after inner", "second of outer"}));
}

TEST_P(NotificationCenterConformance, AHandlerMayPostItsOwnName) {
    int depth = 0;
    observe("news", "first", [&] {
        if (++depth < 3) {
            post("news");
        }
    });
    observe("news", "second");
    post("news");
    EXPECT_EQ(called, (Called{"first", "first", "first", "second", "second", "second"}));
}

TEST_P(NotificationCenterConformance, AHandlerAddedBetweenAnOuterAndAnInnerPostIsCalledForTheInnerOnly) {
    bool nested = false;
    observe("news", "first", [&] {
        if (!nested) {
            nested = true;
            observe("news", "added");
            post("news");
        }
    });
    post("news");
    EXPECT_EQ(called, (Called{"first", "first", "added"}));
}

TEST_P(NotificationCenterConformance, AHandlerIsKeptUntilItIsRemoved) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> weak = held;
    const Observer observer = center->addObserver("news", [held](const Notification&) { ++*held; });
    held.reset();
    post("news");
    ASSERT_FALSE(weak.expired());
    EXPECT_EQ(*weak.lock(), 1);
    center->removeObserver(observer);
    EXPECT_TRUE(weak.expired());
}

TEST_P(NotificationCenterConformance, AHandlerThatRemovedItselfIsLetGoOfAfterItsCall) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> weak = held;
    Observer observer{};
    observer = center->addObserver("news", [&, held](const Notification&) {
        center->removeObserver(observer);
        EXPECT_EQ(*held, 0);
    });
    held.reset();
    post("news");
    EXPECT_TRUE(weak.expired());
}

TEST_P(NotificationCenterConformance, WhatAHandlerHeldMayUseTheCentreWhenItEnds) {
    const Observer other = observe("news", "other");
    const auto end = [&](int*) {
        center->removeObserver(other);
        post("ended");
    };
    observe("ended", "ended");
    const Observer observer =
        center->addObserver("news", [held = std::shared_ptr<int>(nullptr, end)](const Notification&) {});
    center->removeObserver(observer);
    EXPECT_EQ(called, Called{"ended"});
    post("news");
    EXPECT_EQ(called, Called{"ended"});
}

}  // namespace quendokit::testing

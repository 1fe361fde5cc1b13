/// \file
/// Ten thousand alarms over restarts, crashes, suspends and clocks that jump, drawn from a seed.

#include <iostream>
#include <map>
#include <set>

#include "tests/hostkit/alarms_fixture.hpp"
#include "tests/simulation/random.hpp"

namespace quendokit::testing {
namespace {

/// Thrown where the process ends.
struct ProcessEnds {};

/// A moment of one reminder.
using Alarm = std::pair<std::string, double>;

class AlarmSimulation : public AlarmsFixture {
protected:
    AlarmSimulation() {
        options.titlesInSummary = 1'000'000;
        // The person has lived with this for long: nothing is of before the beginning.
        itIs(start - days(1'000));
        begin();
        end();
        itIs(start);
        boot();
    }
    ~AlarmSimulation() override { crashIn_ = 0; }

    void play(std::uint64_t seed, std::size_t alarmCount) {
        random_ = simulation::Random(seed);
        while (stored_.size() < alarmCount && !HasFailure()) {
            ++counts_["steps"];
            crashIn_ = random_.chance(0.15) ? 1 + random_.below(8) : 0;
            guarded([this] { act(); });
            run();
            crashIn_ = 0;
            if (crashed_) {
                ++counts_["crashes"];
                startAgain();
            }
            settle();
            checkOracle();
        }
        print(seed);
    }

private:
    /// Counts and watches what goes to the screen, and ends the process around that.
    class WatchedPresenter final : public ReminderPresenter {
    public:
        explicit WatchedPresenter(AlarmSimulation& owner) : owner_(owner) {}

        void show(const ReminderNotice& notice, Done done) override {
            owner_.boundary("before the screen");
            const auto rung = owner_.noteRung(notice);
            owner_.presenter->show(notice, [this, rung, done = std::move(done)](const Result<std::string>& handle) {
                if (owner_.crashed_) {
                    return;
                }
                owner_.guarded([&] { done(handle); });
                if (!owner_.crashed_ || owner_.ledgerKnows(handle)) {
                    owner_.unrecorded_.erase(rung);
                }
            });
            owner_.boundary("after the screen");
        }
        void close(const std::string& handle) override {
            owner_.boundary("before a closing");
            owner_.presenter->close(handle);
        }
        void setEvents(ReminderPresenterEvents events) override { owner_.presenter->setEvents(std::move(events)); }

    private:
        AlarmSimulation& owner_;
    };

    /// The engine schedules after each write.
    class MortalScheduler final : public Scheduler {
    public:
        MortalScheduler(AlarmSimulation& owner, std::shared_ptr<Scheduler> inner)
            : owner_(owner), inner_(std::move(inner)) {}
        void schedule(const ReminderStruct& reminder) override {
            owner_.boundary("after a write of the store");
            inner_->schedule(reminder);
        }
        void cancel(const ReminderStruct& reminder) override { inner_->cancel(reminder); }

    private:
        AlarmSimulation& owner_;
        const std::shared_ptr<Scheduler> inner_;
    };

    void boundary(const char* where) {
        if (crashIn_ > 0 && --crashIn_ == 0) {
            ++counts_[std::string("crashes ") + where];
            throw ProcessEnds();
        }
    }
    template <typename Work>
    void guarded(Work&& work) {
        try {
            work();
        } catch (const ProcessEnds&) {
            crashed_ = true;
        }
    }

    void boot() {
        presenter = std::make_shared<RecordingPresenter>(mainQueue, screen);
        presenter->setAbsent(absent_);
        ledger = FiredLedger::open(ledgerFile, clock->now()).value();
        armedList = std::make_shared<ArmedListFile>(armedFile);
        const auto hints = QueueingScheduler::create([this] {
            if (alarms && !crashed_) {
                guarded([this] { alarms->storeChanged(); });
            }
        });
        controller = ReminderController::create(std::make_shared<MortalScheduler>(*this, hints), realm);
        alarms = ReminderAlarms::create({controller, ledger, armedList, std::make_shared<WatchedPresenter>(*this),
                                         [this](std::optional<Date> moment) {
                                             boundary("before the timer");
                                             timer = moment;
                                         },
                                         [this](const std::vector<std::string>&, const std::function<void()>& change) {
                                             boundary("before a change");
                                             change();
                                             boundary("after a change");
                                         }},
                                        options);
        guarded([this] { alarms->start(); });
        run();
    }
    void run() {
        while (!crashed_ && mainQueue->runNext()) {
        }
    }
    void startAgain() {
        // What stands on the screen and was not recorded may be shown once more.
        for (const auto& rung : unrecorded_) {
            for (const Alarm& alarm : rung) {
                ++allowed_[alarm];
            }
        }
        unrecorded_.clear();
        end();
        crashed_ = false;
        if (random_.chance(0.3)) {
            itIs(clock->now() + static_cast<int>(random_.below(7'200)));
        }
        boot();
        ++counts_["starts"];
    }

    void act() {
        switch (random_.below(16)) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4:
                return storeSome();
            case 5:
                return retimeOne();
            case 6:
                return deleteOne();
            case 7:
            case 8:
                return press();
            case 9:
                return leave();
            case 10:
                return seeElsewhere();
            case 11:
                crashed_ = true;
                return;
            case 12:
                return suspend();
            case 13:
                return jump();
            case 14:
                return toggleScreen();
            default:
                return wakeFor(static_cast<int>(random_.below(7'200)));
        }
    }

    [[nodiscard]] Date soon() { return Date(clock->now().timeIntervalSince1970() + random_.between(1, 5'400)); }
    void storeSome() {
        const std::size_t count = random_.chance(0.05) ? 15 : 4 + random_.below(6);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string id = "r" + std::to_string(++lastID_);
            controller->store(ReminderStruct(id, id, false, ReminderCondition::dateTime(soon())));
        }
    }
    [[nodiscard]] std::vector<ReminderItem> items() const {
        return realm->objects<ReminderItem>().filter("deleted != true").toVector();
    }
    [[nodiscard]] std::optional<ReminderItem> any() {
        auto all = items();
        return all.empty() ? std::nullopt : std::optional(all[random_.below(all.size())]);
    }
    void retimeOne() {
        if (const auto item = any()) {
            ++counts_["retimed"];
            controller->postpone(*makeReminderStruct(*item), ReminderCondition::dateTime(soon()));
        }
    }
    void deleteOne() {
        for (int i = 0; i < 2; ++i) {
            if (const auto item = any()) {
                ++counts_["deleted"];
                controller->delete_(*makeReminderStruct(*item));
                if (random_.chance(0.5)) {
                    EXPECT_FALSE(realm->write([&] { realm->delete_(*item); }));
                    alarms->storeChanged();
                }
            }
        }
    }
    /// What the person acts on, if the ledger knows of it.
    [[nodiscard]] std::optional<std::string> somethingShown() {
        if (screen->shown.empty()) {
            return std::nullopt;
        }
        const auto shown = screen->shown[random_.below(screen->shown.size())];
        for (const FiredEntry& entry : ledger->shownAs(shown.handle)) {
            if (entry.state == FiredEntry::State::posted) {
                acted_.insert({entry.id, entry.occurrence->timeIntervalSince1970()});
            }
        }
        return shown.handle;
    }
    void press() {
        static const std::vector<std::string> buttons{"short", "later", "morning", "afternoon", "evening"};
        for (int i = 0; i < 3; ++i) {
            if (const auto handle = somethingShown()) {
                ++counts_["pressed"];
                if (random_.chance(0.1)) {
                    realm->failWrites(1, FailAt::commit, makeRealmError(RealmErrorCode::full, "no room is left"));
                }
                presenter->press(*handle, "quendo.postpone.action." + buttons[random_.below(buttons.size())]);
                realm->failWrites(0, FailAt::commit, {});
            }
        }
    }
    void leave() {
        if (const auto handle = somethingShown()) {
            ++counts_["opened or closed"];
            random_.chance(0.5) ? presenter->open(*handle) : presenter->dismiss(*handle, random_.chance(0.7));
        }
    }
    /// Another device has shown it.
    void seeElsewhere() {
        if (const auto item = any(); item && !item->shown) {
            ++counts_["seen elsewhere"];
            EXPECT_FALSE(realm->write([&] { realm->set<ReminderItem>(item->ID, {{"shown", true}}); }));
            seen_.insert(item->ID);
            alarms->storeChanged();
        }
    }
    void wakeFor(int seconds) {
        ++counts_["spells awake"];
        const Date until = clock->now() + seconds;
        while (timer && *timer < until && !crashed_) {
            itIs(std::max(clock->now(), Date(timer->timeIntervalSince1970() + 0.01)));
            timer.reset();
            alarms->timeReached();
            run();
        }
        if (!crashed_) {
            itIs(until);
        }
    }
    void suspend() {
        ++counts_["suspends"];
        itIs(clock->now() + static_cast<int>(60 + random_.below(random_.chance(0.2) ? 200'000 : 30'000)));
        alarms->clockChanged();
    }
    void jump() {
        ++counts_["clock jumps"];
        const int size = static_cast<int>(random_.below(random_.chance(0.1) ? 31'536'000 : 7'200));
        // Back and forth, so that time gets on.
        itIs(random_.chance(0.5) ? clock->now() - std::min(size, 20'000'000) : clock->now() + size);
        alarms->clockChanged();
    }
    void toggleScreen() {
        absent_ = !absent_;
        presenter->setAbsent(absent_);
    }
    /// A moment in which nothing goes wrong.
    void settle() {
        if (absent_ && random_.chance(0.5)) {
            return;
        }
        absent_ = false;
        presenter->setAbsent(false);
        run();
        itIs(clock->now() + 2);
        alarms->clockChanged();
        run();
    }

    std::set<Alarm> noteRung(const ReminderNotice& notice) {
        std::set<Alarm> rung;
        if (absent_) {
            return rung;
        }
        const bool isSummary = notice.kind == NoticeKind::summary;
        ++counts_[isSummary ? "summaries" : "notifications"];
        for (const std::string& id : isSummary ? notice.titles : std::vector{notice.id}) {
            const auto item = stored(id);
            EXPECT_TRUE(item && !item->deleted) << id << " is deleted";
            if (!item) {
                continue;
            }
            const Alarm alarm{id, item->_datetime.timeIntervalSince1970()};
            EXPECT_TRUE(isSummary || notice.occurrence == item->_datetime) << id << " has another time";
            EXPECT_LT(item->_datetime, clock->now() + (clock->now() < latest_ ? 100'000'000 : 0)) << id << " is early";
            EXPECT_FALSE(acted_.contains(alarm)) << id << " rings after the person acted";
            EXPECT_LE(++rings_[alarm], 1 + allowed_[alarm]) << id << " rings again";
            rung.insert(alarm);
        }
        unrecorded_.insert(rung);
        return rung;
    }
    [[nodiscard]] bool ledgerKnows(const Result<std::string>& handle) const {
        return handle && !ledger->shownAs(handle.value()).empty();
    }

    void checkOracle() {
        latest_ = std::max(latest_, clock->now());
        if (absent_ || crashed_) {
            return;
        }
        for (const ReminderItem& item : items()) {
            const Alarm alarm{item.ID, item._datetime.timeIntervalSince1970()};
            if (item._datetime > clock->now()) {
                continue;
            }
            stored_.insert(alarm);
            EXPECT_TRUE(rings_.contains(alarm) || seen_.contains(item.ID)) << item.ID << " was missed";
        }
        EXPECT_TRUE(ledger->in(FiredEntry::State::due).empty());
        EXPECT_TRUE(ledger->in(FiredEntry::State::pressed).empty());
        // The person tidies up now and then.
        EXPECT_FALSE(realm->write([&] {
            for (const ReminderItem& item : realm->objects<ReminderItem>().filter("deleted == true").toVector()) {
                realm->delete_(item);
            }
        }));
        while (items().size() > 25) {
            EXPECT_FALSE(realm->write([&] { realm->delete_(*any()); }));
        }
    }
    void print(std::uint64_t seed) const {
        std::size_t again = 0;
        for (const auto& [alarm, count] : rings_) {
            again += count > 1 ? 1U : 0U;
        }
        std::cout << "seed " << seed << ": " << stored_.size() << " alarms, " << rings_.size() << " rang, " << again
                  << " twice after a crash on the way from the screen, " << ledger->count() << " entries at the end\n";
        for (const auto& [what, count] : counts_) {
            std::cout << "  " << what << ": " << count << "\n";
        }
    }

    simulation::Random random_{0};
    std::size_t crashIn_ = 0;
    bool crashed_ = false;
    bool absent_ = false;
    std::size_t lastID_ = 0;
    Date latest_ = Date(0);
    /// Alarms whose moment has come, and how often each was shown.
    std::set<Alarm> stored_;
    std::map<Alarm, int> rings_;
    std::map<Alarm, int> allowed_;
    std::set<Alarm> acted_;
    std::set<std::string> seen_;
    std::set<std::set<Alarm>> unrecorded_;
    std::map<std::string, std::size_t> counts_;
};

/// A fifth of them each.
class TenThousandAlarms : public AlarmSimulation, public ::testing::WithParamInterface<int> {};

TEST_P(TenThousandAlarms, AreNotMissedAndRingTwiceOnlyAfterACrash) {
    play(static_cast<std::uint64_t>(GetParam()), 2'000);
}

INSTANTIATE_TEST_SUITE_P(Seeds, TenThousandAlarms, ::testing::Range(1, 6));

}  // namespace
}  // namespace quendokit::testing

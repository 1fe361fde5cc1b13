#include "quendokit/options/options.hpp"

#include <utility>

#include "quendokit/model/checked_arithmetic.hpp"
#include "quendokit/model/date_operations.hpp"
#include "quendokit/options/day_plan_internal.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/timer.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/platform/world_internal.hpp"

namespace quendokit {
namespace {

namespace Default {
constexpr Day FirstWorkday = Day::monday;
constexpr Day FirstWeekend = Day::saturday;
constexpr std::int64_t WorkdayMorning = hours(9);
constexpr std::int64_t WeekendMorning = hours(11);
constexpr std::int64_t Afternoon = hours(12);
constexpr std::int64_t Evening = hours(18);
constexpr std::int64_t Later = hours(3);
constexpr std::int64_t Postpone = minutes(20);
}  // namespace Default

Date now() {
    return platform::clock().now();
}

}  // namespace

/// The one instance, for as long as the services are installed.
struct Options::Shared {
    Shared() : options(std::make_shared<Options>(PrivateTag())) {
        options->cloudObserver_ = NotificationCenter::defaultCenter().addObserver(
            NSUbiquitousKeyValueStoreDidChangeExternallyNotification,
            [weak = std::weak_ptr(options)](const Notification& notification) {
                if (const auto self = weak.lock()) {
                    self->cloudChanged(notification);
                }
            });
        // Whether there is a cloud to synchronise with makes no difference here.
        static_cast<void>(NSUbiquitousKeyValueStore::defaultStore().synchronize());
    }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    ~Shared() {
        // A timer that waits keeps its target.
        if (options->syncTimer_) {
            options->syncTimer_->invalidate();
        }
    }

    const std::shared_ptr<Options> options;
};

Options& Options::sharedOptions() {
    static const platform::OncePerProcess<Shared> shared;
    return *shared.get(std::make_shared<Shared>).options;
}

Options::Options(PrivateTag) : UD_(UserDefaults::standard()) {}

Options::~Options() {
    if (cloudObserver_) {
        NotificationCenter::defaultCenter().removeObserver(*cloudObserver_);
    }
}

Day Options::FirstWorkday() {
    return sharedOptions().retrieveDay(OptionKeys::FirstWorkday, Default::FirstWorkday);
}

void Options::setFirstWorkday(Day day) {
    sharedOptions().store(OptionKeys::FirstWorkday, day.rawValue());
}

Day Options::FirstWeekend() {
    return sharedOptions().retrieveDay(OptionKeys::FirstWeekend, Default::FirstWeekend);
}

void Options::setFirstWeekend(Day day) {
    sharedOptions().store(OptionKeys::FirstWeekend, day.rawValue());
}

std::int64_t Options::WorkdayMorning() {
    return sharedOptions().retrieveInteger(OptionKeys::WorkdayMorning, Default::WorkdayMorning);
}

void Options::setWorkdayMorning(std::int64_t time) {
    sharedOptions().storeTime(time, OptionKeys::WorkdayMorning);
}

std::int64_t Options::WeekendMorning() {
    return sharedOptions().retrieveInteger(OptionKeys::WeekendMorning, Default::WeekendMorning);
}

void Options::setWeekendMorning(std::int64_t time) {
    sharedOptions().storeTime(time, OptionKeys::WeekendMorning);
}

std::int64_t Options::Afternoon() {
    return sharedOptions().retrieveInteger(OptionKeys::Afternoon, Default::Afternoon);
}

void Options::setAfternoon(std::int64_t time) {
    sharedOptions().storeTime(time, OptionKeys::Afternoon);
}

std::int64_t Options::Evening() {
    return sharedOptions().retrieveInteger(OptionKeys::Evening, Default::Evening);
}

void Options::setEvening(std::int64_t time) {
    sharedOptions().storeTime(time, OptionKeys::Evening);
}

std::int64_t Options::Later() {
    return sharedOptions().retrieveInteger(OptionKeys::Later, Default::Later);
}

void Options::setLater(std::int64_t seconds) {
    sharedOptions().storeTime(seconds, OptionKeys::Later);
}

std::int64_t Options::Postpone() {
    return sharedOptions().retrieveInteger(OptionKeys::Postpone, Default::Postpone);
}

void Options::setPostpone(std::int64_t seconds) {
    sharedOptions().storeTime(seconds, OptionKeys::Postpone);
}

std::optional<bool> Options::HasMacApp() {
    const auto value = sharedOptions().retrieveOption(OptionKeys::MacAppPurchased);
    const bool* const has = value ? std::get_if<bool>(&*value) : nullptr;
    return has != nullptr ? std::optional(*has) : std::nullopt;
}

void Options::setHasMacApp(std::optional<bool> has) {
    Options& options = sharedOptions();
    if (has) {
        options.store(OptionKeys::MacAppPurchased, *has);
        return;
    }
    options.UD_.remove(OptionKeys::MacAppPurchased);
    options.optionsChanged();
}

std::vector<Day> Options::Workdays() {
    return Day::range(FirstWorkday(), FirstWeekend());
}

std::vector<Day> Options::Weekend() {
    return Day::range(FirstWeekend(), FirstWorkday());
}

std::int64_t Options::ThisMorning() {
    return morningOf(now(), Weekend());
}

std::int64_t Options::TomorrowMorning() {
    return morningOf(now() + days(1), Weekend());
}

std::int64_t Options::NextMorning() {
    const Date present = now();
    const std::vector<Day> weekend = Weekend();
    return morningOf(morningOf(present, weekend) > time(present) ? present + days(1) : present, weekend);
}

void Options::reset() {
    Options& options = sharedOptions();
    options.store(OptionKeys::FirstWorkday, Default::FirstWorkday.rawValue());
    options.store(OptionKeys::FirstWeekend, Default::FirstWeekend.rawValue());
    options.store(OptionKeys::WorkdayMorning, Default::WorkdayMorning);
    options.store(OptionKeys::WeekendMorning, Default::WeekendMorning);
    options.store(OptionKeys::Afternoon, Default::Afternoon);
    options.store(OptionKeys::Evening, Default::Evening);
    options.store(OptionKeys::Later, Default::Later);
    options.store(OptionKeys::Postpone, Default::Postpone);
}

std::optional<PropertyValue> Options::retrieveOption(std::string_view key) const {
    return UD_.object(key);
}

std::int64_t Options::retrieveInteger(std::string_view key, std::int64_t absent) const {
    const auto value = UD_.object(key);
    const std::int64_t* const integer = value ? std::get_if<std::int64_t>(&*value) : nullptr;
    return integer != nullptr ? *integer : absent;
}

Day Options::retrieveDay(std::string_view key, Day absent) const {
    const std::int64_t value = retrieveInteger(key, absent.rawValue());
    const std::int64_t remainder = checkedSubtract(value, 1) % 7;
    if (remainder < 0) {
        fatalError("the setting " + std::string(key) + " holds " + std::to_string(value) +
                   ", which is no day of the week");
    }
    return *Day::fromRawValue(remainder + 1);
}

void Options::storeTime(std::int64_t time, std::string_view key) {
    if (time < 0) {
        time = checkedAdd(time, quendokit::time(now()));
        if (time < 1) {
            time = checkedAdd(time, days(1));
        }
    }
    store(key, time);
}

void Options::store(std::string_view key, PropertyValue value) {
    UD_.set(key, std::move(value));
    optionsChanged();
}

}  // namespace quendokit

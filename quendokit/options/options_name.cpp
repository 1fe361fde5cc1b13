#include "quendokit/model/localized_string_internal.hpp"
#include "quendokit/options/options.hpp"

namespace quendokit {

const std::string& Options::Name::FirstWorkday() {
    static const LocalizedString name("My week starts", "");
    return name.get();
}

const std::string& Options::Name::FirstWeekend() {
    static const LocalizedString name("My weekend starts", "");
    return name.get();
}

const std::string& Options::Name::WorkdayMorning() {
    static const LocalizedString name("Start my workday at", "");
    return name.get();
}

const std::string& Options::Name::WeekendMorning() {
    static const LocalizedString name("Start my weekends at", "");
    return name.get();
}

const std::string& Options::Name::Afternooon() {
    static const LocalizedString name("Set my afternoon at", "");
    return name.get();
}

const std::string& Options::Name::Evening() {
    static const LocalizedString name("Start my evening at", "");
    return name.get();
}

const std::string& Options::Name::Later() {
    static const LocalizedString name("Later today", "");
    return name.get();
}

const std::string& Options::Name::Postpone() {
    static const LocalizedString name("Notification postpone", "");
    return name.get();
}

}  // namespace quendokit

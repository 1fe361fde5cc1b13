#include "quendokit/model/localized_string_internal.hpp"
#include "quendokit/model/words.hpp"
#include "quendokit/presets/preset_controller.hpp"

namespace quendokit {

const std::string& PresetController::Names::Later() {
    return words::later();
}

const std::string& PresetController::Names::ThisAfternoon() {
    static const LocalizedString name("This Afternoon", "This Afternoon");
    return name.get();
}

const std::string& PresetController::Names::ThisEvening() {
    static const LocalizedString name("This Evening", "This Evening");
    return name.get();
}

const std::string& PresetController::Names::TomorrowMorning() {
    static const LocalizedString name("Tomorrow Morning", "Tomorrow Morning");
    return name.get();
}

const std::string& PresetController::Names::TomorrowAfternoon() {
    static const LocalizedString name("Tomorrow Afternoon", "Tomorrow Afternoon");
    return name.get();
}

const std::string& PresetController::Names::TomorrowEvening() {
    static const LocalizedString name("Tomorrow Evening", "Tomorrow Evening");
    return name.get();
}

const std::string& PresetController::Names::ThisWeekend() {
    static const LocalizedString name("This Weekend", "This Weekend");
    return name.get();
}

const std::string& PresetController::Names::NextWeek() {
    static const LocalizedString name("Next Week", "Next Week");
    return name.get();
}

const std::string& PresetController::Names::Custom() {
    static const LocalizedString name("Pick a Date", "Pick a Date");
    return name.get();
}

const std::string& PresetController::Names::Mac() {
    static const LocalizedString name("On My Mac", "On My Mac");
    return name.get();
}

}  // namespace quendokit

#include "quendokit/presets/preset.hpp"

#include <utility>

namespace quendokit {

Preset::Preset(std::string name, PresetType type, Configuration configuration)
    : name(std::move(name)), configuration(std::move(configuration)), type(type) {}

ReminderStruct Preset::remind(const std::string& title, Date date) const {
    return {title, configuration(date)};
}

}  // namespace quendokit

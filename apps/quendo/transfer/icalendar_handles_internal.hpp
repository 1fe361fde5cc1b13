#pragma once
/// \file
/// Owners for what libical hands out.

#include <memory>
#include <string>

#include <libical/ical.h>

namespace quendo::icalendar {

struct Freeing {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
    void operator()(icalparser* parser) const { icalparser_free(parser); }
    void operator()(icaltimezone* zone) const { icaltimezone_free(zone, 1); }
};

using Component = std::unique_ptr<icalcomponent, Freeing>;
using Parser = std::unique_ptr<icalparser, Freeing>;
using Zone = std::unique_ptr<icaltimezone, Freeing>;

/// The component that these lines, unfolded, are, or null. libical writes into the lines while it reads them.
template <typename Lines>
[[nodiscard]] Component parseComponent(Lines& lines) {
    const Parser parser(icalparser_new());
    Component component;
    for (std::string& line : lines) {
        if (icalcomponent* parsed = icalparser_add_line(parser.get(), line.data())) {
            component.reset(parsed);
        }
    }
    return component;
}

}  // namespace quendo::icalendar

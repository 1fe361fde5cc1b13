#pragma once
/// \file
/// `anyZone`, a random zone for property tests.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// rapidcheck's glue to GoogleTest needs GoogleTest before it.
#include <rapidcheck/gtest.h>

namespace quendokit::testing {

/// All zones of the system's zone data that are not aliases.
inline const std::vector<std::string>& zoneNames() {
    static const auto names = [] {
        std::vector<std::string> found;
        std::ifstream table("/usr/share/zoneinfo/zone1970.tab");
        for (std::string line; std::getline(table, line);) {
            std::istringstream columns(line);
            std::string country;
            std::string position;
            std::string name;
            if (!line.starts_with('#') && columns >> country >> position >> name) {
                found.push_back(name);
            }
        }
        return found;
    }();
    return names;
}

/// What TZ may hold: the name of a zone, or a rule.
inline std::string anyZone() {
    const std::vector<std::string> rules{"EST5EDT4,M3.2.0,M11.1.0", "<+0330>-3:30", "AEST-10AEDT,M10.1.0,M4.1.0/3",
                                         "<-02>2<-01>,M3.5.0/-1,M10.5.0/0", "XXX12YYY10:30,J60/0,J300/24"};
    return *rc::gen::weightedOneOf<std::string>({{1, rc::gen::elementOf(rules)}, {4, rc::gen::elementOf(zoneNames())}});
}

}  // namespace quendokit::testing

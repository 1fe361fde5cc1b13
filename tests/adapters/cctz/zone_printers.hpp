#pragma once
/// \file
/// How readings and moments look in a failure.

#include <iomanip>
#include <ostream>

#include "adapters/cctz/local_time_zone.hpp"

namespace quendokit {

inline std::ostream& operator<<(std::ostream& out, const LocalDateTime& reading) {
    return out << reading.year << '-' << reading.month << '-' << reading.day << ' ' << reading.hour << ':'
               << reading.minute << ':' << reading.second;
}

inline std::ostream& operator<<(std::ostream& out, Date date) {
    return out << '@' << std::setprecision(17) << date.timeIntervalSince1970();
}

inline std::ostream& operator<<(std::ostream& out, const LocatedInstant& located) {
    constexpr const char* kinds[] = {"unique", "skipped", "repeated"};
    out << kinds[static_cast<int>(located.kind)] << ' ' << located.date;
    return located.second ? out << " and " << *located.second : out;
}

}  // namespace quendokit

#pragma once
/// \file
/// The zones that times in iCalendar name.

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/transfer/icalendar_lines_internal.hpp"

namespace quendo::icalendar {

/// From readings in named zones to moments. A name of the system's zone data means that, whatever a file says of it,
/// because files often hold the rules of one year; any other name means what the file defines under it.
class Zones {
public:
    explicit Zones(const std::vector<ComponentSpan>& definitions);
    ~Zones();

    /// The moment of `reading`, which is valid, as `LocalTimeZone::locate` chooses it. Absent when the zone is unknown,
    /// or defined in a way that cannot be followed.
    [[nodiscard]] std::optional<quendokit::Date> locate(const std::string& zone,
                                                        const quendokit::LocalDateTime& reading);

private:
    class Defined;
    /// One of them, or none.
    struct Found {
        std::shared_ptr<const quendokit::LocalTimeZone> system;
        std::unique_ptr<Defined> defined;
    };

    [[nodiscard]] Found find(const std::string& name) const;

    std::map<std::string, ComponentSpan> definitions_;
    std::map<std::string, Found> known_;
};

}  // namespace quendo::icalendar

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include <cctz/time_zone.h>
#include <sys/stat.h>

#include "adapters/cctz/time_zone_rules_internal.hpp"

namespace quendokit {
namespace {

using Moment = cctz::time_point<cctz::seconds>;

std::int64_t secondsSince1970(Moment moment) {
    return moment.time_since_epoch().count();
}

class CctzRules final : public TimeZoneRules {
public:
    explicit CctzRules(cctz::time_zone zone) : zone_(zone) {}

    [[nodiscard]] int offset(std::int64_t moment) const override {
        return zone_.lookup(Moment(cctz::seconds(moment))).offset;
    }

    [[nodiscard]] Located locate(std::int64_t reading) const override {
        using Lookup = cctz::time_zone::civil_lookup;
        const Lookup found = zone_.lookup(cctz::civil_second() + reading);
        const std::int64_t before = secondsSince1970(found.pre);
        const std::int64_t change = secondsSince1970(found.trans);
        switch (found.kind) {
            case Lookup::UNIQUE:
                return {LocalTimeKind::unique, before, before};
            case Lookup::SKIPPED:
                return {LocalTimeKind::skipped, change, change};
            case Lookup::REPEATED:
                break;
        }
        return {LocalTimeKind::repeated, before, secondsSince1970(found.post)};
    }

    [[nodiscard]] std::optional<std::int64_t> nextChange(std::int64_t moment) const override {
        const int before = offset(moment);
        cctz::time_zone::civil_transition transition;
        // A transition may be one of names alone.
        while (zone_.next_transition(Moment(cctz::seconds(moment)), &transition)) {
            moment = secondsSince1970(zone_.lookup(transition.to).trans);
            if (offset(moment) != before) {
                return moment;
            }
        }
        return std::nullopt;
    }

private:
    const cctz::time_zone zone_;
};

/// Tells one state of a file from the next.
struct FileVersion {
    dev_t device;
    ino_t inode;
    std::int64_t changedSeconds;
    std::int64_t changedNanoseconds;

    friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

std::optional<FileVersion> versionOf(const std::string& path) {
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return FileVersion{status.st_dev, status.st_ino, status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

/// The "right" tree counts leap seconds, which a `Date` does not, and cctz refuses it. The zones beside it are the same
/// without them.
std::string withoutLeapSeconds(std::string path) {
    constexpr std::string_view parent = "/zoneinfo/";
    constexpr std::string_view tree = "right/";
    const auto position = path.rfind(std::string(parent) + std::string(tree));
    if (position != std::string::npos) {
        path.erase(position + parent.size(), tree.size());
    }
    return path;
}

/// cctz remembers each name for the life of the process, so a file that changed goes by another spelling of its path.
std::string spelling(const std::string& path, std::size_t version) {
    std::string spelled;
    for (std::size_t i = 0; i < version; ++i) {
        spelled += "/.";
    }
    return spelled + path;
}

}  // namespace

std::shared_ptr<const TimeZoneRules> makeUTCRules() {
    static const auto rules = std::make_shared<const CctzRules>(cctz::utc_time_zone());
    return rules;
}

std::shared_ptr<const TimeZoneRules> makeCctzRules(const std::filesystem::path& file) {
    std::error_code error;
    const std::string path = withoutLeapSeconds(std::filesystem::canonical(file, error).string());
    const auto version = versionOf(path);
    if (!version) {
        return nullptr;
    }

    using Versions = std::vector<std::pair<FileVersion, std::shared_ptr<const TimeZoneRules>>>;
    static std::mutex mutex;
    static std::map<std::string, Versions> versionsByPath;
    const std::lock_guard lock(mutex);
    Versions& versions = versionsByPath[path];
    const auto known =
        std::find_if(versions.begin(), versions.end(), [&](const auto& entry) { return entry.first == *version; });
    if (known != versions.end()) {
        return known->second;
    }
    cctz::time_zone zone;
    const bool isZoneData = cctz::load_time_zone(spelling(path, versions.size()), &zone);
    return versions.emplace_back(*version, isZoneData ? std::make_shared<const CctzRules>(zone) : nullptr).second;
}

}  // namespace quendokit

#include "apps/quendo/doctor.hpp"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/stat.h>

#include "adapters/cctz/local_time_zone.hpp"
#include "adapters/files/file_user_defaults.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "apps/quendo/cloud/account.hpp"
#include "apps/quendo/cloud/cloud_check.hpp"
#include "apps/quendo/daemon/daemon_client.hpp"
#include "apps/quendo/daemon/protocol.hpp"
#include "apps/quendo/lock_file.hpp"
#include "hostkit/day_plan_check.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/store/quendokit_config.hpp"

namespace quendo {
namespace {

using quendokit::LocalTimeZone;

constexpr mode_t otherUsers = 0077;
/// How long the cloud may take.
constexpr std::chrono::seconds patienceForCloud(5);
constexpr std::chrono::seconds patienceForDaemon(5);

/// The folder itself, or of those above it the first that exists.
std::filesystem::path existing(std::filesystem::path folder) {
    std::error_code unknown;
    while (!std::filesystem::exists(folder, unknown) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    return folder.empty() ? "." : folder;
}

/// What is wrong with who may use a file or folder; absent when nothing is, or when it does not exist.
std::optional<std::string> flawOf(const std::filesystem::path& path) {
    struct stat status{};
    if (lstat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    const std::string name = path.string();
    if (S_ISLNK(status.st_mode)) {
        return name + " is a symbolic link; put the file itself there";
    }
    if (status.st_uid != geteuid()) {
        return name + " belongs to another user; make it yours: sudo chown " + std::to_string(geteuid()) + " '" + name +
               "'";
    }
    if ((status.st_mode & otherUsers) != 0) {
        return name + " is open to other users; close it: chmod go= '" + name + "'";
    }
    const bool folder = S_ISDIR(status.st_mode);
    if (euidaccess(path.c_str(), folder ? (R_OK | W_OK | X_OK) : (R_OK | W_OK)) != 0) {
        return name + " cannot be written; allow it: chmod u+rw" + (folder ? "x" : "") + " '" + name + "'";
    }
    return std::nullopt;
}

Finding accessFinding(const std::string& check, const std::vector<std::filesystem::path>& paths) {
    for (const auto& path : paths) {
        if (auto flaw = flawOf(path)) {
            return {check, false, *std::move(flaw)};
        }
    }
    return {check, true, paths.front().string()};
}

Finding foldersFinding(const Folders& folders) {
    for (const auto& folder : {folders.data, folders.config, folders.state}) {
        const auto place = existing(folder);
        if (place != folder && euidaccess(place.c_str(), W_OK | X_OK) != 0) {
            return {"folders", false,
                    folder.string() + " cannot be made in " + place.string() + "; name another folder with --home DIR"};
        }
    }
    return accessFinding("folders", {folders.data, folders.config, folders.state, folders.socket().parent_path()});
}

/// What is there of a daemon.
struct DaemonState {
    std::optional<DaemonClient> client;
    /// Why it cannot be asked.
    std::optional<Failure> failure;
};

DaemonState findDaemon(const Folders& folders) {
    auto found = DaemonClient::find(folders.socket(), {.toGreet = patienceForDaemon, .toAnswer = patienceForDaemon});
    if (!found) {
        return {std::nullopt, found.failure()};
    }
    return {std::move(found).value(), std::nullopt};
}

Finding lockFinding(const Folders& folders, const DaemonState& daemon) {
    if (daemon.failure) {
        return {"lock", false, daemon.failure->line};
    }
    if (daemon.client) {
        return {"lock", true, "the daemon is at work (quendo " + programVersion() + ")"};
    }
    const bool held = LockFile::isHeld(folders.lock());
    return {"lock", true, held ? "another quendo is at work" : "free"};
}

Finding databaseFinding(const Folders& folders, ExitCode& code) {
    quendokit::SQLiteRealmOptions options;
    options.defaultFile = folders.database();
    const auto configuration = quendokit::QuendoKitConfig();
    auto version = quendokit::SQLiteRealmProvider(std::move(options)).examine(configuration);
    if (!version) {
        const Failure failure = failureOf(version.error());
        code = failure.code == ExitCode::damaged ? ExitCode::damaged : ExitCode::notDone;
        return {"database", false, failure.line};
    }
    if (!version.value()) {
        return {"database", true, "no reminders are stored yet"};
    }
    std::string detail = "sound, schema " + std::to_string(*version.value());
    if (*version.value() < configuration.schemaVersion) {
        detail += "; the next command brings it to schema " + std::to_string(configuration.schemaVersion);
    }
    return {"database", true, detail};
}

/// The day plan as the settings hold it, whatever the engine makes of it.
quendokit::DayPlan storedPlan(const quendokit::UserDefaults& settings) {
    namespace keys = quendokit::OptionKeys;
    quendokit::DayPlan plan;
    for (const auto& [key, number] :
         {std::pair(keys::FirstWorkday, &plan.firstWorkday), std::pair(keys::FirstWeekend, &plan.firstWeekend),
          std::pair(keys::WorkdayMorning, &plan.workdayMorning), std::pair(keys::WeekendMorning, &plan.weekendMorning),
          std::pair(keys::Afternoon, &plan.afternoon), std::pair(keys::Evening, &plan.evening),
          std::pair(keys::Later, &plan.later), std::pair(keys::Postpone, &plan.postpone)}) {
        const auto value = settings.object(key);
        if (const auto* integer = value ? std::get_if<std::int64_t>(&*value) : nullptr) {
            *number = *integer;
        }
    }
    return plan;
}

Finding settingsFinding(const Folders& folders, ExitCode& code) {
    if (const auto error = quendokit::FileUserDefaults::examine(folders.settings())) {
        Failure failure = failureOf(*error);
        code = failure.code == ExitCode::damaged ? ExitCode::damaged : code;
        return {"settings", false, std::move(failure.line)};
    }
    std::error_code unknown;
    if (!std::filesystem::exists(folders.settings(), unknown)) {
        return {"settings", true, "as everyone begins"};
    }
    quendokit::FileUserDefaultsOptions options;
    options.file = folders.settings();
    const quendokit::FileUserDefaults settings(options);
    const auto flaws = quendokit::DayPlanCheck().flaws(storedPlan(settings));
    if (!flaws.empty()) {
        return {"settings", false, flaws.front() + (flaws.size() > 1 ? " (and other settings)" : "")};
    }
    return {"settings", true, "sound"};
}

Finding zoneFinding() {
    const char* variable = std::getenv("TZ");
    std::string_view named = variable != nullptr ? variable : "";
    named.remove_prefix(named.starts_with(':') ? 1 : 0);
    const std::string taken = LocalTimeZone::current()->name();
    if (!named.empty() && taken == "UTC" && named != taken) {
        return {"time zone", false,
                "TZ is \"" + std::string(named) +
                    "\", which is no zone, and UTC is taken; set it to a name as Europe/Berlin"};
    }
    return {"time zone", true, taken + (named.empty() ? "" : " (from TZ)")};
}

/// What the daemon, which alone asks the cloud, has to tell of it.
Finding cloudFindingOf(DaemonClient& daemon, const std::string& url) {
    auto answer = daemon.ask(CloudStatusRequest());
    if (!answer) {
        return {"cloud", false, answer.failure().line};
    }
    if (const auto* failure = std::get_if<Failure>(&answer.value().result)) {
        return {"cloud", false, failure->line};
    }
    const auto* view = std::get_if<CloudView>(&std::get<Response>(answer.value().result));
    if (view != nullptr && view->lastError) {
        return {"cloud", false, url + " is asked by the daemon, whose last sync failed: " + *view->lastError};
    }
    return {"cloud", true, url + " is asked by the daemon; see quendo status"};
}

Finding cloudFinding(const Folders& folders, DaemonState& daemon, ExitCode& code) {
    if (const auto error = quendokit::FileUserDefaults::examine(folders.account())) {
        Failure failure = failureOf(*error);
        code = failure.code == ExitCode::damaged ? ExitCode::damaged : code;
        return {"cloud", false, std::move(failure.line)};
    }
    const AccountFile file(folders.account());
    const auto account = file.account();
    if (!account) {
        return {"cloud", true, "none is connected"};
    }
    // Two that ask at a time would take the token from each other.
    if (daemon.client) {
        return cloudFindingOf(*daemon.client, account->url);
    }
    const auto lock = LockFile::take(folders.lock(), std::chrono::seconds(0));
    if (!lock) {
        return {"cloud", true, account->url + " was not asked, because another quendo is at work"};
    }
    if (auto failure = checkCloud(*account, file.tokens(), patienceForCloud)) {
        return {"cloud", false, std::move(failure->line)};
    }
    return {"cloud", true, account->url + " answers"};
}

}  // namespace

Diagnosis examine(const Folders& folders) {
    const auto database = folders.database();
    DaemonState daemon = findDaemon(folders);
    Diagnosis diagnosis{{}, ExitCode::done};
    diagnosis.findings.push_back(foldersFinding(folders));
    diagnosis.findings.push_back(accessFinding(
        "files", {database, database.string() + "-wal", database.string() + "-shm", folders.lock(), folders.journal(),
                  folders.log(), folders.settings(), folders.account(), folders.sharedSettings(), folders.syncRecord(),
                  folders.ledger(), folders.armedList(), folders.socket()}));
    diagnosis.findings.push_back(lockFinding(folders, daemon));
    diagnosis.findings.push_back(databaseFinding(folders, diagnosis.code));
    diagnosis.findings.push_back(settingsFinding(folders, diagnosis.code));
    diagnosis.findings.push_back(cloudFinding(folders, daemon, diagnosis.code));
    diagnosis.findings.push_back(zoneFinding());
    for (const Finding& finding : diagnosis.findings) {
        if (!finding.ok && diagnosis.code == ExitCode::done) {
            diagnosis.code = ExitCode::notDone;
        }
    }
    return diagnosis;
}

}  // namespace quendo

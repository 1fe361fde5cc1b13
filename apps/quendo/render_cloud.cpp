#include "apps/quendo/render_cloud.hpp"

#include <optional>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/json_values.hpp"
#include "apps/quendo/when.hpp"

namespace quendo {
namespace {

using quendokit::LocalTimeZone;

std::string changes(std::size_t count) {
    return fmt::format("{} change{}", count, count == 1 ? "" : "s");
}

std::string momentText(const std::optional<quendokit::Date>& date, const LocalTimeZone& zone) {
    return date ? whenText(*date, zone) : "never";
}

/// What was synced last and what is not, a line each.
std::string syncLines(const CloudView& view, const LocalTimeZone& zone) {
    std::string text = fmt::format("Unsent: {}", view.unsent);
    if (view.connected) {
        text += fmt::format("\nLast upload: {}\nLast download: {}", momentText(view.lastUpload, zone),
                            momentText(view.lastDownload, zone));
    }
    if (view.lastError) {
        text += "\nLast error: " + escapedText(*view.lastError);
    }
    return text;
}

}  // namespace

namespace plain {

std::string connected(const CloudConnected& answer) {
    return fmt::format("Connected to {} ({}).", escapedText(answer.url), escapedText(answer.container));
}

std::string cloud(const CloudView& view, const LocalTimeZone& zone) {
    const std::string to =
        view.connected ? fmt::format("Connected to {} ({}).", escapedText(view.url), escapedText(view.container))
                       : "No cloud is connected.";
    return to + '\n' + syncLines(view, zone);
}

std::string synced(const SyncAnswer& answer) {
    return fmt::format("Uploaded {}, received {}, deleted {}.", changes(answer.uploaded.size()), answer.received,
                       answer.deleted);
}

std::string health(const HealthView& view, const LocalTimeZone& zone) {
    const auto next = view.next ? view.next->condition.date() : std::nullopt;
    const std::string first =
        next ? fmt::format("Next: {}  {}", whenText(*next, zone), escapedText(view.next->title)) : "Next: none";
    std::string text = first + '\n' + cloud(view.cloud, zone);
    if (view.daemon) {
        text += fmt::format("\nDaemon: quendo {}\nNotifications: {}", escapedText(view.daemon->version),
                            escapedText(view.daemon->notifications.value_or("none are shown")));
        for (const std::string& problem : view.daemon->problems) {
            text += "\nProblem: " + escapedText(problem);
        }
    }
    return text;
}

}  // namespace plain

namespace json {
namespace {

std::string text(const Json& document) {
    return document.dump(2, ' ', false, Json::error_handler_t::replace);
}

Json moment(const std::optional<quendokit::Date>& date, const LocalTimeZone& zone) {
    return date ? time(*date, zone) : Json();
}

Json line(const std::optional<std::string>& text) {
    return text ? Json(*text) : Json();
}

}  // namespace

std::string connected(const CloudConnected& answer) {
    return text({{"connected", true}, {"url", answer.url}, {"container", answer.container}});
}

std::string disconnected() {
    return text({{"connected", false}});
}

std::string cloud(const CloudView& view, const LocalTimeZone& zone) {
    if (!view.connected) {
        return disconnected();
    }
    return text({{"connected", true},
                 {"url", view.url},
                 {"container", view.container},
                 {"zone", line(view.zone)},
                 {"unsent", view.unsent},
                 {"lastUpload", moment(view.lastUpload, zone)},
                 {"lastDownload", moment(view.lastDownload, zone)},
                 {"lastError", line(view.lastError)}});
}

std::string synced(const SyncAnswer& answer) {
    return text({{"uploaded", answer.uploaded}, {"received", answer.received}, {"deleted", answer.deleted}});
}

std::string health(const HealthView& view, const LocalTimeZone& zone) {
    const auto& daemon = view.daemon;
    return text({{"daemon", daemon ? Json(daemon->version) : Json()},
                 {"next", view.next ? object(*view.next, zone) : Json()},
                 {"unsent", view.cloud.unsent},
                 {"lastUpload", moment(view.cloud.lastUpload, zone)},
                 {"lastDownload", moment(view.cloud.lastDownload, zone)},
                 {"lastError", line(view.cloud.lastError)},
                 {"notifications", daemon ? line(daemon->notifications) : Json()}});
}

}  // namespace json
}  // namespace quendo

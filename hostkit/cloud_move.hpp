#pragma once
/// \file
/// Moving to another cloud: `CloudIdentity`, and sending again what an earlier one had confirmed.

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "quendokit/platform/export.hpp"

namespace quendokit {

class GuardedCloudDatabase;
class ReminderController;
class UserDefaults;

/// Remembers, beside the change token, which cloud the reminders were mirrored to: what another one has confirmed says
/// nothing about this one.
///
/// A host asks before it makes its manager. When it is another one, it downloads once, so that what that cloud holds
/// comes first, sends the rest again (`resendEverything`), and says that it has moved. A crash on the way begins anew.
/// Shares the settings. Main thread.
class QUENDOKIT_EXPORT CloudIdentity {
public:
    /// What is behind the key of the token, in the settings. Stored format.
    static constexpr std::string_view keySuffix = ".cloud";

    CloudIdentity(std::shared_ptr<UserDefaults> defaults, std::string tokenKey);

    /// Whether `cloud`, any text that tells one cloud, container and account from others, is another than the one that
    /// the reminders were mirrored to; then its token is removed. One of an earlier version that remembers a token but
    /// no cloud is taken for the same.
    [[nodiscard]] bool isAnother(const std::string& cloud);
    /// The reminders are mirrored to `cloud` from now on.
    void setMoved(const std::string& cloud);
    /// Everything has to be sent again next time, for example because the zone was removed from the cloud.
    void forget();

private:
    const std::shared_ptr<UserDefaults> defaults_;
    const std::string tokenKey_;
    const std::string key_;
};

/// Makes every stored reminder unsent whose id is not in `except`, as a change of the person would, one write each;
/// then calls `done` with whether all of them could be written. Goes through the guard, if there is one (null: none),
/// so that it may run later. Main thread.
QUENDOKIT_EXPORT void resendEverything(const std::shared_ptr<ReminderController>& controller,
                                       const std::shared_ptr<GuardedCloudDatabase>& guard,
                                       const std::set<std::string>& except, std::function<void(bool)> done = {});

}  // namespace quendokit
